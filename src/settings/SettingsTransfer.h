#pragma once

#include "settings/ScriptConfirmation.h"

#include <QObject>
#include <QPointer>
#include <QVariant>

class QQmlEngine;
class QtRtMIDI;
struct SettingsT;

/// Moves settings and scripts between the documents and the MIDI link. One instance, a child of the
/// QML engine and its context property "SettingsTransfer". GUI thread only; each transfer blocks
/// until the link's exchange ends. Without a link every transfer fails softly.
class SettingsTransfer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QtRtMIDI *midiObj READ midiObj WRITE setMidiObj NOTIFY midiObjChanged FINAL)
    Q_MOC_INCLUDE("midi/QtRtMIDI.h")

public:
    static constexpr char ContextName[] = "SettingsTransfer";

    /// Creates the instance unless it exists and sets it on the engine's root context.
    static void registerSingleton(QQmlEngine *engine);
    /// Null before registerSingleton() and after its engine is gone.
    [[nodiscard]] static SettingsTransfer *instance();

    [[nodiscard]] QtRtMIDI *midiObj() const;
    void setMidiObj(QtRtMIDI *link);

    /// The box's record, held by the link until its next transfer; null when the read failed.
    [[nodiscard]] const SettingsT *receiveGlobals();
    /// False, with nothing sent, also when the link has talked to another box since the record was
    /// read, or lost this one: a record goes back to the box that it came from.
    [[nodiscard]] bool sendGlobals(const SettingsT *globals);
    /// The box's script as a string; an invalid variant when it did not answer.
    Q_INVOKABLE QVariant receiveScript();
    /// One byte per character (Latin-1). False when it could not be sent or is too long. A moment
    /// later the box is asked for it; see the signals.
    Q_INVOKABLE bool sendScript(const QString &scriptStr);
    /// Kept for callers of the interface; does nothing and returns false.
    Q_INVOKABLE bool sendSettings();

signals:
    void midiObjChanged();
    /// The box was asked and holds another script than the one sent last.
    void sentScriptDiffers();
    /// The box was asked twice and did not answer.
    void sentScriptNotConfirmed();

private:
    explicit SettingsTransfer(QObject *parent);

    QPointer<QtRtMIDI> m_link;
    bool m_recordIsOfThisBox = false; ///< the record read last
    ScriptConfirmation m_confirmation;
};
