#
# KEYBOARD SPLIT
# by the Ostrel Editor authors
#
# Splits the keyboard on input 1 in two. Notes below middle C (60) play
# a bass on output 1, channel 2, an octave lower; notes from middle C on
# play output 2, channel 1. Pedals, wheels and the rest go to both.
#

from ostrel import *

SPLIT_NOTE = 60

# Output, channel, transposition in semitones
LOWER = [MIDI_OUT_1, 2, -12]
UPPER = [MIDI_OUT_2, 1, 0]


def has_note(msg):
    # Note off, note on and the pressure of a single key
    return 0x80 <= msg[0] < 0xB0


def send_to(zone, msg):
    output, channel, semitones = zone
    moved = bytearray(msg)
    if msg[0] < 0xF0:
        moved[0] = msg[0] & 0xF0 | channel - 1
    if has_note(msg):
        note = msg[1] + semitones
        if not 0 <= note <= 127:
            return
        moved[1] = note
    midi_send(output, bytes(moved))


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    if has_note(msg):
        send_to(LOWER if msg[1] < SPLIT_NOTE else UPPER, msg)
        blink_led()
    else:
        send_to(LOWER, msg)
        send_to(UPPER, msg)


midi_set_receive_cb(on_midi)
