#
# TEMPO LED
# by the Ostrel Editor authors
#
# Shows the tempo of the MIDI clock on input 1: the LED flashes red on
# the first beat of a bar and green on the others. Start begins a new
# bar. All messages pass to output 1.
#

from ostrel import *

CLOCK = 0xF8
START = 0xFA
CLOCKS_PER_BEAT = 24
BEATS_PER_BAR = 4
FLASH_TIME = 50

clocks = 0
ticks_to_dark = 0


def flash(colour):
    global ticks_to_dark
    set_led(colour)
    ticks_to_dark = FLASH_TIME


def on_midi(port, msg):
    global clocks
    if port != MIDI_IN_1:
        return
    midi_send(MIDI_OUT_1, msg)
    if msg[0] == START:
        clocks = 0
    elif msg[0] == CLOCK:
        if clocks % CLOCKS_PER_BEAT == 0:
            flash(LED_RED if clocks == 0 else LED_GREEN)
        clocks = (clocks + 1) % (CLOCKS_PER_BEAT * BEATS_PER_BAR)


def on_tick():
    global ticks_to_dark
    if ticks_to_dark > 0:
        ticks_to_dark -= 1
        if ticks_to_dark == 0:
            set_led(LED_OFF)


midi_set_receive_cb(on_midi)
set_tick_cb(on_tick)
