#include "LibraryHome.h"
#include "scripts/ReplaceFile.h"
#include "scripts/ScriptListModel.h"

#include <QRandomGenerator>
#include <QTest>

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using scripts::readLibrary;
using scripts::writeLibrary;
using ScriptList = QList<ScriptListModel::Script>;

namespace
{

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

ScriptList listOf(int count, const QString &text)
{
    return ScriptList(count, {QStringLiteral("script"), text});
}

/// From here on files of this process grow to `bytes` at most, as on a full disk.
void limitFiles(rlim_t bytes)
{
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

/// Gives up root's right to write everywhere.
bool becomeNobody()
{
    constexpr uid_t Nobody = 65534;
    return geteuid() != 0 || setuid(Nobody) == 0;
}

} // namespace

/// What the disk and others do to the library, on real files.
class LibrarySafetyTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<LibraryHome>(); }
    void keepsADamagedFile_data();
    void keepsADamagedFile();
    void keepsWhatAnotherEditorSaved();
    void losesNothingWhenTwoSaveAtOnce();
    void leavesANewerLibraryAlone();
    void savesWhateverTheClockSays_data();
    void savesWhateverTheClockSays();
    void savesOnceTheFolderIsBack();
    void isWholeAfterAKill();
    void keepsTheOldFileOnAFullDisk_data();
    void keepsTheOldFileOnAFullDisk();
    void writesInPlaceWhereTheFolderForbidsMore();
    void leavesAFileThatForbidsWriting();

private:
    std::unique_ptr<LibraryHome> m_home;
};

void LibrarySafetyTest::keepsADamagedFile_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("cut off") << QByteArray(R"({"scripts":[{"name":"a","te)");
    QTest::newRow("array") << QByteArray("[]");
    QTest::newRow("binary") << QByteArray("\x00\xFF\x00", 3);
    QTest::newRow("empty") << QByteArray("");
}

void LibrarySafetyTest::keepsADamagedFile()
{
    QFETCH(const QByteArray, bytes);
    const QString second = QStringLiteral("OSTScripts.damaged-2.json");
    m_home->write("other damage");
    QVERIFY(
        QFile::rename(m_home->path(), m_home->path(QStringLiteral("OSTScripts.damaged-1.json"))));
    m_home->write(bytes);
    {
        // The window has two models, and both find the file.
        ScriptListModel model;
        ScriptListModel downloads;
        downloads.setScriptFileName({});
        QCOMPARE(model.rowCount(), 5);
        QCOMPARE(m_home->read(), bytes);
        QVERIFY(QFile::exists(m_home->path(second)));
    }
    QCOMPARE(m_home->read(second), bytes);
    QCOMPARE(readLibrary(m_home->read()).scripts.value_or(ScriptList()).size(), 5);
    QCOMPARE(m_home->files().size(), 3);
}

void LibrarySafetyTest::keepsWhatAnotherEditorSaved()
{
    m_home->write(writeLibrary(listOf(1, QStringLiteral("0"))));
    ScriptListModel first;
    ScriptListModel second;
    first.modifyScriptText(0, QStringLiteral("1"));
    second.modifyScriptText(0, QStringLiteral("2"));
    QVERIFY(first.saveToFile());
    QVERIFY(second.saveToFile());
    const QByteArray firstBytes = writeLibrary(listOf(1, QStringLiteral("1")));
    const QByteArray secondBytes = writeLibrary(listOf(1, QStringLiteral("2")));
    QCOMPARE(m_home->read(), secondBytes);
    QCOMPARE(m_home->read(QStringLiteral("OSTScripts.conflict-1.json")), firstBytes);

    first.modifyScriptText(0, QStringLiteral("3"));
    QVERIFY(first.saveToFile());
    QCOMPARE(m_home->read(QStringLiteral("OSTScripts.conflict-2.json")), secondBytes);
    // What was kept once is not kept again.
    second.modifyScriptText(0, QStringLiteral("1"));
    QVERIFY(second.saveToFile());
    m_home->write(secondBytes);
    second.modifyScriptText(0, QStringLiteral("4"));
    QVERIFY(second.saveToFile());
    QCOMPARE(m_home->files().filter(QStringLiteral("conflict")).size(), 3);
}

