#pragma once

#include "midi/protocol/Box.h"
#include "midi/protocol/Messages.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"

#include <QStringList>

/// Boxes on scripted ports that answer identity and name requests at once.
namespace fakeboxes
{

struct Box
{
    midi::Identity identity;
    QByteArray name; ///< null: a box that does not say
};
using Boxes = std::vector<Box>;

/// "26/5" as a device reference, "none" as the one of no device.
inline int reference(const QString &text)
{
    if (text == "none")
        return midi::NoDeviceReference;
    return midi::deviceReference(static_cast<std::uint8_t>(text.section('/', 0, 0).toUInt()),
                                 static_cast<std::uint8_t>(text.section('/', 1, 1).toUInt()));
}

/// "26/5 26/6@1.1.0": boxes with the version 1.2.3, or another one, and their sysex IDs in their
/// names.
inline Boxes boxes(const QString &text)
{
    Boxes result;
    for (const QString &one : text.split(' ', Qt::SkipEmptyParts)) {
        const int ref = reference(one.section('@', 0, 0));
        const QStringList version = (one + "@1.2.3").section('@', 1, 1).split('.');
        const auto part = [&](int i) { return static_cast<std::uint8_t>(version[i].toUInt()); };
        const std::uint8_t id = midi::referencedSysexId(ref);
        result.push_back({{midi::referencedProductId(ref), id, {part(0), part(1), part(2)}},
                          "Box " + QByteArray::number(id)});
    }
    return result;
}

inline void answer(const Boxes &boxes, const midi::ByteMessage &message)
{
    FakeRtMidi &world = FakeRtMidi::world();
    world.receive(midi::programChange(0, 1)); // no answer, and to be passed over
    for (const Box &one : boxes) {
        const std::uint8_t id = one.identity.sysexId;
        if (message == midi::identityRequest())
            world.receive(midi::identityReply(one.identity));
        else if (message == midi::nameRequest(id) && !one.name.isNull())
            world.receive(midi::nameReply(id, testsupport::toBytes(one.name)));
    }
}

/// Puts boxes on the ports "Port 0", "Port 1", ...
inline void plug(const std::vector<Boxes> &ports)
{
    FakeRtMidi &world = FakeRtMidi::world();
    world.reset();
    for (std::size_t i = 0; i < ports.size(); ++i)
        world.inputs.push_back("Port " + std::to_string(i));
    world.outputs = world.inputs;
    world.onSend = [ports, names = world.inputs](const FakeRtMidi::Sent &sent) {
        const auto port = std::ranges::find(names, sent.port) - names.begin();
        answer(ports.at(static_cast<std::size_t>(port)), sent.bytes);
    };
}

/// "12/1|26/5 26/6": one box on the first port and two on the second.
inline void plug(const QString &text)
{
    std::vector<Boxes> ports;
    for (const QString &port : text.split('|', Qt::SkipEmptyParts))
        ports.push_back(boxes(port));
    plug(ports);
}

} // namespace fakeboxes
