#include "scripts/LibraryDocument.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
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
    void agreesWithQtOnDamagedText();
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

/// Damages documents in every way and compares with Qt's own reading of them. Only an error that
/// both find at the end of the text may be called differently.
void LibraryDocumentTest::agreesWithQtOnDamagedText()
{
    const QList<QByteArray> seeds{
        R"({"scripts":[{"name":"a","text":"b\n\u00e9"},{"text":"é€😀","x":[1,2.5e-3,-0,null]},{},[]]})",
        R"( {"a":1e5,"scripts":[{"na\u006de":"\ud83d\ude00\ud800x"},true,false,1234567890123456789]} )",
        R"({"scripts":5,"scripts":[{"name":"\/\b\f\r\t\"\\","name":"r"}]})",
        "[1,[2,{}]]",
    };
    const QByteArray alphabet("{}[]:,\"\\ \n0.eE+-ntfalsru\xC3\xA9\xEF\xBB\xED\xA0\xF4\x90\xFF");
    QRandomGenerator random(20);
    for (int round = 0; round < 20000; ++round) {
        QByteArray text = seeds[random.bounded(static_cast<int>(seeds.size()))];
        for (int changes = random.bounded(1, 4); changes > 0; --changes) {
            const int at = random.bounded(static_cast<int>(text.size()) + 1);
            const char c = alphabet[random.bounded(static_cast<int>(alphabet.size()))];
            switch (random.bounded(4)) {
            case 0:
                text.insert(at, c);
                break;
            case 1:
                text.remove(at, random.bounded(1, 4));
                break;
            case 2:
                text.insert(at, text.mid(random.bounded(static_cast<int>(text.size()) + 1), 9));
                break;
            default:
                text.truncate(at);
            }
        }
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(text, &error);
        const LibraryReading reading = readLibrary(text);
        QVERIFY2(reading.scripts.has_value() == document.isObject(), text);
        QVERIFY2(reading.error.offset == error.offset, text);
        QVERIFY2(reading.error.error == error.error || error.offset >= text.size(), text);
        if (!reading.scripts)
            continue;
        const QJsonArray expected = document["scripts"].toArray();
        QVERIFY2(reading.scripts->size() == expected.size(), text);
        for (qsizetype i = 0; i < expected.size(); ++i) {
            QVERIFY2(reading.scripts->at(i).name == expected[i]["name"].toString(), text);
            QVERIFY2(reading.scripts->at(i).text == expected[i]["text"].toString(), text);
        }
    }
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
    QElapsedTimer timer;
    timer.start();
    const LibraryReading reading = readLibrary(bytes);
    // The aim is a second per 10 MB; ten times that leaves room for a busy machine.
    QVERIFY(timer.elapsed() < 10000 + bytes.size() / 1000);
    QCOMPARE(reading.scripts ? reading.scripts->size() : -1, expectedCount);
}

QTEST_APPLESS_MAIN(LibraryDocumentTest)
#include "tst_librarydocument.moc"
