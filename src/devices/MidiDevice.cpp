#include "devices/MidiDevice.h"

#include "devices/IdentityScan.h"
#include "midi/protocol/Box.h"
#include "midi/QtRtMIDI.h"

#include <algorithm>
#include <string_view>

namespace
{

constexpr std::size_t MenuNameLength = 27; ///< of the display name within the menu name

bool isSevenBit(std::uint8_t id)
{
    return id <= midi::MaxSysexId;
}

/// Copies up to `length` bytes of `text` and ends them with a zero.
void copyText(std::array<char, MidiDevice::NameSize> &to, std::string_view text, std::size_t length)
{
    to.fill('\0');
    std::ranges::copy(text.substr(0, std::min(length, to.size() - 1)), to.begin());
}

} // namespace

MidiDevice::MidiDevice(std::uint8_t productId, std::uint8_t sysexId, QObject *parent)
    : QObject(parent)
    , m_productId(midi::NoId)
    , m_sysexId(midi::NoId)
{
    setProductID(productId);
    setSysexID(sysexId);
}

// The compiler warns of a copy constructor that leaves its base class out.
MidiDevice::MidiDevice(const MidiDevice &other)
    : QObject() // NOLINT(readability-redundant-member-init)
    , m_productId(midi::NoId)
    , m_sysexId(other.m_sysexId)
    , m_version(other.m_version)
    , m_deviceIndex(other.m_deviceIndex)
    , m_pairName(other.m_pairName)
    , m_outputName(other.m_outputName)
{
    setDisplayName(other.displayName());
}

void MidiDevice::setMidiObj(QtRtMIDI *link)
{
    m_link = link;
}

void MidiDevice::setProductID(std::uint8_t id)
{
    if (isSevenBit(id))
        m_productId = id;
}

void MidiDevice::setSysexID(std::uint8_t id)
{
    if (isSevenBit(id) || id == midi::NoId)
        m_sysexId = id;
}

void MidiDevice::setDisplayName(const char *name)
{
    const std::string text(name); // a copy, since `name` may be this record's own
    copyText(m_displayName, text, NameSize - 1);
    const std::string suffix =
        m_sysexId == midi::NoId ? std::string(": - ") : ':' + std::to_string(m_sysexId);
    copyText(m_menuName, text.substr(0, MenuNameLength) + suffix, NameSize - 1);
}

QString MidiDevice::versionString() const
{
    return QStringLiteral("%1.%2.%3")
        .arg(m_version.major)
        .arg(m_version.minor)
        .arg(m_version.point);
}

void MidiDevice::setPair(const midi::PortPair &pair)
{
    m_pairName = pair.input.name;
    m_outputName = pair.output.name;
}

bool MidiDevice::isOn(const midi::PortPair &pair) const
{
    return pair.input.name == m_pairName && pair.output.name == m_outputName;
}

bool MidiDevice::isAmong(const midi::PortNames &names) const
{
    return std::ranges::count(names.inputs, m_pairName) > 0 &&
           std::ranges::count(names.outputs, m_outputName) > 0;
}

bool MidiDevice::is(const midi::Identity &identity) const
{
    return identity.productId == m_productId && identity.sysexId == m_sysexId;
}

bool MidiDevice::versionIsBootloader() const
{
    return m_version == midi::BootloaderVersion;
}

bool MidiDevice::updateVersion()
{
    if (!m_link)
        return false;
    m_link->scanAllPorts();
    for (int port = 0; port < m_link->portCount(); ++port) {
        const auto index = static_cast<unsigned>(port);
        if (answersOn(index)) {
            m_deviceIndex = index;
            setPair(m_link->pair(index));
            return true;
        }
    }
    // Nothing answered. Close the port, so that nothing is sent to a device that is not our box.
    m_link->closePort();
    return false;
}

bool MidiDevice::answersOn(unsigned port)
{
    bool answered = false;
    const bool asked = askWhoIsThere(*m_link, port, [&](midi::ByteView message) {
        if (!midi::isIdentityReply(message))
            return true;
        const midi::Identity identity = midi::readIdentity(message);
        answered = is(identity);
        if (answered)
            m_version = identity.version;
        return !answered;
    });
    return asked && answered;
}
