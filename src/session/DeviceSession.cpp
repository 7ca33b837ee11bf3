#include "session/DeviceSession.h"

#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"
#include "firmware/FirmwareUpdate.h"
#include "midi/QtRtMIDI.h"

#include <QLoggingCategory>
#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

Q_LOGGING_CATEGORY(lcSession, "ostrel.session", QtInfoMsg)

#if defined(Q_OS_MACOS) || defined(Q_OS_IOS)
const QString InputPort = u"Ostrel OST Internal"_s;
const QString OutputPort = u"Ostrel OST Internal"_s;
#else
const QString InputPort = u"MIDIIN4 (Ostrel)"_s;
const QString OutputPort = u"MIDIOUT6 (Ostrel)"_s;
#endif

int referenceOf(const MidiDevice &box)
{
    return midi::deviceReference(box.productID(), box.sysexID());
}

QString nameOf(const MidiDevice &box)
{
    return QString::fromUtf8(box.menuName());
}

/// The names that stand more often in `now` than in `before`.
std::vector<std::string> newNames(const std::vector<std::string> &now,
                                  std::vector<std::string> before)
{
    std::vector<std::string> result;
    for (const std::string &name : now) {
        const auto known = std::ranges::find(before, name);
        if (known == before.end())
            result.push_back(name);
        else
            before.erase(known);
    }
    return result;
}

} // namespace

DeviceSession::DeviceSession(QObject *parent)
    : QObject(parent)
{
    m_checkTimer.setInterval(CheckMs);
    connect(&m_checkTimer, &QTimer::timeout, this, &DeviceSession::check);
    m_scanTimer.setSingleShot(true);
    m_scanTimer.setInterval(ShowMs);
    connect(&m_scanTimer, &QTimer::timeout, this, [this] { scanNow(Asked::ByUser); });
    m_restartTimer.setSingleShot(true);
    m_restartTimer.setInterval(RestartMs);
    connect(&m_restartTimer, &QTimer::timeout, this, [this] {
        // A box whose ports went is looked for already, and no other one is to take its place.
        if (m_state == State::Connected)
            scanNow(Asked::ByNobody);
    });
}

ConnectedDeviceListModel *DeviceSession::devices() const
{
    return m_devices;
}

void DeviceSession::setDevices(ConnectedDeviceListModel *devices)
{
    if (m_devices == devices)
        return;
    m_devices = devices;
    if (m_devices) {
        m_devices->setInputPortName(InputPort);
        m_devices->setOutputPortName(OutputPort);
        // No other product's box is ever to be written to.
        m_devices->clearProductIDList();
        m_devices->addProductIDToList(ConnectedDeviceListModel::Ostrel);
    }
    emit devicesChanged();
}

FirmwareUpdate *DeviceSession::updater() const
{
    return m_updater;
}

void DeviceSession::setUpdater(FirmwareUpdate *updater)
{
    if (m_updater == updater)
        return;
    if (m_updater)
        m_updater->disconnect(this);
    m_updater = updater;
    if (m_updater) {
        connect(m_updater, &FirmwareUpdate::updateCompleted, this, &DeviceSession::beginSettling);
        connect(m_updater, &FirmwareUpdate::updateError, this, &DeviceSession::failUpdate);
    }
    emit updaterChanged();
}

QtRtMIDI *DeviceSession::link() const
{
    return m_devices ? m_devices->midiObj() : nullptr;
}

void DeviceSession::setState(State state)
{
    if (m_state == state)
        return;
    qCDebug(lcSession) << m_state << "->" << state;
    m_state = state;
    emit stateChanged();
}

/// Called when everything else is up to date, because receivers look at it.
void DeviceSession::showConnection()
{
    const bool connected = m_state == State::Connected;
    m_connectedIndex =
        connected ? static_cast<int>(m_devices->devices().indexOf(m_devices->currentDevice())) : -1;
    emit connectedIndexChanged();
}

