#include "scripts/ScriptFile.h"
#include "support/Rows.h"

#include <QFile>
#include <QTemporaryDir>

using namespace testsupport;

class ScriptFileTest : public QObject
{
    Q_OBJECT

private slots:
    void reads_data()
    {
        const QString tooLarge = "is too large for a script";
        const QString noText = "not a text file";
        const Rows<QByteArray, QString, QString> add;
        add("line ends", "a\r\nb\rc\n\r\n", "a\nb\nc\n\n", {});
        add("empty", {}, {}, {});
        add("byte order mark", "\xEF\xBB\xBF#", "#", {});
        add("too long for the box", QByteArray(262144, 'x'), QString(262144, u'x'), {});
        add("one too many", QByteArray(262145, 'x'), {}, tooLarge);
        add("far too many", QByteArray(5000000, 'x'), {}, tooLarge);
        add("invalid byte", "ab\xFF/c", {}, noText);
        add("cut character", "ab\xE2\x82", {}, noText);
        add("NUL", QByteArray("a\0b", 3), {}, noText);
    }

    void reads()
    {
        const auto [bytes, text, error] = row<QByteArray, QString, QString>();
        QFile file(path("blink 2.0.py"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();

        ScriptFile script;
        QCOMPARE(script.read(QUrl::fromLocalFile(file.fileName())), error.isEmpty());
        QCOMPARE(script.text(), text);
        QCOMPARE(script.name(), error.isEmpty() ? "blink 2.0" : "");
        QCOMPARE(script.errorText().isEmpty(), error.isEmpty());
        QVERIFY2(script.errorText().contains(error), qPrintable(script.errorText()));
    }

    void refusesWhatIsNoFile()
    {
        ScriptFile script;
        for (const char *text :
             {"file:///", "file:///nowhere/x.py", "https://scripts.example/x.py", ""}) {
            const QUrl url(QString::fromLatin1(text));
            QVERIFY(!script.read(url));
            QVERIFY(script.errorText().contains("cannot be opened"));
            QVERIFY(!script.write(url, "x"));
            QVERIFY(script.errorText().contains("cannot be written"));
        }
    }

    void proposesAName()
    {
        const std::pair<QString, QString> names[] = {{"Wah 2", "Wah 2.py"},
                                                     {"a/b\\c:\n<d>?", "a_b_c___d__.py"},
                                                     {" ", "script.py"},
                                                     {QString(u'\xD800') + "x", "_x.py"}};
        for (const auto &[scriptName, fileName] : names)
            QCOMPARE(ScriptFile::fileNameFor(scriptName), fileName);
    }

    void writesWhatItReads()
    {
        const QUrl url = QUrl::fromLocalFile(path("blink.py"));
        ScriptFile script;
        QCOMPARE(script.existingName(url), QString());
        QVERIFY(script.write(url, "much longer than what comes next"));
        QVERIFY(script.write(url, "print('\u00E9')\n"));
        QVERIFY(script.read(url));
        QCOMPARE(script.text(), "print('\u00E9')\n");
        QVERIFY(script.errorText().isEmpty());
        QCOMPARE(script.existingName(url), "blink.py");

        // As a name that was typed arrives from Qt 6.4's own dialog.
        const QString typed = path("100% wet? C#.py");
        QVERIFY(script.write(QUrl(typed), "typed"));
        QVERIFY(script.read(QUrl::fromLocalFile(typed)));
        QCOMPARE(script.text(), "typed");
    }

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(ScriptFileTest)
#include "tst_scriptfile.moc"
