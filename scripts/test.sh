#!/usr/bin/env bash
# Installs what is missing, builds Kestrel with its tests and runs every test headless.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}" "${KESTREL_TEST_PACKAGES[@]}"

build_kestrel
cd build
exec ctest --output-on-failure --timeout 300 --parallel "$(nproc)"
