#include "e2e/EditorProcess.h"
#include "scripts/LibraryDocument.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "support/VirtualDisplay.h"

#include <QDirIterator>
#include <QTest>

#include <csignal>

using testsupport::BoxProcess;
using testsupport::MidiServer;
using testsupport::VirtualDisplay;

namespace
{

constexpr int TimeoutMs = 60000;
constexpr int BuiltInScripts = 5;

int scriptsIn(const QString &path)
{
    const auto scripts = scripts::readLibrary(contentOf(path)).scripts;
    return scripts ? static_cast<int>(scripts->size()) : -1;
}

void showOn(const VirtualDisplay &display, EditorProcess &editor)
{
    editor.setEnvironment("QT_QPA_PLATFORM", "xcb");
    editor.setEnvironment("DISPLAY", display.name());
}

/// Asks the editor to end, as a session does. False unless it ended well.
bool endBySignal(EditorProcess &editor, int signal)
{
    QProcess &process = editor.process();
    const auto pid = static_cast<pid_t>(process.processId());
    return pid > 0 && ::kill(pid, signal) == 0 && process.waitForFinished(TimeoutMs) &&
           process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

/// What happens around the built editor while it runs, and what is on the disk afterwards.
class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Where a test has no service of its own, the editor finds none.
        qputenv("JACK_DEFAULT_SERVER", "no-such-server");
        qputenv("JACK_NO_START_SERVER", "1");
        qunsetenv("OSTREL_MIDI_API");
        // A test that runs in the background may have been told to ignore these.
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGHUP, SIG_DFL);
    }

    void savesWhenItIsToldToEnd_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("terminal closed") << SIGHUP;
        QTest::newRow("Ctrl+C") << SIGINT;
        QTest::newRow("end of the session") << SIGTERM;
    }

    void savesWhenItIsToldToEnd()
    {
        QFETCH(int, signal);
        EditorProcess editor;
        QVERIFY(editor.start());
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(editor.libraryPath()), BuiltInScripts, TimeoutMs);
        // What the editor holds is no longer on the disk.
        QVERIFY(QFile::remove(editor.libraryPath()));
        QVERIFY(endBySignal(editor, signal));
        QCOMPARE(scriptsIn(editor.libraryPath()), BuiltInScripts);
    }

    void cancelsAnUpdateWhenItIsToldToEnd()
    {
        const MidiServer server;
        BoxProcess box({"--bootloader"});
        QVERIFY2(box.isReady(), box.errorOutput());
        const VirtualDisplay display;
        QVERIFY(display.isRunning());
        EditorProcess editor;
        editor.setEnvironment("QT_LOGGING_RULES", "ostrel.devices.debug=true");
        showOn(display, editor);
        QVERIFY(editor.start());
        QTRY_VERIFY_WITH_TIMEOUT(editor.log().join('\n').contains("scan found 1 devices"),
                                 TimeoutMs);
        // From the list back to the chooser, whose second entry is the box; then the question.
        QVERIFY(display.press(editor.process(), {"shift+Tab", "shift+Tab", "shift+Tab", "shift+Tab",
                                                 "Return", "Down", "Return", "Return"}));
        QVERIFY(box.waitForLine("^received update-data", TimeoutMs));
        QVERIFY(endBySignal(editor, SIGTERM));
        QVERIFY(box.waitForLine("^received update-cancel"));
    }

    void endsWithTheDisplay()
    {
        const MidiServer server;
        BoxProcess box;
        QVERIFY2(box.isReady(), box.errorOutput());
        VirtualDisplay display;
        QVERIFY(display.isRunning());
        EditorProcess editor;
        showOn(display, editor);
        // Qt ends the program on the spot, so nothing is freed.
        editor.setEnvironment("ASAN_OPTIONS",
                              qEnvironmentVariable("ASAN_OPTIONS") + ":detect_leaks=0");
        QVERIFY(editor.start());
        QVERIFY(box.waitForLine("^received identity-request$", TimeoutMs));
        QVERIFY(display.press(editor.process(), {"F2", "E", "c", "h", "o", "Return"}));
        const auto firstName = [&] {
            const auto saved = scripts::readLibrary(contentOf(editor.libraryPath())).scripts;
            return saved.value_or(QList<scripts::Script>()).value(0).name;
        };
        QTRY_COMPARE_WITH_TIMEOUT(firstName(), "Echo", TimeoutMs);
        display.end();
        QVERIFY(editor.process().waitForFinished(TimeoutMs));
        QCOMPARE(firstName(), "Echo");
        QCOMPARE(scriptsIn(editor.libraryPath()), BuiltInScripts);
    }

    void keepsWhatASecondEditorSaved()
    {
        const VirtualDisplay display;
        QVERIFY(display.isRunning());
        EditorProcess first;
        EditorProcess second;
        second.setEnvironment("XDG_DATA_HOME", first.homePath("data"));
        for (EditorProcess *editor : {&first, &second}) {
            showOn(display, *editor);
            QVERIFY(editor->start());
            QVERIFY(display.press(editor->process(), {"Escape"}));
            QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(first.libraryPath()), BuiltInScripts, TimeoutMs);
        }
        const auto add = [&](const EditorProcess &editor, int count) {
            return display.press(editor.process(), QStringList(count, "ctrl+n"));
        };
        QVERIFY(add(second, 2));
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(first.libraryPath()), BuiltInScripts + 2, TimeoutMs);
        QVERIFY(add(first, 1));
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(first.libraryPath()), BuiltInScripts + 1, TimeoutMs);
        const QString conflict = first.libraryFolder() + "/OSTScripts.conflict-%1.json";
        QCOMPARE(scriptsIn(conflict.arg(1)), BuiltInScripts + 2);

        QVERIFY(add(second, 1));
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(first.libraryPath()), BuiltInScripts + 3, TimeoutMs);
        QCOMPARE(scriptsIn(conflict.arg(2)), BuiltInScripts + 1);

        // Neither has anything new when it ends.
        QVERIFY(endBySignal(first, SIGTERM));
        QVERIFY(endBySignal(second, SIGTERM));
        QCOMPARE(scriptsIn(first.libraryPath()), BuiltInScripts + 3);
        QCOMPARE(QDir(first.libraryFolder()).entryList(QDir::Files).size(), 3);
    }

    void writesToItsOwnFoldersOnly()
    {
        const VirtualDisplay display;
        QVERIFY(display.isRunning());
        EditorProcess editor;
        showOn(display, editor);
        QVERIFY(editor.start());
        // The guide, the download window, both file dialogs, a new script.
        QVERIFY(display.press(editor.process(), {"F1", "Escape", "ctrl+d", "Escape", "ctrl+o",
                                                 "Escape", "ctrl+s", "Escape", "ctrl+n"}));
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(editor.libraryPath()), BuiltInScripts + 1, TimeoutMs);
        QVERIFY(endBySignal(editor, SIGTERM));
        QStringList written;
        QDirIterator files(editor.homePath({}), QDir::Files | QDir::Hidden | QDir::System,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            written << files.next();
        QCOMPARE(written.join('\n'), editor.libraryPath());
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
