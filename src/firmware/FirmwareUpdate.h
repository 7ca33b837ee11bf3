#pragma once

#include "devices/MidiDevice.h"
#include "devices/ProductTable.h"
#include "firmware/FirmwareImage.h"
#include "firmware/TransferEstimate.h"
#include "midi/protocol/Box.h"
#include "midi/QtRtMIDI.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

/// Decides whether a box needs the firmware that this editor carries, and sends it: asks the box to
/// restart into its bootloader, then hands over the image block by block, each after the box's
/// answer to the one before. Driven by those answers and by one timer.
///
/// Made at start-up, known to the documents as "firmwareUpdate". GUI thread only; checking for the
/// bootloader, and for the new version at the end, blocks it for up to 200 ms per pair of ports.
/// Each step is logged under "ostrel.firmware".
class FirmwareUpdate : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QtRtMIDI *midiObj READ midiObj WRITE setMidiObj NOTIFY midiObjChanged FINAL)
    /// The box is being written to, or about to be.
    Q_PROPERTY(bool transferActive READ transferActive NOTIFY transferActiveChanged FINAL)
    Q_PROPERTY(int bytesSent READ bytesSent NOTIFY transferChanged FINAL)
    Q_PROPERTY(int bytesTotal READ bytesTotal NOTIFY transferChanged FINAL)
    /// -1 as long as it cannot be known.
    Q_PROPERTY(int secondsLeft READ secondsLeft NOTIFY transferChanged FINAL)

public:
    struct DeviceFWInfo
    {
        std::uint8_t productID = midi::NoId;
        midi::FirmwareVersion version;
        const char *imageUrl = "";
    };

    enum class State : quint32 { Idle, EnteringBootloader, Updating, Finishing };
    Q_ENUM(State)

    /// The images that this editor carries, one per product.
    static constexpr std::array<DeviceFWInfo, 1> s_deviceFWInfo{
        {{midi::OstrelProductId, {1, 1, 1}, "qrc:/firmware/OstrelFW.zvf"}}};
    static constexpr const auto &DEVICE_ID_NAME = ProductNames;
    static constexpr const char *UNKNOWN_DEV_NAME = UnknownProductName;

    static constexpr int BootloaderCheckMs = 5000;
    static constexpr quint32 BootloaderChecks = 2;
    static constexpr int AnswerTimeoutMs = 20000; ///< per block
    static constexpr int SettlingMs = 5000;       ///< after the end of a transfer
    static constexpr quint32 MaxPositionRequests = 9;
    static constexpr float ProgressDone = 2.0F;

    explicit FirmwareUpdate(QObject *parent = nullptr);

    [[nodiscard]] QtRtMIDI *midiObj() const { return m_midi; }
    /// Not owned. Does not emit midiObjChanged().
    void setMidiObj(QtRtMIDI *object);
    Q_INVOKABLE MidiDevice *midiDevice() const { return m_device; }
    /// The box to check and update; not owned.
    Q_INVOKABLE void setMIDIDevice(MidiDevice *newMIDIDevice) { m_device = newMIDIDevice; }

    /// True when the box is in its bootloader or too old, and its image could be loaded. An image
    /// that could not is reported by updateError().
    Q_INVOKABLE bool deviceNeedsUpdate();
    /// Makes a new update possible whatever state the last one was left in.
    Q_INVOKABLE void init();
    /// Does nothing unless idle, with an image loaded for the product of the box.
    Q_INVOKABLE void startUpdate();
    /// Ends an update that is under way; the box is told to forget what it received.
    Q_INVOKABLE void cancelUpdate();

    /// Reads and checks the image at a file: or qrc: URL. False after an updateError().
    bool loadFile(const QString &url, unsigned char productID);
    /// The check value of `length` bytes of an enciphered payload; -1 where a signed number counts
    /// less than one.
    static int calcFileCRC(unsigned char *data, unsigned int length);
    /// See firmware::repairDrive().
    static QString fixDumbQtFilenameError(QString &path);
    /// True for the name of a product of the table, the "???" of unused IDs included.
    [[nodiscard]] static bool isZEVDevice(const char *name);
    /// Whether image and device fit each other, so that startUpdate() can go ahead.
    [[nodiscard]] bool checkReadyForUpdate() const;

    [[nodiscard]] firmware::ImageHeader fileHeader() const { return m_image.header(); }
    /// The enciphered payload, null when no image is loaded. Valid until the next loadFile().
    [[nodiscard]] const std::uint8_t *fileData() const { return m_image.payload().data(); }
    [[nodiscard]] State updateState() const { return m_state; }

    [[nodiscard]] bool transferActive() const;
    [[nodiscard]] int bytesSent() const { return static_cast<int>(m_estimate.bytesSent()); }
    [[nodiscard]] int bytesTotal() const { return static_cast<int>(m_estimate.bytesTotal()); }
    [[nodiscard]] int secondsLeft() const { return m_estimate.secondsLeft(); }

public slots:
    void midiMessageIn(std::vector<uint8_t> msg);
    void timerDone();

signals:
    void midiObjChanged();
    void progressChanged(float progress);
    void readyForUpdate(bool ready);
    void statusChanged(QString statusMsg);
    void updateCompleted();
    void updateError(QString errorMsg);
    void transferActiveChanged();
    void transferChanged();

private:
    void enterBootloader();
    void checkForBootloader();
    void beginUpdate();
    bool sendNextBlock();
    void blockAccepted();
    void positionRequested(quint32 position);
    void completeUpdate();
    void endUpdate();
    void settle();

    void setState(State state);
    void reportPosition();
    void sendCancel();

    QPointer<QtRtMIDI> m_midi;
    QPointer<MidiDevice> m_device;
    firmware::FirmwareImage m_image;
    QTimer m_timer{this}; ///< repeats; the states that have no use for a tick ignore it
    State m_state = State::Idle;
    quint32 m_bootloaderTicks = 0;
    quint32 m_position = 0; ///< payload offset of the block in flight
    quint32 m_positionRequests = 0;
    TransferEstimate m_estimate;
    QElapsedTimer m_duration; ///< of the update, for the log
    QElapsedTimer m_transferTime;
};
