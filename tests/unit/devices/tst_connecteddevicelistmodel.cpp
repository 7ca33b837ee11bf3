#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"
#include "midi/QtRtMIDI.h"
#include "unit/devices/FakeBoxes.h"
#include "unit/devices/OwnSettings.h"

#include <QAbstractItemModelTester>
#include <QFile>
#include <QIdentityProxyModel>
#include <QSignalSpy>
#include <QTest>

using fakeboxes::plug;
using fakeboxes::reference;

namespace
{

constexpr char SettingKey[] = "zevost_lastproduct";
constexpr int None = midi::NoDeviceReference;

/// Qt's model tester holds every role that it knows to that role's type, while the model answers
/// false to all but its own.
class OwnRolesOnly : public QIdentityProxyModel
{
public:
    QVariant data(const QModelIndex &index, int role) const override
    {
        return roleNames().contains(role) ? QIdentityProxyModel::data(index, role) : QVariant();
    }
};

/// A device list with a link of its own, as the main window puts them together.
struct Editor
{
    Editor()
    {
        roles.setSourceModel(&model);
        model.setMidiObj(&link);
    }

    /// The list as references; the scan entry left out.
    QString listed() const
    {
        QStringList rows;
        for (int row = 1; row < model.rowCount(); ++row) {
            const int value =
                model.data(model.index(row), ConnectedDeviceListModel::ValueRole).toInt();
            rows << QString("%1/%2").arg(value >> 8).arg(value & 0xFF);
        }
        return rows.join(' ');
    }

    QtRtMIDI link;
    ConnectedDeviceListModel model;
    OwnRolesOnly roles;
    QAbstractItemModelTester tester{&roles, QAbstractItemModelTester::FailureReportingMode::QtTest};
};

/// One scan or two in a row.
struct Scans
{
    QString stored;
    QString first;    // what the first scan meets
    QString expected; // the device connected in the end
    int index = -1;
    int newSysexId = 255; // set between the scans
    QString second = {};  // what the second scan meets; null: no second scan
};

/// A row of a table in which every column holds a text.
void textRow(const char *name, const QStringList &texts)
{
    QTestData &row = QTest::newRow(name);
    for (const QString &text : texts)
        row << text;
}

/// The settings file on disk.
QByteArray storedSettings()
{
    QFile file(OwnSettings::folder() + "/ZEVMusicTechnology/Ostrel Editor.ini");
    return file.open(QIODevice::ReadOnly) ? file.readAll().simplified() : "no file";
}

} // namespace

class TestConnectedDeviceListModel : public OwnSettings
{
    Q_OBJECT

private slots:
    void init() { QSettings().clear(); }

    void choosesTheDevice_data()
    {
        QTest::addColumn<Scans>("scans");
        QTest::newRow("no ports") << Scans{"26/5", "", "none", -1};
        QTest::newRow("one, nothing stored") << Scans{"none", "26/5", "26/5", 0};
        QTest::newRow("two, nothing stored") << Scans{"none", "26/5 26/6", "none", -1};
        QTest::newRow("two, one stored") << Scans{"26/6", "26/5|26/6", "26/6", 1};
        QTest::newRow("two, both parts must match") << Scans{"26/5", "26/6 12/5", "none", -1};
        QTest::newRow("one, but not the stored one") << Scans{"26/6", "26/5", "26/5", 0};
        QTest::newRow("one that answers twice") << Scans{"26/5", "26/5 26/5", "26/5", 0};

        const auto rescan = [](const char *name, const QString &first, int newSysexId,
                               const QString &second, const QString &expected, int index) {
            QTest::newRow(name) << Scans{"none", first, expected, index, newSysexId, second};
        };
        rescan("same again", "26/3", 255, "26/9|26/3", "26/3", 1);
        rescan("gone", "26/3", 255, "26/9|26/8", "none", -1);
        rescan("nothing connected before", "", 255, "26/5|26/6", "none", -1);
        rescan("under its new ID", "26/3", 5, "26/9|26/5", "26/5", 1);
        rescan("under its new ID, by reference", "26/3", 0x1A05, "26/9 26/5", "26/5", 1);
        rescan("still under its old ID", "26/3", 5, "26/9|26/3", "26/3", 1);
        rescan("new ID, other product", "26/3", 5, "12/5|26/9", "none", -1);
    }

