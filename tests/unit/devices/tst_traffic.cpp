#include "devices/ConnectedDeviceListModel.h"
#include "midi/QtRtMIDI.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/LinkRecorder.h"
#include "support/MidiServer.h"
#include "unit/devices/OwnSettings.h"

#include <QTest>

#include <functional>

using testsupport::BoxProcess;
using testsupport::LinkRecorder;
using testsupport::MidiServer;

namespace
{

constexpr int Reference = 0x1A05;
constexpr char StoredScript[] = "x = 1\n";

QString line(int number, int total)
{
    return QString("Line %1 of %2\n").arg(number).arg(total);
}

template <typename Condition>
bool eventually(Condition condition)
{
    return QTest::qWaitFor(condition, BoxProcess::DefaultTimeoutMs);
}

} // namespace

/// The link while another process sends as fast as a box can: the MIDI library's thread delivers
/// without a pause, whatever the GUI thread does with ports and receive modes meanwhile.
class TestTraffic : public OwnSettings
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server = std::make_unique<MidiServer>();
        QVERIFY2(m_server->isRunning(), m_server->output());
        m_box = std::make_unique<BoxProcess>(QStringList{"--sysex-id", "5"});
        QVERIFY2(m_box->isReady(), m_box->errorOutput());
        m_link = std::make_unique<QtRtMIDI>();
        m_model = std::make_unique<ConnectedDeviceListModel>();
        m_model->setMidiObj(m_link.get());
        m_model->setInputPortName(testsupport::InputPortName);
        m_model->setOutputPortName(testsupport::OutputPortName);
        connectToBox();
        m_recorder = std::make_unique<LinkRecorder>(*m_link);
        QVERIFY(m_link->sendSettingsBlock(midi::toByte(midi::BlockType::Script),
                                          reinterpret_cast<const std::uint8_t *>(StoredScript),
                                          sizeof StoredScript - 1, false));
        QVERIFY(m_box->waitForLine("^script 6 "));
    }

    void cleanupTestCase()
    {
        m_recorder.reset();
        m_model.reset();
        m_link.reset();
        m_box.reset();
        m_server.reset();
    }

    void staysWholeAndInOrder_data()
    {
        QTest::addColumn<Action>("action");
        QTest::addColumn<int>("timesEachBurst");
        QTest::addColumn<int>("bursts");
        QTest::addColumn<int>("lines");
        const auto row = [](const char *name, Action action, int times, int bursts, int lines) {
            QTest::newRow(name) << action << times << bursts << lines;
        };
        row("nothing else", nullptr, 0, 8, 300);
        row("receive modes", &TestTraffic::changeMode, 500, 2, 1000);
        row("ports", &TestTraffic::changePorts, 5, 2, 1000);
        row("reads", &TestTraffic::read, 1, 5, 300);
        row("scans", &TestTraffic::scan, 1, 2, 4000);
    }

    void staysWholeAndInOrder()
    {
        QFETCH(Action, action);
        QFETCH(int, timesEachBurst);
        QFETCH(int, bursts);
        QFETCH(int, lines);
        awaitEndOfBurst(); // of whatever was before
        static_cast<void>(m_recorder->takeTexts());
        for (int burst = 0; burst < bursts && !QTest::currentTestFailed(); ++burst) {
            const int total = lines + burst; // tells the lines of one burst from those of others
            m_box->send(QString("lines %1").arg(total));
            for (int i = 0; i < timesEachBurst && !QTest::currentTestFailed(); ++i) {
                QCoreApplication::processEvents();
                (this->*action)();
            }
            awaitEndOfBurst();
            // Under load, the service loses messages where more are under way than it has room for.
            verifyLines(total, !action);
        }
        QVERIFY(eventually([this] { return m_link->getScript() == StoredScript; }));
    }

private:
    using Action = void (TestTraffic::*)();

    /// A scan listens for 200 ms, which a busy machine may exceed.
    void connectToBox()
    {
        QVERIFY(eventually([this] { return m_model->scanForDevice() == Reference; }));
    }

    void changeMode()
    {
        midi::ByteMessage message;
        m_link->setCallbackMode(false);
        static_cast<void>(m_link->receiveMessage(message));
        m_link->setCallbackMode(true);
    }

    void changePorts()
    {
        m_link->closePort();
        QVERIFY(m_link->selectPort(0));
    }

    /// In so much traffic the answer may be lost, but there is no wrong one.
    void read()
    {
        const QVariant script = m_link->getScript();
        QVERIFY(!script.isValid() || script == StoredScript);
    }

    void scan()
    {
        const int reference = m_model->scanForDevice();
        QVERIFY(reference == Reference || reference == midi::NoDeviceReference);
    }

    /// What the box prints now comes behind all its lines. It may be lost as they may.
    void awaitEndOfBurst()
    {
        constexpr int Attempts = 30;
        if (!m_link->portsReady())
            connectToBox();
        bool arrived = false;
        for (int attempt = 1; attempt <= Attempts && !arrived; ++attempt) {
            const QString mark = QString("mark %1").arg(++m_marks);
            m_box->send("print " + mark);
            arrived =
                QTest::qWaitFor([&] { return m_recorder->endsWith(mark + '\n'); }, attempt * 250);
        }
        QVERIFY(arrived);
    }

    void verifyLines(int total, bool losesNothing)
    {
        int last = 0;
        int count = 0;
        for (const QString &text : m_recorder->takeTexts()) {
            if (text.startsWith("mark"))
                continue;
            const int number = text.section(' ', 1, 1).toInt();
            QCOMPARE(text, line(number, total));
            QVERIFY2(number > last, qPrintable(text + "came behind " + line(last, total)));
            last = number;
            ++count;
        }
        if (losesNothing)
            QCOMPARE(count, total);
    }

    std::unique_ptr<MidiServer> m_server;
    std::unique_ptr<BoxProcess> m_box;
    std::unique_ptr<QtRtMIDI> m_link;
    std::unique_ptr<ConnectedDeviceListModel> m_model;
    std::unique_ptr<LinkRecorder> m_recorder;
    int m_marks = 0; ///< that the box was told to print
};

QTEST_GUILESS_MAIN(TestTraffic)
#include "tst_traffic.moc"
