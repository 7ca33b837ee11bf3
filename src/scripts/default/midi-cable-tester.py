#
# MIDI CABLE TESTER
# by the Ostrel Editor authors
#
# Tests the cable that you plug from output 1 to input 1. Twice a
# second a random message goes out, by turns on the usual pins 4 and 5
# and on the bidirectional pins 1 and 3, and has to come back the same.
#
# Green:    pins 4 and 5 are good
# Orange:   pins 1 and 3 are good
# Red:      the message came back corrupted or on the wrong pins
# No flash: nothing came back
#
# Many good cables leave pins 1 and 3 open: these flash green only.
#

from ostrel import *

from random import randrange

SEND_PERIOD = 500
FLASH_TIME = 100

# Way out, way back, colour when both work
PATHS = [
    (MIDI_OUT_1, MIDI_IN_1, LED_GREEN),
    (MIDI_OUT_5, MIDI_IN_3, LED_ORANGE),
]

path = len(PATHS) - 1
sent = None
faulty = False
ticks_to_send = SEND_PERIOD
ticks_to_dark = 0


def flash(colour):
    global ticks_to_dark
    set_led(colour)
    ticks_to_dark = FLASH_TIME


def send_next():
    global path, sent, faulty
    path = (path + 1) % len(PATHS)
    faulty = False
    # Controllers from 120 on would silence a synth that hangs on the cable
    sent = midi_msg_make_cc(randrange(1, 17), randrange(120), randrange(128))
    midi_send(PATHS[path][0], sent)


def on_midi(port, msg):
    global faulty
    _, way_back, colour = PATHS[path]
    # A good copy does not hide a bad one: two wires may touch
    if port != way_back or msg != sent:
        faulty = True
    flash(LED_RED if faulty else colour)


def on_tick():
    global ticks_to_send, ticks_to_dark
    if ticks_to_dark > 0:
        ticks_to_dark -= 1
        if ticks_to_dark == 0:
            set_led(LED_OFF)
    ticks_to_send -= 1
    if ticks_to_send == 0:
        ticks_to_send = SEND_PERIOD
        send_next()


set_led(LED_OFF)
midi_set_receive_cb(on_midi)
set_tick_cb(on_tick)
