# shellcheck shell=bash
# Configuring and building a preset. Needs common.sh.

# build_preset PRESET [TARGET...]: everything when no target is named.
build_preset()
{
    local preset=$1 folder=build/$1
    shift
    local targets=()
    (($# == 0)) || targets=(--target "$@")
    say "Building ${*:-everything} in $folder"
    # Each time, since packages may have come that were missed before.
    quietly "configure-$preset" cmake --preset "$preset"
    quietly "build-$preset" cmake --build "$folder" "${targets[@]}"
}

# What tests need from npm, as the lock files say: the MicroPython that runs the box's scripts, and
# the MIDI library's source. Both are only read, so nothing that they bring along is run.
install_npm_packages()
{
    local folder installed
    for folder in tests/scripts tests/winmm; do
        installed=$folder/node_modules/.package-lock.json
        [[ -f $folder/package-lock.json ]] || continue
        if [[ ! -f $installed || $folder/package-lock.json -nt $installed ]]; then
            say "Installing the Node.js packages of $folder"
            quietly npm npm ci --prefix "$folder" --ignore-scripts --no-audit --no-fund
        fi
    done
}
