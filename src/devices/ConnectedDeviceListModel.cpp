#include "devices/ConnectedDeviceListModel.h"

#include "devices/IdentityScan.h"
#include "devices/MidiDevice.h"
#include "devices/ProductTable.h"
#include "devices/SettingsKeys.h"
#include "midi/QtRtMIDI.h"

#include <QLoggingCategory>
#include <QSettings>

#include <algorithm>
#include <limits>

namespace
{

Q_LOGGING_CATEGORY(lcDevices, "ostrel.devices", QtInfoMsg)

constexpr int ScanEntryValue = -1;

/// Whatever else stands in the settings store counts as none.
int storedReference()
{
    bool isNumber = false;
    const qlonglong value =
        QSettings().value(LAST_PRODUCT_SETTING, midi::NoDeviceReference).toLongLong(&isNumber);
    // Asked for an int, a number that is too large for one would lose its upper half.
    const bool isReference = isNumber && value >= 0 && value <= std::numeric_limits<int>::max();
    return isReference ? static_cast<int>(value) : midi::NoDeviceReference;
}

} // namespace

ConnectedDeviceListModel::ConnectedDeviceListModel(QObject *parent)
    : QAbstractListModel(parent)
{
    QtRtMIDI::init();
    const int reference = storedReference();
    m_connectedProductId = midi::referencedProductId(reference);
    m_connectedSysexId = midi::referencedSysexId(reference);
}

int ConnectedDeviceListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_devices.size()) + 1;
}

QVariant ConnectedDeviceListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (index.row() > m_devices.size() || (role != DisplayRole && role != ValueRole))
        return false;
    if (index.row() == 0)
        return role == DisplayRole ? QVariant(tr("- Scan for Devices -"))
                                   : QVariant(ScanEntryValue);
    const MidiDevice &device = *m_devices[index.row() - 1];
    if (role == DisplayRole)
        return QString::fromUtf8(device.menuName());
    return midi::deviceReference(device.productID(), device.sysexID());
}

QHash<int, QByteArray> ConnectedDeviceListModel::roleNames() const
{
    return {{DisplayRole, "display"}, {ValueRole, "value"}};
}

int ConnectedDeviceListModel::scanForDevice()
{
    if (!m_link)
        return connectedReference();
    beginResetModel();
    m_devices.clear();
    findPorts(m_firstScan ? Reach::NamedPair : Reach::AllPorts);
    for (int port = 0; m_link && port < m_link->portCount(); ++port)
        askOn(static_cast<unsigned>(port));
    m_onlyOstrel = false;

    m_currentIndex = NoIndex;
    const int chosen = chooseDevice();
    if (chosen == NoIndex)
        disconnectDevice();
    else
        connectTo(m_devices[chosen]);
    m_firstScan = false;
    endResetModel();
    qCDebug(lcDevices) << "scan found" << m_devices.size() << "devices, connected to"
                       << connectedReference();
    return connectedReference();
}

/// A scan that the user asks for finds every box of the named kind, and where there is none, looks
/// at all ports for an Ostrel.
void ConnectedDeviceListModel::findPorts(Reach reach)
{
    if (m_inputPortName.isEmpty() || m_outputPortName.isEmpty()) {
        m_link->scanPorts(nullptr, nullptr);
        return;
    }
    listNamedPairs(reach == Reach::AllPorts);
    if (m_link->portCount() == 0 && reach == Reach::AllPorts) {
        m_onlyOstrel = true;
        m_link->scanPorts(nullptr, nullptr);
    }
}

void ConnectedDeviceListModel::listNamedPairs(bool every)
{
    m_link->scanPorts(m_inputPortName.toLatin1().constData(),
                      m_outputPortName.toLatin1().constData(), every);
}

void ConnectedDeviceListModel::askOn(unsigned port)
{
    const qsizetype before = m_devices.size();
    const auto take = [&](midi::ByteView message) { return handleReply(message, port); };
    // A box that is without a name in the list is hard to tell from another one.
    const auto isNameless = [](const MidiDevice *device) { return *device->displayName() == '\0'; };
    const auto expectsName = [&] {
        return std::any_of(m_devices.cbegin() + before, m_devices.cend(), isNameless);
    };
    static_cast<void>(askWhoIsThere(*m_link, port, take, expectsName));
}

