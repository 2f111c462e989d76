#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Every include points down the layers: app → screens → wall → windows → camera → printers → monitor,
# power, the picture sources and the widget kit → settings → platform. A folder may include from its own
# folder and from lower ones, never from a folder beside or above it. Usage: tst_layers.sh <src>
set -euo pipefail
declare -A rank=([platform]=1 [settings]=2 [monitor]=3 [power]=3 [widgets]=3 [stream]=3
    [printers]=4 [camera]=5 [windows]=6 [wall]=7 [screens]=8 [app]=9)
cd "$1"
status=0
while IFS=: read -r file _ include; do
    from=${file%%/*}
    to=$(sed -n 's/^#include "\([a-z]*\)\/.*/\1/p' <<<"$include")
    [ -n "$to" ] && [ "$to" != "$from" ] || continue
    if [ -z "${rank[$from]:-}" ] || [ -z "${rank[$to]:-}" ] || [ "${rank[$to]}" -ge "${rank[$from]}" ]; then
        echo "$file includes upward or sideways: $include"
        status=1
    fi
done < <(grep -rn '^#include "' --include='*.h' --include='*.cpp' --include='*.mm' .| sed 's|^\./||')
[ "$status" -ne 0 ] || echo "every include points down"
exit "$status"
