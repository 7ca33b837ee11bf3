# shellcheck shell=bash
# What is made once for all runs, and takes its time. Needs common.sh.

CACHE=${XDG_CACHE_HOME:-$HOME/.cache}/ostrel-editor

# hold_in_cache NAME IS_WHOLE MAKE: leaves $CACHE/NAME as the function IS_WHOLE wants it; the
# function MAKE makes it where that is not so. It stays until this process ends: who makes it anew
# waits for all others. Those who wait for the maker have a lock of their own to wait at, since they
# need not wait for what the maker does with it then.
hold_in_cache()
{
    local folder=$CACHE/$1 is_whole=$2 make=$3 in_use making
    mkdir -p "$CACHE"
    exec {in_use}>"$folder.lock"
    flock --shared "$in_use"
    "$is_whole" && return
    flock --unlock "$in_use"
    exec {making}>"$folder.making"
    flock "$making"
    if ! "$is_whole"; then
        flock "$in_use"
        "$make"
    fi
    flock --shared "$in_use"
    exec {making}>&-
}
