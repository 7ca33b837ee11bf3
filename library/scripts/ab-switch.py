#
# AB SWITCH
# by the Ostrel Editor authors
#
# Plays one of two instruments, on output 1 (A, green) and output 2
# (B, red), from the keyboard on input 1. A foot switch that sends
# controller 80 changes over.
#
# A note that is held while you change ends on the instrument that it
# began on. The sustain pedal of the old instrument is lifted.
#

from ostrel import *

SWITCH_CONTROLLER = 80
SUSTAIN = 64
OUTPUTS = [MIDI_OUT_1, MIDI_OUT_2]
COLOURS = [LED_GREEN, LED_RED]

active = 0
played_on = {}
sustained = set()


def change_over():
    global active
    # The foot switch may have another channel than the pedal
    for channel in sorted(sustained):
        midi_send(OUTPUTS[active], midi_msg_make_cc(channel, SUSTAIN, 0))
    sustained.clear()
    active = 1 - active
    set_led(COLOURS[active])


def note_sustain(channel, value):
    if value >= 64:
        sustained.add(channel)
    else:
        sustained.discard(channel)


def route_note(msg):
    key = (msg[0] & 0x0F, msg[1])
    if msg[0] & 0xF0 == 0x90 and msg[2] > 0:
        played_on[key] = active
        midi_send(OUTPUTS[active], msg)
    else:
        midi_send(OUTPUTS[played_on.pop(key, active)], msg)


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    kind = msg[0] & 0xF0
    if kind == 0xF0:
        for output in OUTPUTS:
            midi_send(output, msg)
    elif kind == 0xB0 and msg[1] == SWITCH_CONTROLLER:
        if msg[2] >= 64:
            change_over()
    elif kind in (0x80, 0x90):
        route_note(msg)
    else:
        if kind == 0xB0 and msg[1] == SUSTAIN:
            note_sustain((msg[0] & 0x0F) + 1, msg[2])
        midi_send(OUTPUTS[active], msg)


set_led(COLOURS[active])
midi_set_receive_cb(on_midi)
