#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QtRtMIDI;

namespace testsupport
{

/// Records the texts that a connection pushes, as they arrive: on the MIDI library's thread, on
/// which a QSignalSpy of Qt 6.4 would write into what the test reads. Belongs to the test's thread.
class LinkRecorder
{
public:
    explicit LinkRecorder(QtRtMIDI &link);

    /// Whether this is the text that came last.
    [[nodiscard]] bool endsWith(const QString &text) const;
    /// Forgets the texts so far and returns them.
    [[nodiscard]] QStringList takeTexts();

private:
    struct Record;

    std::shared_ptr<Record> m_record; ///< shared with calls that are still under way
    QObject m_receiver;
};

} // namespace testsupport
