#pragma once

#include "devices/ProductTable.h"
#include "midi/backend/PortNames.h"
#include "midi/protocol/Box.h"
#include "midi/protocol/Messages.h"

#include <QAbstractListModel>
#include <QPointer>

#include <cstdint>

class MidiDevice;
class QtRtMIDI;

/// Finds the devices on the computer's MIDI ports, lists them for the device chooser, connects the
/// MIDI link to one of them and remembers that one between runs. Declared by the main window.
/// GUI thread only; a scan blocks for about 200 ms per pair of ports.
///
/// What is looked for without being asked, and which of several devices is taken, is the session's
/// to say, which calls the native operations.
///
/// Row 0 is the entry that asks for a scan, with the value -1; row n is the device n - 1, with its
/// device reference as value. Records of earlier scans stay alive as children of the model, since
/// the firmware updater may still hold one.
class ConnectedDeviceListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(bool deviceConnected READ deviceConnected WRITE setDeviceConnected NOTIFY
                   deviceIsConnected FINAL)
    Q_PROPERTY(QtRtMIDI *midiObj READ midiObj WRITE setMidiObj NOTIFY midiObjChanged FINAL)
    Q_PROPERTY(
        int connectedProductID READ connectedProductID NOTIFY connectedProductIDChanged FINAL)
    Q_PROPERTY(int connectedSysexID READ connectedSysexID NOTIFY connectedSysexIDChanged FINAL)
    Q_PROPERTY(int newSysexID READ newSysexID WRITE setNewSysexID NOTIFY newSysexIDChanged FINAL)
    Q_PROPERTY(QString inputPortName READ inputPortName WRITE setInputPortName FINAL)
    Q_PROPERTY(QString outputPortName READ outputPortName WRITE setOutputPortName FINAL)
    Q_MOC_INCLUDE("devices/MidiDevice.h")
    Q_MOC_INCLUDE("midi/QtRtMIDI.h")

