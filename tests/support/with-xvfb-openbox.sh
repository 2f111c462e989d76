#!/bin/sh
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a test in a fresh virtual X display (1440 x 900) with openbox as its window manager.
# Without Xvfb or openbox the test runs with no display at all and skips itself, saying why.
# Xvfb picks the display number itself (-displayfd), so tests side by side never share one; a
# number picked by looking for lock files can be one whose server is still going away.
if ! command -v Xvfb >/dev/null 2>&1 || ! command -v openbox >/dev/null 2>&1; then
    exec env -u DISPLAY "$@"
fi
folder=$(mktemp -d)
Xvfb -displayfd 3 -screen 0 1440x900x24 -nolisten tcp 3>"$folder/display" 2>"$folder/xvfb.log" &
xvfb=$!
for _ in $(seq 200); do
    [ -s "$folder/display" ] && break
    sleep 0.05
done
DISPLAY=:$(cat "$folder/display")
export DISPLAY
openbox --sm-disable >/dev/null 2>&1 &
openbox=$!
# Windows mapped while openbox is still starting may never get managed: wait until it says it is
# there.
for _ in $(seq 200); do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && break
    sleep 0.05
done
status=0
"$@" || status=$?
kill "$openbox" "$xvfb" 2>/dev/null
wait 2>/dev/null
rm -rf "$folder"
exit "$status"
