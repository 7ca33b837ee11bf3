#
# NOTE TO CC
# by the Ostrel Editor authors
#
# Makes switches out of drum pads or keys: each note listed below turns
# its controller on (127) at one hit and off (0) at the next, on each
# channel by itself. Other messages pass unchanged from input 1 to output 1.
#

from ostrel import *

CONTROLLERS = {
    36: 80,
    37: 81,
    38: 82,
    39: 83,
}

switched_on = set()


def toggle(note, channel):
    key = (note, channel)
    if key in switched_on:
        switched_on.remove(key)
        value = MIDI_MIN_VAL
    else:
        switched_on.add(key)
        value = MIDI_MAX_VAL
    midi_send(MIDI_OUT_1, midi_msg_make_cc(channel, CONTROLLERS[note], value))
    blink_led()


def on_midi(port, msg):
    if port != MIDI_IN_1:
        return
    if not 0x80 <= msg[0] < 0xB0 or msg[1] not in CONTROLLERS:
        midi_send(MIDI_OUT_1, msg)
    elif msg[0] & 0xF0 == 0x90 and msg[2] > 0:
        toggle(msg[1], (msg[0] & 0x0F) + 1)


midi_set_receive_cb(on_midi)
