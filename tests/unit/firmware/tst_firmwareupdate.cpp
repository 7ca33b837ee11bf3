#include "firmware/FirmwareUpdate.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"
#include "support/Rows.h"
#include "unit/firmware/ImageBuilder.h"

#include <QSignalSpy>

#include <functional>

using namespace testsupport;

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

const QString Bootloader = "7.15.127";

constexpr char IdentityRequest[] = "F0 00 01 5B 03 F7";

/// A number as four bytes of a message; unit/midi/golden_bytes.py tells where they come from.
QByteArray number(const QString &value)
{
    static const QHash<QString, QByteArray> numbers{
        {"0", "00 00 00 00"},        {"8", "08 00 00 00"},   {"512", "00 04 00 00"},
        {"700", "3C 05 00 00"},      {"896", "00 07 00 00"}, {"1024", "00 08 00 00"},
        {"268435455", "7F 7F 7F 7F"}};
    return numbers.value(value, "unknown");
}

/// POSITION+LENGTH of each block of the payload that is sent here, and what its message says of it:
/// position, length, encoded length and the checksum, which tells its content. From the same place.
const std::pair<QString, QByteArray> Blocks[] = {
    {"0+512", "00 00 00 00 00 04 00 00 50 04 00 00 66 3E 6D 36"},
    {"512+512", "00 04 00 00 00 04 00 00 50 04 00 00 21 5F 78 19"},
    {"512+188", "00 04 00 00 3C 01 00 00 58 01 00 00 1E 35 45 08"},
    {"896+128", "00 07 00 00 00 01 00 00 18 01 00 00 3B 70 04 22"},
    {"0+8", "00 00 00 00 08 00 00 00 10 00 00 00 2C 58 06 33"},
    {"0+0", "00 00 00 00 00 00 00 00 08 00 00 00 26 44 7B 16"}};

struct Box
{
    std::size_t payloadLength = 1024; ///< of the image for it
    QString version = Bootloader;
};

/// An updater with a real link on scripted ports and a box behind them. What the updater says, by
/// signals and by messages, is written down in the order in which it happens.
class Stage
{
public:
    explicit Stage(const Box &box = {})
        : m_payload(image::payload(box.payloadLength))
        , m_boxVersion(versionFrom(box.version))
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
        const QString argument = step.section(' ', 1);
        const QHash<QString, std::function<void()>> acts{
            {"start", [&] { updater.startUpdate(); }},
            {"tick", [&] { updater.timerDone(); }},
            {"cancel", [&] { updater.cancelUpdate(); }},
            {"init", [&] { updater.init(); }},
            {"ack", [] { answer("F0 00 01 5B 05 20 02 7F 00 00 00 00 F7"); }},
            {"want", [&] { answer("F0 00 01 5B 05 20 02 00 " + number(argument) + " F7"); }},
            {"foreign", [] { answer("F0 00 01 5B 06 20 02 7F 00 00 00 00 F7"); }},
            {"short", [] { answer("F0 00 01 5B 05 20 00 F7"); }},
            {"box", [&] { m_boxVersion = versionFrom(argument); }},
            {"plug", [] { plug(true); }},
            {"unplug", [] { plug(false); }},
            {"sending", [&] { FakeRtMidi::world().sendFails = argument == "fails"; }},
            {"refused", [&] { loadRefused(argument.toUInt()); }}};
        const auto act = acts.value(step.section(' ', 0, 0));
        QVERIFY2(act, qPrintable("unknown step " + step));
        act();
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

    static void answer(const QByteArray &message) { FakeRtMidi::world().receive(fromHex(message)); }

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
        const QByteArray bytes = hex(message);
        said << describe(bytes);
        if (bytes == IdentityRequest)
            FakeRtMidi::world().receive(midi::identityReply({Product, SysexId, m_boxVersion}));
    }

    [[nodiscard]] QString describe(const QByteArray &message) const
    {
        if (message == IdentityRequest)
            return "identify";
        if (message == "F0 00 01 5B 05 20 00 F7")
            return "request";
        if (message == "F0 00 01 5B 05 20 04 F7")
            return "cancel";
        const QByteArray length = number(QString::number(m_payload.size()));
        if (message == "F0 00 01 5B 05 20 03 " + length + " 01 02 F7")
            return "done";
        for (const auto &[block, header] : Blocks)
            if (message.startsWith("F0 00 01 5B 05 20 01 " + header))
                return "block " + block;
        return "unexpected " + message;
    }

    std::vector<std::uint8_t> m_payload;
    midi::FirmwareVersion m_boxVersion;
};

using State = FirmwareUpdate::State;

const QString Waiting = "status Waiting for device to be ready";
const QString InProgress = "status Update in progress";

/// What starting an update says to a box in its bootloader, whose first block is full.
const QString Began = "progress 0, " + Waiting + ", block 0+512";
/// What it says to a running box.
const QString Asked = "progress 0, request, status Entering bootloader";
const QString Again = "progress 0, block 0+512";
const QString Second = "progress 0.5, block 512+512, " + InProgress;
const QString Finished = "done, progress 2, completed, status Update complete";
const QString TimedOut = "cancel, error Update timed out";
const QString BadPosition = "cancel, error Bad update position request.";
const QString NotSent = "error Error sending data";

