#
# ARPEGGIATOR
# by the Ostrel Editor authors
#
# Plays the keys that you hold on input 1 one after the other, upwards,
# on output 1. Set tempo, steps per beat and the length of the notes in
# percent of a step below. All other messages pass unchanged.
#

from ostrel import *

CHANNEL = 1
TEMPO = 120
STEPS_PER_BEAT = 4
GATE_PERCENT = 50

STEP = 60000 // (TEMPO * STEPS_PER_BEAT)
# A gate of no length would never end a note
GATE = max(1, STEP * GATE_PERCENT // 100)

held = []
velocity = 100
next_step = 0
ticks = 0
sounding = None


def silence():
    global sounding
    if sounding is not None:
        midi_send(MIDI_OUT_1, bytes((0x80 | CHANNEL - 1, sounding, 64)))
        sounding = None


def play_step():
    global next_step, sounding
    silence()
    if not held:
        return
    sounding = held[next_step % len(held)]
    next_step += 1
    midi_send(MIDI_OUT_1, bytes((0x90 | CHANNEL - 1, sounding, velocity)))
    blink_led()


def press(note):
    global next_step, ticks
    if not held:
        # The first key starts the figure at once, not at the next step
        next_step = 0
        ticks = STEP - 1
    if note not in held:
        held.append(note)
        held.sort()


def on_midi(port, msg):
    global velocity
    if port != MIDI_IN_1:
        return
    if msg[0] & 0xE0 != 0x80:
        midi_send(MIDI_OUT_1, msg)
    elif msg[0] & 0x10 and msg[2] > 0:
        velocity = msg[2]
        press(msg[1])
    elif msg[1] in held:
        held.remove(msg[1])


def on_tick():
    global ticks
    ticks += 1
    if ticks == GATE:
        silence()
    if ticks >= STEP:
        ticks = 0
        play_step()


midi_set_receive_cb(on_midi)
set_tick_cb(on_tick)
