#include "devices/IdentityScan.h"

#include "midi/PollingScope.h"

#include <QThread>

bool askWhoIsThere(QtRtMIDI &link, unsigned port,
                   const std::function<bool(midi::ByteView message)> &take,
                   const std::function<bool()> &expectsMore)
{
    constexpr int Rounds = 20;
    constexpr unsigned long RoundMs = 10;
    if (!link.selectPort(port))
        return false;
    const PollingScope polling(link);
    if (!link.sendIDReq())
        return false;
    QtRtMIDI::Message message;
    for (int round = 0; round < Rounds || (round < 2 * Rounds && expectsMore()); ++round) {
        if (link.receiveMessage(message) && !take(message))
            break;
        QThread::msleep(RoundMs);
    }
    return true;
}
