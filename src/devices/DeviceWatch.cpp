#include "devices/DeviceWatch.h"

#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"
#include "midi/QtRtMIDI.h"

#include <QLoggingCategory>

#include <algorithm>

namespace
{

Q_LOGGING_CATEGORY(lcWatch, "ostrel.devices.watch", QtInfoMsg)

bool bringsNew(const std::vector<std::string> &now, const std::vector<std::string> &before)
{
    return std::ranges::any_of(now, [&](const std::string &name) {
        return std::ranges::count(now, name) > std::ranges::count(before, name);
    });
}

bool bringsNew(const midi::PortNames &now, const midi::PortNames &before)
{
    return bringsNew(now.inputs, before.inputs) || bringsNew(now.outputs, before.outputs);
}

QString currentName(const ConnectedDeviceListModel &devices)
{
    const MidiDevice *device = devices.currentDevice();
    return device ? QString::fromUtf8(device->menuName()) : QString();
}

} // namespace

DeviceWatch::DeviceWatch(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(IntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &DeviceWatch::check);
}

ConnectedDeviceListModel *DeviceWatch::devices() const
{
    return m_devices;
}

void DeviceWatch::setDevices(ConnectedDeviceListModel *devices)
{
    if (m_devices == devices)
        return;
    m_devices = devices;
    emit devicesChanged();
}

void DeviceWatch::setActive(bool active)
{
    if (m_timer.isActive() == active)
        return;
    if (active)
        m_timer.start();
    else
        m_timer.stop();
    endAttempts();
    emit activeChanged();
}

void DeviceWatch::check()
{
    QtRtMIDI *link = m_devices ? m_devices->midiObj() : nullptr;
    if (!link || !m_devices->hasScanned())
        return;
    const midi::PortNames now = link->portNames();
    const bool lost = m_devices->deviceConnected() && !link->isOpenAmong(now);
    if (lost)
        loseDevice();
    // After a rest, the box may be back already when its loss is noticed.
    if (lost || (m_names && bringsNew(now, *m_names)))
        beginAttempts();
    m_names = now;
    if (m_devices->deviceConnected()) {
        endAttempts();
        // Somebody else connected it, as a scan does.
        if (m_lossTold)
            tellFound();
    }
    if (m_attempts < MaxAttempts && --m_checksToWait <= 0)
        tryToConnect();
}

void DeviceWatch::loseDevice()
{
    const QString name = currentName(*m_devices);
    qCInfo(lcWatch) << "ports are gone of" << name;
    m_devices->loseDevice();
    m_lossTold = true;
    emit deviceLost(name);
}

void DeviceWatch::tellFound()
{
    const QString name = currentName(*m_devices);
    qCInfo(lcWatch) << "connected to" << name;
    m_lossTold = false;
    emit deviceFound(name);
}

void DeviceWatch::beginAttempts()
{
    m_attempts = 0;
    m_checksToWait = 0;
}

void DeviceWatch::tryToConnect()
{
    m_checksToWait = 1 << m_attempts++;
    if (!m_devices->reconnect())
        return;
    endAttempts();
    tellFound();
}
