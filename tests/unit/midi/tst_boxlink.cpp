#include "midi/QtRtMIDI.h"
#include "support/BoxProcess.h"
#include "support/LinkRecorder.h"
#include "support/Messages.h"
#include "support/MidiServer.h"

#include <QCryptographicHash>
#include <QTest>

using testsupport::BoxProcess;
using testsupport::hex;
using testsupport::LinkRecorder;
using testsupport::MidiServer;

namespace
{

constexpr std::uint8_t Id = 5;
constexpr char Identity[] = "F0 00 01 5B 04 1A 12 03 05 F7";
constexpr char StoredScript[] = "print(\"stored\")\n";

QString sha1(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
}

} // namespace

/// The connection and a box on a real MIDI service, one box for all tests. A read gives up after
/// about 100 ms, which a busy machine may exceed, so reads that should work are tried again.
class TestBoxLink : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server = std::make_unique<MidiServer>();
        QVERIFY2(m_server->isRunning(), m_server->output());
        m_box = std::make_unique<BoxProcess>(
            QStringList{"--sysex-id", "5", "--name", "Stage Left", "--version", "1.2.3"});
        QVERIFY2(m_box->isReady(), m_box->errorOutput());
        m_midi = std::make_unique<QtRtMIDI>();
        m_midi->setSysexID(Id);
        m_midi->scanPorts("MIDIIN4 (Ostrel)", "MIDIOUT6 (Ostrel)");
        QCOMPARE(m_midi->portCount(), 1);
        QVERIFY(m_midi->selectPort(0));
        // On a busy machine the service can lose what is sent right after a port was opened.
        QVERIFY2(answers([this] { return m_midi->sendIDReq(); }, Identity),
                 m_box->lines().join('\n').toUtf8());
    }

    void cleanupTestCase()
    {
        m_midi.reset();
        m_box.reset();
        m_server.reset();
    }

    void asksForIdentityAndName()
    {
        m_midi->setCallbackMode(false);
        QVERIFY(answers([this] { return m_midi->sendIDReq(); }, Identity));
        QVERIFY(answers([this] { return m_midi->sendNameReq(Id); },
                        "F0 00 01 5B 05 22 00 53 74 61 67 65 20 4C 65 66 74 F7"));
    }

    void passesProgramChangesBothWays()
    {
        m_midi->setCallbackMode(true);
        const LinkRecorder recorder(*m_midi);
        QVERIFY(m_midi->pgmChange(3, 7));
        QVERIFY(m_box->waitForLine("^received program-change channel=3 program=7$"));
        m_box->send("program 15 127");
        QTRY_COMPARE_WITH_TIMEOUT(recorder.messages().size(), 1U, BoxProcess::DefaultTimeoutMs);
        QCOMPARE(hex(recorder.messages()[0]), QByteArray("CF 7F"));
    }

    void storesScripts_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one line") << QByteArray("x = 1\n");
        QTest::newRow("seven bytes") << QByteArray("x = 12\n");
        QTest::newRow("the largest") << QByteArray(7153, '#');
    }

    void storesScripts()
    {
        QFETCH(QByteArray, text);
        QVERIFY(write(text));
        QVERIFY(m_box->waitForLine(QString("^script %1 %2$").arg(text.size()).arg(sha1(text))));
        // A box without a script answers with a frame too short to count.
        QVERIFY(text.isEmpty() || readsBack(text));
    }

    void passesTextsInOrder()
    {
        m_midi->setCallbackMode(true);
        const LinkRecorder recorder(*m_midi);
        QVERIFY(write("print(\"one\")\nprint(\"two\")\n"));
        QTRY_COMPARE_WITH_TIMEOUT(recorder.texts().size(), 4, BoxProcess::DefaultTimeoutMs);
        m_box->send("print three");
        QTRY_COMPARE_WITH_TIMEOUT(recorder.texts().size(), 5, BoxProcess::DefaultTimeoutMs);
        QCOMPARE(recorder.texts(), (QStringList{"Script received: 26 bytes\n", "Running...\n",
                                                "one\n", "two\n", "three\n"}));
    }

    void readsInSpiteOfFaults_data()
    {
        QTest::addColumn<QString>("faults");
        QTest::addColumn<bool>("readable");
        const auto row = [](const char *faults, bool readable) {
            QTest::newRow(faults) << QString(faults) << readable;
        };
        row("--mute", false);
        row("--slow 30", true);
        row("--flood 40", true);
        row("--wrong-crc once", true);
        row("--wrong-crc always", false);
        row("--foreign-sysex-id", false);
        row("--lying-length", false);
        row("--huge-frame", false);
        row("--truncated-frame", false);
        row("--twice", true);
    }

    void readsInSpiteOfFaults()
    {
        QFETCH(QString, faults);
        QFETCH(bool, readable);
        m_box->send("faults");
        QVERIFY(m_box->waitForLine("^faults"));
        QVERIFY(write(StoredScript));
        QVERIFY(m_box->waitForLine("^sent text.*stored"));
        m_box->send("faults " + faults);
        QVERIFY(m_box->waitForLine("^faults " + faults));
        // What earlier tests left underway must not pass for an answer.
        m_midi->setCallbackMode(false);
        drainUpTo("marker");

        if (readable) {
            QVERIFY(readsBack(StoredScript));
            QVERIFY(readsGlobals());
        } else {
            QVERIFY(!m_midi->getScript().isValid());
            QVERIFY(!m_midi->getGlobals());
        }
        m_box->send("faults");
        QVERIFY(readsBack(StoredScript));
        const LinkRecorder recorder(*m_midi);
        m_box->send("print still there");
        QTRY_COMPARE_WITH_TIMEOUT(recorder.texts().size(), 1, BoxProcess::DefaultTimeoutMs);
    }

    void readsNothingUnderAnotherId()
    {
        m_midi->setSysexID(Id + 1);
        QVERIFY(!m_midi->getGlobals());
        m_midi->setSysexID(Id);
        QVERIFY(readsGlobals());
    }

