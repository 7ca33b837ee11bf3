#include "e2e/EditorProcess.h"
#include "scripts/LibraryDocument.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "support/Rows.h"

#include <QDir>

using namespace testsupport;

namespace
{

constexpr int TimeoutMs = 60000;
constexpr int NoReference = 65535;
constexpr int SecondReference = 26 * 256 + 1;
constexpr int ExitNoWindow = 255; // what the system makes of -1

/// The editor beside boxes on a MIDI service of their own.
struct Stage
{
    explicit Stage(const QStringList &boxArguments = {})
        : box(boxArguments)
    {}

    MidiServer server;
    BoxProcess box;
    EditorProcess editor;
};

} // namespace

/// The built editor from outside: what it does to the disk, to the box and to its exit code. It
/// saves its library, and asks who is on the bus, once its window is there.
class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { hideMidiServices(); }

    void findsABox_data()
    {
        const Rows<QString, QString, QString> add; // a variable, its value, what is logged
        add("named service", "OSTREL_MIDI_API", "jack", "");
        add("any service", "OSTREL_MIDI_API", "", "");
        add("unknown service", "OSTREL_MIDI_API", "harp",
            "ostrel.midi: OSTREL_MIDI_API names no MIDI back end of this build: \"harp\"");
        // Below a file there can be no folder, and nobody may write in this one, not even root.
        add("no home", "XDG_DATA_HOME", "/dev/null/data", "");
        add("home that cannot be written", "XDG_DATA_HOME", "/proc/1", "");
        add("no settings folder", "XDG_CONFIG_HOME", "/dev/null/config", "");
    }

    void findsABox()
    {
        const auto [variable, value, logged] = row<QString, QString, QString>();
        Stage stage;
        QVERIFY2(stage.server.isRunning(), stage.server.output());
        QVERIFY2(stage.box.isReady(), stage.box.errorOutput());
        EditorProcess &editor = stage.editor;
        editor.setEnvironment(variable, value);
        QVERIFY(editor.start());
        QVERIFY(stage.box.waitForLine("^received identity-request$", TimeoutMs));
        QTRY_COMPARE(editor.log().join('\n'), logged);
        QCOMPARE(editor.process().state(), QProcess::Running);
    }

    void endsWhenItHasNoWindow()
    {
        EditorProcess editor;
        // A type that the window is made of, and that cannot be read.
        const QString modules = editor.homePath("modules");
        const QString controls = modules + "/QtQuick/Controls";
        QVERIFY(writeFile(controls + "/qmldir",
                          "module QtQuick.Controls\nSplitView 1.0 SplitView.qml\n"));
        QVERIFY(writeFile(controls + "/SplitView.qml", "{"));
        editor.setEnvironment("QML_IMPORT_PATH", modules);
        QVERIFY(editor.start());
        QVERIFY(editor.process().waitForFinished(TimeoutMs));
        QCOMPARE(editor.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(editor.process().exitCode(), ExitNoWindow);
    }

    void connectsToTheStoredBox_data()
    {
        const QByteArray stored = "[General]\nzevost_lastproduct=";
        const Rows<QByteArray, int> add;
        add("first run", {}, NoReference);
        add("the second", stored + "6657\n", SecondReference);
        add("damaged", QByteArray("\x7F/ELF\0[[%%=\xFF\n", 12), NoReference);
        for (const char *value : {"third", "a, b", "-1", "4294973953", "@Variant(\\0\\x7F)"})
            add(value, stored + value + '\n', NoReference);
    }

    void connectsToTheStoredBox()
    {
        const auto [stored, connected] = row<QByteArray, int>();
        const QByteArray settings = stored;
        // The one scan at the start listens for 200 ms, which a busy machine may exceed.
        QString logged;
        QByteArray settingsAfter;
        const auto foundBoth = [&] {
            Stage stage({"--boxes", "2"});
            EditorProcess &editor = stage.editor;
            editor.setEnvironment("QT_LOGGING_RULES",
                                  "ostrel.devices.debug=true;ostrel.session.info=false");
            const bool prepared = settings.isEmpty() || writeFile(editor.settingsPath(), settings);
            const auto scanned = [&] { return !(logged = editor.log().join('\n')).isEmpty(); };
            if (!prepared || !editor.start() || !QTest::qWaitFor(scanned, TimeoutMs))
                return false;
            settingsAfter = contentOf(editor.settingsPath());
            return logged.contains("scan found 2 devices");
        };
        QVERIFY(QTest::qWaitFor(foundBoth, 10 * TimeoutMs));
        QCOMPARE(logged,
                 QString("ostrel.devices: scan found 2 devices, connected to %1").arg(connected));
        QCOMPARE(settingsAfter, settings); // a scan stores nothing
    }

    void keepsADamagedLibrary()
    {
        EditorProcess editor;
        const QByteArray damaged = scripts::writeLibrary({{"My script", "#"}}).chopped(3);
        QVERIFY(writeFile(editor.libraryPath(), damaged));
        QVERIFY(editor.start());
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(editor.libraryPath()), 5, TimeoutMs);
        QCOMPARE(contentOf(editor.libraryFolder() + "/OSTScripts.damaged-1.json"), damaged);
    }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
