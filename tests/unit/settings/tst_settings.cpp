#include "midi/QtRtMIDI.h"
#include "settings/CppInterface.h"
#include "settings/SettingsTransfer.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"
#include "support/Rows.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QSignalSpy>
#include <QTest>

#include <functional>

using midi::ByteMessage;
using testsupport::dataBlock;
using testsupport::hex;

namespace
{

constexpr std::uint8_t Id = 5;

/// A record in which no byte is what an empty one would hold.
ByteMessage boxRecord()
{
    ByteMessage record(256);
    for (std::size_t i = 0; i < record.size(); ++i)
        record[i] = static_cast<std::uint8_t>(i * 37 + 11);
    record[16] = 2;
    record[17] = Id;
    std::ranges::fill(std::span(record).subspan(224), 0);
    std::ranges::copy(testsupport::toBytes("Stage"), record.begin() + 224);
    return record;
}

SettingsTransfer &registered(QQmlEngine &engine)
{
    SettingsTransfer::registerSingleton(&engine);
    return *SettingsTransfer::instance();
}

/// The settings of an editor with a box behind a scripted port.
struct Editor
{
    Editor()
        : transfer(registered(engine))
    {
        FakeRtMidi &world = FakeRtMidi::world();
        world.reset();
        world.inputs = world.outputs = {"Box"};
        world.onSend = [this](const FakeRtMidi::Sent &sent) {
            if (sent.bytes == midi::blockReadRequest(Id, midi::BlockType::Globals))
                FakeRtMidi::world().receive(dataBlock(Id, midi::BlockType::Globals, record));
        };
        transfer.setMidiObj(&link);
        bridge.setSettingsTransfer(&transfer);
        link.setSysexID(Id);
        link.scanPorts(nullptr, nullptr);
        if (!link.selectPort(0))
            qFatal("the scripted port did not open");
    }
    ~Editor() { FakeRtMidi::world().reset(); }
    Q_DISABLE_COPY_MOVE(Editor)

    /// What the block held that was sent last.
    static QByteArray written()
    {
        const auto &sent = FakeRtMidi::world().sent;
        if (sent.empty())
            return "nothing";
        const auto payload = midi::readDataBlock(sent.back().bytes);
        return payload ? hex(*payload) : "a damaged frame";
    }

    ByteMessage record = boxRecord();
    QQmlEngine engine;
    SettingsTransfer &transfer;
    QtRtMIDI link;
    CppInterface bridge;
};

} // namespace

