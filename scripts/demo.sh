#!/usr/bin/env bash
# Installs what is missing, builds Kestrel and the demo printer, and starts both: the demo
# printer on a free port of 127.0.0.1, and Kestrel with a throw-away settings folder that points
# at it with all three cameras selected. Arguments go to the demo printer, e.g. --fault 2=404.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}"

build_kestrel kestrel kestrel-demo-printer

work=$(mktemp -d)
printer_pid=
trap '[ -n "$printer_pid" ] && kill "$printer_pid" 2>/dev/null; rm -rf "$work"' EXIT
build/tools/demo-printer/kestrel-demo-printer --port 0 "$@" > "$work/printer.log" &
printer_pid=$!
until address=$(grep -o '127\.0\.0\.1:[0-9]*' "$work/printer.log"); do
    kill -0 "$printer_pid" 2>/dev/null || { cat "$work/printer.log"; exit 1; }
    sleep 0.1
done
echo "Demo printer at http://$address/"

mkdir -p "$work/config/Kestrel"
printf '{"printerIP": "%s", "selectedCameraIDs": [1, 2, 3]}\n' "$address" \
    > "$work/config/Kestrel/settings.json"
XDG_CONFIG_HOME="$work/config" build/src/kestrel
