# shellcheck shell=bash
# The editor with a simulated box beside it. Needs common.sh, packages.sh, build.sh,
# midi_service.sh and virtual_display.sh.

DEMO_PICTURE=build/demo.png
BOX_LOG=$LOG_DIR/demo-box.log
EDITOR_LOG=$LOG_DIR/demo-editor.log

# What the box holds at first; it ends in a line end.
DEMO_SCRIPT=library/scripts/transpose.py

# What is typed into the script, and what the box prints in answer.
GREETING='Hello from the demo'

run_demo()
{
    trap end_started_processes EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM

    local packages=("${BUILD_PACKAGES[@]}" "${RUN_PACKAGES[@]}" svg-plugin)
    has_midi_service || packages+=("${PRIVATE_MIDI_PACKAGES[@]}")
    has_display || packages+=("${VIRTUAL_DISPLAY_PACKAGES[@]}")
    require_packages "${packages[@]}"
    build_preset release ostrel-editor ostrel-box

    has_midi_service || start_private_midi_service demo
    start_demo_box
    if has_display; then
        show_demo
    else
        drive_demo
    fi
}

# The editor meets neither the user's settings nor the user's scripts.
use_demo_home()
{
    local home=$PWD/build/demo-home/$1
    mkdir -p "$home"
    export XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_CACHE_HOME=$home/cache
}

start_demo_box()
{
    say 'Starting the simulated box'
    mkdir -p "$LOG_DIR"
    build/release/ostrel-box --script "$DEMO_SCRIPT" >"$BOX_LOG" 2>&1 </dev/null &
    BOX_PID=$!
    STARTED_PIDS+=("$BOX_PID")
    await_box 20 '^ready' 'the simulated box did not start'
}

show_demo()
{
    use_demo_home display
    say "Starting the editor; what the box sees is written to $BOX_LOG"
    build/release/ostrel-editor || fail "the editor ended with exit code $?"
}

drive_demo()
{
    rm -rf build/demo-home/virtual
    use_demo_home virtual
    start_virtual_display
    say 'Starting the editor'
    build/release/ostrel-editor >"$EDITOR_LOG" 2>&1 </dev/null &
    EDITOR_PID=$!
    STARTED_PIDS+=("$EDITOR_PID")
    wait_until 60 editor_has_window || give_up 'the window did not appear'
    await_box 30 'received name-request' 'the editor did not find the box'

    say 'Reading the script (Ctrl+R)'
    press ctrl+r
    await_box 30 'sent data-block .*type=4' 'the editor did not read the script'

    say 'Editing it'
    click_into_script
    press ctrl+End
    xdotool type --delay 20 "print('$GREETING')"

    say 'Sending it (Ctrl+Return)'
    press ctrl+Return
    await_box 30 'received block-write .*type=4' 'the editor did not send the script'
    await_box 30 "sent text \"$GREETING" 'the box did not run what was typed'

    take_demo_picture
    printf '\nWhat the box saw:\n'
    cat "$BOX_LOG"
    printf '\nThe script was read, edited, sent and run. Picture: %s\n' "$DEMO_PICTURE"
}

# The middle of the script's text, wherever the window's columns end.
click_into_script()
{
    local width height
    read -r width height < <(xdotool getwindowgeometry --shell "$WINDOW" |
        sed -n 's/^\(WIDTH\|HEIGHT\)=//p' | paste -s -d ' ')
    click_at $((width * 2 / 3)) $((height * 2 / 5))
}

# What the box printed is still on its way to the window: wait until the picture stands still.
take_demo_picture()
{
    local before=$LOG_DIR/before.png
    take_picture "$before"
    wait_until 10 picture_stands_still "$before" || true
    mv "$before" "$DEMO_PICTURE"
}

# A blinking text cursor is no change.
picture_stands_still()
{
    local now=$LOG_DIR/now.png cursor_pixels=200 changed
    sleep 0.5
    take_picture "$now"
    changed=$(compare -metric AE "$1" "$now" null: 2>&1) || true
    mv "$now" "$1"
    ((${changed%%.*} <= cursor_pixels))
}

# await_box SECONDS PATTERN WHAT-FAILED: waits for a line of the box.
await_box()
{
    wait_until "$1" box_said "$2" || give_up "$3"
}

box_said()
{
    grep -qsE "$1" "$BOX_LOG" && return 0
    insist_on_processes
    return 1
}

editor_has_window()
{
    focus_window 'Ostrel Script Editor' && return 0
    insist_on_processes
    return 1
}

# There is nothing to wait for once the box or the editor has ended.
insist_on_processes()
{
    kill -0 "$BOX_PID" 2>/dev/null || give_up 'the simulated box ended early'
    [[ -z ${EDITOR_PID-} ]] || kill -0 "$EDITOR_PID" 2>/dev/null || give_up 'the editor ended early'
}

give_up()
{
    [[ ! -f $BOX_LOG ]] || sed 's/^/box: /' "$BOX_LOG" >&2
    [[ ! -f $EDITOR_LOG ]] || sed 's/^/editor: /' "$EDITOR_LOG" >&2
    [[ -z ${EDITOR_PID-} ]] || take_picture "$DEMO_PICTURE" || true
    fail "$1"
}