/// The working copy of the settings, and its way to a box and back.
class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void takesReferencesApart()
    {
        const CppInterface bridge;
        QCOMPARE(bridge.deviceRefGetProductId(0x1A03), 26);
        QCOMPARE(bridge.deviceRefGetProductId(0xFF03), 255);
        QCOMPARE(bridge.deviceRefGetSysexId(0xFF), 255);
        QCOMPARE(bridge.deviceRefSetProductId(0x1A03, 0x9A), 0x1A03);
        QCOMPARE(bridge.deviceRefSetProductId(0xFFFF, 26), 0x1AFF);
        QCOMPARE(bridge.deviceRefSetSysexId(0x1A03, 200), 0x1A48);
        QCOMPARE(bridge.deviceRefSetSysexId(0xFFFF, 5), 0xFF05);
        // Documents hand a whole reference to each.
        QVERIFY(bridge.metaObject()->indexOfMethod("deviceRefGetProductId(quint16)") >= 0);
        QVERIFY(bridge.metaObject()->indexOfMethod("deviceRefGetSysexId(quint8)") >= 0);
    }

    void keepsNumbersInRange()
    {
        CppInterface bridge;
        for (const int mode : {2, 3, -1, 256})
            bridge.setOperatingMode(mode);
        QCOMPARE(bridge.operatingMode(), 2);
        for (const int id : {127, 128, -1, 256})
            bridge.setSysexId(id);
        QCOMPARE(bridge.sysexId(), 127);
        bridge.setOperatingMode(0);
        bridge.setSysexId(0);
        QCOMPARE(bridge.operatingMode() + bridge.sysexId(), 0);
    }

    void cutsTexts()
    {
        CppInterface bridge;
        bridge.setDisplayName(QString(31, 'a'));
        QCOMPARE(bridge.displayName(), QString(31, 'a'));
        bridge.setDisplayName(QString(32, 'b'));
        QCOMPARE(bridge.displayName(), QString(31, 'b'));
        bridge.setDisplayName("c");
        QCOMPARE(bridge.displayName(), "c");
        bridge.setScript(QString(6913, 'd'));
        QCOMPARE(bridge.script(), QString(6912, 'd'));
        bridge.setScript("e");
        QCOMPARE(bridge.script(), "e");
    }

    void isOneInstanceForAllEngines()
    {
        QVERIFY(!SettingsTransfer::instance());
        {
            QQmlEngine first;
            QQmlEngine second;
            for (QQmlEngine *engine : {&first, &first, &second}) {
                SettingsTransfer &transfer = registered(*engine);
                const QVariant property =
                    engine->rootContext()->contextProperty("SettingsTransfer");
                QCOMPARE(property.value<QObject *>(), &transfer);
                QCOMPARE(transfer.parent(), &first);
            }
        }
        QVERIFY(!SettingsTransfer::instance()); // ended with its engine
    }

    void failsWithoutALink()
    {
        QQmlEngine engine;
        SettingsTransfer &transfer = registered(engine);
        CppInterface bridge;
        bridge.setDisplayName("kept");
        QVERIFY(!bridge.readGlobals()); // nothing to read with
        QVERIFY(!bridge.writeGlobals());
        bridge.setSettingsTransfer(&transfer);
        QVERIFY(!bridge.readGlobals());
        QVERIFY(!bridge.writeGlobals());
        QCOMPARE(bridge.displayName(), "kept");
        QVERIFY(!transfer.receiveScript().isValid());
        QVERIFY(!transfer.sendScript("x"));
        QVERIFY(!transfer.sendSettings());
        {
            QtRtMIDI link;
            transfer.setMidiObj(&link);
            QVERIFY(!transfer.sendGlobals(nullptr));
        }
        QVERIFY(!transfer.sendScript("x")); // the link is gone again
    }

    void introducesItselfToTheLink()
    {
        QQmlEngine engine;
        SettingsTransfer &transfer = registered(engine);
        QtRtMIDI link;
        const QSignalSpy changed(&transfer, &SettingsTransfer::midiObjChanged);
        const QSignalSpy introduced(&link, &QtRtMIDI::settingsTransferObjChanged);
        for (QtRtMIDI *one : {&link, &link, static_cast<QtRtMIDI *>(nullptr), &link})
            transfer.setMidiObj(one);
        QCOMPARE(changed.size(), 3);
        QCOMPARE(link.settingsTransferObj(), &transfer);
        QCOMPARE(introduced.size(), 1);

        // A document reads it, and may set it.
        engine.rootContext()->setContextProperty("link", &link);
        QQmlExpression read(engine.rootContext(), nullptr,
                            "link.settingsTransferObj === transferObject");
        QQmlExpression set(engine.rootContext(), nullptr,
                           "link.settingsTransferObj = null; link.settingsTransferObj");
        engine.rootContext()->setContextProperty("transferObject", &transfer);
        QVERIFY(read.evaluate().toBool());
        QVERIFY(!set.evaluate().value<QObject *>());
        QVERIFY(!link.settingsTransferObj());
    }

    void keepsTheWorkingCopyWhenTheBoxFails()
    {
        Editor editor;
        editor.bridge.setDisplayName("kept");
        FakeRtMidi::world().sendFails = true;
        QVERIFY(!editor.bridge.readGlobals());
        QVERIFY(!editor.bridge.writeGlobals());
        QCOMPARE(editor.bridge.displayName(), "kept");
    }

    void sendsBackWhatItDoesNotKnow()
    {
        Editor editor;
        CppInterface &bridge = editor.bridge;
        QVERIFY(bridge.readGlobals());
        QCOMPARE(bridge.displayName(), "Stage");
        QCOMPARE(bridge.operatingMode(), 2);
        QCOMPARE(bridge.sysexId(), Id);

        // Untouched, the record goes back as it came.
        QVERIFY(bridge.writeGlobals());
        QCOMPARE(editor.written(), hex(boxRecord()));
        const auto header = std::span(FakeRtMidi::world().sent.back().bytes).first(9);
        QCOMPARE(hex(header), QByteArray("F0 00 01 5B 05 31 00 00 00"));

        bridge.setDisplayName(QString("B") + QChar(0xE4));
        bridge.setOperatingMode(1);
        bridge.setSysexId(6);
        QVERIFY(bridge.writeGlobals());
        ByteMessage expected = boxRecord();
        expected[16] = 1;
        expected[17] = 6;
        std::ranges::fill(std::span(expected).subspan(224), 0);
        expected[224] = 'B';
        expected[225] = 0xE4; // Latin-1 out
        QCOMPARE(editor.written(), hex(expected));
    }

    void endsANameThatABoxDidNotEnd()
    {
        Editor editor;
        std::ranges::fill(std::span(editor.record).subspan(224), 'x');
        QVERIFY(editor.bridge.readGlobals());
        QCOMPARE(editor.bridge.displayName(), QString(31, 'x'));
        editor.bridge.setDisplayName(editor.bridge.displayName()); // as the window does
        QVERIFY(editor.bridge.writeGlobals());
        QCOMPARE(editor.written(), hex(editor.record)); // its last byte, too
    }

    void writesToTheBoxThatItReadFromOnly_data()
    {
        const testsupport::Rows<std::function<void(QtRtMIDI &)>>
            add; // what happens after the record was read
        add("box lost", [](QtRtMIDI &link) { link.closePort(); });
        add("box lost and found", [](QtRtMIDI &link) {
            link.closePort();
            QVERIFY(link.selectPort(0));
        });
        add("another box addressed", [](QtRtMIDI &link) { link.setSysexID(Id + 1); });
    }

    void writesToTheBoxThatItReadFromOnly()
    {
        const auto [happens] = testsupport::row<std::function<void(QtRtMIDI &)>>();
        Editor editor;
        QVERIFY(!editor.bridge.writeGlobals()); // nothing was read
        QVERIFY(editor.bridge.readGlobals());
        happens(editor.link);
        FakeRtMidi::world().sent.clear();
        QVERIFY(!editor.bridge.writeGlobals());
        QVERIFY(FakeRtMidi::world().sent.empty());
    }

    void sendsScriptsAsLatin1_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("empty") << QString();
        QTest::newRow("umlaut") << QString("a") + QChar(0xE4);
        QTest::newRow("not in Latin-1") << QString(QChar(0x20AC));
        QTest::newRow("largest") << QString(7153, QChar(0xE4));
    }

    void sendsScriptsAsLatin1()
    {
        QFETCH(QString, script);
        Editor editor;
        QVERIFY(editor.transfer.sendScript(script));
        QCOMPARE(editor.written(), hex(testsupport::toBytes(script.toLatin1())));
        const auto sent = FakeRtMidi::world().takeSent();
        QCOMPARE(sent.size(), 1U);
        QCOMPARE(hex(std::span(sent[0]).first(9)), QByteArray("F0 00 01 5B 05 31 04 00 00"));
        QVERIFY(!editor.transfer.sendScript(QString(7154, 'x')));
        QVERIFY(FakeRtMidi::world().sent.empty());
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
