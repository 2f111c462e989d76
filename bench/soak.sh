#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The fault soak for as long as wanted: bench/soak.sh [SECONDS] (default 600). Three camera
# windows against a host on 127.0.0.1 that cycles through its failures; it fails if a screen
# misses a failure's text, or if curl runs, a picture file stays, or descriptors or memory grow.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}"
build_kestrel tst_fault_soak fault_host
KESTREL_SOAK_SECONDS=${1:-600} QT_QPA_PLATFORM=offscreen build/tests/tst_fault_soak
