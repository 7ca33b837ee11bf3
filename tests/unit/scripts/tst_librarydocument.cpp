#include "scripts/LibraryDocument.h"
#include "support/Rows.h"

using scripts::LibraryReading;
using scripts::readLibrary;
using scripts::Script;
using scripts::writeLibrary;
using namespace testsupport;
using ScriptList = QList<Script>;

namespace
{

using Scripts = std::optional<ScriptList>; ///< nothing for what is no library

const QByteArray TwoScripts = "{\n"
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
                              "}\n";

} // namespace

class LibraryDocumentTest : public QObject
{
    Q_OBJECT

private slots:
    void readsLeniently_data()
    {
        const ScriptList none;
        const Rows<QByteArray, Scripts> add;
        add("nothing", "", {});
        add("array", "[]", {});
        add("number", "7", {});
        add("cut off", "{\"scripts\":[{\"name\":\"a\"", {});
        add("more behind", "{} {}", {});
        add("empty object", "{}", none);
        add("scripts no array", R"({"scripts":{"name":"a"}})", none);
        add("byte order mark", "\xEF\xBB\xBF{}", none);
        add("wrong types", R"({"scripts":[{"name":7},1,null,[],{"text":"t"}]})",
            ScriptList{{}, {}, {}, {}, {{}, "t"}});
        add("others ignored",
            R"({"v":[{"scripts":[1]}],"scripts":[{"x":{"name":"no"},"name":"a","text":"b"}]})",
            ScriptList{{"a", "b"}});
        add("the last one counts",
            R"({"scripts":[{}],"scripts":[{"name":"a","name":"b","text":"t","text":1}]})",
            ScriptList{{"b", {}}});
        add("escaped name", R"({"scr\u0069pts":[{"n\u0061me":"\ud83d\ude00\n"}]})",
            ScriptList{{QStringLiteral("\U0001F600\n"), {}}});
    }

    void readsLeniently()
    {
        const auto [bytes, expected] = row<QByteArray, Scripts>();
        const LibraryReading reading = readLibrary(bytes);
        QCOMPARE(reading.scripts.has_value(), expected.has_value());
        QVERIFY(reading.scripts == expected);
    }

    void writesExactly()
    {
        QCOMPARE(writeLibrary({}), QByteArray("{\n    \"scripts\": [\n    ]\n}\n"));
        QCOMPARE(writeLibrary({{"a", "x = 1\n\t\"\\"}, {}}), TwoScripts);
    }

    void losesNothing_data()
    {
        QString everyUnit;
        for (int unit = 0; unit <= 0xFFFF; ++unit)
            everyUnit.append(QChar(unit)).append(u'.');
        const Rows<QString> add;
        add("every code unit, halves of pairs too", everyUnit);
        add("byte order mark in front", QStringLiteral("\uFEFFx"));
        add("NUL", QString(u'\0'));
        add("line ends", "a\r\nb\rc\n");
        add("1 MB", QString(1 << 20, u'\u20AC'));
    }

    void losesNothing()
    {
        const auto [text] = row<QString>();
        const ScriptList list{{text, {}}, {{}, text}};
        QVERIFY(readLibrary(writeLibrary(list)).scripts == list);
    }

    void copesWithAnyShape_data()
    {
        const auto library = [](const QByteArray &element, qsizetype count) {
            return "{\"scripts\":[" + (element + ',').repeated(count).chopped(1) + "]}";
        };
        constexpr qsizetype Million = 1000000;
        const QByteArray nest = QByteArray(500, '[') + QByteArray(500, ']');
        const Rows<QByteArray, qsizetype> add; // how many scripts, -1 for no library
        add("million scripts", library(R"({"name":"a","text":"b"})", Million), Million);
        add("million empty", library("{}", Million), Million);
        add("nests", library(nest, 10000), 10000);
        add("same key", "{" + QByteArray(R"("k":[],)").repeated(Million) + "\"\":1}", 0);
        add("endless nest", QByteArray(10 * Million, '['), -1);
        add("endless nest of objects", QByteArray("{\"a\":").repeated(Million), -1);
        add("one long text", library("{\"text\":\"" + QByteArray(20 * Million, 'x') + "\"}", 1), 1);
    }

    void copesWithAnyShape()
    {
        const auto [bytes, expectedCount] = row<QByteArray, qsizetype>();
        const LibraryReading reading = readLibrary(bytes);
        QCOMPARE(reading.scripts ? reading.scripts->size() : -1, expectedCount);
    }
};

QTEST_APPLESS_MAIN(LibraryDocumentTest)
#include "tst_librarydocument.moc"