    void choosesTheDevice()
    {
        QFETCH(Scans, scans);
        const auto &[stored, first, expected, index, newSysexId, second] = scans;
        QSettings().setValue(SettingKey, reference(stored));
        Editor editor;
        ConnectedDeviceListModel &model = editor.model;
        plug(first);
        int result = model.scanForDevice();
        const int before = model.connectedSysexID();
        QSignalSpy sysexIdChanged(&model, &ConnectedDeviceListModel::connectedSysexIDChanged);
        QSignalSpy connected(&model, &ConnectedDeviceListModel::deviceIsConnected);
        if (!second.isNull()) {
            model.setNewSysexID(newSysexId);
            plug(second);
            result = model.scanForDevice();
            QCOMPARE(connected.size(), 1);
            QCOMPARE(connected[0][0].toInt(), index);
        }
        QCOMPARE(result, reference(expected));
        QCOMPARE(editor.listed(), QString(second.isNull() ? first : second).replace('|', ' '));
        QCOMPARE(model.deviceConnected(), index >= 0);
        QCOMPARE(editor.link.portsReady(), index >= 0);
        QCOMPARE(model.connectedProductID(), midi::referencedProductId(reference(expected)));
        QCOMPARE(model.connectedSysexID(), midi::referencedSysexId(reference(expected)));
        QCOMPARE(model.currentDevice() != nullptr, index >= 0);
        if (index >= 0) {
            QCOMPARE(model.currentDevice()->sysexID(), model.connectedSysexID());
            QCOMPARE(*FakeRtMidi::world().openOutput(),
                     "Port " + std::to_string(model.currentDevice()->deviceIndex()));
            FakeRtMidi::world().sent.clear();
            QVERIFY(editor.link.sendGlobalsReq());
            QCOMPARE(FakeRtMidi::world().sent[0].bytes[4], model.connectedSysexID());
        }
        // The change to the announced ID is no change to anybody else, and ends the announcement.
        const bool renamed = index >= 0 && model.connectedSysexID() == (newSysexId & 0xFF);
        QCOMPARE(model.newSysexID(), renamed ? 255 : newSysexId & 0xFF);
        QCOMPARE(sysexIdChanged.size(), before == model.connectedSysexID() || renamed ? 0 : 1);
        QCOMPARE(QSettings().value(SettingKey).toInt(), reference(stored)); // a scan stores nothing
    }

    void acceptsListedProducts_data()
    {
        QTest::addColumn<QString>("ports");
        QTest::addColumn<QString>("listed");
        textRow("another port", {"12/1|26/5", "26/5"});
        textRow("behind a stranger", {"12/1 26/5", ""});
        textRow("before a stranger", {"26/5 12/1 26/6", "26/5"});
        textRow("second of the list", {"33/1", "33/1"});
    }

    void acceptsListedProducts()
    {
        QFETCH(QString, ports);
        Editor editor;
        for (const int product : {26, 33, 128, -1})
            editor.model.addProductIDToList(product);
        QVERIFY(!editor.model.isAcceptableProductID(128));
        QVERIFY(!editor.model.isAcceptableProductID(-1));
        plug(ports);
        editor.model.scanForDevice();
        QTEST(editor.listed(), "listed");
        editor.model.clearProductIDList();
        QVERIFY(editor.model.isAcceptableProductID(12));
    }

    void namesDevices()
    {
        const QByteArray longName(40, 'x');
        const std::vector<fakeboxes::Boxes> ports{{{{26, 1, {1, 2, 3}}, "B\xC3\xA4r"},
                                                   {{26, 2, {}}, ""},
                                                   {{26, 3, {}}, {}},
                                                   {{26, 4, {}}, "first"}},
                                                  {{{26, 4, {}}, longName}}};
        plug(ports);
        Editor editor;
        editor.model.scanForDevice();
        QStringList names;
        for (int row = 0; row < editor.model.rowCount(); ++row)
            names << editor.model.data(editor.model.index(row), Qt::DisplayRole).toString();
        // Names go by sysex ID alone, so the later reply names both.
        const QString cut = QString(27, 'x') + ":4";
        QCOMPARE(names, (QStringList{"- Scan for Devices -", QString::fromUtf8("B\xC3\xA4r:1"),
                                     ":2", ":3", cut, cut}));
    }

