#include "scripts/ScriptFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class ScriptFileTest : public QObject
{
    Q_OBJECT

private slots:
    void reads_data();
    void reads();
    void refusesWhatIsNoFile();
    void writesWhatItReads();
};

void ScriptFileTest::reads_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    const QString tooLong = QStringLiteral("longer than fits the box (6900 characters)");
    const QString noText = QStringLiteral("not a text file");
    QTest::newRow("line ends") << QByteArray("a\r\nb\rc\n\r\n") << "a\nb\nc\n\n" << QString();
    QTest::newRow("empty") << QByteArray() << QString() << QString();
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF#") << "#" << QString();
    QTest::newRow("just fits") << QByteArray(6900, 'x') << QString(6900, u'x') << QString();
    QTest::newRow("longest in bytes")
        << QByteArray("\xE2\x82\xAC").repeated(6900) << QString(6900, u'\u20AC') << QString();
    QTest::newRow("one too many") << QByteArray(6901, 'x') << QString() << tooLong;
    QTest::newRow("far too many") << QByteArray(5000000, 'x') << QString() << tooLong;
    QTest::newRow("invalid byte") << QByteArray("ab\xFF"
                                                "c")
                                  << QString() << noText;
    QTest::newRow("cut character") << QByteArray("ab\xE2\x82") << QString() << noText;
    QTest::newRow("NUL") << QByteArray("a\0b", 3) << QString() << noText;
}

void ScriptFileTest::reads()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QString, text);
    QFETCH(const QString, error);
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("blink 2.0.py")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();

    ScriptFile script;
    QCOMPARE(script.read(QUrl::fromLocalFile(file.fileName())), error.isEmpty());
    QCOMPARE(script.text(), text);
    QCOMPARE(script.name(), error.isEmpty() ? QStringLiteral("blink 2.0") : QString());
    QCOMPARE(script.errorText().isEmpty(), error.isEmpty());
    QVERIFY2(script.errorText().contains(error), qPrintable(script.errorText()));
}

void ScriptFileTest::refusesWhatIsNoFile()
{
    ScriptFile script;
    for (const char *url :
         {"file:///", "file:///nowhere/x.py", "https://scripts.example/x.py", ""}) {
        QVERIFY(!script.read(QUrl(QLatin1String(url))));
        QVERIFY(script.errorText().contains(QStringLiteral("cannot be opened")));
        QVERIFY(!script.write(QUrl(QLatin1String(url)), QStringLiteral("x")));
        QVERIFY(script.errorText().contains(QStringLiteral("cannot be written")));
    }
}

void ScriptFileTest::writesWhatItReads()
{
    const QTemporaryDir folder;
    const QUrl url = QUrl::fromLocalFile(folder.filePath(QStringLiteral("blink.py")));
    ScriptFile script;
    QCOMPARE(script.existingName(url), QString());
    QVERIFY(script.write(url, QStringLiteral("much longer than what comes next")));
    QVERIFY(script.write(url, QStringLiteral("print('\u00E9')\n")));
    QVERIFY(script.read(url));
    QCOMPARE(script.text(), QStringLiteral("print('\u00E9')\n"));
    QVERIFY(script.errorText().isEmpty());
    QCOMPARE(script.existingName(url), QStringLiteral("blink.py"));

    // As a name that was typed arrives from Qt 6.4's own dialog.
    const QUrl typed(folder.filePath(QStringLiteral("100% wet? C#.py")));
    QVERIFY(script.write(typed, QStringLiteral("typed")));
    QVERIFY(script.read(QUrl::fromLocalFile(folder.filePath(QStringLiteral("100% wet? C#.py")))));
    QCOMPARE(script.text(), QStringLiteral("typed"));
}

QTEST_GUILESS_MAIN(ScriptFileTest)
#include "tst_scriptfile.moc"
