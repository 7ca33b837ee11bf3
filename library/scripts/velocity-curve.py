#
# VELOCITY CURVE
# by the Ostrel Editor authors
#
# Fits the touch of the keyboard on input 1 to the sounds on output 1.
# The curve is given by points of velocity played and velocity sent;
# between them it runs straight. This one helps a hard action.
#

from ostrel import *

POINTS = [(1, 10), (40, 70), (90, 115), (127, 127)]


def bend(velocity):
    if velocity <= POINTS[0][0]:
        return POINTS[0][1]
    for (x0, y0), (x1, y1) in zip(POINTS, POINTS[1:]):
        if velocity <= x1:
            return y0 + (velocity - x0) * (y1 - y0) // (x1 - x0)
    return POINTS[-1][1]


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    # A note on of velocity 0 means note off and has to stay one
    if msg[0] & 0xF0 == 0x90 and msg[2] > 0:
        msg = bytes((msg[0], msg[1], max(1, min(127, bend(msg[2])))))
    midi_send(MIDI_OUT_1, msg)
    blink_led()


midi_set_receive_cb(on_midi)
