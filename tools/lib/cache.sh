# shellcheck shell=bash
# What is made once for all runs, and takes its time. Needs common.sh.

CACHE=${XDG_CACHE_HOME:-$HOME/.cache}/ostrel-editor

# hold_in_cache NAME IS_WHOLE MAKE: leaves $CACHE/NAME as the function IS_WHOLE wants it; the
# function MAKE makes it where that is not so. It stays until this process ends: who makes it anew
# waits for all others.
hold_in_cache()
{
    local folder=$CACHE/$1 is_whole=$2 make=$3 lock
    mkdir -p "$CACHE"
    exec {lock}>"$folder.lock"
    flock --shared "$lock"
    "$is_whole" && return
    flock "$lock"
    "$is_whole" || "$make"
    flock --shared "$lock"
}
