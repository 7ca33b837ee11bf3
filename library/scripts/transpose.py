#
# TRANSPOSE
# by the Ostrel Editor authors
#
# Shifts the notes of input 1 by the semitones below and sends them to
# output 1, for the singer who needs it a tone lower tonight. Drums on
# channel 10 keep their notes. Notes that would leave MIDI's range are
# dropped.
#

from ostrel import *

SEMITONES = -2
UNCHANGED_CHANNELS = [10]


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    # Note off, note on and the pressure of a single key carry a note
    has_note = 0x80 <= msg[0] < 0xB0
    if has_note and (msg[0] & 0x0F) + 1 not in UNCHANGED_CHANNELS:
        note = msg[1] + SEMITONES
        if not 0 <= note <= 127:
            return
        msg = bytes((msg[0], note, msg[2]))
    midi_send(MIDI_OUT_1, msg)
    blink_led()


midi_set_receive_cb(on_midi)