private:
    /// Asks, again each second, until exactly this answer is there; other messages are passed over.
    template <typename Request>
    bool answers(Request request, const QByteArray &expected)
    {
        constexpr int Attempts = 20;
        midi::ByteMessage message;
        const auto arrived = [&] {
            return m_midi->receiveMessage(message) && hex(message) == expected;
        };
        for (int attempt = 0; attempt < Attempts; ++attempt) {
            if (request() && QTest::qWaitFor(arrived, 1000))
                return true;
        }
        return false;
    }

    QByteArray nextMessage()
    {
        midi::ByteMessage message;
        const bool received = QTest::qWaitFor([&] { return m_midi->receiveMessage(message); },
                                              BoxProcess::DefaultTimeoutMs);
        return received ? hex(message) : QByteArray("nothing");
    }

    /// Takes messages until the one that the box prints now.
    void drainUpTo(const char *text)
    {
        m_box->send(QString("print ") + text);
        const QByteArray last =
            hex(midi::textMessage(Id, testsupport::toBytes(text + QByteArray("\n"))));
        while (true) {
            const QByteArray message = nextMessage();
            QVERIFY(message != "nothing");
            if (message == last)
                return;
        }
    }

    bool readsBack(const QByteArray &script)
    {
        return QTest::qWaitFor([&] { return m_midi->getScript().toString() == script; },
                               BoxProcess::DefaultTimeoutMs);
    }

    bool readsGlobals()
    {
        return QTest::qWaitFor([this] { return m_midi->getGlobals() != nullptr; },
                               BoxProcess::DefaultTimeoutMs);
    }

    bool write(const QByteArray &script)
    {
        return m_midi->sendSettingsBlock(midi::toByte(midi::BlockType::Script),
                                         reinterpret_cast<const std::uint8_t *>(script.constData()),
                                         static_cast<std::uint32_t>(script.size()), false);
    }

    std::unique_ptr<MidiServer> m_server;
    std::unique_ptr<BoxProcess> m_box;
    std::unique_ptr<QtRtMIDI> m_midi;
};

QTEST_GUILESS_MAIN(TestBoxLink)
#include "tst_boxlink.moc"
