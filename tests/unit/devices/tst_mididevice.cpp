#include "devices/MidiDevice.h"
#include "midi/QtRtMIDI.h"
#include "unit/devices/FakeBoxes.h"

#include <QSignalSpy>
#include <QTest>

#include <cstring>

class TestMidiDevice : public QObject
{
    Q_OBJECT

private slots:
    void names_data()
    {
        QTest::addColumn<int>("sysexId");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("displayName");
        QTest::addColumn<QByteArray>("menuName");
        const auto row = [](int sysexId, const char *name, const char *displayName,
                            const char *menuName) {
            QTest::addRow("%d, %zu bytes", sysexId, std::strlen(name))
                << sysexId << QByteArray(name) << QByteArray(displayName) << QByteArray(menuName);
        };
        row(3, "Stage Left", "Stage Left", "Stage Left:3");
        row(0, "Stage Left", "Stage Left", "Stage Left:0");
        row(255, "Stage Left", "Stage Left", "Stage Left: - ");
        row(5, "", "", ":5");
        row(127, "123456789012345678901234567", "123456789012345678901234567",
            "123456789012345678901234567:127");
        row(5, "1234567890123456789012345678", "1234567890123456789012345678",
            "123456789012345678901234567:5");
        row(255, "1234567890123456789012345678901234567890", "1234567890123456789012345678901",
            "123456789012345678901234567: - ");
        row(5, "\xC3\xA4 \xFF", "\xC3\xA4 \xFF", "\xC3\xA4 \xFF:5");
    }

    void names()
    {
        QFETCH(int, sysexId);
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, displayName);
        QFETCH(QByteArray, menuName);
        MidiDevice device(26, static_cast<std::uint8_t>(sysexId));
        device.setDisplayName("an earlier and rather long name");
        device.setDisplayName(name.constData());
        QCOMPARE(QByteArray(device.displayName()), displayName);
        QCOMPARE(QByteArray(device.menuName()), menuName);

        const MidiDevice copy(device);
        QCOMPARE(QByteArray(copy.displayName()), displayName);
        QCOMPARE(QByteArray(copy.menuName()), menuName);
        // Named anew by its own name, as after a change of the ID.
        device.setDisplayName(device.displayName());
        QCOMPARE(QByteArray(device.displayName()), displayName);
        QCOMPARE(QByteArray(device.menuName()), menuName);
    }

    void menuNameKeepsTheIdItWasMadeWith()
    {
        MidiDevice device(26, 3);
        device.setDisplayName("Box");
        device.setSysexID(4);
        QCOMPARE(device.menuName(), "Box:3");
    }

    void idsInRange()
    {
        MidiDevice device(128, 200);
        QCOMPARE(device.productID(), midi::NoId);
        QCOMPARE(device.sysexID(), midi::NoId);
        device.setProductID(127);
        device.setProductID(255);
        QCOMPARE(device.productID(), 127);
        device.setSysexID(127);
        device.setSysexID(128);
        device.setSysexID(254);
        QCOMPARE(device.sysexID(), 127);
        device.setSysexID(255);
        QCOMPARE(device.sysexID(), 255);
    }

    void copiesAllButProductLinkAndParent()
    {
        QObject parent;
        MidiDevice device(26, 3, &parent);
        device.setMajorVersion(1);
        device.setMinorVersion(2);
        device.setPointVersion(3);
        device.setDeviceIndex(4);
        MidiDevice copy(device);
        QCOMPARE(copy.productID(), midi::NoId);
        QCOMPARE(copy.sysexID(), 3);
        QCOMPARE(copy.versionString(), "1.2.3");
        QCOMPARE(copy.deviceIndex(), 4U);
        QVERIFY(!copy.parent());
        QVERIFY(!copy.updateVersion());
    }

    void knowsABootloader_data()
    {
        QTest::addColumn<midi::FirmwareVersion>("version");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *text, const midi::FirmwareVersion &version) {
            QTest::newRow(text) << version << QString(text);
        };
        row("7.15.127", {7, 15, 127});
        row("7.15.126", {7, 15, 126});
        row("7.14.127", {7, 14, 127});
        row("6.15.127", {6, 15, 127});
    }

    void knowsABootloader()
    {
        QFETCH(midi::FirmwareVersion, version);
        MidiDevice device(26, 5);
        QCOMPARE(device.versionString(), "0.0.0");
        device.setMajorVersion(version.major);
        device.setMinorVersion(version.minor);
        device.setPointVersion(version.point);
        QTEST(device.versionString(), "text");
        QCOMPARE(device.versionIsBootloader(), device.versionString() == "7.15.127");
    }

    void readsItsVersionAgain_data()
    {
        QTest::addColumn<QString>("ports");
        QTest::addColumn<bool>("inputFails");
        QTest::addColumn<bool>("sendFails");
        QTest::addColumn<bool>("found");
        QTest::newRow("behind others") << "26/6|12/5 26/5" << false << false << true;
        QTest::newRow("another ID") << "26/6" << false << false << false;
        QTest::newRow("another product") << "12/5" << false << false << false;
        QTest::newRow("no ports") << "" << false << false << false;
        QTest::newRow("port refuses") << "26/5" << true << false << false;
        QTest::newRow("cannot ask") << "26/5" << false << true << false;
    }

    void readsItsVersionAgain()
    {
        QFETCH(QString, ports);
        QFETCH(bool, inputFails);
        QFETCH(bool, sendFails);
        QFETCH(bool, found);
        fakeboxes::plug(ports);
        FakeRtMidi::world().inputOpenFails = inputFails;
        FakeRtMidi::world().sendFails = sendFails;
        QtRtMIDI link;
        link.setCallbackMode(true);
        MidiDevice device(26, 5);
        device.setMidiObj(&link);
        device.setMajorVersion(7);
        device.setDeviceIndex(9);
        QCOMPARE(device.updateVersion(), found);
        QCOMPARE(device.versionString(), found ? "1.2.3" : "7.0.0");
        QCOMPARE(device.deviceIndex(), found ? 1U : 9U);

        const QSignalSpy pushed(&link, &QtRtMIDI::midiMessageReceived);
        FakeRtMidi::world().receive(midi::programChange(0, 0));
        QCOMPARE(pushed.size(), FakeRtMidi::world().openInput() ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TestMidiDevice)
#include "tst_mididevice.moc"
