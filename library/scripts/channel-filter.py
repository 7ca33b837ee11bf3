#
# CHANNEL FILTER
# by the Ostrel Editor authors
#
# Lets only the channels listed below pass from input 1 to output 1.
# Clock, start, stop and other messages without a channel always pass.
#

from ostrel import *

CHANNELS = [1, 2]


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    has_channel = msg[0] < 0xF0
    if has_channel and (msg[0] & 0x0F) + 1 not in CHANNELS:
        return
    midi_send(MIDI_OUT_1, msg)
    if has_channel:
        blink_led()


midi_set_receive_cb(on_midi)
