#!/usr/bin/env bash
# Takes the README's screenshots from the real app: Kestrel against the demo printer in a
# virtual display with openbox, each window captured with the frame the window manager drew.
# Everything runs on 127.0.0.1 with a throw-away settings folder.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}" xvfb xauth openbox imagemagick xdotool
build_kestrel kestrel kestrel-demo-printer

work=$(mktemp -d)
pids=()
cleanup() {
    [ ${#pids[@]} -eq 0 ] || kill "${pids[@]}" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

Xvfb -displayfd 3 -screen 0 1440x900x24 3>"$work/display" >/dev/null 2>&1 &
pids+=($!)
until [ -s "$work/display" ]; do sleep 0.1; done
export DISPLAY=":$(cat "$work/display")"
openbox --sm-disable >/dev/null 2>&1 &
pids+=($!)

start_demo_printer "$work" '"alwaysOnTop": false' build/tools/demo-printer/kestrel-demo-printer
pids+=("$printer_pid")
XDG_CONFIG_HOME="$work/config" build/src/kestrel >/dev/null 2>&1 &
pids+=($!)

main=$(xdotool search --sync --onlyvisible --name '^Kestrel$' | head -n 1)
camera=$(xdotool search --sync --onlyvisible --name '^Düsencam$' | head -n 1)
sleep 3 # let the pictures arrive and the windows settle
out=docs/screenshots
import -window root "$out/desktop.png"
import -frame -window "$camera" "$out/camera-window.png"
xdotool windowactivate --sync "$main"
import -frame -window "$main" "$out/main-window.png"
xdotool key --window "$main" ctrl+comma
settings=$(xdotool search --sync --onlyvisible --name '^Einstellungen$' | head -n 1)
sleep 1
import -frame -window "$settings" "$out/settings-window.png"
echo "Screenshots written to $out/"
