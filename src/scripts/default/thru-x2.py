#
# THRU X2
# by the Ostrel Editor authors
#
# Two separate thru boxes in one: input 1 goes to outputs 1 and 2,
# input 2 goes to outputs 3 and 4. The LED blinks with each message.
#

from ostrel import *

ROUTES = {
    MIDI_IN_1: [MIDI_OUT_1, MIDI_OUT_2],
    MIDI_IN_2: [MIDI_OUT_3, MIDI_OUT_4],
}


def on_midi(port, msg):
    if port not in ROUTES:
        return
    for output in ROUTES[port]:
        midi_send(output, msg)
    blink_led()


midi_set_receive_cb(on_midi)
