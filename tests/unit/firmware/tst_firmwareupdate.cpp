#include "firmware/FirmwareUpdate.h"
#include "midi/UpdateMessages.h"
#include "support/FakeRtMidi.h"
#include "unit/firmware/ImageBuilder.h"

#include <QSignalSpy>
#include <QTest>

namespace
{

constexpr std::uint8_t Product = 26;
constexpr std::uint8_t SysexId = 5;
constexpr char Port[] = "Box";

midi::FirmwareVersion versionFrom(const QString &text)
{
    const QStringList parts = text.split('.');
    const auto part = [&](int i) { return static_cast<std::uint8_t>(parts.value(i).toUInt()); };
    return {part(0), part(1), part(2)};
}

/// An updater with a real link on scripted ports and a box behind them. What the updater says, by
/// signals and by messages, is written down in the order in which it happens.
class Stage
{
public:
    Stage(std::size_t payloadLength, const QString &version)
        : m_payload(image::payload(payloadLength))
        , m_boxVersion(versionFrom(version))
    {
        FakeRtMidi &world = FakeRtMidi::world();
        world.reset();
        plug(true);
        world.onSend = [this](const FakeRtMidi::Sent &sent) { messageSent(sent.bytes); };
        link = std::make_unique<QtRtMIDI>();
        link->scanPorts(nullptr, nullptr);
        if (!link->selectPort(0))
            qFatal("the scripted port did not open");
        link->setSysexID(SysexId);
        link->setCallbackMode(true);

        device = std::make_unique<MidiDevice>(Product, SysexId);
        device->setMidiObj(link.get());
        device->setMajorVersion(m_boxVersion.major);
        device->setMinorVersion(m_boxVersion.minor);
        device->setPointVersion(m_boxVersion.point);

        follow();
        updater.setMidiObj(link.get());
        updater.setMIDIDevice(device.get());
        updater.loadFile(image::File(image::make(m_payload)).url(), Product);
    }
    ~Stage() { FakeRtMidi::world().reset(); }

    /// Does what one word of a test row says.
    void play(const QString &step)
    {
        const QString word = step.section(' ', 0, 0);
        const QString argument = step.section(' ', 1);
        if (word == "start")
            updater.startUpdate();
        else if (word == "tick")
            updater.timerDone();
        else if (word == "cancel")
            updater.cancelUpdate();
        else if (word == "init")
            updater.init();
        else if (word == "ack")
            answer(midi::updateResponse(SysexId, midi::UpdateAccepted, 0));
        else if (word == "want")
            answer(midi::updateResponse(SysexId, 0, argument.toUInt()));
        else if (word == "foreign")
            answer(midi::updateResponse(SysexId + 1, midi::UpdateAccepted, 0));
        else if (word == "short")
            answer(midi::updateRequest(SysexId));
        else if (word == "box")
            m_boxVersion = versionFrom(argument);
        else if (word == "plug")
            plug(true);
        else if (word == "unplug")
            plug(false);
        else if (word == "sending")
            FakeRtMidi::world().sendFails = argument == "fails";
        else if (word == "refused")
            loadRefused(argument.toUInt());
        else
            QFAIL(qPrintable("unknown step " + step));
    }

    /// Interval of the running timer, 0 when it is stopped.
    [[nodiscard]] int timerMs() const
    {
        const auto *timer = updater.findChild<QTimer *>();
        return timer->isActive() ? timer->interval() : 0;
    }

    QStringList said;
    bool saidActive = false;
    std::unique_ptr<QtRtMIDI> link;
    std::unique_ptr<MidiDevice> device;
    FirmwareUpdate updater;

private:
    static void plug(bool in)
    {
        const std::vector<std::string> ports(in ? 1 : 0, Port);
        FakeRtMidi::world().inputs = ports;
        FakeRtMidi::world().outputs = ports;
    }

    /// Loads what has the header of an image of this length, all but for its magic.
    void loadRefused(std::size_t length)
    {
        QByteArray content = image::make(image::payload(length));
        content[0] = 'x';
        updater.loadFile(image::File(content).url(), Product);
    }

