#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks and runs them. They print figures and assert
# nothing; everything they talk to runs on 127.0.0.1.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}"

build_kestrel snapshot_bench
build/bench/snapshot_bench "$@"