/// One after the other, as rows write them and failures show them.
QString joined(const QStringList &words)
{
    return words.join(", ");
}

} // namespace

/// The procedure, with a box and a clock that the test plays.
class TestFirmwareUpdate : public QObject
{
    Q_OBJECT

private slots:
    void versionsThatNeedAnUpdate()
    {
        const std::pair<const char *, bool> versions[] = {
            {"0.9.9", true},  {"1.0.9", true},  {"1.1.0", true},  {"7.15.127", true},
            {"1.1.1", false}, {"1.2.0", false}, {"2.0.0", false}, {"7.15.126", false}};
        for (const auto &[version, needed] : versions) {
            Stage stage({8, version});
            QVERIFY2(stage.updater.deviceNeedsUpdate() == needed, version);
            // The carried image is loaded only where it is needed.
            QVERIFY2((stage.updater.fileHeader().dataLength != 8) == needed, version);
            QCOMPARE(stage.said, QStringList());
        }
    }

    void procedure_data()
    {
        const Box box{1024, Bootloader};
        const Box oneBlock{512, Bootloader};
        const Box running{1024, "1.1.0"};
        const Rows<Box, QString, QStringList, State, int> add;

        add("box in its bootloader", box, "start, ack, ack", {Began, Second, Finished},
            State::Finishing, 5000);
        add("version is read again at the end, later ticks do nothing", {8, Bootloader},
            "start, ack, box 1.1.1, tick, tick",
            {"progress 0", Waiting, "block 0+8", Finished, "identify"}, State::Idle, 5000);
        add("running box restarts into its bootloader", running, "start, box 7.15.127, tick",
            {Asked, "identify", Waiting, "block 0+512"}, State::Updating, 20000);
        add("bootloader seen at the second check", running, "start, tick, box 7.15.127, tick",
            {Asked, "identify, identify", Waiting, "block 0+512"}, State::Updating, 20000);
        add("one check leaves another one", running, "start, tick", {Asked, "identify"},
            State::EnteringBootloader, 5000);
        add("bootloader never seen ends in silence", running, "start, unplug, tick, tick", {Asked},
            State::Finishing, 5000);
        add("last block is shorter", {700, Bootloader}, "start, ack, ack",
            {Began, "progress 0.731429, block 512+188", InProgress, Finished}, State::Finishing,
            5000);
        add("no payload at all", {0, Bootloader}, "start, ack",
            {"progress 0", Waiting, "block 0+0", Finished}, State::Finishing, 5000);

        add("box wants to start again", box, "start, ack, want 0", {Began, Second, Again},
            State::Updating, 20000);
        add("box wants a position within a block", box, "start, want 896",
            {Began, "progress 0.875, block 896+128"}, State::Updating, 20000);
        add("position at the end", box, "start, want 1024", {Began, BadPosition}, State::Updating,
            0);
        add("position far beyond the end, then a good one", box, "start, want 268435455, want 512",
            {Began, BadPosition, "progress 0.5, block 512+512"}, State::Updating, 20000);
        const QString five = QString(", want 0").repeated(5);
        const QStringList fiveTimes(5, Again);
        add("tenth request, acknowledgements in between", box, "start" + five + ", ack" + five,
            QStringList(Began) + fiveTimes + QStringList(Second) + fiveTimes.mid(1) +
                QStringList("cancel, error Update timed out."),
            State::Updating, 0);
        add("requests are counted per transfer", box,
            "start" + five + ", cancel, init, start" + five,
            QStringList(Began) + fiveTimes + QStringList{"cancel", Began} + fiveTimes,
            State::Updating, 20000);

        add("no answer to a block", box, "start, tick", {Began, TimedOut}, State::Finishing, 5000);
        add("answer after the time was over", box, "start, tick, ack, want 0", {Began, TimedOut},
            State::Finishing, 5000);
        add("first block cannot be sent, a tick of the last update still running", box,
            "start, cancel, tick, sending fails, start",
            {Began, "cancel, identify, progress 0", Waiting, NotSent}, State::Updating, 0);
        add("later block cannot be sent", box, "start, sending fails, ack",
            {Began, "progress 0.5", NotSent, InProgress}, State::Updating, 0);
        add("second update after one that could not be sent", oneBlock,
            "sending fails, start, sending works, cancel, tick, start, ack",
            {"progress 0", Waiting, NotSent, "cancel, identify", Began, Finished}, State::Finishing,
            5000);

        add("cancel while the box restarts", running, "start, cancel", {Asked, "cancel"},
            State::Finishing, 5000);
        add("cancel within the transfer, version is read again", box, "start, ack, cancel, tick",
            {Began, Second, "cancel, identify"}, State::Idle, 5000);
        add("cancel at the end changes nothing", oneBlock, "start, ack, cancel", {Began, Finished},
            State::Finishing, 5000);
        add("box gone at the end", oneBlock, "start, ack, unplug, tick", {Began, Finished},
            State::Idle, 5000);
        add("init ends a transfer without a word, the timer goes on", box, "start, init, ack, tick",
            {Began}, State::Idle, 20000);

        add("cancel and answers while idle", box, "cancel, ack, want 0", {}, State::Idle, 0);
        add("answers while the box restarts", running, "start, ack, want 0", {Asked},
            State::EnteringBootloader, 5000);
        add("answers for another box, and other messages", box, "start, foreign, short", {Began},
            State::Updating, 20000);
        add("start within an update", box, "start, start", {Began}, State::Updating, 20000);
        add("start at the end of one", oneBlock, "start, ack, start", {Began, Finished},
            State::Finishing, 5000);
        add("header of a refused file promises more than the earlier payload has", box,
            "refused 2048, start, ack, ack",
            {"error Incorrect file type for this product", Began, "progress 0.25, block 512+512",
             InProgress, "progress 0.5", NotSent, InProgress},
            State::Updating, 0);
    }

