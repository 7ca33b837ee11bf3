#pragma once

#include "midi/QtRtMIDI.h"

/// While this exists, what arrives at the link waits for receiveMessage(), from an empty queue on.
/// Afterwards the link is in callback mode, whatever it was in before.
class PollingScope
{
public:
    explicit PollingScope(QtRtMIDI &link)
        : m_link(link)
    {
        m_link.setCallbackMode(false);
        m_link.flushInput();
    }
    ~PollingScope() { m_link.setCallbackMode(true); }
    Q_DISABLE_COPY_MOVE(PollingScope)

private:
    QtRtMIDI &m_link;
};
