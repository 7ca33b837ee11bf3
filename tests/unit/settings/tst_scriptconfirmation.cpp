#include "midi/QtRtMIDI.h"
#include "settings/SettingsTransfer.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "support/Rows.h"

#include <QQmlEngine>
#include <QTest>

#include <functional>

using namespace testsupport;

namespace
{

constexpr std::uint8_t Id = 5;
constexpr char Script[] = "print('sent')\n";
constexpr char OtherScript[] = "print('other')\n";
constexpr char Question[] = "^received read-request id=5 type=4$";
constexpr int AnyNumber = -1;
/// Two questions and their answers take 1.3 s.
constexpr int QuietMs = 2000;

/// A box on a MIDI service, and what sends scripts to it.
struct Stage
{
    Stage()
    {
        const bool ready = server.isRunning() && box.isReady() && connectToBox(link, Id);
        QTest::qVerify(ready, "ready", box.errorOutput(), __FILE__, __LINE__);
        SettingsTransfer::registerSingleton(&engine);
        transfer = SettingsTransfer::instance();
        transfer->setMidiObj(&link);
        link.setCallbackMode(true);
        using Transfer = SettingsTransfer;
        QObject::connect(transfer, &Transfer::sentScriptDiffers, &link,
                         [this] { said << "differs"; });
        QObject::connect(transfer, &Transfer::sentScriptNotConfirmed, &link,
                         [this] { said << "not confirmed"; });
        QObject::connect(&link, &QtRtMIDI::textMessageReceived, &link,
                         [this](const QString &text) { printed += text; });
    }

    MidiServer server;
    BoxProcess box{{"--sysex-id", "5"}};
    QtRtMIDI link;
    QQmlEngine engine;
    SettingsTransfer *transfer = nullptr;
    QStringList said;
    QString printed;
};

using Act = std::function<void(Stage &)>;

Act faults(const QString &options)
{
    return [options](Stage &stage) { QVERIFY(stage.box.obeys("faults " + options, "^faults")); };
}

} // namespace

/// What is said of a script that was sent, with a real box on a real MIDI service.
class TestScriptConfirmation : public QObject
{
    Q_OBJECT

private slots:
    void tellsWhatTheBoxHolds_data()
    {
        const Rows<Act, int, QString> add; // what happens after sending, questions, what is said
        add(
            "the same script", [](Stage &) {}, 1, "");
        add("first answer damaged", faults("--wrong-crc once"), 1, "");
        add("all answers damaged", faults("--wrong-crc always"), 2, "not confirmed");
        add("silent", faults("--mute"), 2, "not confirmed");
        add("answers late", faults("--slow 150"), 1, "");
        const auto sendOther = [](Stage &stage) {
            stage.link.sendSettingsBlock(4, reinterpret_cast<const std::uint8_t *>(OtherScript),
                                         sizeof OtherScript - 1, false);
        };
        add("another script", sendOther, 1, "differs");
        add(
            "another box chosen", [](Stage &stage) { stage.link.setSysexID(Id + 1); }, 0, "");
        add(
            "port closed", [](Stage &stage) { stage.link.closePort(); }, 0, "");
        const auto unplug = [](Stage &stage) { QVERIFY(stage.box.obeys("unplug", "^unplugged")); };
        add("unplugged", unplug, AnyNumber, "");
        add(
            "read meanwhile", [](Stage &stage) { stage.transfer->receiveScript(); }, 1, "");
    }

    void tellsWhatTheBoxHolds()
    {
        const auto [act, questions, said] = row<Act, int, QString>();
        Stage stage;
        QVERIFY(stage.transfer->sendScript(Script));
        act(stage); // before the first question
        stage.box.send("print Hello");
        if (said.isEmpty())
            QVERIFY(!QTest::qWaitFor([&] { return !stage.said.isEmpty(); }, QuietMs));
        else
            QTRY_COMPARE(stage.said, QStringList(said));
        if (questions != AnyNumber)
            QCOMPARE(stage.box.lines().filter(QRegularExpression(Question)).size(), questions);
        QVERIFY(questions <= 0 || stage.printed.contains("Hello\n"));
    }

    void keepsItsAnswersFromReaders()
    {
        Stage stage;
        QVERIFY(stage.box.obeys("faults --slow 150", "^faults"));
        QVERIFY(stage.transfer->sendScript(Script));
        QVERIFY(stage.box.waitForLine(Question));
        // The answer about the first script is still to come when the second one is read.
        QVERIFY(stage.transfer->sendScript(OtherScript));
        QCOMPARE(stage.transfer->receiveScript().toString(), OtherScript);
        QCOMPARE(stage.said, QStringList());
    }
};

QTEST_GUILESS_MAIN(TestScriptConfirmation)
#include "tst_scriptconfirmation.moc"
