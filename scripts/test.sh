#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds Kestrel with its tests and runs every test headless.
# With --sanitize (and always on CI) it then runs the whole suite once more, built with
# AddressSanitizer and UndefinedBehaviorSanitizer; any finding fails.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}" "${KESTREL_TEST_PACKAGES[@]}"

sanitize=${CI:+yes}
[ "${1:-}" != "--sanitize" ] || sanitize=yes

build_kestrel
(cd build && ctest --output-on-failure --timeout 300 --parallel "$(nproc)")

if [ -n "$sanitize" ]; then
    cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=Debug -DKESTREL_SANITIZE=ON
    cmake --build build-sanitize --parallel "$(nproc)" --target kestrel_tests
    cd build-sanitize
    ASAN_OPTIONS=detect_leaks=1 LSAN_OPTIONS="suppressions=$PWD/../tests/support/lsan.supp" \
        UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --output-on-failure --timeout 300 --parallel "$(nproc)"
fi
