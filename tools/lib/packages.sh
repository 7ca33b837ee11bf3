# shellcheck shell=bash disable=SC2034 # the lists are for those who source this
# The packages of Debian and Ubuntu that each purpose needs: the one list of them. Needs common.sh.
#
# COMMAND:PACKAGE stands for a package that is wanted only for that command, from wherever it is.

# RtMidi's package takes either of two JACKs; the one named here goes with jackd2, the other does
# not.
BUILD_PACKAGES=(
    c++:build-essential cmake:cmake ninja:ninja-build pkg-config:pkg-config
    qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools libgl-dev
    librtmidi-dev libjack-jackd2-dev
)

# What the window loads when it starts; the list of folders comes with a file dialog. The plugin for
# SVG images has a name of its own per release and is dealt with in svg_package.
RUN_PACKAGES=(
    qml6-module-qtcore qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-dialogs
    qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtquick-window
    qml6-module-qt-labs-folderlistmodel fonts-liberation fonts-dejavu-core
)

PRIVATE_MIDI_PACKAGES=(jackd:jackd2)
VIRTUAL_DISPLAY_PACKAGES=(Xvfb:xvfb xdotool:xdotool import:imagemagick)

TEST_PACKAGES=(jackd:jackd2 Xvfb:xvfb xdotool:xdotool openssl:openssl node:nodejs npm:npm)
FUZZ_PACKAGES=(clang++:clang llvm-symbolizer:llvm)
BENCH_PACKAGES=(jackd:jackd2 Xvfb:xvfb python3:python3 libbenchmark-dev)
DEBIAN13_PACKAGES=(debootstrap:debootstrap gpgv:gpgv debian-archive-keyring node:nodejs npm:npm)
# Unpacked into the cache and not installed, and so is a kernel; busybox always, since only the static
# one runs before there is a root.
USB_ROAD_PACKAGES=(qemu-system-x86_64:qemu-system-x86 zstd:zstd)
USB_ROAD_FIRST_PROGRAMS=busybox-static
USB_ROAD_KERNELS=(linux-image-amd64 linux-image-generic linux-image-virtual)
COVERAGE_PACKAGES=(gcovr:gcovr python3:python3)
LINT_PACKAGES=(
    clang-format:clang-format run-clang-tidy:clang-tidy shellcheck:shellcheck
    x86_64-w64-mingw32-g++-posix:g++-mingw-w64-x86-64-posix
)

has_apt()
{
    command -v apt-get >/dev/null && command -v dpkg-query >/dev/null
}

is_installed()
{
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# Of a name that others merely provide it shows nothing, which newer releases call a success.
apt_knows()
{
    [[ -n $(apt-cache show "$1" 2>/dev/null) ]]
}

has_svg_plugin()
{
    compgen -G '/usr/lib/*/qt6/plugins/imageformats/libqsvg.so' >/dev/null
}

# The plugin stands in the library's package up to Debian 12 and Ubuntu 24.04, alone after that.
svg_package()
{
    if apt_knows qt6-svg-plugins; then
        echo qt6-svg-plugins
    else
        echo libqt6svg6
    fi
}

# The packages among the given entries that are not there, a line each.
missing_packages()
{
    local entry package
    for entry in "$@"; do
        package=${entry##*:}
        if [[ $entry == *:* ]] && command -v "${entry%%:*}" >/dev/null; then
            continue
        fi
        if ! has_apt || ! is_installed "$package"; then
            echo "$package"
        fi
    done
}

# Asked here, since commands that run quietly have no terminal.
HAS_TERMINAL=false
[[ ! -t 0 ]] || HAS_TERMINAL=true

as_root()
{
    if ((EUID == 0)); then
        "$@"
    elif [[ $HAS_TERMINAL == true ]]; then
        sudo "$@"
    else
        sudo --non-interactive "$@"
    fi
}

apt_get()
{
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 "$@"
}

# A fresh machine knows no packages at all, an old one perhaps not today's.
update_package_lists()
{
    say 'Updating the package lists'
    quietly apt-update apt_get update
}

# Takes nothing away: a conflict is for the machine's owner to decide.
install_packages()
{
    apt_get install --yes --no-install-recommends --no-remove "$@"
}

# require_packages ENTRY...: installs what is missing; `svg-plugin` is an entry, too.
require_packages()
{
    local entries=() missing=() svg=false entry
    for entry in "$@"; do
        if [[ $entry != svg-plugin ]]; then
            entries+=("$entry")
        elif ! has_svg_plugin; then
            svg=true
        fi
    done
    mapfile -t missing < <(missing_packages "${entries[@]}")
    if ((${#missing[@]} == 0)) && [[ $svg == false ]]; then
        return
    fi

    if ! has_apt; then
        explain_needs
    fi
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        fail "these packages are missing, and there is no sudo to install them: ${missing[*]}"
    fi

    local updated=false
    if ((${#missing[@]} > 0)) && ! apt_knows "${missing[0]}"; then
        update_package_lists
        updated=true
    fi
    [[ $svg == false ]] || missing+=("$(svg_package)")
    say "Installing ${missing[*]}"
    # A list that is out of date names files that the mirrors no longer have.
    if [[ $updated == true ]]; then
        quietly apt-install install_packages "${missing[@]}"
    elif ! install_packages "${missing[@]}" >/dev/null 2>&1 </dev/null; then
        update_package_lists
        quietly apt-install install_packages "${missing[@]}"
    fi
}

# What building and running all tests takes.
require_test_packages()
{
    require_packages "${BUILD_PACKAGES[@]}" "${RUN_PACKAGES[@]}" "${TEST_PACKAGES[@]}" svg-plugin
}

# Other systems have the same things under names that we do not know.
explain_needs()
{
    cat >&2 <<'NEEDS'
This system has no apt, so nothing is installed by itself. What is needed:
  to build  a C++20 compiler, CMake 3.22, Ninja, pkg-config, Qt 6.4 or newer with Quick and Quick
            Controls and their development files, OpenGL headers, RtMidi 4 or newer
  to run    Qt's QML modules QtCore, QtQuick, Controls, Dialogs, Layouts, Templates, Window,
            WorkerScript, Qt.labs.folderlistmodel; Qt's image plugin for SVG; the font Liberation
            Mono or Courier New
  to test   JACK 2 (jackd), Xvfb, xdotool, OpenSSL's command, Node.js 18 or newer with npm
  for the demo without a display: Xvfb, xdotool, ImageMagick; without a MIDI service: jackd
With these in place, build with:
  cmake --preset release && cmake --build build/release
NEEDS
    exit 1
}