void DeviceSession::tell(State state)
{
    // Only who has no box looks for one.
    if (state != State::NoBox && state != State::UpdateDeclined && state != State::Lost)
        beginAttempts({});
    setState(state);
    showConnection();
    emit connectionChanged(m_connectedIndex);
}

/// Closes the link.
void DeviceSession::leave(State state)
{
    m_devices->letGo();
    tell(state);
}

// Scans and choices

void DeviceSession::start()
{
    if (!link())
        return;
    scanNow(Asked::ByNobody);
    m_checkTimer.start();
}

void DeviceSession::scan()
{
    if (!link() || m_state == State::Looking || m_state == State::Updating)
        return;
    m_restartTimer.stop();
    setState(State::Looking);
    showConnection();
    m_scanTimer.start();
}

void DeviceSession::settingsWritten(int sysexId)
{
    emit logged(tr("Settings written.\n"));
    m_devices->setNewSysexID(sysexId);
    m_restartTimer.start();
}

void DeviceSession::scanNow(Asked asked)
{
    if (m_state == State::Updating)
        return;
    m_scanTimer.stop();
    m_updater->init(); // what it waits for after an update is looked for here
    beginAttempts({});
    m_names = link()->portNames();
    m_pairs = m_devices->boxPairs();
    m_devices->scanForDevice();
    tellScanResult(asked);
    if (MidiDevice *box = m_devices->currentDevice()) {
        takeScanned(*box, asked);
    } else {
        m_wanted = midi::NoDeviceReference;
        leave(State::NoBox);
        // Where nobody answered, a box may be there and not ready yet.
        std::vector<std::string> silent = m_pairs;
        for (const MidiDevice *listed : m_devices->devices())
            std::erase(silent, listed->pairName());
        beginAttempts(std::move(silent));
    }
}

/// A box whose update was declined is not taken in the place of another one that is there.
void DeviceSession::takeScanned(MidiDevice &box, Asked asked)
{
    const int reference = referenceOf(box);
    MidiDevice *other = reference == m_declined ? onlyOther(reference) : nullptr;
    if (other)
        m_devices->connectTo(other);
    take(other ? *other : box, asked);
}

void DeviceSession::tellScanResult(Asked asked)
{
    const QList<MidiDevice *> &listed = m_devices->devices();
    const auto twin = std::ranges::find_if(
        listed, [this](const MidiDevice *box) { return countPairs(referenceOf(*box)) > 1; });
    if (twin != listed.end())
        tellOfTwins(countPairs(referenceOf(**twin)), **twin);
    else if (listed.size() > 1 && !m_devices->currentDevice())
        emit logged(tr("Found %1 devices: choose one.\n").arg(listed.size()));
    else if (asked == Asked::ByUser && !link()->hasService())
        emit logged(tr("No MIDI service: %1\n").arg(QString::fromUtf8(link()->getErrorMessage())));
    else if (asked == Asked::ByUser && listed.isEmpty())
        emit logged(tr("No device found. Check cable and power.\n"));
}

void DeviceSession::tellOfTwins(qsizetype count, const MidiDevice &box)
{
    emit logged(
        tr("%1 devices answer as %2: give each its own Sysex ID.\n").arg(count).arg(nameOf(box)));
}

bool DeviceSession::askForUpdate(int reference)
{
    if (!link() || m_state == State::Updating)
        return false;
    if (m_state == State::Settling && reference == m_updating)
        return true; // it is about to be asked for its version
    m_scanTimer.stop();
    m_restartTimer.stop();
    m_devices->setNewSysexID(midi::NoId); // of the box that was connected
    m_updater->init();
    if (!m_devices->connectToDeviceForFirmwareUpdate(reference))
        return false;
    MidiDevice &box = *m_devices->currentDevice();
    if (!needsUpdate(box))
        return false;
    ask(box);
    return true;
}

