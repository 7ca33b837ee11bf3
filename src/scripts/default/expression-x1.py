#
# EXPRESSION X1
# by the Ostrel Editor authors
#
# Turns the expression pedal into a control change on MIDI output 1.
# Choose channel, controller and range below. A maximum below the
# minimum inverts the pedal.
#

from ostrel import *

CHANNEL = 1
CONTROLLER = 7
MINIMUM = 0
MAXIMUM = 127


def clamp(value, low, high):
    return max(low, min(high, value))


def on_pedal(position):
    low = clamp(MINIMUM, MIDI_MIN_VAL, MIDI_MAX_VAL)
    high = clamp(MAXIMUM, MIDI_MIN_VAL, MIDI_MAX_VAL)
    travel = clamp(position, EXPPEDAL_MIN, EXPPEDAL_MAX) - EXPPEDAL_MIN
    # Towards the minimum both ways: a pedal at rest sends just that
    steps = travel * abs(high - low) // (EXPPEDAL_MAX - EXPPEDAL_MIN)
    value = low + steps if low <= high else low - steps
    midi_send(MIDI_OUT_1, midi_msg_make_cc(CHANNEL, CONTROLLER, value))
    blink_led()


set_exp_pedal_cb(on_pedal)
