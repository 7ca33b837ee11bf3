#
# SYSEX FILTER
# by the Ostrel Editor authors
#
# Keeps system exclusive messages and active sensing away from
# instruments that choke on them. All else passes: input 1 to output 1,
# input 2 to output 2.
#

from ostrel import *

BLOCKED = [0xF0, 0xFE]
ROUTES = {
    MIDI_IN_1: MIDI_OUT_1,
    MIDI_IN_2: MIDI_OUT_2,
}


def on_midi(port, msg):
    if port in ROUTES and msg[0] not in BLOCKED:
        midi_send(ROUTES[port], msg)
        blink_led()


midi_set_receive_cb(on_midi)
