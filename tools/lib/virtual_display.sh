# shellcheck shell=bash
# A display for machines that have none, and how a window on it is driven. Needs common.sh.

has_display()
{
    [[ -n ${DISPLAY-} || -n ${WAYLAND_DISPLAY-} ]]
}

# The server picks a free number and writes it once it is ready. It does not start anew when its
# last client goes, which may be a look for the window of a program that is just connecting.
start_virtual_display()
{
    local number=$LOG_DIR/display
    say 'Starting a virtual display'
    mkdir -p "$LOG_DIR"
    rm -f "$number"
    Xvfb -displayfd 3 -noreset -screen 0 1024x768x24 -nolisten tcp \
        3>"$number" >"$LOG_DIR/xvfb.log" 2>&1 </dev/null &
    STARTED_PIDS+=($!)
    if ! wait_until 20 test -s "$number"; then
        cat "$LOG_DIR/xvfb.log" >&2
        fail 'the virtual display did not start'
    fi
    DISPLAY=:$(<"$number")
    export DISPLAY QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software
}

# focus_window TITLE: gives the window the keyboard, as a window manager would, and leaves its id in
# WINDOW. False while there is no such window.
focus_window()
{
    WINDOW=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1) || true
    [[ -n $WINDOW ]] && xdotool windowfocus --sync "$WINDOW"
}

press()
{
    xdotool key --clearmodifiers "$@"
}

click_at()
{
    xdotool mousemove --window "$WINDOW" "$1" "$2" click 1
}

take_picture()
{
    import -window root "$1"
}