void DeviceSession::connectTo(int reference)
{
    if (!link() || m_state == State::Updating)
        return;
    const bool listed = m_devices->connectToDevice(reference);
    m_wanted = m_devices->connectedReference();
    m_isNews = false; // the user knows
    tell(listed ? State::Connected : State::NoBox);
}

/// Takes a box to which the link is open.
void DeviceSession::take(MidiDevice &box, Asked asked)
{
    const int reference = referenceOf(box);
    if (!needsUpdate(box)) {
        if (reference == m_declined)
            m_declined = midi::NoDeviceReference;
        qCInfo(lcSession) << "connected to" << nameOf(box);
        m_wanted = reference;
        m_devices->remember();
        tell(State::Connected);
        if (std::exchange(m_isNews, false))
            emit logged(tr("%1 connected\n").arg(nameOf(box)));
    } else if (reference == m_declined && asked == Asked::ByNobody) {
        leave(State::UpdateDeclined);
    } else {
        ask(box);
    }
}

// Firmware

bool DeviceSession::needsUpdate(MidiDevice &box)
{
    m_updater->setMIDIDevice(&box);
    return m_updater->deviceNeedsUpdate();
}

void DeviceSession::ask(const MidiDevice &box)
{
    m_updating = referenceOf(box);
    m_updateFailed = false;
    tell(State::UpdateAsked);
}

void DeviceSession::acceptUpdate()
{
    if (m_state != State::UpdateAsked)
        return;
    // The box changes its ports while it is updated, and is then known by its IDs alone.
    MidiDevice *box = m_devices->currentDevice();
    const int count = box ? m_devices->countAnswers(*box) : 0;
    if (count > 1)
        tellOfTwins(count, *box);
    if (count > 1 || !m_devices->connectToDeviceForFirmwareUpdate(m_updating)) {
        m_wanted = midi::NoDeviceReference;
        leave(State::NoBox);
        return;
    }
    setState(State::Updating);
    emit updateBegins();
}

void DeviceSession::declineUpdate()
{
    if (m_state != State::UpdateAsked)
        return;
    m_declined = m_updating;
    m_wanted = midi::NoDeviceReference;
    leave(State::UpdateDeclined);
}

void DeviceSession::endUpdate()
{
    if (m_state != State::Updating)
        return;
    m_updater->init();
    m_wanted = midi::NoDeviceReference;
    const bool boxIsThere = link()->isOpenAmong(link()->portNames());
    if (!m_updateFailed && boxIsThere) {
        m_declined = m_updating;
        leave(State::UpdateDeclined);
        return;
    }
    m_declined = midi::NoDeviceReference;
    m_pairs.clear(); // so that the box is asked again, and then the user, once it is there
    m_names = {};
    leave(State::NoBox);
}

/// The box restarts. The first look comes half a second later.
void DeviceSession::beginSettling()
{
    if (m_state != State::Updating)
        return;
    m_settlingChecks = SettlingChecks;
    setState(State::Settling);
    m_checkTimer.start();
}

void DeviceSession::settle()
{
    m_updater->init();
    const QList<MidiDevice *> found = m_devices->ask(m_devices->boxPairs());
    const auto box = std::ranges::find_if(found, [this](const MidiDevice *device) {
        return referenceOf(*device) == m_updating && !device->versionIsBootloader();
    });
    if (box != found.end()) {
        m_devices->connectTo(*box);
        take(**box, Asked::ByUser);
        if (m_state == State::Connected)
            emit logged(tr("Firmware updated to %1.\n").arg((*box)->versionString()));
    } else if (--m_settlingChecks == 0) {
        scanNow(Asked::ByUser);
    }
}

// Ports that come and go