    static void answer(const midi::ByteMessage &message) { FakeRtMidi::world().receive(message); }

    void follow()
    {
        QObject::connect(&updater, &FirmwareUpdate::progressChanged, [this](float progress) {
            said << QStringLiteral("progress %1").arg(double(progress));
        });
        QObject::connect(&updater, &FirmwareUpdate::statusChanged,
                         [this](const QString &text) { said << "status " + text; });
        QObject::connect(&updater, &FirmwareUpdate::updateError,
                         [this](const QString &text) { said << "error " + text; });
        QObject::connect(&updater, &FirmwareUpdate::updateCompleted,
                         [this] { said << "completed"; });
        QObject::connect(&updater, &FirmwareUpdate::transferActiveChanged,
                         [this] { saidActive = updater.transferActive(); });
    }

    void messageSent(const midi::ByteMessage &message)
    {
        said << describe(message);
        if (message == midi::identityRequest())
            answer(midi::identityReply({Product, SysexId, m_boxVersion}));
    }

    [[nodiscard]] QString describe(const midi::ByteMessage &message) const
    {
        if (message == midi::identityRequest())
            return "identify";
        if (message == midi::updateRequest(SysexId))
            return "request";
        if (message == midi::updateCancel(SysexId))
            return "cancel";
        const auto length = static_cast<std::uint32_t>(m_payload.size());
        if (message == midi::updateDone(SysexId, length, 1, 2))
            return "done";
        return describeBlock(message);
    }

    /// "block POSITION+LENGTH" when the whole message is what it should be for that position.
    [[nodiscard]] QString describeBlock(const midi::ByteMessage &message) const
    {
        if (message.size() > midi::UpdateDataOffset) {
            const auto position = midi::read28Bit(message, midi::UpdatePositionOffset);
            const auto length = midi::read28Bit(message, midi::UpdateLengthOffset);
            if (std::size_t(position) + length <= m_payload.size() &&
                message == midi::updateData(SysexId, position,
                                            midi::ByteView(m_payload).subspan(position, length)))
                return QStringLiteral("block %1+%2").arg(position).arg(length);
        }
        return QString::fromStdString("unexpected " + midi::toHex(message));
    }

    std::vector<std::uint8_t> m_payload;
    midi::FirmwareVersion m_boxVersion;
};

using State = FirmwareUpdate::State;

const QString Bootloader = "7.15.127";
const QString Waiting = "status Waiting for device to be ready";
const QString Entering = "status Entering bootloader";
const QString InProgress = "status Update in progress";
const QString Complete = "status Update complete";

/// What starting an update says to a box in its bootloader, whose first block is full.
const QStringList Began{"progress 0", Waiting, "block 0+512"};
/// What it says to a running box.
const QStringList Asked{"progress 0", "request", Entering};
const QStringList Finished{"done", "progress 2", "completed", Complete};
const QStringList TimedOut{"cancel", "error Update timed out"};

QStringList words(const char *text)
{
    return QString(text).split(", ");
}

} // namespace

Q_DECLARE_METATYPE(FirmwareUpdate::State)

/// The procedure, with a box and a clock that the test plays.
class TestFirmwareUpdate : public QObject
{
    Q_OBJECT

private slots:
    void versionsThatNeedAnUpdate_data();
    void versionsThatNeedAnUpdate();
    void procedure_data();
    void procedure();
    void otherDevicesAreLeftAlone();
    void imageForAnotherProductDoesNotStart();
    void vanishedObjectsEndInErrors();
    void cancellingFromASignalSendsNoFurtherBlock();
    void linkIsReplacedWithoutSignal();
    void transferIsMeasured();
};

void TestFirmwareUpdate::versionsThatNeedAnUpdate_data()
{
    QTest::addColumn<bool>("needed");
    for (const char *version : {"0.9.9", "1.0.9", "1.1.0", "7.15.127"})
        QTest::newRow(version) << true;
    for (const char *version : {"1.1.1", "1.2.0", "2.0.0", "7.15.126"})
        QTest::newRow(version) << false;
}

