#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Takes the README's screenshots from the real app: Kestrel against the demo printer in a
# virtual display with openbox, each window captured with the frame the window manager drew,
# once at scale 1 and once at scale 2. Camera 2 answers 404, so its window shows the error card;
# camera 3 is turned a quarter, and every window shows its picture rate. The demo printer prints
# for 30 s and Klipper shuts down a third of the way in, so the windows show the print's line and
# bar, then why Klipper stopped, and dunst, on a session bus of the script's own, shows the
# notification of the stopped print.
# Everything runs on 127.0.0.1 with a throw-away settings folder.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}" xvfb xauth openbox trayer x11-utils imagemagick xdotool \
    dbus-daemon dunst
build_kestrel kestrel kestrel-demo-printer
out=docs/screenshots

pids=()
cleanup() {
    [ ${#pids[@]} -eq 0 ] || kill "${pids[@]}" 2>/dev/null || true
    rm -rf "${work:-}"
}
trap cleanup EXIT

window() { xdotool search --sync --onlyvisible --name "$1" | head -n 1; }
shoot() { import -frame -window "$1" "$out/$2@${scale}x.png"; }

for scale in 1 2; do
    work=$(mktemp -d)
    Xvfb -displayfd 3 -screen 0 "$((1440 * scale))x$((900 * scale))x24" 3>"$work/display" \
        >/dev/null 2>&1 &
    pids+=($!)
    until [ -s "$work/display" ]; do sleep 0.1; done
    export DISPLAY=":$(cat "$work/display")"
    openbox --sm-disable >/dev/null 2>&1 &
    pids+=($!)
    trayer --edge bottom --align right --height $((24 * scale)) >/dev/null 2>&1 &
    pids+=($!)
    dbus-daemon --session --nofork --print-address=3 3>"$work/bus" >/dev/null 2>&1 &
    pids+=($!)
    until [ -s "$work/bus" ]; do sleep 0.1; done
    DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$work/bus")
    export DBUS_SESSION_BUS_ADDRESS
    dunst -conf /dev/null >/dev/null 2>&1 &
    pids+=($!)
    sleep 1 # Kestrel looks for a tray once, at its start

    start_demo_printer "$work" \
        '"alwaysOnTop": false, "cameraRotations": {"3": "90"}, "showPictureRate": true' \
        build/tools/demo-printer/kestrel-demo-printer \
        --fault 2=404 --fault shutdown --print-seconds 30
    pids+=("$printer_pid")
    QT_SCALE_FACTOR=$scale XDG_CONFIG_HOME="$work/config" build/src/kestrel >/dev/null 2>&1 &
    pids+=($!)

    main=$(window '^Kestrel$')
    camera=$(window '^Düsencam$')
    sleep 3 # let the pictures arrive and the windows settle
    [ "$scale" -ne 1 ] || import -window root "$out/desktop.png"
    shoot "$(window '^Übersichtscam$')" camera-window-printing
    shoot "$camera" camera-window-error
    shoot "$(window '^Filamentcam$')" camera-window-turned
    # The print's controls in a camera window's menu, which opens over the window.
    overview=$(window '^Übersichtscam$')
    xdotool mousemove --window "$overview" $((50 * scale)) $((30 * scale)) click 1
    sleep 1
    read -r left top width height < <(xwininfo -id "$overview" |
        awk '/Absolute upper-left X/ {x=$4} /Absolute upper-left Y/ {y=$4}
             /Width:/ {w=$2} /Height:/ {h=$2} END {print x, y, w, h}')
    import -window root -crop "${width}x${height}+${left}+${top}" "$out/camera-menu@${scale}x.png"
    xdotool key Escape
    xdotool windowactivate --sync "$main"
    shoot "$main" main-window
    xdotool key --window "$main" ctrl+comma
    settings=$(window '^Einstellungen$')
    sleep 1
    shoot "$settings" settings-window
    xdotool windowclose "$settings"

    # The tray icon's menu, in the corner where the tray stands. The icon is a small window of
    # Kestrel's inside the tray.
    icon=$(xwininfo -root -tree |
        sed -n 's/^ *\(0x[0-9a-f]*\) "Kestrel": ("kestrel" "Kestrel")  [0-9]\{2\}x.*/\1/p' | head -n 1)
    xdotool mousemove --window "$icon" $((11 * scale)) $((16 * scale)) click 3
    sleep 1
    import -window root -crop $((420 * scale))x$((150 * scale))+$((1020 * scale))+$((750 * scale)) \
        "$out/tray-menu@${scale}x.png"
    xdotool key Escape

    # Klipper stops the print: the desktop's notification and every window say why.
    notification=$(xdotool search --sync --onlyvisible --class Dunst | head -n 1)
    sleep 0.5
    import -window "$notification" "$out/notification@${scale}x.png"
    shoot "$(window '^Übersichtscam$')" camera-window-shutdown

    # The host goes away: the next probe (every 10 s) finds it down and the prompt opens.
    kill "$printer_pid"
    prompt=$(window 'antwortet nicht')
    sleep 1
    shoot "$prompt" startup-prompt
    # Side by side, so that the main window shows whole.
    xdotool windowmove --sync "$main" 0 $((40 * scale))
    xdotool windowmove --sync "$prompt" $((900 * scale)) $((600 * scale))
    shoot "$main" main-window-host-down
    # "Bis du sicher?" in the prompt runs the power-on scene; its outcome shows in the main window.
    xdotool windowactivate --sync "$prompt" key Tab space
    sleep 2
    shoot "$main" main-window-power-message

    kill "${pids[@]}" 2>/dev/null || true
    pids=()
    rm -rf "$work"
done
echo "Screenshots written to $out/"
