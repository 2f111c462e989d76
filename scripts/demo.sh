#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds Kestrel and the demo printer, and starts both: the demo
# printer on a free port of 127.0.0.1, and Kestrel with a throw-away settings folder that points
# at it with all three cameras selected and streaming live, and scenes that switch the printer
# through the demo printer's plug. Arguments go to the demo printer, e.g. --fault 2=404 or
# --print-seconds 60.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}"

build_kestrel kestrel kestrel-demo-printer

work=$(mktemp -d)
printer_pid=
trap '[ -n "$printer_pid" ] && kill "$printer_pid" 2>/dev/null; rm -rf "$work"' EXIT
start_demo_printer "$work" '"homeKitStatusShortcutName": "Klipper Status",
    "cameraStreamPaths": {"1": "/webcam/?action=stream", "2": "/webcam2/?action=stream",
                          "3": "/webcam3/?action=stream"}' \
    build/tools/demo-printer/kestrel-demo-printer "$@"
write_demo_scenes "$work"
echo "Demo printer at http://$printer_address/, its plug at http://$plug_address/"
XDG_CONFIG_HOME="$work/config" build/src/kestrel
