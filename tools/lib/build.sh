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

# The MicroPython that the tests run the box's scripts with; as the lock file says.
install_script_tools()
{
    local folder=tests/scripts
    local installed=$folder/node_modules/.package-lock.json
    [[ -f $folder/package-lock.json ]] || return 0
    if [[ ! -f $installed || $folder/package-lock.json -nt $installed ]]; then
        say "Installing the Node.js packages of $folder"
        quietly npm npm ci --prefix "$folder" --no-audit --no-fund
    fi
}
