#
# CLOCK DIVIDER
# by the Ostrel Editor authors
#
# Slows the MIDI clock down for a sequencer that should run at a
# fraction of the tempo: only every second clock of input 1 reaches
# output 1 (set DIVISOR below). Start begins the count anew. All other
# messages pass unchanged.
#

from ostrel import *

CLOCK = 0xF8
START = 0xFA
DIVISOR = 2

count = 0


def on_midi(port, msg):
    global count
    if port != MIDI_IN_1:
        return
    if msg[0] == START:
        count = 0
    if msg[0] == CLOCK:
        due = count == 0
        count = (count + 1) % DIVISOR
        if not due:
            return
    midi_send(MIDI_OUT_1, msg)


midi_set_receive_cb(on_midi)
