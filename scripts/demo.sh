#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds Kestrel and the demo printer, and starts both: the demo
# printer on a free port of 127.0.0.1, and Kestrel with a throw-away settings folder that points
# at it with all three cameras selected and streaming live, and scenes that switch the printer
# through the demo printer's plug. Arguments go to the demo printer, e.g. --fault 2=404 or
# --print-seconds 60.
#
# With --printers N (2 to 20) as the first arguments, N demo printers start instead, each with its
# own name, plug, scenes and print length, the third with a failing camera, and one Kestrel is set
# up with all of them; further arguments go to every demo printer. From five printers on, Kestrel
# starts with the printer wall, and the live streams run at 2 pictures a second. Once Kestrel is
# quit, Return starts it again over the same settings and printers.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}"

printers=1
wall=()
if [ "${1:-}" = --printers ]; then
    printers=${2:-}
    shift 2 || true
    case $printers in [2-9] | 1[0-9] | 20) ;; *) echo "demo.sh: --printers takes 2 to 20" >&2; exit 2 ;; esac
fi

build_kestrel kestrel kestrel-demo-printer

work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null; rm -rf "$work"' EXIT
streams='"cameraStreamPaths": {"1": "/webcam/?action=stream", "2": "/webcam2/?action=stream",
                          "3": "/webcam3/?action=stream"}'
if [ "$printers" -eq 1 ]; then
    start_demo_printer "$work" '"homeKitStatusShortcutName": "Klipper Status", '"$streams" \
        build/tools/demo-printer/kestrel-demo-printer "$@"
    pids+=("$printer_pid")
    write_demo_scenes "$work"
    echo "Demo printer at http://$printer_address/, its plug at http://$plug_address/"
else
    names=(Voron Prusa Ender Rat Sovol Anycubic Bambu Creality Elegoo Flashforge Kingroon Mingda
        Qidi Sidewinder Tronxy Trident Switchwire Annex Mercury Hevort)
    [ "$printers" -gt 4 ] && wall=(--wall) && set -- --fps 2 "$@"
    # The first printer shows all three cameras in their corners; each further one its first
    # camera, alternately in the bottom-right and the top-left corner, beside the first's.
    corners=(bottomRight topLeft)
    entries=()
    for ((i = 0; i < printers; i++)); do
        mkdir -p "$work/printer-$i"
        # Prints of different lengths, begun at different moments, so that each ends at its own.
        options=(--print-seconds $((90 + 53 * i % 400)) --head-start-seconds $((17 * i % 80)))
        [ "$i" -eq 2 ] && options+=(--fault 2=404)
        start_demo_printer "$work/printer-$i" "" build/tools/demo-printer/kestrel-demo-printer \
            "${options[@]}" "$@"
        pids+=("$printer_pid")
        name=${names[$i]}
        write_demo_scenes "$work" "$name" "$name.conf"
        echo "$name at http://$printer_address/, its plug at http://$plug_address/"
        power="\"homeKitPowerOnSceneName\": \"$name einschalten\",
            \"homeKitPowerOffSceneName\": \"$name ausschalten\",
            \"homeKitStatusShortcutName\": \"$name Status\", \"homeKitAccessoryName\": \"$name\""
        if [ "$i" -eq 0 ]; then
            first="\"printerName\": \"$name\", \"printerIP\": \"$printer_address\",
                \"selectedCameraIDs\": [1, 2, 3], $power, $streams"
        else
            entries+=("{\"printerID\": \"demo$i\", \"printerName\": \"$name\",
                \"printerIP\": \"$printer_address\", \"selectedCameraIDs\": [1],
                \"cameraPlacements\": {\"1\": \"${corners[$(((i - 1) % 2))]}\"}, $power, $streams}")
        fi
    done
    list=$(IFS=,; echo "${entries[*]}")
    printf '{%s, "additionalPrinters": [%s]}\n' "$first" "$list" >"$work/config/Kestrel/settings.json"
fi
XDG_CONFIG_HOME="$work/config" build/src/kestrel "${wall[@]}"
# Starting again finds everything as it was left, with the demo printers still printing.
while echo "Kestrel beendet. Eingabetaste startet es neu, Strg+D beendet die Demo." && read -r; do
    XDG_CONFIG_HOME="$work/config" build/src/kestrel
done
