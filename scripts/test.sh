#!/usr/bin/env bash
# Installs what is missing, builds Kestrel with its tests and runs every test headless.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/ensure-packages.sh
ensure_packages "${KESTREL_PACKAGES[@]}" "${KESTREL_TEST_PACKAGES[@]}"

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build --parallel "$(nproc)"
cd build
exec ctest --output-on-failure --timeout 300 --parallel "$(nproc)"
