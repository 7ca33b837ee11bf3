#
# CC REMAP
# by the Ostrel Editor authors
#
# Gives controllers new numbers on the way from input 1 to output 1:
# here the modulation wheel (1) becomes expression (11) and the breath
# controller (2) becomes volume (7). Anything else passes unchanged.
#

from ostrel import *

NEW_NUMBERS = {
    1: 11,
    2: 7,
}


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    if msg[0] & 0xF0 == 0xB0 and msg[1] in NEW_NUMBERS:
        msg = bytes((msg[0], NEW_NUMBERS[msg[1]], msg[2]))
    midi_send(MIDI_OUT_1, msg)
    blink_led()


midi_set_receive_cb(on_midi)