void TestFirmwareUpdate::versionsThatNeedAnUpdate()
{
    QFETCH(bool, needed);
    Stage stage(8, QTest::currentDataTag());
    QCOMPARE(stage.updater.deviceNeedsUpdate(), needed);
    const bool isOwnImage = stage.updater.fileHeader().dataLength != 8;
    QCOMPARE(isOwnImage, needed); // the carried image is loaded only where it is needed
    QCOMPARE(stage.said, QStringList());
}

void TestFirmwareUpdate::procedure_data()
{
    QTest::addColumn<int>("payloadLength");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("said");
    QTest::addColumn<State>("state");
    QTest::addColumn<int>("timerMs");

    const QString old = "1.1.0";
    const QStringList second{"progress 0.5", "block 512+512", InProgress};

    QTest::newRow("box in its bootloader") << 1024 << Bootloader << words("start, ack, ack")
                                           << Began + second + Finished << State::Finishing << 5000;
    QTest::newRow("version is read again at the end, later ticks do nothing")
        << 8 << Bootloader << words("start, ack, box 1.1.1, tick, tick")
        << QStringList{"progress 0", Waiting, "block 0+8"} + Finished + QStringList{"identify"}
        << State::Idle << 5000;
    QTest::newRow("running box restarts into its bootloader")
        << 1024 << old << words("start, box 7.15.127, tick")
        << Asked + QStringList{"identify", Waiting, "block 0+512"} << State::Updating << 20000;
    QTest::newRow("bootloader seen at the second check")
        << 1024 << old << words("start, tick, box 7.15.127, tick")
        << Asked + QStringList{"identify", "identify", Waiting, "block 0+512"} << State::Updating
        << 20000;
    QTest::newRow("one check leaves another one")
        << 1024 << old << words("start, tick") << Asked + QStringList{"identify"}
        << State::EnteringBootloader << 5000;
    QTest::newRow("bootloader never seen ends in silence")
        << 1024 << old << words("start, unplug, tick, tick") << Asked << State::Finishing << 5000;

    QTest::newRow("last block is shorter")
        << 700 << Bootloader << words("start, ack, ack")
        << Began + QStringList{"progress 0.731429", "block 512+188", InProgress} + Finished
        << State::Finishing << 5000;
    QTest::newRow("no payload at all")
        << 0 << Bootloader << words("start, ack")
        << QStringList{"progress 0", Waiting, "block 0+0"} + Finished << State::Finishing << 5000;

    QTest::newRow("box wants to start again")
        << 1024 << Bootloader << words("start, ack, want 0")
        << Began + second + QStringList{"progress 0", "block 0+512"} << State::Updating << 20000;
    QTest::newRow("box wants a position within a block")
        << 1024 << Bootloader << words("start, want 896")
        << Began + QStringList{"progress 0.875", "block 896+128"} << State::Updating << 20000;
    QTest::newRow("position at the end")
        << 1024 << Bootloader << words("start, want 1024")
        << Began + QStringList{"cancel", "error Bad update position request."} << State::Updating
        << 0;
    QTest::newRow("position far beyond the end, then a good one")
        << 1024 << Bootloader << words("start, want 268435455, want 512")
        << Began + QStringList{"cancel", "error Bad update position request.", "progress 0.5",
                               "block 512+512"}
        << State::Updating << 20000;
    QTest::newRow("tenth request, acknowledgements in between")
        << 1024 << Bootloader
        << words("start, want 0, want 0, ack, want 0, want 0, want 0, want 0, want 0, want 0, "
                 "want 0, want 0")
        << Began + QStringList{"progress 0", "block 0+512", "progress 0", "block 0+512"} + second +
               QStringList(
                   QString("progress 0, block 0+512, ").repeated(7).chopped(2).split(", ")) +
               QStringList{"cancel", "error Update timed out."}
        << State::Updating << 0;
    QTest::newRow("requests are counted per transfer")
        << 1024 << Bootloader
        << words("start, want 0, want 0, want 0, want 0, want 0, cancel, init, start, want 0, "
                 "want 0, want 0, want 0, want 0")
        << Began + QString("progress 0, block 0+512, ").repeated(5).chopped(2).split(", ") +
               QStringList{"cancel"} + Began +
               QString("progress 0, block 0+512, ").repeated(5).chopped(2).split(", ")
        << State::Updating << 20000;

    QTest::newRow("no answer to a block") << 1024 << Bootloader << words("start, tick")
                                          << Began + TimedOut << State::Finishing << 5000;
    QTest::newRow("answer after the time was over")
        << 1024 << Bootloader << words("start, tick, ack, want 0") << Began + TimedOut
        << State::Finishing << 5000;
    QTest::newRow("first block cannot be sent, a tick of the last update still running")
        << 1024 << Bootloader << words("start, cancel, tick, sending fails, start")
        << Began +
               QStringList{"cancel", "identify", "progress 0", Waiting, "error Error sending data"}
        << State::Updating << 0;
    QTest::newRow("later block cannot be sent")
        << 1024 << Bootloader << words("start, sending fails, ack")
        << Began + QStringList{"progress 0.5", "error Error sending data", InProgress}
        << State::Updating << 0;
    QTest::newRow("second update after one that could not be sent")
        << 512 << Bootloader
        << words("sending fails, start, sending works, cancel, tick, start, ack")
        << QStringList{"progress 0", Waiting, "error Error sending data", "cancel", "identify"} +
               Began + Finished
        << State::Finishing << 5000;

    QTest::newRow("cancel while idle")
        << 1024 << old << words("cancel") << QStringList() << State::Idle << 0;
    QTest::newRow("cancel while the box restarts")
        << 1024 << old << words("start, cancel") << Asked + QStringList{"cancel"}
        << State::Finishing << 5000;
    QTest::newRow("cancel within the transfer, version is read again")
        << 1024 << Bootloader << words("start, ack, cancel, tick")
        << Began + second + QStringList{"cancel", "identify"} << State::Idle << 5000;
    QTest::newRow("cancel at the end changes nothing")
        << 512 << Bootloader << words("start, ack, cancel") << Began + Finished << State::Finishing
        << 5000;
    QTest::newRow("box gone at the end") << 512 << Bootloader << words("start, ack, unplug, tick")
                                         << Began + Finished << State::Idle << 5000;
    QTest::newRow("init ends a transfer without a word, the timer goes on")
        << 1024 << Bootloader << words("start, init, ack, tick") << Began << State::Idle << 20000;

    QTest::newRow("answers while idle")
        << 1024 << Bootloader << words("ack, want 0") << QStringList() << State::Idle << 0;
    QTest::newRow("answers while the box restarts")
        << 1024 << old << words("start, ack, want 0") << Asked << State::EnteringBootloader << 5000;
    QTest::newRow("answers for another box, and other messages")
        << 1024 << Bootloader << words("start, foreign, short") << Began << State::Updating
        << 20000;
    QTest::newRow("start within an update")
        << 1024 << Bootloader << words("start, start") << Began << State::Updating << 20000;
    QTest::newRow("start at the end of one") << 512 << Bootloader << words("start, ack, start")
                                             << Began + Finished << State::Finishing << 5000;
    QTest::newRow("header of a refused file promises more than the earlier payload has")
        << 1024 << Bootloader << words("refused 2048, start, ack, ack")
        << QStringList{"error Incorrect file type for this product"} + Began +
               QStringList{"progress 0.25",
                           "block 512+512",
                           InProgress,
                           "progress 0.5",
                           "error Error sending data",
                           InProgress}
        << State::Updating << 0;
}

