#include "devices/ConnectedDeviceListModel.h"
#include "midi/QtRtMIDI.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/LinkRecorder.h"
#include "support/MidiServer.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
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

} // namespace

/// The link while another process sends as fast as a box can: the MIDI library's thread delivers
/// without a pause, whatever the GUI thread does with ports and receive modes meanwhile.
class TestTraffic : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void staysWholeAndInOrder_data();
    void staysWholeAndInOrder();

private:
    using Action = std::function<void(TestTraffic &)>;

    void connectToBox();
    void changeMode();
    void changePorts();
    void read();
    void scan();
    void awaitEndOfBurst();
    void verifyLines(int total, bool losesNothing);

    std::unique_ptr<MidiServer> m_server;
    std::unique_ptr<BoxProcess> m_box;
    std::unique_ptr<QtRtMIDI> m_link;
    std::unique_ptr<ConnectedDeviceListModel> m_model;
    std::unique_ptr<LinkRecorder> m_recorder;
    int m_marks = 0; ///< that the box was told to print
};

void TestTraffic::initTestCase()
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

void TestTraffic::cleanupTestCase()
{
    m_recorder.reset();
    m_model.reset();
    m_link.reset();
    m_box.reset();
    m_server.reset();
}

void TestTraffic::staysWholeAndInOrder_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<int>("timesEachBurst");
    QTest::addColumn<int>("bursts");
    QTest::addColumn<int>("lines");
    QTest::addColumn<bool>("losesNothing");
    // Under load, the service itself loses messages where more are under way than its buffers hold.
    QTest::newRow("nothing else") << Action([](TestTraffic &) {}) << 0 << 8 << 300 << true;
    QTest::newRow("receive modes") << Action(&TestTraffic::changeMode) << 500 << 2 << 1000 << false;
    QTest::newRow("ports") << Action(&TestTraffic::changePorts) << 5 << 2 << 1000 << false;
    QTest::newRow("reads") << Action(&TestTraffic::read) << 1 << 5 << 300 << false;
    QTest::newRow("scans") << Action(&TestTraffic::scan) << 1 << 2 << 4000 << false;
}

void TestTraffic::staysWholeAndInOrder()
{
    QFETCH(Action, action);
    QFETCH(int, timesEachBurst);
    QFETCH(int, bursts);
    QFETCH(int, lines);
    QFETCH(bool, losesNothing);
    awaitEndOfBurst(); // of whatever was before
    static_cast<void>(m_recorder->takeTexts());
    for (int burst = 0; burst < bursts && !QTest::currentTestFailed(); ++burst) {
        const int total = lines + burst; // tells the lines of one burst from those of others
        m_box->send(QString("lines %1").arg(total));
        for (int i = 0; i < timesEachBurst && !QTest::currentTestFailed(); ++i) {
            QCoreApplication::processEvents();
            action(*this);
        }
        awaitEndOfBurst();
        verifyLines(total, losesNothing);
    }
    QVERIFY(QTest::qWaitFor([this] { return m_link->getScript() == StoredScript; },
                            BoxProcess::DefaultTimeoutMs));
}

/// A scan listens for 200 ms, which a busy machine may exceed.
void TestTraffic::connectToBox()
{
    QVERIFY(QTest::qWaitFor([this] { return m_model->scanForDevice() == Reference; },
                            BoxProcess::DefaultTimeoutMs));
}

void TestTraffic::changeMode()
{
    midi::ByteMessage message;
    m_link->setCallbackMode(false);
    static_cast<void>(m_link->receiveMessage(message));
    m_link->setCallbackMode(true);
}

void TestTraffic::changePorts()
{
    m_link->closePort();
    QVERIFY(m_link->selectPort(0));
}

/// In so much traffic the answer may be lost, but there is no wrong one.
void TestTraffic::read()
{
    const QVariant script = m_link->getScript();
    QVERIFY(!script.isValid() || script == StoredScript);
}

void TestTraffic::scan()
{
    const int reference = m_model->scanForDevice();
    QVERIFY(reference == Reference || reference == midi::NoDeviceReference);
}

/// What the box prints now comes behind all its lines. It may be lost as they may.
void TestTraffic::awaitEndOfBurst()
{
    constexpr int Attempts = 30;
    if (!m_link->portsReady())
        connectToBox();
    bool arrived = false;
    for (int attempt = 1; attempt <= Attempts && !arrived; ++attempt) {
        const QString mark = QString("mark %1").arg(++m_marks);
        m_box->send("print " + mark);
        arrived = QTest::qWaitFor([&] { return m_recorder->endsWith(mark + '\n'); }, attempt * 250);
    }
    QVERIFY(arrived);
}

void TestTraffic::verifyLines(int total, bool losesNothing)
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

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QTemporaryDir settingsFolder;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsFolder.path());
    TestTraffic test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_traffic.moc"
