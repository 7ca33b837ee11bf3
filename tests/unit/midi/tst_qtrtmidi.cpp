#include "midi/QtRtMIDI.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using midi::BlockType;
using midi::ByteMessage;
using testsupport::dataBlock;
using testsupport::fromHex;
using testsupport::hex;
using testsupport::toBytes;
using Messages = std::vector<ByteMessage>;
using Names = std::vector<std::string>;
using Service = FakeRtMidi::Service;

namespace
{

constexpr char ApiVariable[] = "OSTREL_MIDI_API";
constexpr std::uint8_t Id = 5;
constexpr char Acknowledgement[] = "F0 00 01 5B 05 32 00 00 00 00 F7";

FakeRtMidi &world()
{
    return FakeRtMidi::world();
}

ByteMessage script(const char *text)
{
    return dataBlock(Id, BlockType::Script, toBytes(text));
}

ByteMessage changed(ByteMessage message, std::size_t offset, std::uint8_t byte)
{
    message.at(offset) = byte;
    return message;
}

} // namespace

/// The connection on scripted ports: what no MIDI server can produce, and each answer to a read.
class TestQtRtMIDI : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        qunsetenv(ApiVariable);
        world().reset();
        world().inputs = {"A", "B"};
        world().outputs = {"A", "B"};
    }

    void cleanup() { m_midi.reset(); }

    void choosesTheBackEnd_data()
    {
        QTest::addColumn<Service>("service");
        QTest::addColumn<QByteArray>("api");
        QTest::addColumn<QString>("said");
        QTest::addColumn<int>("pairs");
        QTest::addColumn<QByteArray>("error");
        const auto row = [](const char *name, Service service, const char *api, const char *said,
                            int pairs, const char *error) {
            QTest::newRow(name) << service << QByteArray(api) << QString(said) << pairs
                                << QByteArray(error);
        };
        const char *const text = FakeRtMidi::ErrorText;
        row("first choice works", Service::Works, "", "", 2, "");
        row("the next one works", Service::FirstFails, "", "", 2, text);
        row("none works", Service::FailsAlways, "", "no MIDI service", 0, text);
        row("no output works", Service::OutputFails, "", "no MIDI service", 0, text);
        row("named by the environment", Service::FirstFails, "jack", "", 2, "");
        row("named, does not work", Service::FailsAlways, "jack", "no MIDI service", 0, text);
        row("named, others work", Service::JackFails, "jack", "no MIDI service", 0, text);
        row("unknown name", Service::Works, "abacus", "OSTREL_MIDI_API.*abacus", 2,
            "OSTREL_MIDI_API names no MIDI back end of this build: \"abacus\"");
    }

    void choosesTheBackEnd()
    {
        QFETCH(Service, service);
        QFETCH(QByteArray, api);
        QFETCH(QString, said);
        QFETCH(int, pairs);
        QFETCH(QByteArray, error);
        world().service = service;
        if (!api.isEmpty())
            qputenv(ApiVariable, api);
        if (!said.isEmpty())
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression(said));

        m_midi = std::make_unique<QtRtMIDI>();
        const QSignalSpy listChanged(m_midi.get(), &QtRtMIDI::portListChanged);
        m_midi->scanPorts(nullptr, nullptr);
        QCOMPARE(listChanged.size(), 1);
        QCOMPARE(m_midi->getErrorMessage(), error.constData());
        QCOMPARE(m_midi->portCount(), pairs);
        QCOMPARE(m_midi->selectPort(0), pairs > 0);
        QCOMPARE(m_midi->portsReady(), pairs > 0);
        QCOMPARE(m_midi->sendIDReq(), pairs > 0);
        // Every operation must do without ports.
        ByteMessage message;
        QVERIFY(!m_midi->receiveMessage(message));
        m_midi->flushInput();
        m_midi->setCallbackMode(true);
        QVERIFY(!m_midi->getGlobals());
        QVERIFY(!m_midi->getScript().isValid());
        m_midi->closePort();
        QCOMPARE(m_midi->portName(7), "");
    }

    void scansByName()
    {
        m_midi = std::make_unique<QtRtMIDI>();
        QSignalSpy listChanged(m_midi.get(), &QtRtMIDI::portListChanged);
        m_midi->scanPorts("B", "A");
        QCOMPARE(m_midi->portCount(), 1);
        QCOMPARE(m_midi->portName(0), "B");
        QVERIFY(m_midi->selectPort(0));
        QCOMPARE(*world().openInput(), "B");
        QCOMPARE(*world().openOutput(), "A");
        m_midi->scanPorts("B", "C");
        QCOMPARE(m_midi->portCount(), 0);
        QVERIFY(!m_midi->selectPort(0));
        m_midi->scanPorts("B", nullptr);
        QCOMPARE(m_midi->portCount(), 2);
        world().inputs = {"A"};
        QCOMPARE(m_midi->portName(1), "");
        world().countFails = true;
        m_midi->scanPorts(nullptr, nullptr);
        QCOMPARE(m_midi->portCount(), 0);
        QCOMPARE(m_midi->getErrorMessage(), FakeRtMidi::ErrorText);
        QCOMPARE(listChanged.size(), 4);
    }

    void opens_data()
    {
        QTest::addColumn<Names>("inputs");
        QTest::addColumn<Names>("outputs");
        QTest::addColumn<bool>("inputFails");
        QTest::addColumn<bool>("outputFails");
        QTest::addColumn<QByteArray>("error"); // empty: opens
        const QByteArray text = FakeRtMidi::ErrorText;
        const QByteArray gone = "MIDI port is gone: B";
        const Names same{"A", "B"};
        QTest::newRow("as scanned") << same << same << false << false << QByteArray();
        QTest::newRow("moved") << Names{"B"} << Names{"X", "A", "B"} << false << false
                               << QByteArray();
        QTest::newRow("input gone") << Names{"A", "X"} << same << false << false << gone;
        QTest::newRow("output gone") << same << Names{} << false << false << gone;
        QTest::newRow("input refuses") << same << same << true << false << text;
        QTest::newRow("output refuses") << same << same << false << true << text;
    }

    void opens()
    {
        QFETCH(Names, inputs);
        QFETCH(Names, outputs);
        QFETCH(bool, inputFails);
        QFETCH(bool, outputFails);
        QFETCH(QByteArray, error);
        connectTo(0);
        world().inputs = inputs;
        world().outputs = outputs;
        world().inputOpenFails = inputFails;
        world().outputOpenFails = outputFails;
        QCOMPARE(m_midi->selectPort(1), error.isEmpty());
        QCOMPARE(m_midi->portsReady(), error.isEmpty());
        QCOMPARE(m_midi->getErrorMessage(), error.constData());
        QCOMPARE(world().openInput().value_or("closed"), error.isEmpty() ? "B" : "closed");
        QCOMPARE(world().openOutput().value_or("closed"), error.isEmpty() ? "B" : "closed");
        // An index beyond the list changes nothing.
        QVERIFY(!m_midi->selectPort(2));
        QCOMPARE(m_midi->portsReady(), error.isEmpty());
        m_midi->closePort();
        QVERIFY(!m_midi->portsReady());
    }

    void pushesWhatItReceives_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<bool>("asMessage");
        QTest::addColumn<QString>("asText"); // null: no text
        const auto row = [](const char *message, bool asMessage, const QString &asText = {}) {
            QTest::newRow(message) << QByteArray(message) << asMessage << asText;
        };
        for (const char *ours :
             {"CF 05", "F0 00 01 5B 7F F7", "F0 00 01 5B 05 1F F7", Acknowledgement})
            row(ours, true);
        for (const char *others :
             {"90 40 7F", "B0 07 40", "D0 05", "", "F0 00 01 5B", "F0 7E 00 06 01 F7"})
            row(others, false);
        row("F0 00 01 5B 05 1F 00 F7", false, "");
        row("F0 00 01 5B 05 1F 00 48 69 F7", false, "Hi");
        row("F0 00 01 5B 7F 1F 00 48 69", false, "Hi");
        row("F0 00 01 5B 7F 1F 00 E4 F7 69 F7", false, QString(QChar(0xE4)));
    }

    void pushesWhatItReceives()
    {
        QFETCH(QByteArray, message);
        QFETCH(bool, asMessage);
        QFETCH(QString, asText);
        connectTo(0);
        m_midi->setCallbackMode(true);
        QSignalSpy messages(m_midi.get(), SIGNAL(midiMessageReceived(std::vector<uint8_t>)));
        QSignalSpy texts(m_midi.get(), &QtRtMIDI::textMessageReceived);
        world().receive(fromHex(message));
        QCOMPARE(messages.size(), asMessage ? 1 : 0);
        if (asMessage)
            QCOMPARE(hex(messages[0][0].value<ByteMessage>()), message);
        QCOMPARE(texts.size(), asText.isNull() ? 0 : 1);
        if (!asText.isNull())
            QCOMPARE(texts[0][0].toString(), asText);
    }

    void keepsMessagesForPolling()
    {
        connectTo(0);
        const QSignalSpy messages(m_midi.get(), &QtRtMIDI::midiMessageReceived);
        for (const char *bytes : {"", "C0 01", "C0 02", "C0 03"})
            world().receive(fromHex(bytes));
        ByteMessage message;
        QVERIFY(m_midi->receiveMessage(message));
        QCOMPARE(hex(message), QByteArray("C0 01"));
        m_midi->flushInput();
        QVERIFY(!m_midi->receiveMessage(message));
        QVERIFY(message.empty());

        // Twice is as good as once, in both directions.
        for (const bool enabled : {true, true, false, false}) {
            m_midi->setCallbackMode(enabled);
            world().receive(fromHex("C0 04"));
        }
        QCOMPARE(messages.size(), 2);
        QVERIFY(m_midi->receiveMessage(message));
    }

    /// tst_goldenbytes shows the bytes of each request.
    void tellsWhatWasNotSent()
    {
        connectTo(0);
        const ByteMessage note{0x90, 0x40, 0x7F};
        const auto send = [&] { return m_midi->sendSysex(note.data(), 3); };
        QVERIFY(send());
        world().sendFails = true;
        QVERIFY(!send());
        QCOMPARE(m_midi->getErrorMessage(), FakeRtMidi::ErrorText);
        world().sendFails = false;
        world().sendWarns = true;
        QVERIFY(!send());
        QCOMPARE(m_midi->getErrorMessage(), FakeRtMidi::WarningText);
        world().sendWarns = false;
        m_midi->closePort();
        QVERIFY(!send());
        QCOMPARE(world().takeSent(), Messages{note});
    }

    void sendsNoEmptyMessageAndNoOverlongBlock()
    {
        connectTo(0);
        QVERIFY(!m_midi->sendMessage({}));
        QVERIFY(!m_midi->sendSysex(nullptr, 0));
        const ByteMessage payload(7154, 'x');
        QVERIFY(!m_midi->sendSettingsBlock(4, payload.data(), 7154, false));
        QVERIFY(world().sent.empty());
        QVERIFY(m_midi->sendSettingsBlock(4, payload.data(), 7153, false));
        QCOMPARE(world().sent.at(0).bytes.size(), 8192U);
        QCOMPARE(hex(std::span(world().sent[0].bytes).subspan(9, 2)), QByteArray("6F 3F"));
        QCOMPARE(world().sent[0].bytes.back(), 0xF7);
    }

    void sendsLongMessagesInPiecesOnAlsa()
    {
        world().style = midi::NameStyle::Alsa;
        world().inputs = {"Box:B 128:0"};
        world().outputs = {"Box:B 128:1"};
        connectTo(0);
        ByteMessage message(600, 'x');
        message.front() = 1;
        message.back() = 2;
        QVERIFY(m_midi->sendMessage(message));
        const Messages pieces = world().takeSent();
        QCOMPARE(pieces.size(), 3U);
        QCOMPARE(pieces[0].size(), 256U);
        QCOMPARE(pieces[0].front(), 1);
        QCOMPARE(pieces[1].size(), 256U);
        QCOMPARE(pieces[2].size(), 88U);
        QCOMPARE(pieces[2].back(), 2);
        world().sendWarns = true;
        QVERIFY(!m_midi->sendMessage(message));
    }

    void readsScripts_data()
    {
        QTest::addColumn<Messages>("replies");
        QTest::addColumn<QVariant>("expected");
        const auto row = [](const char *name, const Messages &replies, const QVariant &expected) {
            QTest::newRow(name) << replies << expected;
        };
        const ByteMessage right = script("right");
        const ByteMessage wrongCrc = changed(script("wrong"), 12, 0x55);
        const ByteMessage foreign = changed(script("wrong"), 4, Id + 1);
        const ByteMessage globals = dataBlock(Id, BlockType::Globals, ByteMessage(256, 'g'));
        const QVariant none;
        row("nothing", {}, none);
        row("a script", {right}, "right");
        row("up to the first zero", {dataBlock(Id, BlockType::Script, ByteMessage{0x61, 0, 0x62})},
            "a");
        row("UTF-8", {script("\xC3\xA4")}, QString(QChar(0xE4)));
        row("the largest", {dataBlock(Id, BlockType::Script, ByteMessage(7153, 'x'))},
            QString(7153, 'x'));
        row("wrong checksum, then right", {wrongCrc, right}, "right");
        row("wrong checksum alone", {wrongCrc, wrongCrc}, none);
        row("foreign ID", {foreign}, none);
        row("other block, empty block, message, then right",
            {globals, dataBlock(Id, BlockType::Script, {}), fromHex(Acknowledgement), {}, right},
            "right");
        row("lying length", {changed(changed(right, 9, 0x7F), 10, 0x7F)}, none);
        row("empty but 18 bytes long",
            {fromHex("F0 00 01 5B 05 34 04 00 00 00 00 00 00 00 00 00 00 F7")}, "");
        ByteMessage huge = right;
        huge.resize(20000);
        row("20000 bytes, then right", {huge, right}, "right");
        row("cut in half, then right", {ByteMessage(right.begin(), right.begin() + 19), right},
            "right");
        Messages flood(80, fromHex("90 40 7F"));
        flood.push_back(right);
        row("many unrelated, then right", flood, "right");
    }

    void readsScripts()
    {
        QFETCH(Messages, replies);
        QFETCH(QVariant, expected);
        connectTo(0);
        world().onSend = [&replies](const FakeRtMidi::Sent &) {
            for (const ByteMessage &reply : replies)
                world().receive(reply);
        };
        const QSignalSpy messages(m_midi.get(), &QtRtMIDI::midiMessageReceived);
        QElapsedTimer time;
        time.start();
        const QVariant read = m_midi->getScript();
        QVERIFY(expected.isValid() || time.elapsed() >= 500);
        QCOMPARE(read, expected);
        QCOMPARE(messages.size(), 0); // not pushed meanwhile
        verifyCallbackMode();
    }

    void pushesTextsWhileItReads()
    {
        connectTo(0);
        world().onSend = [](const FakeRtMidi::Sent &) {
            world().receive(fromHex("F0 00 01 5B 05 1F 00 48 69 F7"));
            world().receive(script("right"));
            world().receive(fromHex("F0 00 01 5B 05 1F 00 48 6F F7")); // nobody waits any more
        };
        const QSignalSpy texts(m_midi.get(), &QtRtMIDI::textMessageReceived);
        QCOMPARE(m_midi->getScript(), QVariant("right"));
        QTRY_COMPARE(texts.size(), 2);
        QCOMPARE(texts[0][0].toString(), "Hi");
        QCOMPARE(texts[1][0].toString(), "Ho");
    }

    void readsGlobals()
    {
        connectTo(0);
        for (const std::size_t size : {255U, 256U, 257U}) {
            const ByteMessage payload(size, 0xA5);
            world().onSend = [&payload](const FakeRtMidi::Sent &) {
                world().receive(dataBlock(Id, BlockType::Globals, payload));
            };
            const std::uint8_t *record = m_midi->getGlobals();
            QCOMPARE(record != nullptr, size == 256); // another length is no record
            if (record)
                QCOMPARE(ByteMessage(record, record + 256), payload);
            verifyCallbackMode();
        }
    }

    void isPushingAgainAfterAReadThatCouldNotAsk()
    {
        connectTo(0);
        world().sendFails = true;
        QVERIFY(!m_midi->getGlobals());
        QVERIFY(!m_midi->getScript().isValid());
        QCOMPARE(m_midi->getErrorMessage(), FakeRtMidi::ErrorText);
        verifyCallbackMode();
    }

private:
    void connectTo(unsigned pair)
    {
        m_midi = std::make_unique<QtRtMIDI>();
        m_midi->setSysexID(Id);
        m_midi->scanPorts(nullptr, nullptr);
        QVERIFY(m_midi->selectPort(pair));
    }

    void verifyCallbackMode()
    {
        const QSignalSpy messages(m_midi.get(), &QtRtMIDI::midiMessageReceived);
        world().receive(fromHex(Acknowledgement));
        QCOMPARE(messages.size(), 1);
    }

    std::unique_ptr<QtRtMIDI> m_midi;
};

QTEST_GUILESS_MAIN(TestQtRtMIDI)
#include "tst_qtrtmidi.moc"