void TestFirmwareUpdate::procedure()
{
    QFETCH(int, payloadLength);
    QFETCH(QString, version);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, said);
    QFETCH(State, state);
    QFETCH(int, timerMs);

    Stage stage(static_cast<std::size_t>(payloadLength), version);
    for (const QString &step : steps)
        stage.play(step);
    QCOMPARE(stage.said, said);
    QCOMPARE(stage.updater.updateState(), state);
    QCOMPARE(stage.timerMs(), timerMs);
    QCOMPARE(stage.updater.transferActive(),
             state == State::EnteringBootloader || state == State::Updating);
    QCOMPARE(stage.saidActive, stage.updater.transferActive());
}

void TestFirmwareUpdate::otherDevicesAreLeftAlone()
{
    Stage stage(8, Bootloader);
    MidiDevice otherProduct(Product + 1, SysexId);
    MidiDevice withoutId(Product, 0xFF);
    for (MidiDevice *device : {&otherProduct, &withoutId, static_cast<MidiDevice *>(nullptr)}) {
        stage.updater.setMIDIDevice(device);
        QCOMPARE(stage.updater.midiDevice(), device);
        QVERIFY(!stage.updater.deviceNeedsUpdate());
    }
    QCOMPARE(stage.said, QStringList());
}

void TestFirmwareUpdate::imageForAnotherProductDoesNotStart()
{
    Stage stage(8, Bootloader);
    QVERIFY(stage.updater.checkReadyForUpdate());
    MidiDevice other(Product + 1, SysexId);
    stage.updater.setMIDIDevice(&other);
    QVERIFY(!stage.updater.checkReadyForUpdate());
    stage.updater.startUpdate();

    FirmwareUpdate withoutImage;
    withoutImage.setMIDIDevice(stage.device.get());
    withoutImage.startUpdate();
    QCOMPARE(withoutImage.updateState(), State::Idle);
    QCOMPARE(stage.said, QStringList());
}

