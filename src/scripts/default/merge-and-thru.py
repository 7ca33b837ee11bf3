#
# MERGE AND THRU
# by the Ostrel Editor authors
#
# Merges the MIDI inputs and sends the result to outputs 1 to 4.
# What arrives on the bidirectional input goes back out on the
# bidirectional output. The LED blinks with each message.
#

from ostrel import *

MERGED_OUTPUTS = [MIDI_OUT_1, MIDI_OUT_2, MIDI_OUT_3, MIDI_OUT_4]


def on_midi(port, msg):
    if port == MIDI_IN_3:
        midi_send(MIDI_OUT_5, msg)
    else:
        for output in MERGED_OUTPUTS:
            midi_send(output, msg)
    blink_led()


midi_set_receive_cb(on_midi)