public:
    /// Products that documents name.
    enum Product { Ostrel = midi::OstrelProductId };
    Q_ENUM(Product)
    enum Role { DisplayRole = Qt::DisplayRole, ValueRole = Qt::UserRole };

    explicit ConnectedDeviceListModel(QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// Asks every pair of ports (the named pair, when both names are set) who is there, lists the
    /// answers and connects: to the stored or last device, else to the only one. Returns the
    /// connected device's reference, or 65535. From the second scan on, named ports that do not
    /// exist make it look on all pairs for an Ostrel: that is where one in its bootloader sits.
    Q_INVOKABLE int scanForDevice();
    /// The pairs of ports on which a box is looked for unasked, by names that last as long as they
    /// are there: all that are called as the named pair, or without any, as the pair of the box
    /// that was connected last. Makes the link list them.
    [[nodiscard]] std::vector<std::string> boxPairs();
    /// Asks those of boxPairs() that are called so, and lists the answers in the place of what was
    /// listed on them. Returns them. Leaves the link open on the pair that was asked last.
    QList<MidiDevice *> ask(const std::vector<std::string> &pairs);
    /// Connects to a listed device without remembering it, on ports that may be open already.
    void connectTo(MidiDevice *device);
    /// Makes the connected device the one that the next start looks for.
    void remember() const;
    /// Closes the link. The devices are still listed, and nothing is connected.
    void letGo();
    /// The same, because the ports are gone: neither are the devices on them listed any longer.
    void loseDevice();
    /// Takes devices off the list whose ports are not among `names`, but never the connected one.
    void dropGone(const midi::PortNames &names);
    /// How many boxes answer as this one does, as far as that can be told: a box may answer on
    /// several of its pairs, but only on one that is called as the named pair, and with one version
    /// on all. Leaves the link closed.
    [[nodiscard]] int countAnswers(const MidiDevice &device);
    /// Connects to a listed device and remembers it. False when it is not listed: the link is then
    /// closed and "none" remembered.
    Q_INVOKABLE bool connectToDevice(int deviceRefInt);
    /// Selects a listed device without remembering it, to look at its firmware. False, with
    /// nothing changed, when it is not listed.
    Q_INVOKABLE bool connectToDeviceForFirmwareUpdate(int deviceRefInt);
    /// The device to propose at start, or 65535.
    Q_INVOKABLE int getStartupDevice() const;
    /// The record of the connected device, owned by the model; null when there is none.
    Q_INVOKABLE MidiDevice *currentDevice() const;
    [[nodiscard]] const QList<MidiDevice *> &devices() const { return m_devices; }
    /// The reference of the connected device, or of the one that was before its loss; or 65535.
    [[nodiscard]] int connectedReference() const;
    /// An empty list of acceptable products accepts all.
    Q_INVOKABLE void clearProductIDList();
    Q_INVOKABLE void addProductIDToList(int productID);
    [[nodiscard]] bool isAcceptableProductID(int productID) const;

    [[nodiscard]] bool deviceConnected() const { return m_deviceConnected; }
    /// With `force` the signal is emitted even when nothing changed.
    void setDeviceConnected(bool connected, bool force = false);
    [[nodiscard]] QtRtMIDI *midiObj() const;
    void setMidiObj(QtRtMIDI *link);
    [[nodiscard]] int connectedProductID() const { return m_connectedProductId; }
    [[nodiscard]] int connectedSysexID() const { return m_connectedSysexId; }
    /// The ID that the connected device is about to take; 255 for none.
    [[nodiscard]] int newSysexID() const { return m_newSysexId; }
    /// Takes bits 0 to 7, so that a whole device reference may be given.
    void setNewSysexID(int id);
    [[nodiscard]] QString inputPortName() const { return m_inputPortName; }
    void setInputPortName(const QString &name) { m_inputPortName = name; }
    [[nodiscard]] QString outputPortName() const { return m_outputPortName; }
    void setOutputPortName(const QString &name) { m_outputPortName = name; }

signals:
    /// Carries the index in the device list (not a reference), -1 for none.
    void deviceIsConnected(int deviceRef);
    /// Declared anew so that documents find it on this type; the list only ever resets.
    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                     const QList<int> &roles);
    void midiObjChanged();
    void connectedProductIDChanged();
    void connectedSysexIDChanged();
    void newSysexIDChanged();

private:
    static constexpr int NoIndex = -1;
    enum class Reach { NamedPair, AllPorts };

    void findPorts(Reach reach);
    void listNamedPairs(bool every);
    void askOn(unsigned port);
    /// False when the message says that this port is not to be listened to any longer.
    [[nodiscard]] bool handleReply(midi::ByteView message, unsigned port);
    void addDevice(const midi::Identity &identity, unsigned port);
    void nameDevices(midi::ByteView nameReply);
    [[nodiscard]] int chooseDevice() const;
    /// What a connection does where the scan has just opened the device's ports.
    enum class Ports { Reopen, Keep };

    [[nodiscard]] int findByReference(int reference) const;
    template <typename Matches>
    [[nodiscard]] int findFirst(Matches matches) const;
    void openDevice(int index, Ports ports);
    void openPortsOf(MidiDevice &device);
    [[nodiscard]] bool locate(MidiDevice &device) const;
    void connectToIndex(int index, Ports ports);
    void disconnectDevice();
    void setConnectedProductID(std::uint8_t id);
    void setConnectedSysexID(std::uint8_t id);

    QString m_inputPortName;
    QString m_outputPortName;
    QPointer<QtRtMIDI> m_link;
    QList<int> m_acceptableProducts;
    bool m_onlyOstrel = false; ///< of the scan that runs: it looks beyond the named ports
    QList<MidiDevice *> m_devices;
    bool m_deviceConnected = false;
    int m_currentIndex = NoIndex;
    std::uint8_t m_connectedProductId = midi::NoId;
    std::uint8_t m_connectedSysexId = midi::NoId;
    std::uint8_t m_newSysexId = midi::NoId;
    bool m_firstScan = true;
    QByteArray m_lastInput, m_lastOutput; ///< the plain names of the ports connected last
};
