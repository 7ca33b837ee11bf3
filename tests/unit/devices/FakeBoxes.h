#pragma once

#include "midi/DeviceReference.h"
#include "midi/SysexFrame.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"

#include <QStringList>

/// Boxes on scripted ports that answer identity and name requests at once.
namespace fakeboxes
{

struct Box
{
    midi::Identity identity;
    QByteArray name;
};

/// "26/5" as a device reference, "none" as the one of no device.
inline int reference(const QString &text)
{
    if (text == "none")
        return midi::NoDeviceReference;
    return midi::deviceReference(static_cast<std::uint8_t>(text.section('/', 0, 0).toUInt()),
                                 static_cast<std::uint8_t>(text.section('/', 1, 1).toUInt()));
}

/// A box with the version 1.2.3 and its sysex ID in its name.
inline Box box(const QString &text)
{
    const int ref = reference(text);
    const std::uint8_t id = midi::referencedSysexId(ref);
    return {{midi::referencedProductId(ref), id, {1, 2, 3}}, "Box " + QByteArray::number(id)};
}

inline void answer(const std::vector<Box> &boxes, const midi::ByteMessage &message)
{
    for (const Box &one : boxes) {
        const std::uint8_t id = one.identity.sysexId;
        if (message == midi::identityRequest())
            FakeRtMidi::world().receive(midi::identityReply(one.identity));
        else if (message == midi::nameRequest(id))
            FakeRtMidi::world().receive(midi::nameReply(id, testsupport::toBytes(one.name)));
    }
}

/// Puts boxes on the ports "Port 0", "Port 1", ...
inline void plug(const std::vector<std::vector<Box>> &ports)
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
    std::vector<std::vector<Box>> ports;
    for (const QString &port : text.split('|', Qt::SkipEmptyParts)) {
        auto &boxes = ports.emplace_back();
        for (const QString &one : port.split(' ', Qt::SkipEmptyParts))
            boxes.push_back(box(one));
    }
    plug(ports);
}

} // namespace fakeboxes
