#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"
#include "midi/QtRtMIDI.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using testsupport::BoxProcess;
using testsupport::MidiServer;

/// The device list against boxes on a real MIDI service. A scan listens for 200 ms, which a busy
/// machine may exceed, so each expectation has several scans to come true.
class TestDeviceScan : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server = std::make_unique<MidiServer>();
        QVERIFY2(m_server->isRunning(), m_server->output());
    }

    void cleanupTestCase() { m_server.reset(); }

    void findsBoxes_data()
    {
        QTest::addColumn<QStringList>("arguments"); // empty: no box at all
        QTest::addColumn<bool>("byPortName");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<int>("reference");
        const QString scan = "- Scan for Devices -";
        QTest::newRow("none") << QStringList{} << true << QStringList{scan} << 65535;
        QTest::newRow("one") << QStringList{"--sysex-id", "5", "--name", "Stage"} << true
                             << QStringList{scan, "Stage:5"} << 0x1A05;
        QTest::newRow("one, ports by pairing")
            << QStringList{"--sysex-id", "0"} << false << QStringList{scan, "Ostrel:0"} << 0x1A00;
        QTest::newRow("another product")
            << QStringList{"--product", "12"} << true << QStringList{scan} << 65535;
        QTest::newRow("mute") << QStringList{"--mute"} << true << QStringList{scan} << 65535;
        QTest::newRow("between other messages")
            << QStringList{"--flood", "3"} << true << QStringList{scan, "Ostrel:0"} << 0x1A00;
    }

    void findsBoxes()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, byPortName);
        QFETCH(QStringList, rows);
        QFETCH(int, reference);
        std::unique_ptr<BoxProcess> box;
        if (!arguments.isEmpty()) {
            box = std::make_unique<BoxProcess>(arguments);
            QVERIFY2(box->isReady(), box->errorOutput());
        }
        QtRtMIDI link;
        ConnectedDeviceListModel model;
        prepare(model, link, byPortName);
        QVERIFY(scanUntil(model, rows));
        QCOMPARE(model.connectedSysexID(), reference & 0xFF);
        QCOMPARE(model.connectedProductID(), reference >> 8);
        QCOMPARE(model.deviceConnected(), reference != 65535);
    }

    void choosesAmongTwo()
    {
        const BoxProcess boxes({"--sysex-id", "5", "--name", "Stage", "--boxes", "2"});
        QVERIFY(boxes.isReady());
        QtRtMIDI link;
        ConnectedDeviceListModel model;
        prepare(model, link, true);
        QVERIFY(scanUntil(model, {"- Scan for Devices -", "Stage:5", "Stage 2:6"}));
        QVERIFY(!model.deviceConnected());
        QVERIFY(model.connectToDevice(0x1A06));
        QVERIFY(QTest::qWaitFor([&] { return link.getGlobals() != nullptr; }, TimeoutMs));
        QCOMPARE(link.getGlobals() ? link.getGlobals()[17] : 6, 6);
    }

    void readsTheVersionAgain()
    {
        BoxProcess box({"--version", "1.1.0", "--restart-ms", "100"});
        QVERIFY(box.isReady());
        QtRtMIDI link;
        ConnectedDeviceListModel model;
        prepare(model, link, true);
        QVERIFY(scanUntil(model, {"- Scan for Devices -", "Ostrel:0"}));
        MidiDevice *const device = model.currentDevice();
        QVERIFY(device);
        QCOMPARE(device->versionString(), "1.1.0");
        // Asked again, since a service that has just made a connection may lose a message.
        QVERIFY(QTest::qWaitFor(
            [&] { return link.sendUpdateReq() && box.waitForLine("^started bootloader$", 1000); },
            TimeoutMs));
        QVERIFY(QTest::qWaitFor(
            [&] { return device->updateVersion() && device->versionIsBootloader(); }, TimeoutMs));
    }

private:
    static constexpr int TimeoutMs = BoxProcess::DefaultTimeoutMs;

    static void prepare(ConnectedDeviceListModel &model, QtRtMIDI &link, bool byPortName)
    {
        model.setMidiObj(&link);
        model.addProductIDToList(26);
        if (byPortName) {
            model.setInputPortName("MIDIIN4 (Ostrel)");
            model.setOutputPortName("MIDIOUT6 (Ostrel)");
        }
    }

    static bool scanUntil(ConnectedDeviceListModel &model, const QStringList &expected)
    {
        return QTest::qWaitFor(
            [&] {
                model.scanForDevice();
                QStringList rows;
                for (int row = 0; row < model.rowCount(); ++row)
                    rows << model.data(model.index(row), Qt::DisplayRole).toString();
                return rows == expected;
            },
            TimeoutMs);
    }

    std::unique_ptr<MidiServer> m_server;
};

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QTemporaryDir settingsFolder;
    QCoreApplication::setOrganizationName("ZEVMusicTechnology");
    QCoreApplication::setApplicationName("Ostrel Editor");
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsFolder.path());
    TestDeviceScan test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_devicescan.moc"
