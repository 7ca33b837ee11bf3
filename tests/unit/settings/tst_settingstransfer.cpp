#include "midi/QtRtMIDI.h"
#include "settings/SettingsT.h"
#include "settings/SettingsTransfer.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

using testsupport::hex;

class TestSettingsTransfer : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        FakeRtMidi::world().reset();
        FakeRtMidi::world().inputs = FakeRtMidi::world().outputs = {"Box"};
    }

    void isOneInstanceForAllEngines()
    {
        QVERIFY(!SettingsTransfer::instance());
        {
            QQmlEngine first;
            QQmlEngine second;
            for (QQmlEngine *engine : {&first, &first, &second}) {
                SettingsTransfer::registerSingleton(engine);
                const QVariant property =
                    engine->rootContext()->contextProperty("SettingsTransfer");
                QCOMPARE(property.value<QObject *>(), SettingsTransfer::instance());
            }
            QCOMPARE(SettingsTransfer::instance()->parent(), &first);
        }
        QVERIFY(!SettingsTransfer::instance()); // ended with its engine
    }

    void failsSoftlyWithoutALink()
    {
        QQmlEngine engine;
        SettingsTransfer &transfer = registered(engine);
        const SettingsT settings;
        QVERIFY(!transfer.receiveGlobals());
        QVERIFY(!transfer.sendGlobals(&settings));
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
        const QSignalSpy changed(&transfer, &SettingsTransfer::midiObjChanged);
        QtRtMIDI link;
        transfer.setMidiObj(&link);
        transfer.setMidiObj(&link);
        QCOMPARE(link.settingsTransferObj(), &transfer);
        QCOMPARE(changed.size(), 1);
        transfer.setMidiObj(nullptr);
        QCOMPARE(changed.size(), 2);
    }

    void sendsScriptsAsLatin1_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<qsizetype>("frameLength"); // 0: refused
        QTest::newRow("empty") << QString() << qsizetype(17);
        QTest::newRow("umlaut") << QString("a") + QChar(0xE4) << qsizetype(20);
        QTest::newRow("not in Latin-1") << QString(QChar(0x20AC)) << qsizetype(19);
        QTest::newRow("largest") << QString(7153, QChar(0xE4)) << qsizetype(8192);
        QTest::newRow("too large") << QString(7154, 'x') << qsizetype(0);
    }

    void sendsScriptsAsLatin1()
    {
        QFETCH(QString, script);
        QFETCH(qsizetype, frameLength);
        QQmlEngine engine;
        SettingsTransfer &transfer = registered(engine);
        QtRtMIDI link;
        transfer.setMidiObj(&link);
        link.scanPorts(nullptr, nullptr);
        QVERIFY(link.selectPort(0));
        QCOMPARE(transfer.sendScript(script), frameLength > 0);
        const auto sent = FakeRtMidi::world().takeSent();
        QCOMPARE(sent.size(), frameLength > 0 ? 1U : 0U);
        if (sent.empty())
            return;
        QCOMPARE(static_cast<qsizetype>(sent[0].size()), frameLength);
        QCOMPARE(hex(std::span(sent[0]).first(9)), QByteArray("F0 00 01 5B 00 31 04 00 00"));
        std::array<std::uint8_t, midi::MaxFrameLength> buffer{};
        std::ranges::copy(sent[0], buffer.begin());
        const auto length = midi::decodeDataBlock(buffer);
        QVERIFY(length);
        QCOMPARE(hex(midi::ByteView(buffer).subspan(16, *length)),
                 hex(testsupport::toBytes(script.toLatin1())));
    }

private:
    static SettingsTransfer &registered(QQmlEngine &engine)
    {
        SettingsTransfer::registerSingleton(&engine);
        return *SettingsTransfer::instance();
    }
};

QTEST_GUILESS_MAIN(TestSettingsTransfer)
#include "tst_settingstransfer.moc"