void LibrarySafetyTest::losesNothingWhenTwoSaveAtOnce()
{
    int ready[2];
    int go[2];
    QVERIFY(pipe(ready) == 0 && pipe(go) == 0);
    const auto startEditor = [&](const QString &text) {
        return startChild([&] {
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
            ScriptListModel model;
            model.modifyScriptText(0, text);
            char byte = 0;
            const bool told = write(ready[1], &byte, 1) == 1 && read(go[0], &byte, 1) == 1;
            return told && model.saveToFile() ? 0 : 1;
        });
    };
    for (int round = 0; round < 100; ++round) {
        m_home = std::make_unique<LibraryHome>();
        m_home->write(writeLibrary(listOf(1, QStringLiteral("start"))));
        const pid_t first = startEditor(QStringLiteral("first"));
        const pid_t second = startEditor(QStringLiteral("second"));
        char bytes[2] = {};
        QVERIFY(read(ready[0], bytes, 1) == 1 && read(ready[0], bytes, 1) == 1);
        QVERIFY(write(go[1], bytes, 2) == 2);
        QCOMPARE(resultOf(first), 0);
        QCOMPARE(resultOf(second), 0);
        QStringList kept;
        for (const QString &file : m_home->files())
            kept += readLibrary(m_home->read(file)).scripts.value_or(ScriptList()).value(0).text;
        kept.sort();
        QCOMPARE(kept, QStringList({"first", "second"}));
    }
    for (const int end : {ready[0], ready[1], go[0], go[1]})
        close(end);
}

void LibrarySafetyTest::leavesANewerLibraryAlone()
{
    const QByteArray newer = writeLibrary(listOf(2, QStringLiteral("newer")));
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
    QCOMPARE(m_home->files(), QStringList{"OSTScripts.json"});
}

void LibrarySafetyTest::savesWhateverTheClockSays_data()
{
    QTest::addColumn<int>("year");
    QTest::newRow("set back") << 2100;
    QTest::newRow("set forward") << 1990;
}

void LibrarySafetyTest::savesWhateverTheClockSays()
{
    QFETCH(const int, year);
    const auto setTime = [&] {
        QFile file(m_home->path());
        return file.open(QIODevice::ReadWrite) &&
               file.setFileTime(QDate(year, 1, 1).startOfDay(), QFile::FileModificationTime);
    };
    m_home->write(writeLibrary(listOf(1, QStringLiteral("0"))));
    ScriptListModel model;
    QVERIFY(setTime());
    model.modifyScriptText(0, QStringLiteral("1"));
    QVERIFY(model.saveToFile());
    QCOMPARE(m_home->read(), writeLibrary(listOf(1, QStringLiteral("1"))));
    QCOMPARE(m_home->files().size(), 1);

    // Another program's file of the same size and time is not taken for our own.
    QVERIFY(setTime());
    QVERIFY(model.saveToFile());
    const QByteArray foreign = writeLibrary(listOf(1, QStringLiteral("2")));
    m_home->write(foreign);
    QVERIFY(setTime());
    model.modifyScriptText(0, QStringLiteral("3"));
    QVERIFY(model.saveToFile());
    QCOMPARE(m_home->read(QStringLiteral("OSTScripts.conflict-1.json")), foreign);
}

void LibrarySafetyTest::savesOnceTheFolderIsBack()
{
    ScriptListModel model;
    QVERIFY(QDir(m_home->folder()).removeRecursively());
    QFile inTheWay(m_home->folder());
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    model.modifyScriptText(0, QStringLiteral("edited"));
    static std::atomic_bool failed = false;
    const QtMessageHandler handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &) { failed = true; });
    const bool hasFailed = QTest::qWaitFor([] { return failed.load(); }, 30000);
    qInstallMessageHandler(handler);
    QVERIFY(hasFailed);
    QVERIFY(inTheWay.remove());
    const auto saved = [&] { return readLibrary(m_home->read()).scripts.value_or(ScriptList()); };
    QTRY_COMPARE_WITH_TIMEOUT(saved().value(0).text, QStringLiteral("edited"), 60000);
}

