"""Stand-in for the box's `ostrel` module, and the reference for what scripts may use of it.

Ports      MIDI_IN_1 and MIDI_IN_2 (pins 4 and 5), MIDI_IN_3 (the bidirectional path);
           MIDI_OUT_1 to MIDI_OUT_4 (pins 4 and 5), MIDI_OUT_5 (the bidirectional path)
Messages   bytes of one whole MIDI message, status byte first; sysex from 0xF0 to 0xF7
Callbacks  midi_set_receive_cb(cb)  cb(port, msg) for each message that arrives
           set_exp_pedal_cb(cb)     cb(position) when the pedal moves; the way runs from
                                    EXPPEDAL_MIN to EXPPEDAL_MAX, a worn pedal may overshoot it
           set_tick_cb(cb)          cb() once per millisecond
Sending    midi_send(port, msg)
           midi_msg_make_cc(channel, controller, value) -> bytes; channels count from 1
LED        set_led(LED_OFF | LED_RED | LED_GREEN | LED_ORANGE) until the next call;
           blink_led() shows a short blink that the box ends by itself

Ports, pedal ends and colours are opaque numbers: here they are odd on purpose, so that a script
that counts on 0, 1, 2 or on 1023 is found out. Names with an underscore are the test's side.
"""

MIDI_IN_1, MIDI_IN_2, MIDI_IN_3 = 11, 12, 13
MIDI_OUT_1, MIDI_OUT_2, MIDI_OUT_3, MIDI_OUT_4, MIDI_OUT_5 = 21, 22, 23, 24, 25
MIDI_MIN_VAL, MIDI_MAX_VAL = 0, 127
EXPPEDAL_MIN, EXPPEDAL_MAX = 40, 4040
LED_OFF, LED_RED, LED_GREEN, LED_ORANGE = 30, 31, 32, 33

_INPUTS = {'IN_1': MIDI_IN_1, 'IN_2': MIDI_IN_2, 'IN_3': MIDI_IN_3}
_OUTPUTS = {21: 'OUT_1', 22: 'OUT_2', 23: 'OUT_3', 24: 'OUT_4', 25: 'OUT_5'}
_COLOURS = {30: 'off', 31: 'red', 32: 'green', 33: 'orange'}
_DATA_BYTES = {0x80: 2, 0x90: 2, 0xA0: 2, 0xB0: 2, 0xC0: 1, 0xD0: 1, 0xE0: 2}
_SYSTEM_DATA_BYTES = {0xF1: 1, 0xF2: 2, 0xF3: 1}

_callbacks = {}
_events = []
_elapsed = None


def _record(text):
    _events.append(text if _elapsed is None else '@%d %s' % (_elapsed, text))


def _check_message(msg):
    status, data = msg[0], msg[1:]
    if status == 0xF0:
        assert data[-1] == 0xF7, 'sysex without an end'
        data = data[:-1]
    elif status >= 0xF0:
        assert len(data) == _SYSTEM_DATA_BYTES.get(status, 0), 'wrong length'
    else:
        assert len(data) == _DATA_BYTES[status & 0xF0], 'wrong length'
    assert all(byte < 0x80 for byte in data), 'status byte among the data'


def midi_set_receive_cb(cb):
    _callbacks['midi'] = cb


def set_exp_pedal_cb(cb):
    _callbacks['pedal'] = cb


def set_tick_cb(cb):
    _callbacks['tick'] = cb


def midi_msg_make_cc(channel, controller, value):
    assert 1 <= channel <= 16 and 0 <= controller <= 127 and 0 <= value <= 127
    return bytes((0xB0 | channel - 1, controller, value))


def midi_send(port, msg):
    _check_message(msg)
    _record(' '.join([_OUTPUTS[port]] + ['%02X' % byte for byte in msg]))


def set_led(colour):
    _record('LED ' + _COLOURS[colour])


def blink_led():
    _record('blink')


def _take_events():
    taken = '\n'.join(_events)
    _events.clear()
    return taken


def _apply(stimulus):
    """Does what one word and its values say, and returns what the script did, a line each.

    'IN_1 90 3C 40': that message arrives; 'pedal 2040': the pedal moves there; 'ticks 500': so
    many milliseconds pass, and each line then begins with the tick at which it happened.
    """
    global _elapsed
    word, *values = stimulus.split()
    if word == 'pedal':
        _callbacks['pedal'](int(values[0]))
    elif word == 'ticks':
        for tick in range(int(values[0])):
            _elapsed = tick + 1
            _callbacks['tick']()
        _elapsed = None
    else:
        _callbacks['midi'](_INPUTS[word], bytes(int(value, 16) for value in values))
    return _take_events()
