#pragma once

#include "midi/backend/PortNames.h"
#include "midi/protocol/Box.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

class ConnectedDeviceListModel;
class FirmwareUpdate;
class MidiDevice;
class QtRtMIDI;

/// Knows which box the editor talks to, and whether it is there and fit for work. Nobody else
/// chooses a box, lets go of one, or offers it new firmware; what the window shows follows from
/// `state` and `connectedIndex`.
///
// clang-format off
/// | State          | What is so                                      | Ends with                 |
/// |----------------|-------------------------------------------------|---------------------------|
/// | Looking        | a scan is due                                   | its result                |
/// | NoBox          | nothing is connected                            | new ports of a box        |
/// | Connected      | the link is open, the firmware is good          | its ports are gone        |
/// | UpdateAsked    | the box needs firmware, and the user is asked   | the answer, or gone ports |
/// | UpdateDeclined | as NoBox, but that box is not taken unasked     | new ports of a box        |
/// | Updating       | the updater writes, or its window tells a fault | its end, a closed window  |
/// | Settling       | the box restarts, and is asked until it answers | the answer, or ten seconds|
/// | Lost           | as NoBox, but only the same box is taken unasked| new ports of a box        |
// clang-format on
///
/// A scan or a choice by the user ends each of them, too, but for Updating.
///
/// Twice a second it looks at the names of the ports, which costs next to nothing. Only pairs of
/// ports that are new, and called as a box's are, are asked who is there.
///
/// Declared by the main window, which gives it the device list and the updater; owns neither. GUI
/// thread only. Asking blocks for 200 ms per pair of ports.
class DeviceSession : public QObject
{
    Q_OBJECT
    Q_PROPERTY(ConnectedDeviceListModel *devices READ devices WRITE setDevices NOTIFY devicesChanged
                   REQUIRED FINAL)
    Q_PROPERTY(
        FirmwareUpdate *updater READ updater WRITE setUpdater NOTIFY updaterChanged REQUIRED FINAL)
    Q_PROPERTY(State state READ state NOTIFY stateChanged FINAL)
    /// The place of the connected box in the device list, or -1.
    Q_PROPERTY(int connectedIndex READ connectedIndex NOTIFY connectedIndexChanged FINAL)
    Q_MOC_INCLUDE("devices/ConnectedDeviceListModel.h")
    Q_MOC_INCLUDE("firmware/FirmwareUpdate.h")

public:
    enum class State {
        NoBox,
        Looking,
        Connected,
        UpdateAsked,
        UpdateDeclined,
        Updating,
        Settling,
        Lost
    };
    Q_ENUM(State)

    static constexpr int CheckMs = 500;
    /// The ports of a box are there before it is ready to answer, so it is asked again, with a wait
    /// that doubles each time: for a quarter of a minute in all.
    static constexpr int MaxAttempts = 6;
    static constexpr int SettlingChecks = 20;
    static constexpr int RestartMs = 2000; ///< of a box whose settings were written
    static constexpr int ShowMs = 30;      ///< in which the window shows that a scan is due

    explicit DeviceSession(QObject *parent = nullptr);

    [[nodiscard]] ConnectedDeviceListModel *devices() const;
    /// Also tells the list the names of a box's ports, and that no other product is to be listed.
    void setDevices(ConnectedDeviceListModel *devices);
    [[nodiscard]] FirmwareUpdate *updater() const;
    void setUpdater(FirmwareUpdate *updater);
    [[nodiscard]] State state() const { return m_state; }
    [[nodiscard]] int connectedIndex() const { return m_connectedIndex; }

    /// The first scan, at once, and the first look at the ports.
    Q_INVOKABLE void start();
    /// A scan that the user asks for, as soon as the window had the time to say so.
    Q_INVOKABLE void scan();
    /// The user chose a listed box. True when it needs new firmware, and the user is being asked.
    Q_INVOKABLE bool askForUpdate(int reference);
    /// Connects to a listed box, whatever its firmware. One that is not listed ends the connection.
    Q_INVOKABLE void connectTo(int reference);
    /// The user's answers.
    Q_INVOKABLE void acceptUpdate();
    Q_INVOKABLE void declineUpdate();
    /// The window of the update was closed before the update was complete.
    Q_INVOKABLE void endUpdate();
    /// The connected box took new settings, and answers to this sysex ID once it has restarted.
    Q_INVOKABLE void settingsWritten(int sysexId);

    /// The updater reported that the update is complete, or that it cannot be.
    Q_INVOKABLE void beginSettling();
    Q_INVOKABLE void failUpdate() { m_updateFailed = true; }

    /// What the timer does, now.
    Q_INVOKABLE void check();

signals:
    void devicesChanged();
    void updaterChanged();
    void stateChanged();
    void connectedIndexChanged();
    /// A connection was made, made again (with the box's place in the list) or ended (with -1).
    void connectionChanged(int index);
    /// The user agreed, and the updater is to be started.
    void updateBegins();
    /// A line for the user.
    void logged(const QString &line);

private:
    enum class Asked { ByUser, ByNobody };

    void setState(State state);
    void showConnection();
    void scanNow(Asked asked);
    void tellScanResult(Asked asked);
    void tellOfTwins(qsizetype count, const MidiDevice &box);
    void takeScanned(MidiDevice &box, Asked asked);
    void take(MidiDevice &box, Asked asked);
    [[nodiscard]] bool needsUpdate(MidiDevice &box);
    void ask(const MidiDevice &box);
    void tell(State state);
    void leave(State state);
    void lose();
    void lookAtPorts(const midi::PortNames &names);
    void beginAttempts(std::vector<std::string> pairs);
    void tryToConnect();
    [[nodiscard]] MidiDevice *pick(const QList<MidiDevice *> &found) const;
    [[nodiscard]] MidiDevice *onlyOther(int reference) const;
    [[nodiscard]] qsizetype countPairs(int reference) const;
    void settle();
    [[nodiscard]] QtRtMIDI *link() const;

    QPointer<ConnectedDeviceListModel> m_devices;
    QPointer<FirmwareUpdate> m_updater;
    State m_state = State::Looking;
    int m_connectedIndex = -1;
    QTimer m_checkTimer;
    QTimer m_scanTimer;
    QTimer m_restartTimer; ///< of a box that took new settings

    midi::PortNames m_names;                ///< at the last check
    std::vector<std::string> m_pairs;       ///< that a box could be on, at the last check
    std::vector<std::string> m_newPairs;    ///< of these, those to ask
    int m_attempts = MaxAttempts;           ///< made since new pairs came
    int m_checksToWait = 0;                 ///< before the next one
    int m_settlingChecks = 0;               ///< left
    int m_wanted = midi::NoDeviceReference; ///< the box that was lost
    int m_declined = midi::NoDeviceReference;
    int m_updating = midi::NoDeviceReference; ///< the box in question, from UpdateAsked on
    bool m_isNews = false;                    ///< to the user, that a box is connected next
    bool m_updateFailed = false;
};
