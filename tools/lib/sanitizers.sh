# shellcheck shell=bash disable=SC2034 # who sources this uses SANITIZER_OPTIONS
# How programs with sanitizers report what they find.

# use_sanitizer_options FINDINGS: sets SANITIZER_OPTIONS, the environment for `env`. Findings go to
# files FINDINGS.*, since those of a program that a test started would be seen by nobody.
use_sanitizer_options()
{
    local suppressions=$PWD/tools/suppressions
    SANITIZER_OPTIONS=(
        "ASAN_OPTIONS=detect_stack_use_after_return=1:log_path=$1"
        "LSAN_OPTIONS=suppressions=$suppressions/lsan.txt:print_suppressions=0"
        UBSAN_OPTIONS=print_stacktrace=1
        "TSAN_OPTIONS=suppressions=$suppressions/tsan.txt:log_path=$1"
    )
}

# False when there are some.
show_findings()
{
    compgen -G "$1.*" >/dev/null || return 0
    cat "$1".* >&2
    return 1
}
