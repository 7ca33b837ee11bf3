#
# FLASHER
# by the Ostrel Editor authors
#
# Flashes the LED red and green, changing every half second.
# The box calls on_tick once per millisecond.
#

from ostrel import *

PERIOD = 500

colour = LED_RED
ticks = 0


def on_tick():
    global colour, ticks
    ticks += 1
    if ticks < PERIOD:
        return
    ticks = 0
    colour = LED_GREEN if colour == LED_RED else LED_RED
    set_led(colour)


set_led(colour)
set_tick_cb(on_tick)
