#include "support/BoxLink.h"

#include "midi/QtRtMIDI.h"

#include <QTest>

namespace testsupport
{

bool connectToBox(QtRtMIDI &midi, std::uint8_t sysexId)
{
    constexpr int Attempts = 40;
    constexpr int AttemptMs = 500;
    midi.setSysexID(sysexId);
    const auto opened = [&] {
        midi.scanPorts(InputPortName, OutputPortName);
        return midi.portCount() == 1 && midi.selectPort(0);
    };
    // A service with much to do may turn the connection away at first.
    if (!QTest::qWaitFor(opened, Attempts * AttemptMs))
        return false;
    midi.setCallbackMode(false);
    for (int i = 0; i < Attempts; ++i) {
        if (midi.sendIDReq() && !awaitMessage(midi, midi::isIdentityReply, AttemptMs).empty())
            return true;
    }
    return false;
}

midi::ByteMessage awaitMessage(QtRtMIDI &midi, const std::function<bool(midi::ByteView)> &wanted,
                               int timeoutMs)
{
    midi::ByteMessage message;
    const auto found = [&] { return midi.receiveMessage(message) && wanted(message); };
    if (!QTest::qWaitFor(found, timeoutMs))
        return {};
    return message;
}

} // namespace testsupport
