#
# PEDAL PROGRAM CHANGE
# by the Ostrel Editor authors
#
# Steps through the programs of a set list: each time you press the
# expression pedal down, the next program of the list below goes to
# output 1, and after the last one the first. Programs count from 1.
# Input 1 passes to output 1 unchanged.
#

from ostrel import *

CHANNEL = 1
PROGRAMS = [1, 5, 12, 33]

# Apart from each other, so that a half-pressed pedal does not step twice
RANGE = EXPPEDAL_MAX - EXPPEDAL_MIN
DOWN = EXPPEDAL_MIN + RANGE * 3 // 4
LIFTED = EXPPEDAL_MIN + RANGE // 4

next_index = 0
pressed = False


def send_next_program():
    global next_index
    program = PROGRAMS[next_index]
    next_index = (next_index + 1) % len(PROGRAMS)
    midi_send(MIDI_OUT_1, bytes((0xC0 | CHANNEL - 1, program - 1)))
    blink_led()


def on_pedal(position):
    global pressed
    if not pressed and position >= DOWN:
        pressed = True
        send_next_program()
    elif pressed and position <= LIFTED:
        pressed = False


def on_midi(port, msg):
    if port == MIDI_IN_1:
        midi_send(MIDI_OUT_1, msg)


set_exp_pedal_cb(on_pedal)
midi_set_receive_cb(on_midi)
