# shellcheck shell=bash
# What the commands in the root and in tools share: speaking, running quietly, ending what was
# started. Sourced by a bash with `set -euo pipefail` whose folder is the project's root.

LOG_DIR=build/logs

# One line about what comes next.
say()
{
    printf '==> %s\n' "$*"
}

fail()
{
    printf 'Error: %s\n' "$*" >&2
    exit 1
}

# Exit status of a command that cannot work on this machine.
SKIPPED=77

skip()
{
    printf 'Skipped: %s\n' "$*"
    exit "$SKIPPED"
}

# quietly NAME COMMAND...: runs the command with its output in build/logs/NAME.log, which is shown
# only when the command fails.
quietly()
{
    local log=$LOG_DIR/$1.log
    shift
    mkdir -p "$LOG_DIR"
    if "$@" >"$log" 2>&1 </dev/null; then
        return 0
    fi
    tail -n 200 "$log" >&2
    fail "'$*' failed; all of its output is in $log"
}

# wait_until SECONDS COMMAND...: false when the command did not become true in time.
wait_until()
{
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.05
    done
}

# Processes started by a command, each ended by its id when the command ends.
STARTED_PIDS=()

end_started_processes()
{
    local i
    for ((i = ${#STARTED_PIDS[@]} - 1; i >= 0; --i)); do
        kill "${STARTED_PIDS[i]}" 2>/dev/null || true
        wait "${STARTED_PIDS[i]}" 2>/dev/null || true
    done
    STARTED_PIDS=()
}