    void procedure()
    {
        const auto [box, steps, said, state, timerMs] =
            row<Box, QString, QStringList, State, int>();
        Stage stage(box);
        for (const QString &step : steps.split(", "))
            stage.play(step);
        QCOMPARE(joined(stage.said), joined(said));
        QCOMPARE(stage.updater.updateState(), state);
        QCOMPARE(stage.timerMs(), timerMs);
        QCOMPARE(stage.updater.transferActive(),
                 state == State::EnteringBootloader || state == State::Updating);
        QCOMPARE(stage.saidActive, stage.updater.transferActive());
    }

    void otherDevicesAreLeftAlone()
    {
        Stage stage;
        MidiDevice otherProduct(Product + 1, SysexId);
        MidiDevice withoutId(Product, 0xFF);
        for (MidiDevice *device : {&otherProduct, &withoutId, static_cast<MidiDevice *>(nullptr)}) {
            stage.updater.setMIDIDevice(device);
            QVERIFY(!stage.updater.deviceNeedsUpdate());
        }
        QCOMPARE(stage.said, QStringList());
    }

    void imageForAnotherProductDoesNotStart()
    {
        Stage stage;
        QVERIFY(stage.updater.checkReadyForUpdate());
        MidiDevice other(Product + 1, SysexId);
        stage.updater.setMIDIDevice(&other);
        QVERIFY(!stage.updater.checkReadyForUpdate());
        stage.play("start");

        FirmwareUpdate withoutImage;
        withoutImage.setMIDIDevice(stage.device.get());
        withoutImage.startUpdate();
        QCOMPARE(withoutImage.updateState(), State::Idle);
        QCOMPARE(stage.said, QStringList());
    }

    void vanishedObjectsEndInErrors()
    {
        Stage stage;
        stage.play("start");
        stage.link.reset();
        QCOMPARE(stage.updater.midiObj(), nullptr);
        stage.device.reset();
        stage.play("tick");
        stage.play("tick");
        QCOMPARE(joined(stage.said), Began + ", error Update timed out");
        QCOMPARE(stage.updater.updateState(), State::Idle);
    }

    void cancellingFromASignalSendsNoFurtherBlock()
    {
        Stage stage;
        connect(&stage.updater, &FirmwareUpdate::progressChanged, &stage.updater,
                [&](float progress) {
                    if (progress > 0)
                        stage.updater.cancelUpdate();
                });
        stage.play("start");
        stage.play("ack");
        QCOMPARE(joined(stage.said), joined({Began, "progress 0.5, cancel", InProgress}));
        QCOMPARE(stage.updater.updateState(), State::Finishing);
        QCOMPARE(stage.timerMs(), 5000);
    }

    void linkIsReplacedWithoutSignal()
    {
        Stage stage;
        QSignalSpy changes(&stage.updater, &FirmwareUpdate::midiObjChanged);
        stage.play("start");
        stage.updater.setMidiObj(nullptr);
        stage.play("ack");
        QCOMPARE(joined(stage.said), Began);
        stage.updater.setMidiObj(stage.link.get());
        stage.updater.setMidiObj(stage.link.get());
        stage.play("want 512"); // arrives once, although the link was set twice
        QCOMPARE(joined(stage.said), Began + ", progress 0.5, block 512+512");
        QCOMPARE(changes.size(), 0);
    }

    void transferIsMeasured()
    {
        Stage stage;
        QSignalSpy changes(&stage.updater, &FirmwareUpdate::transferChanged);
        stage.play("start");
        QCOMPARE(stage.updater.bytesTotal(), 1024);
        for (const int sent : {0, 512, 1024}) {
            QCOMPARE(stage.updater.bytesSent(), sent);
            QCOMPARE(stage.updater.secondsLeft(), -1);
            stage.play("ack");
        }
        QCOMPARE(changes.size(), 3);
    }
};

QTEST_GUILESS_MAIN(TestFirmwareUpdate)
#include "tst_firmwareupdate.moc"
