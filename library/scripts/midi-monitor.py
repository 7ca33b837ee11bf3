#
# MIDI MONITOR
# by the Ostrel Editor authors
#
# Prints what arrives on any input to the editor's message log and
# passes input 1 on to output 1. Clock and active sensing are not
# printed, for they would fill the log.
#

from ostrel import *

INPUTS = {MIDI_IN_1: 1, MIDI_IN_2: 2, MIDI_IN_3: 3}
NOT_PRINTED = [0xF8, 0xFE]

CHANNEL_KINDS = {
    0x80: 'note off',
    0x90: 'note on',
    0xA0: 'key pressure',
    0xB0: 'control',
    0xC0: 'program',
    0xD0: 'pressure',
    0xE0: 'pitch bend',
}
SYSTEM_KINDS = {
    0xF0: 'sysex',
    0xF1: 'time code',
    0xF2: 'position',
    0xF3: 'song',
    0xF6: 'tune request',
    0xFA: 'start',
    0xFB: 'continue',
    0xFC: 'stop',
    0xFF: 'reset',
}


def describe(msg):
    if msg[0] >= 0xF0:
        kind = SYSTEM_KINDS.get(msg[0], 'system')
        return kind + ' ' + ' '.join('%02X' % byte for byte in msg)
    kind = CHANNEL_KINDS[msg[0] & 0xF0]
    values = ' '.join(str(value) for value in msg[1:])
    return 'ch %d %s %s' % ((msg[0] & 0x0F) + 1, kind, values)


def on_midi(port, msg):
    if port == MIDI_IN_1:
        midi_send(MIDI_OUT_1, msg)
    if msg[0] not in NOT_PRINTED:
        print('in %d: %s' % (INPUTS.get(port, port), describe(msg)))
        blink_led()


midi_set_receive_cb(on_midi)