std::vector<std::string> ConnectedDeviceListModel::boxPairs()
{
    if (!m_link)
        return {};
    listNamedPairs(true);
    if (m_link->portCount() == 0 && !m_lastInput.isEmpty())
        m_link->scanPorts(m_lastInput.constData(), m_lastOutput.constData(), true);
    std::vector<std::string> names;
    for (unsigned i = 0; i < static_cast<unsigned>(m_link->portCount()); ++i)
        names.push_back(m_link->pair(i).input.name);
    return names;
}

QList<MidiDevice *> ConnectedDeviceListModel::ask(const std::vector<std::string> &pairs)
{
    const std::vector<std::string> present = boxPairs();
    beginResetModel();
    m_currentIndex = NoIndex;
    m_devices.removeIf([&](const MidiDevice *device) {
        return std::ranges::count(pairs, device->pairName()) > 0;
    });
    const qsizetype before = m_devices.size();
    for (unsigned port = 0; m_link && port < present.size(); ++port) {
        if (std::ranges::count(pairs, present[port]) > 0)
            askOn(port);
    }
    endResetModel();
    return m_devices.sliced(before);
}

void ConnectedDeviceListModel::connectTo(MidiDevice *device)
{
    if (!m_firstScan && device->sysexID() == m_newSysexId &&
        device->productID() == m_connectedProductId && m_connectedSysexId != midi::NoId) {
        // The same device under its new ID: no change that anybody has to hear of.
        m_connectedSysexId = m_newSysexId;
        m_newSysexId = midi::NoId;
    }
    connectToIndex(static_cast<int>(m_devices.indexOf(device)), Ports::Keep);
}

void ConnectedDeviceListModel::remember() const
{
    QSettings().setValue(LAST_PRODUCT_SETTING, connectedReference());
}

void ConnectedDeviceListModel::letGo()
{
    m_currentIndex = NoIndex;
    if (m_link)
        m_link->closePort();
    setDeviceConnected(false, true);
}

void ConnectedDeviceListModel::loseDevice()
{
    const MidiDevice *lost = currentDevice();
    if (!lost)
        return;
    beginResetModel();
    m_devices.removeIf(
        [&](const MidiDevice *device) { return device->pairName() == lost->pairName(); });
    letGo();
    endResetModel();
}

void ConnectedDeviceListModel::dropGone(const midi::PortNames &names)
{
    MidiDevice *const current = currentDevice();
    const auto isGone = [&](const MidiDevice *device) {
        return device != current && !device->isAmong(names);
    };
    if (std::ranges::none_of(m_devices, isGone))
        return;
    beginResetModel();
    m_devices.removeIf(isGone);
    m_currentIndex = static_cast<int>(m_devices.indexOf(current));
    endResetModel();
}

int ConnectedDeviceListModel::countAnswers(const MidiDevice &device)
{
    int working = 0; // pairs with such an answer
    int inBootloader = 0;
    const auto askThoseListed = [&] {
        for (unsigned port = 0; port < static_cast<unsigned>(m_link->portCount()); ++port) {
            static_cast<void>(askWhoIsThere(*m_link, port, [&](midi::ByteView message) {
                if (!midi::isIdentityReply(message))
                    return true;
                const midi::Identity identity = midi::readIdentity(message);
                if (!device.is(identity))
                    return true;
                ++(identity.version == midi::BootloaderVersion ? inBootloader : working);
                return false;
            }));
        }
    };
    listNamedPairs(true);
    askThoseListed();
    const int onNamedPairs = working + inBootloader;
    m_link->scanPorts(nullptr, nullptr);
    askThoseListed();
    m_link->closePort();
    return std::max(onNamedPairs, std::min(working, 1) + std::min(inBootloader, 1));
}

