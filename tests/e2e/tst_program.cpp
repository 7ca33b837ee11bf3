#include "e2e/EditorProcess.h"
#include "scripts/LibraryDocument.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"

#include <QDir>
#include <QFileSystemWatcher>
#include <QJsonDocument>
#include <QTest>

using testsupport::BoxProcess;
using testsupport::MidiServer;

namespace
{

constexpr int TimeoutMs = 60000;
constexpr int NoReference = 65535;
constexpr int SecondReference = 26 * 256 + 1;
constexpr int ExitNoWindow = 255; // what the system makes of -1

constexpr int BigLibrarySize = 300;

/// Scripts beyond what one write to the disk takes, in another form than the editor's own, so that
/// it writes them anew.
QByteArray bigLibrary()
{
    const QString text = QString("print(1)\n").repeated(600);
    const QList<scripts::Script> list(BigLibrarySize, {"My script", text});
    return QJsonDocument::fromJson(scripts::writeLibrary(list)).toJson(QJsonDocument::Compact);
}

int scriptsIn(const QByteArray &library)
{
    const auto scripts = scripts::readLibrary(library).scripts;
    return scripts ? static_cast<int>(scripts->size()) : -1;
}

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
    void initTestCase()
    {
        // Where a test has no service of its own, the editor finds none.
        qputenv("JACK_DEFAULT_SERVER", "no-such-server");
        qputenv("JACK_NO_START_SERVER", "1");
        qunsetenv("OSTREL_MIDI_API");
    }

    void findsABox_data()
    {
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("logged");
        QTest::newRow("named service") << "OSTREL_MIDI_API"
                                       << "jack"
                                       << "";
        QTest::newRow("any service") << "OSTREL_MIDI_API"
                                     << ""
                                     << "";
        QTest::newRow("unknown service") << "OSTREL_MIDI_API"
                                         << "harp"
                                         << "ostrel.midi: OSTREL_MIDI_API names no MIDI back end "
                                            "of this build: \"harp\"";
        // Below a file there can be no folder, and nobody may write in this one, not even root.
        QTest::newRow("no home") << "XDG_DATA_HOME"
                                 << "/dev/null/data"
                                 << "";
        QTest::newRow("home that cannot be written") << "XDG_DATA_HOME"
                                                     << "/proc/1"
                                                     << "";
        QTest::newRow("no settings folder") << "XDG_CONFIG_HOME"
                                            << "/dev/null/config"
                                            << "";
    }

    void findsABox()
    {
        QFETCH(QString, variable);
        QFETCH(QString, value);
        QFETCH(QString, logged);
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

    void startsWithoutAMidiService()
    {
        EditorProcess editor;
        QVERIFY(editor.start());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(editor.libraryPath()), TimeoutMs);
        QCOMPARE(scriptsIn(contentOf(editor.libraryPath())), 5);
        QCOMPARE(editor.process().state(), QProcess::Running);
        QVERIFY2(editor.log().size() <= 1, qPrintable(editor.log().join('\n')));
    }

    void endsWhenItHasNoWindow()
    {
        EditorProcess editor;
        // A type that the window is made of, and that cannot be read.
        const QString modules = editor.homePath("modules");
        const QString layouts = modules + "/QtQuick/Layouts";
        QVERIFY(writeFile(layouts + "/qmldir",
                          "module QtQuick.Layouts\nRowLayout 1.0 RowLayout.qml\n"));
        QVERIFY(writeFile(layouts + "/RowLayout.qml", "{"));
        editor.setEnvironment("QML_IMPORT_PATH", modules);
        QVERIFY(editor.start());
        QVERIFY(editor.process().waitForFinished(TimeoutMs));
        QCOMPARE(editor.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(editor.process().exitCode(), ExitNoWindow);
    }

    void connectsToTheStoredBox_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<int>("connected");
        QTest::newRow("first run") << QByteArray() << NoReference;
        QTest::newRow("the second")
            << QByteArray("[General]\nzevost_lastproduct=6657\n") << SecondReference;
        QTest::newRow("damaged") << QByteArray("\x7F"
                                               "ELF\0[[%%=\xFF\n",
                                               11)
                                 << NoReference;
        for (const QByteArray value : {"third", "a, b", "-1", "4294973953", "@Variant(\\0\\x7F)"})
            QTest::newRow(value) << "[General]\nzevost_lastproduct=" + value + '\n' << NoReference;
    }

    void connectsToTheStoredBox()
    {
        QFETCH(QByteArray, settings);
        QFETCH(int, connected);
        // The one scan at the start listens for 200 ms, which a busy machine may exceed.
        QString logged;
        QByteArray settingsAfter;
        const auto foundBoth = [&] {
            Stage stage({"--boxes", "2"});
            EditorProcess &editor = stage.editor;
            editor.setEnvironment("QT_LOGGING_RULES", "ostrel.devices.debug=true");
            const bool prepared = settings.isEmpty() || writeFile(editor.settingsPath(), settings);
            const auto scanned = [&] { return !(logged = editor.log().join('\n')).isEmpty(); };
            if (!prepared || !editor.start() || !QTest::qWaitFor(scanned, TimeoutMs))
                return false;
            settingsAfter = contentOf(editor.settingsPath());
            return logged.contains("scan found 2 devices");
        };
        QTRY_VERIFY_WITH_TIMEOUT(foundBoth(), 10 * TimeoutMs);
        QCOMPARE(logged,
                 QString("ostrel.devices: scan found 2 devices, connected to %1").arg(connected));
        QCOMPARE(settingsAfter, settings); // a scan stores nothing
    }

    void keepsADamagedLibrary()
    {
        EditorProcess editor;
        const QByteArray damaged = bigLibrary().chopped(3);
        QVERIFY(writeFile(editor.libraryPath(), damaged));
        QVERIFY(editor.start());
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(contentOf(editor.libraryPath())), 5, TimeoutMs);
        QCOMPARE(contentOf(editor.libraryFolder() + "/OSTScripts.damaged-1.json"), damaged);
    }

    void survivesAKillWhileItSaves()
    {
        EditorProcess editor;
        QVERIFY(writeFile(editor.libraryPath(), bigLibrary()));
        for (int run = 0; run < 5; ++run) {
            QFileSystemWatcher watcher({editor.libraryFolder()});
            connect(&watcher, &QFileSystemWatcher::directoryChanged, this,
                    [&editor] { editor.kill(); });
            QVERIFY(editor.start());
            QTRY_COMPARE_WITH_TIMEOUT(editor.process().state(), QProcess::NotRunning, TimeoutMs);
            QCOMPARE(editor.process().exitStatus(), QProcess::CrashExit);
            QCOMPARE(scriptsIn(contentOf(editor.libraryPath())), BigLibrarySize);
            // Such a file is written anew at each start.
            QVERIFY(writeFile(editor.libraryPath(), bigLibrary()));
        }
        QVERIFY(editor.start());
        const QByteArray saved = scripts::writeLibrary(*scripts::readLibrary(bigLibrary()).scripts);
        QTRY_COMPARE_WITH_TIMEOUT(contentOf(editor.libraryPath()), saved, TimeoutMs);
    }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