    void answersForRolesAndRows()
    {
        plug("26/5");
        Editor editor;
        const ConnectedDeviceListModel &model = editor.model;
        editor.model.scanForDevice();
        QCOMPARE(model.roleNames(), (QHash<int, QByteArray>{{0, "display"}, {256, "value"}}));
        QCOMPARE(model.data(model.index(0), 256), QVariant(-1));
        QCOMPARE(model.data(model.index(1), 256), QVariant(0x1A05));
        QCOMPARE(model.data(model.index(1), Qt::ToolTipRole), QVariant(false));
        QCOMPARE(model.data({}, 0), QVariant());
        QCOMPARE(model.rowCount(model.index(0)), 0);
    }

    void remembersTheDevice()
    {
        plug("12/1 26/5|26/6");
        Editor editor;
        ConnectedDeviceListModel &model = editor.model;
        QCOMPARE(model.scanForDevice(), None);
        QSignalSpy connected(&model, &ConnectedDeviceListModel::deviceIsConnected);
        QVERIFY(model.connectToDevice(0x7701A06)); // sixteen bits count
        QCOMPARE(connected.takeFirst()[0].toInt(), 2);
        QCOMPARE(storedSettings(), "[General] zevost_lastproduct=6662");
        QCOMPARE(*FakeRtMidi::world().openInput(), "Port 1");

        MidiDevice *const before = model.currentDevice();
        QVERIFY(!model.connectToDevice(None));
        QCOMPARE(connected.takeFirst()[0].toInt(), -1);
        QCOMPARE(storedSettings(), "[General] zevost_lastproduct=65535");
        QVERIFY(!model.deviceConnected());
        QVERIFY(!editor.link.portsReady());
        QCOMPARE(model.connectedProductID(), 255);
        QCOMPARE(model.currentDevice(), before);
    }

    void connectsForAnUpdateWithoutRemembering()
    {
        plug("26/5 26/6");
        Editor editor;
        ConnectedDeviceListModel &model = editor.model;
        model.scanForDevice();
        QSignalSpy connected(&model, &ConnectedDeviceListModel::deviceIsConnected);
        const QSignalSpy changed(&model, &ConnectedDeviceListModel::connectedSysexIDChanged);
        QVERIFY(!model.connectToDeviceForFirmwareUpdate(reference("26/7")));
        QCOMPARE(connected.size(), 0);
        QVERIFY(model.connectToDeviceForFirmwareUpdate(reference("26/6")));
        QCOMPARE(connected.takeFirst()[0].toInt(), 1);
        QCOMPARE(model.connectedSysexID(), 6);
        QCOMPARE(model.connectedProductID(), 255);
        QCOMPARE(changed.size(), 0);
        QVERIFY(!QSettings().contains(SettingKey));
    }

