#pragma once

#include "midi/MovingBytes.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <vector>

class QtRtMIDI;

/// Asks the box, a moment after a script was sent, whether it holds that script, because nothing on
/// the way tells that a message was lost. Does not hold up the window: the answer comes as any
/// other message. Ends without a word when another box is addressed. Owned by SettingsTransfer, GUI
/// thread.
class ScriptConfirmation : public QObject
{
    Q_OBJECT

public:
    explicit ScriptConfirmation(QObject *parent = nullptr);

    /// Not owned; null is allowed.
    void setLink(QtRtMIDI *link);

    /// To be called right after `script`, one byte per character, was sent.
    void begin(const QByteArray &script);
    /// Ends without a word. Answers may still come.
    void cancel();
    /// Cancels, then waits for the answers that are still to come and drops them, so that nobody
    /// takes one for the answer to a later question. Half a second at most when none comes.
    void dropAnswers();

signals:
    void scriptDiffers();
    /// The box is there, but answered neither of two questions.
    void scriptNotConfirmed();

private:
    void forgetBox();
    void goOn();
    void ask();
    void giveUp();
    void receive(const std::vector<uint8_t> &message);

    QPointer<QtRtMIDI> m_link;
    QTimer m_timer; ///< runs from begin() to the end
    QByteArray m_script;
    midi::MovingBytes m_bytes;
    int m_questions = 0;       ///< asked about m_script
    int m_answersDue = 0;      ///< to these and earlier questions
    int m_olderAnswersDue = 0; ///< of those, to questions that were asked before m_script was sent
};
