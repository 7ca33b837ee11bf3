#include "e2e/EditorProcess.h"
#include "scripts/LibraryDocument.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "support/Rows.h"
#include "support/VirtualDisplay.h"

#include <QDirIterator>

#include <csignal>

using namespace testsupport;

namespace
{

constexpr int TimeoutMs = 60000;
constexpr int BuiltInScripts = 5;

/// Starts the editor where keys reach it.
bool startOn(const VirtualDisplay &display, EditorProcess &editor)
{
    editor.setEnvironment("QT_QPA_PLATFORM", "xcb");
    editor.setEnvironment("DISPLAY", display.name());
    return display.isRunning() && editor.start();
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
        hideMidiServices();
        // A test that runs in the background may have been told to ignore these.
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGHUP, SIG_DFL);
    }

    void savesWhenItIsToldToEnd_data()
    {
        const Rows<int> add;
        add("terminal closed", SIGHUP);
        add("Ctrl+C", SIGINT);
        add("end of the session", SIGTERM);
    }

    void savesWhenItIsToldToEnd()
    {
        const auto [signal] = row<int>();
        EditorProcess editor;
        QVERIFY(editor.start());
        QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(editor.libraryPath()), BuiltInScripts, TimeoutMs);
        // There is no MIDI service, of which the log says a line at most.
        QVERIFY2(editor.log().size() <= 1, qPrintable(editor.log().join('\n')));
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
        EditorProcess editor;
        editor.setEnvironment("QT_LOGGING_RULES", "ostrel.devices.debug=true");
        QVERIFY(startOn(display, editor));
        QTRY_VERIFY_WITH_TIMEOUT(editor.log().join('\n').contains("scan found 1 devices"),
                                 TimeoutMs);
        // The question about the update, in which Cancel has the focus.
        QVERIFY(display.press(editor.process(), {"Tab", "Return"}));
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
        EditorProcess editor;
        // Qt ends the program on the spot, so nothing is freed.
        editor.setEnvironment("ASAN_OPTIONS",
                              qEnvironmentVariable("ASAN_OPTIONS") + ":detect_leaks=0");
        QVERIFY(startOn(display, editor));
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
        EditorProcess first;
        EditorProcess second;
        second.setEnvironment("XDG_DATA_HOME", first.homePath("data"));
        for (EditorProcess *editor : {&first, &second}) {
            QVERIFY(startOn(display, *editor));
            QVERIFY(display.press(editor->process(), {"Escape"}));
            QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(first.libraryPath()), BuiltInScripts, TimeoutMs);
        }
        // Who adds how many scripts, and what the file then holds beyond the built-in ones.
        const std::tuple<EditorProcess *, int, int> steps[] = {
            {&second, 2, 2}, {&first, 1, 1}, {&second, 1, 3}};
        for (const auto &[editor, added, more] : steps) {
            QVERIFY(display.press(editor->process(), QStringList(added, "ctrl+n")));
            QTRY_COMPARE_WITH_TIMEOUT(scriptsIn(first.libraryPath()), BuiltInScripts + more,
                                      TimeoutMs);
        }
        const QString conflict = first.libraryFolder() + "/OSTScripts.conflict-%1.json";
        QCOMPARE(scriptsIn(conflict.arg(1)), BuiltInScripts + 2);
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
        EditorProcess editor;
        QVERIFY(startOn(display, editor));
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
        QStringList expected{editor.homePath("config/ZEVMusicTechnology/Ostrel Editor/window.json"),
                             editor.libraryPath()};
        written.sort();
        expected.sort();
        QCOMPARE(written, expected);
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
