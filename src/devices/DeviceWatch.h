#pragma once

#include "midi/backend/PortNames.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <optional>

class ConnectedDeviceListModel;

/// Keeps the device list true while ports come and go. Looks at the names of the ports twice a
/// second, which costs next to nothing. Only ports that are new, or the loss of the device, lead to
/// a scan, and only to one of the named pair. Begins after the device list's first scan. Declared
/// by the device chooser, GUI thread only.
class DeviceWatch : public QObject
{
    Q_OBJECT
    Q_PROPERTY(ConnectedDeviceListModel *devices READ devices WRITE setDevices NOTIFY devicesChanged
                   REQUIRED FINAL)
    /// To be false while somebody else lets a device restart, as the firmware updater does.
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY activeChanged FINAL)
    Q_MOC_INCLUDE("devices/ConnectedDeviceListModel.h")

public:
    static constexpr int IntervalMs = 500;
    /// The ports of a device are there before it is ready to answer, so it is asked again, with a
    /// wait that doubles each time: for a quarter of a minute in all.
    static constexpr int MaxAttempts = 6;

    explicit DeviceWatch(QObject *parent = nullptr);

    [[nodiscard]] ConnectedDeviceListModel *devices() const;
    void setDevices(ConnectedDeviceListModel *devices);
    [[nodiscard]] bool active() const { return m_timer.isActive(); }
    void setActive(bool active);

    /// What the timer does, now.
    void check();

signals:
    void deviceLost(const QString &menuName);
    void deviceFound(const QString &menuName);
    void devicesChanged();
    void activeChanged();

private:
    void loseDevice();
    void tellFound();
    void beginAttempts();
    void endAttempts() { m_attempts = MaxAttempts; }
    void tryToConnect();

    QPointer<ConnectedDeviceListModel> m_devices;
    QTimer m_timer;
    std::optional<midi::PortNames> m_names; ///< at the last check
    bool m_lossTold = false;                ///< and not that a device was found since
    int m_attempts = MaxAttempts;           ///< made since ports came
    int m_checksToWait = 0;                 ///< before the next one
};