bool ConnectedDeviceListModel::handleReply(midi::ByteView message, unsigned port)
{
    if (midi::isIdentityReply(message)) {
        const midi::Identity identity = midi::readIdentity(message);
        if (!isAcceptableProductID(identity.productId))
            return false;
        if (identity.productId < 128 && identity.sysexId <= midi::MaxSysexId)
            addDevice(identity, port);
    } else if (midi::isNameReply(message)) {
        nameDevices(message);
    }
    return true;
}

void ConnectedDeviceListModel::addDevice(const midi::Identity &identity, unsigned port)
{
    auto *device = new MidiDevice(identity.productId, identity.sysexId, this);
    device->setMidiObj(m_link);
    device->setMajorVersion(identity.version.major);
    device->setMinorVersion(identity.version.minor);
    device->setPointVersion(identity.version.point);
    device->setDeviceIndex(port);
    device->setPair(m_link->pair(port));
    m_devices.append(device);
    device->setDisplayName(""); // so that the list shows its ID where no name comes
    m_link->sendNameReq(identity.sysexId);
}

void ConnectedDeviceListModel::nameDevices(midi::ByteView nameReply)
{
    const midi::ByteView bytes = midi::readText(nameReply);
    const std::string name(bytes.begin(), bytes.end());
    for (MidiDevice *device : std::as_const(m_devices)) {
        if (device->sysexID() == nameReply[midi::SysexIdOffset])
            device->setDisplayName(name.c_str());
    }
}

int ConnectedDeviceListModel::chooseDevice() const
{
    const auto isLast = [this](const MidiDevice &device) {
        return device.productID() == m_connectedProductId &&
               (device.sysexID() == m_connectedSysexId ||
                (!m_firstScan && device.sysexID() == m_newSysexId));
    };
    int chosen = NoIndex;
    if (m_firstScan || m_connectedSysexId != midi::NoId)
        chosen = findFirst(isLast);
    return chosen == NoIndex && m_devices.size() == 1 ? 0 : chosen;
}

bool ConnectedDeviceListModel::connectToDevice(int deviceRefInt)
{
    const int index = findByReference(deviceRefInt);
    if (index == NoIndex)
        disconnectDevice();
    else
        connectToIndex(index, Ports::Reopen);
    remember();
    return index != NoIndex;
}

bool ConnectedDeviceListModel::connectToDeviceForFirmwareUpdate(int deviceRefInt)
{
    const int index = findByReference(deviceRefInt);
    if (index == NoIndex)
        return false;
    m_connectedSysexId = m_devices[index]->sysexID();
    openDevice(index, Ports::Reopen);
    return true;
}

int ConnectedDeviceListModel::getStartupDevice() const
{
    int index = NoIndex;
    if (m_connectedProductId != midi::NoId) {
        index = findFirst([this](const MidiDevice &device) {
            return device.productID() == m_connectedProductId && device.sysexID() != midi::NoId;
        });
    }
    if (index == NoIndex) {
        index = findFirst([](const MidiDevice &device) {
            return device.productID() != midi::NoId && device.sysexID() != midi::NoId;
        });
    }
    if (index == NoIndex)
        return midi::NoDeviceReference;
    return midi::deviceReference(m_devices[index]->productID(), m_devices[index]->sysexID());
}

MidiDevice *ConnectedDeviceListModel::currentDevice() const
{
    const bool listed = m_currentIndex != NoIndex && m_currentIndex < m_devices.size();
    return listed ? m_devices[m_currentIndex] : nullptr;
}

void ConnectedDeviceListModel::clearProductIDList()
{
    m_acceptableProducts.clear();
}

void ConnectedDeviceListModel::addProductIDToList(int productID)
{
    if (productID >= 0 && productID < 128)
        m_acceptableProducts.append(productID);
}

bool ConnectedDeviceListModel::isAcceptableProductID(int productID) const
{
    if (m_onlyOstrel && productID != midi::OstrelProductId)
        return false;
    return m_acceptableProducts.isEmpty() || m_acceptableProducts.contains(productID);
}

