#
# PANIC PEDAL
# by the Ostrel Editor authors
#
# Ends hanging notes: press the expression pedal right down, and every
# channel of outputs 1 to 4 gets sustain off, all notes off and reset
# all controllers. The LED turns red until you lift the pedal again.
# Meanwhile inputs 1 and 2 are merged to all four outputs.
#

from ostrel import *

OUTPUTS = [MIDI_OUT_1, MIDI_OUT_2, MIDI_OUT_3, MIDI_OUT_4]
SUSTAIN = 64
ALL_NOTES_OFF = 123
RESET_CONTROLLERS = 121

# Apart from each other, so that a trembling foot causes one panic, not ten
RANGE = EXPPEDAL_MAX - EXPPEDAL_MIN
DOWN = EXPPEDAL_MAX - RANGE // 20
LIFTED = EXPPEDAL_MAX - RANGE // 4

pressed = False


def panic():
    for channel in range(1, 17):
        for controller in (SUSTAIN, ALL_NOTES_OFF, RESET_CONTROLLERS):
            msg = midi_msg_make_cc(channel, controller, 0)
            for output in OUTPUTS:
                midi_send(output, msg)


def on_pedal(position):
    global pressed
    if not pressed and position >= DOWN:
        pressed = True
        set_led(LED_RED)
        panic()
    elif pressed and position <= LIFTED:
        pressed = False
        set_led(LED_OFF)


def on_midi(port, msg):
    if port not in (MIDI_IN_1, MIDI_IN_2):
        return
    for output in OUTPUTS:
        midi_send(output, msg)


set_exp_pedal_cb(on_pedal)
midi_set_receive_cb(on_midi)