void DeviceSession::check()
{
    if (!link() || m_state == State::Looking || m_state == State::Updating)
        return;
    const midi::PortNames now = link()->portNames();
    const bool open = m_state == State::Connected || m_state == State::UpdateAsked;
    const bool lost = open && !link()->isOpenAmong(now);
    if (lost)
        lose();
    // While the user is asked, what comes can wait.
    if (lost || (m_names != now && m_state != State::UpdateAsked))
        lookAtPorts(now);
    if (m_state == State::Settling)
        settle();
    else if (m_attempts < MaxAttempts && --m_checksToWait <= 0)
        tryToConnect();
}

void DeviceSession::lose()
{
    if (!m_devices->currentDevice()) {
        leave(State::Lost);
        return;
    }
    const MidiDevice &box = *m_devices->currentDevice();
    qCInfo(lcSession) << "ports are gone of" << nameOf(box);
    const bool wasConnected = m_state == State::Connected;
    m_wanted = wasConnected ? referenceOf(box) : midi::NoDeviceReference;
    // The box may be back already when its loss is noticed.
    if (const auto pair = std::ranges::find(m_pairs, box.pairName()); pair != m_pairs.end())
        m_pairs.erase(pair);
    m_devices->loseDevice();
    tell(State::Lost);
    if (!wasConnected)
        return;
    m_isNews = true;
    emit logged(tr("%1 disconnected\n").arg(nameOf(box)));
}

void DeviceSession::lookAtPorts(const midi::PortNames &names)
{
    m_names = names;
    const std::vector<std::string> pairs = m_devices->boxPairs();
    const std::vector<std::string> fresh = newNames(pairs, std::exchange(m_pairs, pairs));
    m_devices->dropGone(names);
    if (m_state == State::Connected) {
        showConnection();
        return;
    }
    if (!fresh.empty())
        beginAttempts(fresh);
}

void DeviceSession::beginAttempts(std::vector<std::string> pairs)
{
    m_newPairs = std::move(pairs);
    m_attempts = m_newPairs.empty() ? MaxAttempts : 0;
    m_checksToWait = 0;
}

void DeviceSession::tryToConnect()
{
    m_checksToWait = 1 << m_attempts++;
    const QList<MidiDevice *> found = m_devices->ask(m_newPairs);
    MidiDevice *box = pick(found);
    if (!found.isEmpty())
        m_attempts = MaxAttempts;
    if (!box) {
        m_devices->letGo();
        return;
    }
    m_isNews = true;
    m_devices->connectTo(box);
    take(*box, Asked::ByNobody);
}

/// The box to take of those that came: the one that was lost, or where none was, the only one.
MidiDevice *DeviceSession::pick(const QList<MidiDevice *> &found) const
{
    if (m_wanted == midi::NoDeviceReference) {
        MidiDevice *box = found.size() == 1 ? found.first() : nullptr;
        const bool only = box && (m_devices->devices().size() == 1 || onlyOther(m_declined) == box);
        return only ? box : nullptr;
    }
    const auto isWanted = [this](const MidiDevice *box) {
        return box->productID() == midi::referencedProductId(m_wanted) &&
               (box->sysexID() == midi::referencedSysexId(m_wanted) ||
                box->sysexID() == m_devices->newSysexID());
    };
    const auto box = std::ranges::find_if(found, isWanted);
    // One of two that are alike may be another than the one that was lost.
    return box != found.end() && countPairs(referenceOf(**box)) == 1 ? *box : nullptr;
}

/// The only listed box with another reference.
MidiDevice *DeviceSession::onlyOther(int reference) const
{
    QList<MidiDevice *> others = m_devices->devices();
    others.removeIf([&](const MidiDevice *box) { return referenceOf(*box) == reference; });
    return others.size() == 1 ? others.first() : nullptr;
}

/// On how many pairs a box with this reference is listed.
qsizetype DeviceSession::countPairs(int reference) const
{
    QSet<std::pair<QString, quint32>> pairs;
    for (const MidiDevice *box : m_devices->devices()) {
        if (referenceOf(*box) == reference)
            pairs.insert({QString::fromStdString(box->pairName()), box->deviceIndex()});
    }
    return pairs.size();
}
