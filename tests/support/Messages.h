#pragma once

#include "midi/protocol/DataBlock.h"

#include <QByteArray>

/// Messages as tests write and read them.
namespace testsupport
{

/// "F0 00 01 5B", as a failed comparison should show a message.
inline QByteArray hex(midi::ByteView message)
{
    return QByteArrayView(message.data(), static_cast<qsizetype>(message.size()))
        .toByteArray()
        .toHex(' ')
        .toUpper();
}

inline midi::ByteMessage fromHex(const QByteArray &text)
{
    const QByteArray bytes = QByteArray::fromHex(text);
    return {bytes.begin(), bytes.end()};
}

inline midi::ByteMessage toBytes(QByteArrayView text)
{
    return {text.begin(), text.end()};
}

/// The frame that a box answers a read with.
inline midi::ByteMessage dataBlock(std::uint8_t sysexId, midi::BlockType type,
                                   midi::ByteView payload)
{
    return midi::dataBlock(midi::Command::DataBlock, sysexId, midi::toByte(type), payload).value();
}

} // namespace testsupport
