#!/usr/bin/env python3
"""Prints the literal bytes that tst_goldenbytes and tst_firmwareupdate hold.

Written from docs/protocol.md alone, so that a mistake in our C++ code is not repeated here. No test
runs it: run it by hand to see where the bytes come from, or when the protocol changes. Runs of one
byte are printed as 7F*585.
"""

import itertools

ID = 5
END = bytes([0xF7])


def crc(data):
    register = 0xFFFFFFFF
    for byte in data:
        for bit in range(7, -1, -1):
            feedback = register >> 31 ^ byte >> bit & 1
            register = (register << 1 & 0xFFFFFFFF) ^ 0x04C11DB7 * feedback
    return register ^ 0xFFFFFFFF


def groups(data):
    """Per group of up to seven bytes: their low seven bits, and the byte with their top bits."""
    for start in range(0, len(data), 7):
        group = data[start:start + 7]
        bits = ''.join(str(byte // 128) for byte in group).ljust(7, '0')
        yield bytes(byte % 128 for byte in group), bytes([int(bits, 2)])


def mcoded7(data):
    return b''.join(top + low for low, top in groups(data))


def block_form(data):
    """A group that is full is followed by another one, if only of zeros."""
    encoded = b''.join(low.ljust(7, b'\0') + top for low, top in groups(data))
    return encoded if len(data) % 7 else encoded + bytes(8)


def number(value, size=4):
    return bytes(value // 128 ** place % 128 for place in range(size))


def frame(*body):
    return bytes([0xF0, 0x00, 0x01, 0x5B]) + b''.join(
        bytes([part]) if isinstance(part, int) else part for part in body) + END


def data_block(command, block_type, payload):
    encoded = mcoded7(payload)
    check = crc(encoded).to_bytes(4, 'little') if encoded else bytes(4)
    return frame(ID, command, block_type, 0, 0, number(len(encoded), 2), mcoded7(check), encoded)


def update(sub_command, *body):
    return frame(ID, 0x20, sub_command, *body)


def update_data(position, block):
    encoded = block_form(block)
    masked = bytes(byte & 0x7F for byte in crc(encoded).to_bytes(4, 'little'))
    return update(1, number(position), number(len(block)), number(len(encoded)), masked, encoded)


def show(name, message):
    runs = [(f'{byte:02X}', len(list(run))) for byte, run in itertools.groupby(message)]
    print(f'{name}:', ' '.join(
        f'{byte}*{count}' if count > 8 else ' '.join([byte] * count) for byte, count in runs))


# A record without empty bytes but for the last one, which ends the name. Mode 2.
RECORD = bytes([0xFF] * 16 + [2, ID] + [0xFF] * 237 + [0])
# Its checksum has different bytes, and the top bits 1101.
SCRIPT = '# ä b€\n'.encode()
# All four bytes of its checksum have their top bit set.
FIRMWARE = bytes([0x80, 0x01, 0xFF, 0x7F, 0x00, 0xC3, 0x12, 0x99, 0x34, 0xE6])
# As tests/unit/firmware/ImageBuilder.h makes it.
PAYLOAD = bytes((i * 31 + i // 256) % 256 for i in range(1024))

print('tst_goldenbytes')
show('identity request', frame(0x03))
show('identity reply', frame(0x04, 26, 2 * 16 + 3, 4, ID))
show('identity reply, bootloader', frame(0x04, 26, 7 * 16 + 15, 127, ID))
show('name request', frame(ID, 0x21, 0))
show('name reply', frame(ID, 0x22, 0, b'Ab'))
for name, block_type, payload in (('settings', 0, RECORD), ('script', 4, SCRIPT)):
    show(f'{name}, write', data_block(0x31, block_type, payload))
    show(f'{name}, read request', frame(ID, 0x33, block_type, 0, 0))
    show(f'{name}, data block', data_block(0x34, block_type, payload))
show('flagged write, type 127, empty', data_block(0x39, 0x7F, b''))
show('acknowledgement', frame(ID, 0x32, bytes(4)))
for words in (f'Script received: {len(SCRIPT)} bytes\n', 'Running...\n'):
    show('text', frame(ID, 0x1F, 0, words.encode()))
show('data header', frame(ID, 0x0B, bytes([7, 8]))[:-1])
show('program change', bytes([0xC0 + 15, 127]))
show('update request', update(0))
for position, block in ((0, b'\xFF' * 512), (512, FIRMWARE), (0x2345678, FIRMWARE)):
    show(f'block at {position}', update_data(position, block))
for status, position in ((0x7F, 512), (0x7F, 522), (0, 512)):
    show(f'response {status:02X}, {position}', update(2, status, number(position)))
for length in (512, 0x2345678):
    show(f'done, {length}', update(3, number(length), 0x11, 0x22))
show('update cancel', update(4))

print('\ntst_firmwareupdate')
for position, length in ((0, 512), (512, 512), (512, 188), (896, 128), (0, 8), (0, 0)):
    message = update_data(position, PAYLOAD[position:position + length])
    show(f'block {position}+{length}', message[7:23])
for value in (0, 8, 512, 700, 896, 1024, 268435455):
    show(f'number {value}', number(value))