void TestFirmwareUpdate::vanishedObjectsEndInErrors()
{
    Stage stage(1024, Bootloader);
    stage.play("start");
    stage.link.reset();
    QCOMPARE(stage.updater.midiObj(), nullptr);
    stage.device.reset();
    stage.play("tick");
    stage.play("tick");
    QCOMPARE(stage.said, Began + QStringList{"error Update timed out"});
    QCOMPARE(stage.updater.updateState(), State::Idle);
}

void TestFirmwareUpdate::cancellingFromASignalSendsNoFurtherBlock()
{
    Stage stage(1024, Bootloader);
    connect(&stage.updater, &FirmwareUpdate::progressChanged, &stage.updater, [&](float progress) {
        if (progress > 0)
            stage.updater.cancelUpdate();
    });
    stage.play("start");
    stage.play("ack");
    QCOMPARE(stage.said, Began + QStringList({"progress 0.5", "cancel", InProgress}));
    QCOMPARE(stage.updater.updateState(), State::Finishing);
    QCOMPARE(stage.timerMs(), 5000);
}

void TestFirmwareUpdate::linkIsReplacedWithoutSignal()
{
    Stage stage(1024, Bootloader);
    QSignalSpy changes(&stage.updater, &FirmwareUpdate::midiObjChanged);
    stage.play("start");
    stage.updater.setMidiObj(nullptr);
    stage.play("ack");
    QCOMPARE(stage.said, Began);
    stage.updater.setMidiObj(stage.link.get());
    stage.updater.setMidiObj(stage.link.get());
    stage.play("want 512"); // arrives once, although the link was set twice
    QCOMPARE(stage.said, Began + QStringList({"progress 0.5", "block 512+512"}));
    QCOMPARE(changes.size(), 0);
}

void TestFirmwareUpdate::transferIsMeasured()
{
    Stage stage(1024, Bootloader);
    QSignalSpy changes(&stage.updater, &FirmwareUpdate::transferChanged);
    stage.play("start");
    QCOMPARE(stage.updater.bytesTotal(), 1024);
    QCOMPARE(stage.updater.bytesSent(), 0);
    QCOMPARE(stage.updater.secondsLeft(), -1);
    stage.play("ack");
    QCOMPARE(stage.updater.bytesSent(), 512);
    stage.play("ack");
    QCOMPARE(stage.updater.bytesSent(), 1024);
    QCOMPARE(stage.updater.secondsLeft(), -1);
    QCOMPARE(changes.size(), 3);
}

QTEST_GUILESS_MAIN(TestFirmwareUpdate)
#include "tst_firmwareupdate.moc"
