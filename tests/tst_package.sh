#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the Debian packages, unpacks them into an empty root as dpkg would install them, and
# checks what a fresh machine would get: a valid desktop entry and metainfo, the icons, and
# Depends that cover every library the binary links and every Qt plugin it loads.
# Usage: tst_package.sh <build folder> <application id>
set -euo pipefail
build=$1
app_id=$2

for tool in cpack dpkg-deb dpkg-shlibdeps desktop-file-validate appstreamcli readelf lintian; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is missing"; exit 77; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/packages" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack could not build the packages"; }
root=$work/root
for deb in "$work"/packages/*.deb; do dpkg-deb -x "$deb" "$root"; done
kestrel_deb=$(echo "$work"/packages/kestrel_*.deb)
[ -x "$root/usr/bin/kestrel" ] || fail "kestrel is not in /usr/bin"
[ -x "$root/usr/bin/kestrel-demo-printer" ] || fail "the demo printer is not in /usr/bin"
[ -x "$root/usr/libexec/kestrel/kestrel-scene" ] || fail "the scene runner is not in /usr/libexec"
for template in tasmota shelly1 shelly2 homeassistant druckerhost; do
    for scene in an aus status; do
        [ -x "$root/usr/share/kestrel/scenes/$template-$scene" ] || fail "no template $template-$scene"
    done
done
dpkg-deb -c "$kestrel_deb" | grep -q kestrel-demo-printer &&
    fail "the demo printer must be in its own, optional package"

echo "== Debian's own checks: licence, changelog, manual pages and the rest"
# --allow-root: the test may run as root, which lintian only warns about.
lintian --allow-root --fail-on error,warning "$work"/packages/*.deb ||
    fail "lintian finds fault with the packages"

echo "== --help and --version with no display and no settings"
for program in kestrel kestrel-demo-printer; do
    for option in --help --version; do
        env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM XDG_CONFIG_HOME="$work/none" \
            "$root/usr/bin/$program" "$option" >"$work/out.txt" || fail "$program $option failed"
        grep -q "$program" "$work/out.txt" || fail "$program $option does not name the program"
    done
    status=0
    "$root/usr/bin/$program" --kein-schalter 2>"$work/err.txt" || status=$?
    [ "$status" -eq 2 ] && grep -qx "$program: unbekannte Option „kein-schalter“" "$work/err.txt" ||
        fail "$program takes an unknown option without the German line and status 2"
done
[ ! -e "$work/none" ] || fail "--help or --version wrote settings"

echo "== desktop entry, metainfo and icons"
desktop-file-validate "$root/usr/share/applications/$app_id.desktop"
appstreamcli validate --no-net "$root/usr/share/metainfo/$app_id.metainfo.xml"
grep -qx "Icon=$app_id" "$root/usr/share/applications/$app_id.desktop" ||
    fail "the desktop entry names another icon"
[ -s "$root/usr/share/icons/hicolor/scalable/apps/$app_id.svg" ] || fail "no scalable icon"
for size in 16 24 32 48 64 128 256 512; do
    png=$root/usr/share/icons/hicolor/${size}x${size}/apps/$app_id.png
    # Width and height, big-endian, after the signature and the header chunk's length and type.
    read -r -a size_read < <(od -An -tu4 --endian=big -j16 -N8 "$png")
    [ "${size_read[0]}x${size_read[1]}" = "${size}x$size" ] || fail "$png is not a ${size}x$size PNG"
done

echo "== runtime dependencies"
# One package name per line; alternatives ("a | b") count as if each were named.
depends=$(dpkg-deb -f "$kestrel_deb" Depends | tr ',|' '\n' | sed 's/(.*//; s/[[:space:]]//g')
echo "Depends: $(paste -sd' ' <<<"$depends")"
owner() { # the package that ships a file, allowing for /lib and /usr/lib being one folder
    local path
    for path in "$1" "$(realpath "$1")" "${1#/usr}" "/usr${1#/usr}"; do
        dpkg -S "$path" 2>/dev/null | head -n1 | cut -d: -f1 && return 0
    done
    fail "no package ships $1"
}
require_dependency() { # $1: package, $2: why it is needed
    grep -qx "$1" <<<"$depends" || fail "Depends lacks $1, which provides $2"
}
ldd "$root/usr/bin/kestrel" >"$work/ldd.txt"
grep 'not found' "$work/ldd.txt" && fail "libraries do not resolve"
for library in $(readelf -d "$root/usr/bin/kestrel" | sed -n 's/.*Shared library: \[\(.*\)\]/\1/p'); do
    # "lib => path (address)", or for the loader only "path (address)".
    path=$(awk -v lib="$library" '$1 == lib { print $3 } $1 ~ "/" lib "$" { print $1 }' \
        "$work/ldd.txt")
    require_dependency "$(owner "$path")" "$library"
done
for plugin in platforms/libqxcb.so platforms/libqoffscreen.so imageformats/libqjpeg.so \
    iconengines/libqsvgicon.so; do
    require_dependency "$(dpkg -S "*/qt6/plugins/$plugin" | head -n1 | cut -d: -f1)" "$plugin"
done
require_dependency "$(owner /usr/bin/curl)" /usr/bin/curl
require_dependency "$(owner /usr/share/qt6/translations/qtbase_de.qm)" "Qt's German texts"

echo "PASS: packages valid, every dependency declared"
