#pragma once

#include "settings/SettingsT.h"

#include <QObject>
#include <QPointer>

class SettingsTransfer;

/// The copy of the box's settings that the settings window edits, and helpers for device
/// references; context property "cppInterface". Values out of range are ignored, texts that are
/// too long are cut. Lives until the process ends. GUI thread only.
class CppInterface : public QObject
{
    Q_OBJECT

public:
    static constexpr std::size_t ScriptSize = 6913; ///< bytes, the closing zero included

    explicit CppInterface(QObject *parent = nullptr);

    /// What reads and writes the box; not owned.
    void setSettingsTransfer(SettingsTransfer *transfer);

    // Device references: the getters take the byte as it is, the setters only seven bits of it.

    Q_INVOKABLE int deviceRefGetProductId(quint16 deviceRef) const;
    /// Takes a whole reference: only its low eight bits count.
    Q_INVOKABLE int deviceRefGetSysexId(quint8 deviceRef) const;
    Q_INVOKABLE int deviceRefSetProductId(quint16 deviceRef, quint8 productId) const;
    Q_INVOKABLE int deviceRefSetSysexId(quint16 deviceRef, quint8 sysexId) const;

    // The working copy

    Q_INVOKABLE QString displayName() const;
    /// Latin-1, at most 31 characters.
    Q_INVOKABLE void setDisplayName(const QString &newDisplayName);
    Q_INVOKABLE int operatingMode() const;
    /// 0 Merge/Thru, 1 USB MIDI, 2 Python Script.
    Q_INVOKABLE void setOperatingMode(int operatingMode);
    Q_INVOKABLE QString script() const;
    /// Latin-1, at most 6912 characters. Kept for callers; the window's scripts do not pass here.
    Q_INVOKABLE void setScript(const QString &newScript);
    Q_INVOKABLE int sysexId() const;
    /// 0 to 127.
    Q_INVOKABLE void setSysexId(int newSysexId);

    /// Replaces the working copy with the box's record. False, with nothing changed, on failure.
    Q_INVOKABLE bool readGlobals();
    /// Sends the whole working copy. There is no way to send a part.
    Q_INVOKABLE bool writeGlobals();

private:
    SettingsT m_globals;
    std::array<char, ScriptSize> m_script{};
    QPointer<SettingsTransfer> m_transfer;
};
