#!/bin/sh
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a test in a fresh virtual X display (1440 x 900) with openbox as its window manager.
# Without Xvfb or openbox the test runs with no display at all and skips itself, saying why.
if ! command -v xvfb-run >/dev/null 2>&1 || ! command -v openbox >/dev/null 2>&1; then
    exec env -u DISPLAY "$@"
fi
exec xvfb-run --auto-servernum --server-args="-screen 0 1440x900x24" \
    sh -c 'openbox --sm-disable >/dev/null 2>&1 & exec "$@"' with-xvfb-openbox "$@"
