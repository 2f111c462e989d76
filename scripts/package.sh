#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds Kestrel and the demo printer, and makes the two Debian
# packages in build/packages: kestrel, and kestrel-demo-printer, which kestrel only suggests.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
ensure_packages "${KESTREL_PACKAGES[@]}" dpkg-dev

build_kestrel kestrel kestrel-demo-printer kestrel_icons
(cd build && cpack -G DEB -B packages)
ls build/packages/*.deb
