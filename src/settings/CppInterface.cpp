#include "settings/CppInterface.h"

#include "midi/protocol/Box.h"
#include "settings/SettingsTransfer.h"

#include <algorithm>
#include <span>

namespace
{

constexpr unsigned SevenBits = 0x7F;

/// Latin-1, cut to what fits, the rest of the field zero and its last byte always zero.
void storeText(std::span<char> field, const QString &text)
{
    const QByteArray latin1 = text.toLatin1();
    const auto length = std::min(static_cast<std::size_t>(latin1.size()), field.size() - 1);
    std::ranges::fill(field, '\0');
    std::copy_n(latin1.constData(), length, field.begin());
}

QString readText(std::span<const char> field)
{
    const auto end = std::ranges::find(field, '\0');
    return QString::fromUtf8(field.data(), end - field.begin());
}

} // namespace

CppInterface::CppInterface(QObject *parent)
    : QObject(parent)
{}

void CppInterface::setSettingsTransfer(SettingsTransfer *transfer)
{
    m_transfer = transfer;
}

int CppInterface::deviceRefGetProductId(quint16 deviceRef) const
{
    return midi::referencedProductId(deviceRef);
}

int CppInterface::deviceRefGetSysexId(quint8 deviceRef) const
{
    return midi::referencedSysexId(deviceRef);
}

int CppInterface::deviceRefSetProductId(quint16 deviceRef, quint8 productId) const
{
    return midi::deviceReference(productId & SevenBits, midi::referencedSysexId(deviceRef));
}

int CppInterface::deviceRefSetSysexId(quint16 deviceRef, quint8 sysexId) const
{
    return midi::deviceReference(midi::referencedProductId(deviceRef), sysexId & SevenBits);
}

QString CppInterface::displayName() const
{
    return readText(std::span(m_globals.displayName).first(midi::MaxNameLength));
}

void CppInterface::setDisplayName(const QString &newDisplayName)
{
    // What stands behind a name that stays is not ours to clear.
    if (newDisplayName != displayName())
        storeText(m_globals.displayName, newDisplayName);
}

int CppInterface::operatingMode() const
{
    return m_globals.operatingMode;
}

void CppInterface::setOperatingMode(int operatingMode)
{
    if (operatingMode >= 0 && operatingMode < midi::OperatingModeCount)
        m_globals.operatingMode = static_cast<std::uint8_t>(operatingMode);
}

QString CppInterface::script() const
{
    return readText(m_script);
}

void CppInterface::setScript(const QString &newScript)
{
    storeText(m_script, newScript);
}

int CppInterface::sysexId() const
{
    return m_globals.sysexId;
}

void CppInterface::setSysexId(int newSysexId)
{
    if (newSysexId >= 0 && newSysexId <= midi::MaxSysexId)
        m_globals.sysexId = static_cast<std::uint8_t>(newSysexId);
}

bool CppInterface::readGlobals()
{
    const SettingsT *received = m_transfer ? m_transfer->receiveGlobals() : nullptr;
    if (!received)
        return false;
    m_globals = *received;
    return true;
}

bool CppInterface::writeGlobals()
{
    return m_transfer && m_transfer->sendGlobals(&m_globals);
}
