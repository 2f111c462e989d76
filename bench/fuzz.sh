#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Fuzzes the settings loader, the frame-text reader, the MJPEG part reader, the picture decoder
# and the handling of the printer host's JSON-RPC frames and webcam lists with libFuzzer for a
# bounded time: bench/fuzz.sh [SECONDS per target] (default 60). Inputs that break a check, and
# the fewest inputs that reach every path found, are kept in tests/fuzz-corpus/<target>/, where
# the test suite replays them from then on.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}" clang-14 libclang-rt-14-dev
seconds=${1:-60}

cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-14 \
    -DKESTREL_FUZZ=ON
cmake --build build-fuzz --parallel "$(nproc)" --target fuzz_settings fuzz_frame_text fuzz_mjpeg \
    fuzz_picture fuzz_print_status fuzz_webcam_list
for target in settings frame_text mjpeg picture print_status webcam_list; do
    kept=$PWD/tests/fuzz-corpus/$target
    corpus=build-fuzz/corpus/$target
    mkdir -p "$corpus"
    echo "== fuzz_$target for $seconds s"
    build-fuzz/fuzz/fuzz_$target -max_total_time="$seconds" -artifact_prefix="$kept/" \
        -print_final_stats=1 "$corpus" "$kept"
    # Keeps the inputs that reach paths the kept ones do not, for the test suite to replay.
    build-fuzz/fuzz/fuzz_$target -merge=1 "$kept" "$corpus"
done
