#pragma once

#include <QObject>
#include <QStringList>

class QtRtMIDI;

namespace testsupport
{

/// Records the texts that a link shows, as the window is told of them: those of the MIDI library's
/// thread by way of the event loop. Belongs to the test's thread.
class LinkRecorder
{
public:
    explicit LinkRecorder(QtRtMIDI &link);

    /// Whether this is the text that came last.
    [[nodiscard]] bool endsWith(const QString &text) const;
    /// Forgets the texts so far and returns them.
    [[nodiscard]] QStringList takeTexts();

private:
    QStringList m_texts;
    QObject m_receiver; ///< goes first
};

} // namespace testsupport