void LibrarySafetyTest::isWholeAfterAKill()
{
    constexpr int Rounds = 500;
    constexpr int Count = 20;
    m_home->write(writeLibrary(listOf(Count, QStringLiteral("start"))));
    QRandomGenerator random(3);
    int firstSave[2];
    QVERIFY(pipe(firstSave) == 0);
    for (int round = 0; round < Rounds; ++round) {
        const pid_t child = startChild([&] {
            ScriptListModel model;
            for (int save = 0;; ++save) {
                for (int row = 0; row < model.rowCount(); ++row)
                    model.modifyScriptText(row, QString(2000 + save, QChar(u'a' + round % 26)));
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

        const QByteArray after = m_home->read();
        const ScriptList list = readLibrary(after).scripts.value_or(ScriptList());
        QVERIFY2(list.size() == Count, after.right(200));
        QVERIFY(list.first().text.startsWith(QChar(u'a' + round % 26)));
        QCOMPARE(list.count(list.first()), Count);
    }
    close(firstSave[0]);
    close(firstSave[1]);
    QVERIFY(m_home->files().filter(QRegularExpression("conflict|damaged")).isEmpty());
}

void LibrarySafetyTest::keepsTheOldFileOnAFullDisk_data()
{
    QTest::addColumn<int>("length");
    // Qt buffers the one and not the other.
    QTest::newRow("short") << 8000;
    QTest::newRow("long") << 80000;
}

void LibrarySafetyTest::keepsTheOldFileOnAFullDisk()
{
    QFETCH(const int, length);
    const QByteArray old = writeLibrary(listOf(10, QStringLiteral("old")));
    m_home->write(old);
    const pid_t child = startChild([length] {
        ScriptListModel model;
        limitFiles(4096);
        model.modifyScriptText(0, QString(length, u'x'));
        return model.saveToFile() ? 1 : 0;
    });
    QCOMPARE(resultOf(child), 0);
    QCOMPARE(m_home->read(), old);
    QCOMPARE(m_home->files().size(), 1);
}

void LibrarySafetyTest::writesInPlaceWhereTheFolderForbidsMore()
{
    QTemporaryDir folder;
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("library.json")));
    QVERIFY(scripts::replaceFile(QFile::decodeName(path), "old content"));
    QVERIFY(chmod(path, 0666) == 0);
    QVERIFY(chmod(QFile::encodeName(folder.path()), 0555) == 0);
    const auto replaceWith = [&path](const QByteArray &bytes, rlim_t limit) {
        return resultOf(startChild([&] {
            if (!becomeNobody())
                return 2;
            limitFiles(limit);
            return scripts::replaceFile(QFile::decodeName(path), bytes) ? 1 : 0;
        }));
    };
    const auto content = [&path] {
        QFile file(QFile::decodeName(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    QCOMPARE(replaceWith(QByteArray(5000, 'x'), 4096), 0);
    QCOMPARE(content(), QByteArray("old content"));
    QCOMPARE(replaceWith(QByteArray(5000, 'x'), RLIM_INFINITY), 1);
    QCOMPARE(content(), QByteArray(5000, 'x'));
    QCOMPARE(replaceWith("short", 4096), 1);
    QCOMPARE(content(), QByteArray("short"));
    QVERIFY(chmod(QFile::encodeName(folder.path()), 0755) == 0);
}

void LibrarySafetyTest::leavesAFileThatForbidsWriting()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("library.json"));
    QVERIFY(scripts::replaceFile(path, "old content"));
    QVERIFY(chmod(QFile::encodeName(path), 0444) == 0);
    QVERIFY(chmod(QFile::encodeName(folder.path()), 0555) == 0);
    const pid_t child =
        startChild([&] { return becomeNobody() && !scripts::replaceFile(path, "new") ? 0 : 1; });
    QCOMPARE(resultOf(child), 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("old content"));
    QVERIFY(chmod(QFile::encodeName(folder.path()), 0755) == 0);
}

QTEST_GUILESS_MAIN(LibrarySafetyTest)
#include "tst_librarysafety.moc"