    void proposesADevice_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("ports");
        QTest::addColumn<QString>("expected");
        textRow("nothing there", {"26/5", "", "none"});
        textRow("connected product, first of it", {"26/6", "12/1 26/5 26/6", "26/5"});
        textRow("none connected", {"none", "12/1 26/5", "12/1"});
    }

    void proposesADevice()
    {
        QFETCH(QString, stored);
        QFETCH(QString, ports);
        QFETCH(QString, expected);
        QSettings().setValue(SettingKey, reference(stored));
        plug(ports);
        Editor editor;
        QCOMPARE(editor.model.getStartupDevice(), None); // before the first scan
        editor.model.scanForDevice();
        QCOMPARE(editor.model.getStartupDevice(), reference(expected));
    }

    void readsTheStoredReference_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("expected");
        QTest::newRow("nothing") << QVariant() << None;
        QTest::newRow("a number") << QVariant(0x1A05) << 0x1A05;
        QTest::newRow("too many bits") << QVariant(0x31A05) << 0x1A05;
        QTest::newRow("no number") << QVariant("Ostrel") << None;
    }

    void readsTheStoredReference()
    {
        QFETCH(QVariant, stored);
        if (stored.isValid())
            QSettings().setValue(SettingKey, stored);
        ConnectedDeviceListModel model;
        const QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QTEST(model.scanForDevice(), "expected"); // there is no link to scan with
        QCOMPARE(resets.size(), 0);
        QCOMPARE(model.rowCount(), 1);
    }

    void looksBeyondTheNamedPortsForAnOstrel_data()
    {
        QTest::addColumn<QString>("inputPort");
        QTest::addColumn<QString>("ports");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        textRow("an Ostrel elsewhere", {"Gone", "12/1|26/5", "none", "26/5"});
        textRow("another product elsewhere", {"Gone", "12/1", "none", "none"});
        textRow("the named ports exist", {"Port 0", "12/1|26/5", "12/1", "12/1"});
        textRow("the named ports are silent", {"Port 0", " |26/5", "none", "none"});
        textRow("no names", {"", "12/1", "12/1", "12/1"});
    }

    void looksBeyondTheNamedPortsForAnOstrel()
    {
        QFETCH(QString, inputPort);
        QFETCH(QString, ports);
        QFETCH(QString, first);
        QFETCH(QString, second);
        plug(ports);
        Editor editor;
        editor.model.setInputPortName(inputPort);
        editor.model.setOutputPortName("Port 0");
        QCOMPARE(editor.model.scanForDevice(), reference(first));
        QCOMPARE(editor.model.scanForDevice(), reference(second));
        QVERIFY(editor.model.isAcceptableProductID(12)); // the restriction ends with the scan
    }

    void skipsPortsThatRefuse_data()
    {
        QTest::addColumn<bool>("openFails");
        QTest::newRow("no open") << true;
        QTest::newRow("no send") << false;
    }

    void skipsPortsThatRefuse()
    {
        QFETCH(bool, openFails);
        plug("26/5|26/6");
        FakeRtMidi::world().outputOpenFails = openFails;
        FakeRtMidi::world().sendFails = !openFails;
        Editor editor;
        QCOMPARE(editor.model.scanForDevice(), None);
        QCOMPARE(editor.model.rowCount(), 1);
        plug("26/5");
        QCOMPARE(editor.model.scanForDevice(), 0x1A05);
        const QSignalSpy pushed(&editor.link, &QtRtMIDI::midiMessageReceived);
        FakeRtMidi::world().receive(midi::programChange(0, 0));
        QCOMPARE(pushed.size(), 1);
    }

    void ignoresRepliesOutsideTheProtocol()
    {
        plug("26/5");
        FakeRtMidi &world = FakeRtMidi::world();
        world.onSend = [&world](const FakeRtMidi::Sent &) {
            for (const char *reply :
                 {"", "F0", "F0 00 01 5B 04 1A 11 00 F7", "F0 00 01 5B 04 1A 11 00 05 00 F7",
                  "F0 00 01 5B 04 9A 11 00 05 F7", "F0 00 01 5B 04 1A 11 00 FF F7",
                  "F0 00 01 5B 05 22", "F0 00 01 5B 05 22 00 4E 6F 20 65 6E 64"})
                world.receive(testsupport::fromHex(reply));
        };
        Editor editor;
        QCOMPARE(editor.model.scanForDevice(), None);
        QCOMPARE(editor.model.rowCount(), 1);
    }

    void signalsOnlyChanges()
    {
        Editor editor;
        ConnectedDeviceListModel &model = editor.model;
        const QSignalSpy linkChanged(&model, &ConnectedDeviceListModel::midiObjChanged);
        const QSignalSpy newIdChanged(&model, &ConnectedDeviceListModel::newSysexIDChanged);
        const QSignalSpy connected(&model, &ConnectedDeviceListModel::deviceIsConnected);
        model.setMidiObj(&editor.link);
        model.setNewSysexID(255);
        model.setDeviceConnected(false);
        QCOMPARE(linkChanged.size() + newIdChanged.size() + connected.size(), 0);
        model.setMidiObj(nullptr);
        model.setNewSysexID(5);
        model.setDeviceConnected(false, true);
        QCOMPARE(linkChanged.size(), 1);
        QCOMPARE(newIdChanged.size(), 1);
        QCOMPARE(connected.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestConnectedDeviceListModel)
#include "tst_connecteddevicelistmodel.moc"
