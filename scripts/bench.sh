#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds the benchmarks and runs them against nginx on 127.0.0.1: the
# snapshot pipeline next to its floor, then the whole app with three windows under Xvfb, and
# headless Chromium polling the same pictures as a printer's web page does; then the same three
# windows reading MJPEG streams from a stream server of the benchmark's own, against the snapshot
# loop and Chromium showing the streams; what following the printer's status costs, and how
# quickly a pause and a resume take effect; and several printers: four with three live cameras
# each against one, beside the decoding floor, and twenty printing with the main window shown;
# the GUI thread's stall over five runs of each of three set-ups; and the printer wall at twenty
# printers against Chromium's image grid. They print figures and assert nothing. Options: --rounds N (pipeline and controls, default
# 100), --seconds N (whole app, default 60), --long N (one more stream run of N seconds that
# watches memory; default none), --streams-only (only the stream comparison), --printers-only
# (only the several printers).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
source bench/nginx.sh

rounds=100
seconds=60
long=0
streams_only=
printers_only=
while [ $# -gt 0 ]; do
    case $1 in
        --rounds) rounds=$2; shift 2 ;;
        --seconds) seconds=$2; shift 2 ;;
        --long) long=$2; shift 2 ;;
        --streams-only) streams_only=yes; shift ;;
        --printers-only) printers_only=yes; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
done

had_nginx=$(command -v nginx || true)
ensure_packages "${KESTREL_PACKAGES[@]}" nginx-light python3 xvfb xauth openbox chromium x11-utils xdotool \
    libjpeg62-turbo-dev
# Installing nginx starts Debian's own server; the benchmarks want only their own on 127.0.0.1.
[ -n "$had_nginx" ] || service nginx stop >/dev/null 2>&1 || true
build_kestrel kestrel kestrel-demo-printer snapshot_bench make_pictures decode_floor control_bench

work=$PWD/build/bench-run
rm -rf "$work"
mkdir -p "$work/pictures"
xvfb_pid=
cleanup() {
    stop_nginx
    [ -z "$xvfb_pid" ] || kill "$xvfb_pid" 2>/dev/null || true
}
trap cleanup EXIT
build/bench/make_pictures "$work/pictures"
cp bench/browser.html "$work/pictures/"
start_nginx "$work/nginx" "$work/pictures"
echo "nginx on $NGINX_ADDRESS serving $(ls "$work/pictures" | tr '\n' ' ')"
echo

if [ -z "$streams_only$printers_only" ]; then
    build/bench/snapshot_bench --rounds "$rounds" \
        --url "http://$NGINX_ADDRESS/webcam2/?action=snapshot" 2>/dev/null > "$work/pipeline.txt"
    grep -v '^ROUND_MEDIAN_MS=' "$work/pipeline.txt"
    round=$(sed -n 's/^ROUND_MEDIAN_MS=//p' "$work/pipeline.txt")
    echo
fi

Xvfb -displayfd 3 -screen 0 1920x1200x24 3>"$work/display" >/dev/null 2>&1 &
xvfb_pid=$!
until [ -s "$work/display" ]; do sleep 0.1; done
export DISPLAY=":$(cat "$work/display")"
openbox --sm-disable >/dev/null 2>&1 &
if [ -z "$streams_only$printers_only" ]; then
    python3 bench/app_bench.py --kestrel build/src/kestrel --address "$NGINX_ADDRESS" \
        --seconds "$seconds" --round-ms "$round" --chromium /usr/bin/chromium
    echo
fi
if [ -z "$printers_only" ]; then
    python3 bench/stream_bench.py --kestrel build/src/kestrel --pictures "$work/pictures" \
        --snapshots "$NGINX_ADDRESS" --seconds "$seconds" --long "$long" --chromium /usr/bin/chromium
    echo
    python3 bench/status_bench.py --kestrel build/src/kestrel \
        --demo-printer build/tools/demo-printer/kestrel-demo-printer --plain-host "$NGINX_ADDRESS" \
        --seconds "$seconds"
    echo
    build/bench/control_bench --demo-printer build/tools/demo-printer/kestrel-demo-printer \
        --rounds "$rounds" 2>/dev/null
    echo
fi
python3 bench/printers_bench.py --kestrel build/src/kestrel \
    --demo-printer build/tools/demo-printer/kestrel-demo-printer \
    --decode-floor build/bench/decode_floor --pictures "$work/pictures" --seconds "$seconds"
echo
python3 bench/stall_bench.py --kestrel build/src/kestrel --pictures "$work/pictures" \
    --snapshots "$NGINX_ADDRESS"
echo
python3 bench/wall_bench.py --kestrel build/src/kestrel \
    --demo-printer build/tools/demo-printer/kestrel-demo-printer \
    --decode-floor build/bench/decode_floor --chromium /usr/bin/chromium --seconds "$seconds"
