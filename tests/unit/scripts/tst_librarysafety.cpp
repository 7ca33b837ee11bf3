#include "LibraryHome.h"
#include "scripts/ReplaceFile.h"
#include "scripts/ScriptListModel.h"
#include "support/Rows.h"

#include <QRandomGenerator>
#include <QSignalSpy>

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace testsupport;

namespace
{

const QString FirstConflict = "OSTScripts.conflict-1.json";
constexpr int FullDisk = 4096; ///< bytes that a full disk still takes

/// Runs `body` in a process of its own, with a heap but without threads or an event loop, and
/// returns its process id. The child ends with the body's result as exit code.
template <typename Body>
pid_t startChild(Body &&body)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(body());
    return child;
}

/// The exit code, or -1 for a child that was killed.
int resultOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// A file with `count` scripts of this text.
QByteArray libraryOf(int count, const QString &text)
{
    return scripts::writeLibrary(QList<scripts::Script>(count, {"script", text}));
}

/// Gives the first script another text, as an edit does, and saves.
bool save(ScriptListModel &model, const QString &text)
{
    model.modifyScriptText(0, text);
    return model.saveToFile();
}

/// From here on files of this process grow to `bytes` at most, as on a full disk.
void limitFiles(rlim_t bytes)
{
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

/// A file in a folder that forbids new ones, to everybody but root.
class FileInForbiddingFolder
{
public:
    explicit FileInForbiddingFolder(mode_t rights)
    {
        if (!scripts::replaceFile(m_path, "old content") || !setRights(m_path, rights) ||
            !setRights(m_folder.path(), 0555))
            qFatal("The test's own file cannot be made");
    }
    ~FileInForbiddingFolder() { setRights(m_folder.path(), 0755); }

    /// 1 when it was replaced, 0 when not, 2 when root's rights could not be given up for it.
    [[nodiscard]] int replace(const QByteArray &bytes, rlim_t limit = RLIM_INFINITY) const
    {
        return resultOf(startChild([&] {
            constexpr uid_t Nobody = 65534;
            if (geteuid() == 0 && setuid(Nobody) != 0)
                return 2;
            limitFiles(limit);
            return scripts::replaceFile(m_path, bytes) ? 1 : 0;
        }));
    }

    [[nodiscard]] QByteArray content() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    static bool setRights(const QString &path, mode_t rights)
    {
        return chmod(QFile::encodeName(path), rights) == 0;
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("library.json");
};

} // namespace

/// What the disk and others do to the library, on real files.
class LibrarySafetyTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<LibraryHome>(); }

    void keepsADamagedFile_data()
    {
        const Rows<QByteArray> add;
        add("cut off", "{\"scripts\":[{\"name\":\"a\",\"te");
        add("array", "[]");
        add("binary", QByteArray("\x00\xFF\x00", 3));
        add("empty", "");
    }

    void keepsADamagedFile()
    {
        const auto [bytes] = row<QByteArray>();
        const QString second = "OSTScripts.damaged-2.json";
        m_home->write("other damage", "OSTScripts.damaged-1.json");
        m_home->write(bytes);
        {
            // The window has two models, and both find the file.
            ScriptListModel model;
            ScriptListModel downloads;
            downloads.setScriptFileName({});
            QCOMPARE(model.rowCount(), 5);
            QCOMPARE(m_home->read(), bytes);
            QVERIFY(m_home->files().contains(second));
        }
        QCOMPARE(m_home->read(second), bytes);
        QCOMPARE(m_home->library().size(), 5);
        QCOMPARE(m_home->files().size(), 3);
    }

    void keepsWhatAnotherEditorSaved()
    {
        m_home->write(libraryOf(1, "0"));
        ScriptListModel first;
        ScriptListModel second;
        second.modifyScriptText(0, "2");
        QVERIFY(save(first, "1"));
        QVERIFY(second.saveToFile());
        QCOMPARE(m_home->read(), libraryOf(1, "2"));
        QCOMPARE(m_home->read(FirstConflict), libraryOf(1, "1"));
        QVERIFY(save(first, "3"));
        QCOMPARE(m_home->read("OSTScripts.conflict-2.json"), libraryOf(1, "2"));
        // What was kept once is not kept again, and "3" follows "1".
        QVERIFY(save(second, "1"));
        m_home->write(libraryOf(1, "2"));
        QVERIFY(save(second, "4"));
        QCOMPARE(m_home->files().filter("conflict").size(), 2);
    }

    /// Two that run at once keep one copy of each other, however often they save.
    void keepsOneCopyOfASession()
    {
        const auto text = [](const QString &edit) { return "# head\n" + edit + "# end\n"; };
        m_home->write(scripts::writeLibrary({{"x", text("")}, {"y", ""}}));
        ScriptListModel first;
        ScriptListModel second;
        QString typed;
        for (const char *letter : {"a", "b", "c", "d"}) {
            typed += letter;
            QVERIFY(save(first, text(typed)));
            QVERIFY(save(second, text(typed.toUpper())));
        }
        QCOMPARE(m_home->files().filter("conflict").size(), 2);

        // A third one, which has read what the second saved, is not taken for the first.
        ScriptListModel third;
        QVERIFY(save(third, text("3ABCD")));
        second.modifyScriptText(1, "edited");
        QVERIFY(second.saveToFile());
        QStringList kept;
        for (const QString &file : m_home->files().filter("conflict"))
            kept += m_home->library(file).first().text;
        QVERIFY(kept.contains(text("abcd")));
        QVERIFY(kept.contains(text("3ABCD")));
    }

    void changesNothingWithoutAnEdit()
    {
        const QByteArray foreignForm = "{\"by\":\"hand\",\"scripts\":[{\"text\":\"a\\r\\n\"}]}";
        m_home->write(foreignForm);
        {
            ScriptListModel model;
            model.saveInBackground();
        }
        QCOMPARE(m_home->read(), foreignForm);
    }

    void triesAgainAfterARemoval()
    {
        m_home->write(libraryOf(2, "text"));
        ScriptListModel model;
        QVERIFY(QDir(m_home->folder()).removeRecursively());
        QFile inTheWay(m_home->folder());
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        const QSignalSpy failed(&model, &ScriptListModel::savingFailed);
        const QSignalSpy works(&model, &ScriptListModel::savingWorksAgain);
        for (int attempt = 0; attempt < 2; ++attempt) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Failed to open file"));
            model.removeScript(0);
        }
        QCOMPARE(failed, QList<QVariantList>{{m_home->folder()}}); // once
        QVERIFY(inTheWay.remove());
        QTRY_COMPARE_WITH_TIMEOUT(works.size(), 1, 30000);
        QCOMPARE(m_home->read(), libraryOf(0, ""));
    }

    void losesNothingWhenTwoSaveAtOnce()
    {
        int ready[2];
        int go[2];
        QVERIFY(pipe(ready) == 0 && pipe(go) == 0);
        const auto startEditor = [&](const QString &text) {
            return startChild([&] {
                qInstallMessageHandler(
                    [](QtMsgType, const QMessageLogContext &, const QString &) {});
                ScriptListModel model;
                model.modifyScriptText(0, text);
                char byte = 0;
                const bool told = write(ready[1], &byte, 1) == 1 && read(go[0], &byte, 1) == 1;
                return told && model.saveToFile() ? 0 : 1;
            });
        };
        for (int round = 0; round < 100; ++round) {
            m_home = std::make_unique<LibraryHome>();
            m_home->write(libraryOf(1, "start"));
            const pid_t first = startEditor("first");
            const pid_t second = startEditor("second");
            char bytes[2] = {};
            QVERIFY(read(ready[0], bytes, 1) == 1 && read(ready[0], bytes, 1) == 1);
            QVERIFY(write(go[1], bytes, 2) == 2);
            QCOMPARE(resultOf(first), 0);
            QCOMPARE(resultOf(second), 0);
            QStringList kept;
            for (const QString &file : m_home->files())
                kept += m_home->library(file).value(0).text;
            kept.sort();
            QCOMPARE(kept, QStringList({"first", "second"}));
        }
        for (const int end : {ready[0], ready[1], go[0], go[1]})
            close(end);
    }

    void leavesANewerLibraryAlone()
    {
        const QByteArray newer = libraryOf(2, "newer");
        {
            ScriptListModel untouchedDefaults;
            m_home->write(newer);
        }
        QCOMPARE(m_home->read(), newer);
        {
            ScriptListModel saved;
            QVERIFY(saved.saveToFile());
            m_home->write("{}");
            QVERIFY(saved.saveToFile());
        }
        QCOMPARE(m_home->read(), QByteArray("{}"));
        QCOMPARE(m_home->files(), QStringList(LibraryHome::FileName));
    }

    void savesWhateverTheClockSays_data()
    {
        const Rows<int> add;
        add("set back", 2100);
        add("set forward", 1990);
    }

    void savesWhateverTheClockSays()
    {
        const QDateTime time = QDate(std::get<0>(row<int>()), 1, 1).startOfDay();
        const auto setTime = [&] {
            QFile file(m_home->path());
            return file.open(QIODevice::ReadWrite) &&
                   file.setFileTime(time, QFile::FileModificationTime);
        };
        m_home->write(libraryOf(1, "0"));
        ScriptListModel model;
        QVERIFY(setTime());
        QVERIFY(save(model, "1"));
        QCOMPARE(m_home->read(), libraryOf(1, "1"));
        QCOMPARE(m_home->files().size(), 1);

        // Another program's file of the same size and time is not taken for our own.
        QVERIFY(setTime());
        QVERIFY(model.saveToFile());
        m_home->write(libraryOf(1, "2"));
        QVERIFY(setTime());
        QVERIFY(save(model, "3"));
        QCOMPARE(m_home->read(FirstConflict), libraryOf(1, "2"));
    }

    void savesOnceTheFolderIsBack()
    {
        ScriptListModel model;
        QVERIFY(QDir(m_home->folder()).removeRecursively());
        QFile inTheWay(m_home->folder());
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        model.modifyScriptText(0, "edited");
        static std::atomic_bool failed = false;
        const QtMessageHandler handler = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &) { failed = true; });
        const bool hasFailed = QTest::qWaitFor([] { return failed.load(); }, 30000);
        qInstallMessageHandler(handler);
        QVERIFY(hasFailed);
        QVERIFY(inTheWay.remove());
        QTRY_COMPARE_WITH_TIMEOUT(m_home->library().value(0).text, "edited", 60000);
    }

    void isWholeAfterAKill()
    {
        constexpr int Rounds = 500;
        constexpr int Count = 20;
        m_home->write(libraryOf(Count, "start"));
        QRandomGenerator random(3);
        int firstSave[2];
        QVERIFY(pipe(firstSave) == 0);
        for (int round = 0; round < Rounds; ++round) {
            const QChar letter(u'a' + round % 26);
            const pid_t child = startChild([&] {
                ScriptListModel model;
                for (int save = 0;; ++save) {
                    for (int script = 0; script < model.rowCount(); ++script)
                        model.modifyScriptText(script, QString(2000 + save, letter));
                    if (!model.saveToFile() || (save == 0 && write(firstSave[1], "s", 1) != 1))
                        return 1;
                }
            });
            QVERIFY(child > 0);
            char signalled = 0;
            QVERIFY(read(firstSave[0], &signalled, 1) == 1);
            usleep(static_cast<useconds_t>(random.bounded(5000)));
            kill(child, SIGKILL);
            QCOMPARE(resultOf(child), -1);

            const QList<scripts::Script> list = m_home->library();
            QVERIFY2(list.size() == Count, m_home->read().right(200));
            QVERIFY(list.first().text.startsWith(letter));
            QCOMPARE(list.count(list.first()), Count);
        }
        close(firstSave[0]);
        close(firstSave[1]);
        QVERIFY(m_home->files().filter(QRegularExpression("conflict|damaged")).isEmpty());

        const QString backup = LibraryHome::FileName + ".backup";
        m_home->write("mine", backup);
        m_home->write("left", LibraryHome::FileName + ".aBcdEf");
        const ScriptListModel next;
        QVERIFY(m_home->files().contains(backup));
        // Some have no capital in their name and stay.
        QVERIFY(m_home->files().size() < 2 + Rounds / 10);
        QVERIFY(!m_home->files().contains(LibraryHome::FileName + ".aBcdEf"));
    }

    void keepsTheOldFileOnAFullDisk()
    {
        const QByteArray old = libraryOf(10, "old");
        m_home->write(old);
        for (const int length : {2 * FullDisk, 20 * FullDisk}) { // Qt buffers the one only
            const pid_t child = startChild([&] {
                ScriptListModel model;
                limitFiles(FullDisk);
                return save(model, QString(length, u'x')) ? 1 : 0;
            });
            QCOMPARE(resultOf(child), 0);
            QCOMPARE(m_home->read(), old);
            QCOMPARE(m_home->files().size(), 1);
        }
    }

    void writesInPlaceWhereTheFolderForbidsMore()
    {
        const FileInForbiddingFolder file(0666);
        const QByteArray large(FullDisk + 1000, 'x');
        QCOMPARE(file.replace(large, FullDisk), 0);
        QCOMPARE(file.content(), QByteArray("old content"));
        QCOMPARE(file.replace(large), 1);
        QCOMPARE(file.content(), large);
        QCOMPARE(file.replace("short", FullDisk), 1);
        QCOMPARE(file.content(), QByteArray("short"));
    }

    void leavesAFileThatForbidsWriting()
    {
        const FileInForbiddingFolder file(0444);
        QCOMPARE(file.replace("new"), 0);
        QCOMPARE(file.content(), QByteArray("old content"));
    }

private:
    std::unique_ptr<LibraryHome> m_home;
};

QTEST_GUILESS_MAIN(LibrarySafetyTest)
#include "tst_librarysafety.moc"
