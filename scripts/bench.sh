#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks and runs them. They print figures and assert
# nothing; everything they talk to runs on 127.0.0.1.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/ensure-packages.sh
ensure_packages "${KESTREL_PACKAGES[@]}"

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build --parallel "$(nproc)" --target snapshot_bench
build/bench/snapshot_bench "$@"
