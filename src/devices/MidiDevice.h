#pragma once

#include "midi/backend/PortNames.h"
#include "midi/protocol/Messages.h"

#include <QObject>
#include <QPointer>

#include <array>
#include <cstdint>
#include <string>

class QtRtMIDI;

/// The record of one device that answered an identity request: what it is, where it sits, and the
/// names under which a user sees it. Made by the device list, which owns it as a QObject parent;
/// the firmware updater reads it and makes it ask for its version again. GUI thread only.
class MidiDevice : public QObject
{
    Q_OBJECT

public:
    static constexpr std::size_t NameSize = 32; ///< bytes, the closing zero included

    /// Product IDs from 128 on, and sysex IDs from 128 to 254, are not stored: 255 stays.
    MidiDevice(std::uint8_t productId, std::uint8_t sysexId, QObject *parent = nullptr);
    /// Copies what describes the device; neither the product ID, nor the link, nor the parent.
    MidiDevice(const MidiDevice &other);
    MidiDevice &operator=(const MidiDevice &) = delete;

    void setMidiObj(QtRtMIDI *link);
    void setProductID(std::uint8_t id);
    /// 0 to 127, or 255 for none; others are ignored. The menu name keeps the ID it was made with.
    void setSysexID(std::uint8_t id);
    /// Takes at most 31 bytes of a zero-terminated name, as the device sent them, and makes the
    /// menu name from them.
    void setDisplayName(const char *name);
    void setDeviceIndex(std::uint32_t index) { m_deviceIndex = index; }
    void setPair(const midi::PortPair &pair);
    void setMajorVersion(std::uint8_t version) { m_version.major = version; }
    void setMinorVersion(std::uint8_t version) { m_version.minor = version; }
    void setPointVersion(std::uint8_t version) { m_version.point = version; }

    [[nodiscard]] std::uint8_t productID() const { return m_productId; }
    [[nodiscard]] std::uint8_t sysexID() const { return m_sysexId; }
    /// The pair of ports on which the device answered, as the link numbers them at that time.
    [[nodiscard]] std::uint32_t deviceIndex() const { return m_deviceIndex; }
    /// The lasting name of that pair's input.
    [[nodiscard]] const std::string &pairName() const { return m_pairName; }
    /// Whether `pair` is that pair, also when the link has numbered all pairs anew.
    [[nodiscard]] bool isOn(const midi::PortPair &pair) const;
    /// Whether both ports of that pair are among `names`.
    [[nodiscard]] bool isAmong(const midi::PortNames &names) const;
    [[nodiscard]] std::uint8_t majorVersion() const { return m_version.major; }
    [[nodiscard]] std::uint8_t minorVersion() const { return m_version.minor; }
    [[nodiscard]] std::uint8_t pointVersion() const { return m_version.point; }
    /// 8-bit text as the device sent it; valid while the record lives.
    [[nodiscard]] const char *displayName() const { return m_displayName.data(); }
    /// What the chooser shows: at most 27 bytes of the name and the sysex ID.
    [[nodiscard]] const char *menuName() const { return m_menuName.data(); }

    Q_INVOKABLE QString versionString() const;
    /// Whether an answer may be this device's: another one may have the same IDs.
    [[nodiscard]] bool is(const midi::Identity &identity) const;
    [[nodiscard]] bool versionIsBootloader() const;
    /// Asks all pairs of ports for this device and takes over the version and port it answers with.
    /// Blocks up to 200 ms per pair. False, with the record as it was, when it did not answer. The
    /// link has numbered all pairs then.
    [[nodiscard]] bool updateVersion();

private:
    [[nodiscard]] bool answersOn(unsigned port);

    QPointer<QtRtMIDI> m_link;
    std::uint8_t m_productId;
    std::uint8_t m_sysexId;
    std::array<char, NameSize> m_displayName{};
    std::array<char, NameSize> m_menuName{};
    midi::FirmwareVersion m_version;
    std::uint32_t m_deviceIndex = 0;
    std::string m_pairName;
    std::string m_outputName;
};
