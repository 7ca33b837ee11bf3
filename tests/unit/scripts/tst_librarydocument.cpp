#include "scripts/LibraryDocument.h"

#include <QTest>

using scripts::LibraryReading;
using scripts::readLibrary;
using scripts::Script;
using scripts::writeLibrary;
using ScriptList = QList<Script>;

class LibraryDocumentTest : public QObject
{
    Q_OBJECT

private slots:
    void readsLeniently_data();
    void readsLeniently();
    void writesExactly();
    void losesNothing_data();
    void losesNothing();
    void copesWithAnyShape_data();
    void copesWithAnyShape();
};

void LibraryDocumentTest::readsLeniently_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isLibrary");
    QTest::addColumn<ScriptList>("expected");
    const ScriptList none;
    QTest::newRow("nothing") << QByteArray() << false << none;
    QTest::newRow("array") << QByteArray("[]") << false << none;
    QTest::newRow("number") << QByteArray("7") << false << none;
    QTest::newRow("cut off") << QByteArray(R"({"scripts":[{"name":"a")") << false << none;
    QTest::newRow("more behind") << QByteArray("{} {}") << false << none;
    QTest::newRow("empty object") << QByteArray("{}") << true << none;
    QTest::newRow("scripts no array") << QByteArray(R"({"scripts":{"name":"a"}})") << true << none;
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF{}") << true << none;
    QTest::newRow("wrong types") << QByteArray(R"({"scripts":[{"name":7},1,null,[],{"text":"t"}]})")
                                 << true << ScriptList{{}, {}, {}, {}, {{}, "t"}};
    QTest::newRow("others ignored")
        << QByteArray(
               R"({"v":[{"scripts":[1]}],"scripts":[{"x":{"name":"no"},"name":"a","text":"b"}]})")
        << true << ScriptList{{"a", "b"}};
    QTest::newRow("the last one counts")
        << QByteArray(R"({"scripts":[{}],"scripts":[{"name":"a","name":"b","text":"t","text":1}]})")
        << true << ScriptList{{"b", {}}};
    QTest::newRow("escaped name") << QByteArray(
                                         R"({"scr\u0069pts":[{"n\u0061me":"\ud83d\ude00\n"}]})")
                                  << true << ScriptList{{QStringLiteral("\U0001F600\n"), {}}};
}

void LibraryDocumentTest::readsLeniently()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const bool, isLibrary);
    QFETCH(const ScriptList, expected);
    const LibraryReading reading = readLibrary(bytes);
    QCOMPARE(reading.scripts.has_value(), isLibrary);
    QVERIFY(reading.scripts.value_or(ScriptList()) == expected);
}

void LibraryDocumentTest::writesExactly()
{
    QCOMPARE(writeLibrary({}), QByteArray("{\n    \"scripts\": [\n    ]\n}\n"));
    QCOMPARE(writeLibrary({{"a", "x = 1\n\t\"\\"}, {}}),
             QByteArray("{\n"
                        "    \"scripts\": [\n"
                        "        {\n"
                        "            \"name\": \"a\",\n"
                        "            \"text\": \"x = 1\\n\\t\\\"\\\\\"\n"
                        "        },\n"
                        "        {\n"
                        "            \"name\": \"\",\n"
                        "            \"text\": \"\"\n"
                        "        }\n"
                        "    ]\n"
                        "}\n"));
}

void LibraryDocumentTest::losesNothing_data()
{
    QTest::addColumn<QString>("text");
    QString everyUnit;
    for (int unit = 0; unit <= 0xFFFF; ++unit)
        everyUnit.append(QChar(unit)).append(u'.');
    QTest::newRow("every code unit, halves of pairs too") << everyUnit;
    QTest::newRow("byte order mark in front") << QStringLiteral("\uFEFFx");
    QTest::newRow("NUL") << QString(u'\0');
    QTest::newRow("line ends") << QStringLiteral("a\r\nb\rc\n");
    QTest::newRow("1 MB") << QString(1 << 20, u'\u20AC');
}

void LibraryDocumentTest::losesNothing()
{
    QFETCH(const QString, text);
    const ScriptList list{{text, {}}, {{}, text}};
    QVERIFY(readLibrary(writeLibrary(list)).scripts == list);
}

void LibraryDocumentTest::copesWithAnyShape_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qsizetype>("expectedCount");
    const auto library = [](const QByteArray &element, qsizetype count) {
        QByteArray elements = (element + ',').repeated(count);
        elements.chop(1);
        return QByteArray("{\"scripts\":[" + elements + "]}");
    };
    constexpr qsizetype Million = 1000000;
    const QByteArray nest = QByteArray(500, '[') + QByteArray(500, ']');
    QTest::newRow("million scripts") << library(R"({"name":"a","text":"b"})", Million) << Million;
    QTest::newRow("million empty") << library("{}", Million) << Million;
    QTest::newRow("nests") << library(nest, 10000) << qsizetype(10000);
    QTest::newRow("same key") << ("{" + QByteArray(R"("k":[],)").repeated(Million) + R"("":1})")
                              << qsizetype(0);
    QTest::newRow("endless nest") << QByteArray(10 * Million, '[') << qsizetype(-1);
    QTest::newRow("endless nest of objects")
        << QByteArray(R"({"a":)").repeated(Million) << qsizetype(-1);
    QTest::newRow("one long text")
        << ("{\"scripts\":[{\"text\":\"" + QByteArray(20 * Million, 'x') + "\"}]}") << qsizetype(1);
}

void LibraryDocumentTest::copesWithAnyShape()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const qsizetype, expectedCount);
    const LibraryReading reading = readLibrary(bytes);
    QCOMPARE(reading.scripts ? reading.scripts->size() : -1, expectedCount);
}

QTEST_APPLESS_MAIN(LibraryDocumentTest)
#include "tst_librarydocument.moc"
