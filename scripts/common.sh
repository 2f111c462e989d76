# SPDX-License-Identifier: GPL-3.0-or-later
# Sourced by the scripts in this folder and the package test: installs missing Debian packages,
# builds, and starts the demo printer.
# Works as root, or through sudo for an ordinary user.
ensure_packages() {
    local missing=()
    local pkg
    for pkg in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
            missing+=("$pkg")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    echo "Installing missing packages: ${missing[*]}"
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# What building and running Kestrel needs: the toolchain, Qt 6 with its German texts and its
# WebSockets (the printer host's status API), libjpeg-turbo's own API for the camera pictures,
# rsvg-convert for the icon sizes, help2man for the manual pages, and curl, which fetches pictures.
KESTREL_PACKAGES=(cmake g++ make pkgconf qt6-base-dev qt6-svg-dev qt6-websockets-dev qt6-qpa-plugins
    qt6-translations-l10n libgl-dev libxcb1-dev libturbojpeg0-dev librsvg2-bin help2man curl)

# What the tests need beyond that: a virtual display with a window manager for the window tests,
# trayer as its tray, xdotool to drive it as a user does, xprop to see that the window manager is
# up, a session bus of the tests' own for the desktop notifications, and the Debian packaging
# tools, lintian and desktop-file validators for the package test.
KESTREL_TEST_PACKAGES=(xvfb xauth openbox trayer xdotool x11-utils dbus-daemon clang-format
    dpkg-dev desktop-file-utils appstream lintian)

# Configures and builds into build/: every target, or only the ones named.
build_kestrel() {
    cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    cmake --build build --parallel "$(nproc)" "${targets[@]}"
}

printed_address() { # <line start> <log>: the 127.0.0.1:port of that line of the demo printer
    sed -n "s|^$1 .*http://\\(127\\.0\\.0\\.1:[0-9]*\\)/\$|\\1|p" "$2"
}

# Starts a demo printer on a free port of 127.0.0.1 and writes a throw-away settings folder,
# <work>/config, that points Kestrel at it with all three cameras selected.
# Usage: start_demo_printer <work folder> <extra JSON members, or ""> <binary> [its arguments]
# Sets printer_pid, printer_address and plug_address (its Tasmota plug); fails, showing the
# printer's log, if no address comes.
start_demo_printer() {
    local work=$1 extra=$2 binary=$3
    shift 3
    "$binary" --port 0 "$@" >"$work/printer.log" 2>&1 &
    printer_pid=$!
    for _ in $(seq 300); do
        # The plug's line comes last, so once it is there both addresses are.
        plug_address=$(printed_address Steckdose "$work/printer.log")
        if [ -n "$plug_address" ]; then
            printer_address=$(printed_address Demo-Drucker "$work/printer.log")
            mkdir -p "$work/config/Kestrel"
            printf '{"printerIP": "%s", "selectedCameraIDs": [1, 2, 3]%s}\n' \
                "$printer_address" "${extra:+, $extra}" >"$work/config/Kestrel/settings.json"
            return 0
        fi
        kill -0 "$printer_pid" 2>/dev/null || break
        sleep 0.1
    done
    cat "$work/printer.log" >&2
    return 1
}

# Writes scenes into <work>/config that switch the demo printer through its plug, made from the
# Tasmota templates as a user makes them: copied under the scene names that Kestrel's settings
# name, and the plug's address in tasmota.conf.
# Usage: write_demo_scenes <work folder> [<scene name prefix> <its config's name>]
# The power scenes that switch the demo printer's plug: "Klipper einschalten", "… ausschalten"
# and "… Status" by default; with a prefix, "<prefix> einschalten" and so on, each reading its
# own copy of the plug's address, so that several printers' plugs stay apart.
write_demo_scenes() {
    local scenes=$1/config/Kestrel/scenes templates=src/power/scenes prefix=${2:-Klipper}
    local conf=${3:-tasmota.conf}
    mkdir -p "$scenes"
    for pair in "an:$prefix einschalten" "aus:$prefix ausschalten" "status:$prefix Status"; do
        sed "s|/tasmota.conf\"|/$conf\"|" "$templates/tasmota-${pair%%:*}" >"$scenes/${pair#*:}"
        chmod +x "$scenes/${pair#*:}"
    done
    sed "s|^ADRESSE=.*|ADRESSE=http://$plug_address|" "$templates/tasmota.conf" >"$scenes/$conf"
}
