#!/usr/bin/env bash
# Installs what is missing, builds Kestrel and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/ensure-packages.sh
ensure_packages "${KESTREL_PACKAGES[@]}"

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build --parallel "$(nproc)" --target kestrel
exec build/src/kestrel "$@"