void ConnectedDeviceListModel::setDeviceConnected(bool connected, bool force)
{
    if (m_deviceConnected == connected && !force)
        return;
    m_deviceConnected = connected;
    emit deviceIsConnected(connected ? m_currentIndex : NoIndex);
}

QtRtMIDI *ConnectedDeviceListModel::midiObj() const
{
    return m_link;
}

void ConnectedDeviceListModel::setMidiObj(QtRtMIDI *link)
{
    if (m_link == link)
        return;
    m_link = link;
    emit midiObjChanged();
}

void ConnectedDeviceListModel::setNewSysexID(int id)
{
    const std::uint8_t sysexId = midi::referencedSysexId(id);
    if (m_newSysexId == sysexId)
        return;
    m_newSysexId = sysexId;
    emit newSysexIDChanged();
}

int ConnectedDeviceListModel::findByReference(int reference) const
{
    return findFirst([reference](const MidiDevice &device) {
        return device.productID() == midi::referencedProductId(reference) &&
               device.sysexID() == midi::referencedSysexId(reference);
    });
}

template <typename Matches>
int ConnectedDeviceListModel::findFirst(Matches matches) const
{
    const auto found =
        std::ranges::find_if(m_devices, [&](const MidiDevice *device) { return matches(*device); });
    return found == m_devices.end() ? NoIndex : static_cast<int>(found - m_devices.begin());
}

void ConnectedDeviceListModel::openDevice(int index, Ports ports)
{
    m_currentIndex = index;
    MidiDevice &device = *m_devices[index];
    if (m_link) {
        if (ports == Ports::Reopen || !m_link->isSelected(device.deviceIndex()))
            openPortsOf(device);
        m_link->setSysexID(device.sysexID());
    }
    setDeviceConnected(true, true);
}

/// Ports that cannot be opened now make the first transfer fail, which the user is told.
void ConnectedDeviceListModel::openPortsOf(MidiDevice &device)
{
    // The firmware updater lets the link number all pairs anew.
    bool listed = locate(device);
    if (!listed) {
        findPorts(Reach::NamedPair);
        listed = locate(device);
    }
    if (!listed) {
        m_link->scanPorts(nullptr, nullptr);
        listed = locate(device);
    }
    if (listed)
        static_cast<void>(m_link->selectPort(device.deviceIndex()));
    else
        m_link->closePort();
}

/// False when the link's list has no pair of the device's name.
bool ConnectedDeviceListModel::locate(MidiDevice &device) const
{
    if (device.isOn(m_link->pair(device.deviceIndex())))
        return true;
    const auto count = static_cast<unsigned>(m_link->portCount());
    for (unsigned index = 0; index < count; ++index) {
        if (device.isOn(m_link->pair(index))) {
            device.setDeviceIndex(index);
            return true;
        }
    }
    return false;
}

void ConnectedDeviceListModel::connectToIndex(int index, Ports ports)
{
    m_currentIndex = index;
    setConnectedProductID(m_devices[index]->productID());
    setConnectedSysexID(m_devices[index]->sysexID());
    openDevice(index, ports);
    if (!m_link)
        return;
    const midi::PortPair pair = m_link->pair(m_devices[index]->deviceIndex());
    m_lastInput = QByteArray::fromStdString(pair.input.plainName);
    m_lastOutput = QByteArray::fromStdString(pair.output.plainName);
}

void ConnectedDeviceListModel::disconnectDevice()
{
    setConnectedProductID(midi::NoId);
    setConnectedSysexID(midi::NoId);
    if (m_link)
        m_link->closePort();
    setDeviceConnected(false, true);
}

void ConnectedDeviceListModel::setConnectedProductID(std::uint8_t id)
{
    if (m_connectedProductId == id)
        return;
    m_connectedProductId = id;
    emit connectedProductIDChanged();
}

void ConnectedDeviceListModel::setConnectedSysexID(std::uint8_t id)
{
    if (m_connectedSysexId == id)
        return;
    m_connectedSysexId = id;
    emit connectedSysexIDChanged();
}

int ConnectedDeviceListModel::connectedReference() const
{
    return midi::deviceReference(m_connectedProductId, m_connectedSysexId);
}
