#include "LibraryHome.h"
#include "scripts/ScriptListModel.h"

#include <QMetaMethod>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using scripts::readLibrary;
using scripts::writeLibrary;
using Script = ScriptListModel::Script;

// The bounds that users were promised, with time for the disk itself.
static_assert(ScriptListModel::SettleTime < std::chrono::seconds(2));
static_assert(ScriptListModel::MaxUnsavedTime < std::chrono::seconds(10));

namespace
{

QStringList namesOf(ScriptListModel &model)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        names.append(model.scriptNameAt(row));
    return names;
}

void addAll(ScriptListModel &model, const QStringList &names)
{
    for (int i = 0; i < names.size(); ++i)
        model.addScript(names[i], QString::number(i));
}

} // namespace

class ScriptListModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void hasItsInterface();
    void startsWithTheBuiltInLibrary();
    void addsAndRemoves();
    void modifies();
    void ignoresRowsThatAreNotThere();
    void sorts_data();
    void sorts();
    void sortsAsExchangeSortDoes();
    void loadsAndSaves();
    void keepsNoFileWithoutAName();
    void reportsFailures();
    void savesSoonAfterTypingPauses();
    void savesWhileTypingGoesOn();
    void savesTheRestAtTheEnd();
    void savesWhenTheLoopEnds();

private:
    /// A model with no scripts, whose file does not exist yet.
    [[nodiscard]] std::unique_ptr<ScriptListModel> emptyModel() const;
    [[nodiscard]] QList<Script> onDisk() const
    {
        return readLibrary(m_home->read()).scripts.value_or(QList<Script>());
    }

    std::unique_ptr<LibraryHome> m_home;
};

void ScriptListModelTest::init()
{
    m_home = std::make_unique<LibraryHome>();
}

std::unique_ptr<ScriptListModel> ScriptListModelTest::emptyModel() const
{
    auto model = std::make_unique<ScriptListModel>();
    model->clear();
    return model;
}

void ScriptListModelTest::hasItsInterface()
{
    const QMetaObject &meta = ScriptListModel::staticMetaObject;
    const QByteArrayList expected{"scriptFileNameChanged(QString) newFileName",
                                  "onNetworkReply(QNetworkReply*) reply",
                                  "clear() ",
                                  "addScript(QString,QString) scriptName,scriptText",
                                  "findScriptByName(QString) scriptName",
                                  "modifyScriptName(int,QString) index,newScriptName",
                                  "modifyScriptText(int,QString) index,newScriptText",
                                  "sortScripts() ",
                                  "removeScript(int) index",
                                  "scriptNameAt(int) index",
                                  "scriptTextAt(int) index",
                                  "loadFromFile() ",
                                  "saveToFile() ",
                                  "loadFromUrl(QString) url"};
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + i);
        QCOMPARE(method.methodSignature() + ' ' + method.parameterNames().join(','), expected[i]);
    }
    const QHash<int, QByteArray> roles{{257, "scriptName"}, {258, "scriptText"}};
    QCOMPARE(ScriptListModel().roleNames(), roles);
}

void ScriptListModelTest::startsWithTheBuiltInLibrary()
{
    QVERIFY(QDir(m_home->folder()).removeRecursively());
    ScriptListModel model;
    const QStringList expected{"Expression x1", "Flasher", "Merge and Thru", "MIDI Cable Tester",
                               "Thru x2"};
    QCOMPARE(namesOf(model), expected);
    QVERIFY(model.scriptTextAt(1).contains(QStringLiteral("\nfrom ostrel import *\n")));
    QCOMPARE(model.scriptFileName(), m_home->path());
    QVERIFY(QDir(m_home->folder()).exists());
    QVERIFY(m_home->files().isEmpty());
}

void ScriptListModelTest::addsAndRemoves()
{
    const auto model = emptyModel();
    QSignalSpy inserted(model.get(), &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(model.get(), &QAbstractItemModel::rowsRemoved);

    model->addScript(QStringLiteral("a"), QStringLiteral("text"));
    model->addScript({}, {});
    model->addScript(QStringLiteral("a"), {});
    const QList<Script> three{{"a", "text"}, {}, {"a", {}}};
    QVERIFY(onDisk() == three);
    QCOMPARE(inserted.size(), 3);
    QCOMPARE(inserted[2][1].toInt(), 2);
    QCOMPARE(inserted[2][2].toInt(), 2);
    QCOMPARE(model->findScriptByName(QStringLiteral("a")), 0);
    QCOMPARE(model->findScriptByName(QStringLiteral("A")), -1);

    model->removeScript(0);
    QCOMPARE(removed.size(), 1);
    QCOMPARE(removed[0][1].toInt(), 0);
    QVERIFY(onDisk() == three.sliced(1));
    QCOMPARE(model->findScriptByName(QStringLiteral("a")), 1);
    const QModelIndex last = model->index(1, 0);
    QCOMPARE(model->data(last, ScriptListModel::ScriptNameRole).toString(), QStringLiteral("a"));
    QVERIFY(!model->data(last, Qt::DisplayRole).isValid());
    QVERIFY(model->flags(last).testFlag(Qt::ItemIsEditable));
}

void ScriptListModelTest::modifies()
{
    const auto model = emptyModel();
    addAll(*model, {"a", "b"});
    const QByteArray before = m_home->read();
    QSignalSpy changed(model.get(), &QAbstractItemModel::dataChanged);
    model->modifyScriptName(1, QStringLiteral("c"));
    model->modifyScriptText(0, QStringLiteral("new"));
    QCOMPARE(changed.size(), 2);
    QCOMPARE(changed[0][0].toModelIndex(), model->index(1, 0));
    QCOMPARE(changed[0][2].value<QList<int>>(), QList<int>{257});
    QCOMPARE(changed[1][1].toModelIndex(), model->index(0, 0));
    QCOMPARE(changed[1][2].value<QList<int>>(), QList<int>{258});

    model->modifyScriptName(1, QStringLiteral("c"));
    model->modifyScriptText(0, QStringLiteral("new"));
    QVERIFY(!model->setData(model->index(0, 0), QStringLiteral("x"), Qt::EditRole));
    QCOMPARE(changed.size(), 2);
    QCOMPARE(namesOf(*model), QStringList({"a", "c"}));
    QCOMPARE(model->scriptTextAt(0), QStringLiteral("new"));
    QCOMPARE(m_home->read(), before);
}

void ScriptListModelTest::ignoresRowsThatAreNotThere()
{
    const auto model = emptyModel();
    for (const int row : {-1, 0, 1}) {
        model->removeScript(row);
        model->modifyScriptName(row, QStringLiteral("x"));
        model->modifyScriptText(row, QStringLiteral("x"));
        QVERIFY(model->scriptNameAt(row).isEmpty());
        QVERIFY(model->scriptTextAt(row).isEmpty());
    }
    QCOMPARE(model->findScriptByName({}), -1);
    QVERIFY(m_home->files().isEmpty());
}

void ScriptListModelTest::sorts_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("sorted");
    QTest::newRow("none") << QStringList() << QStringList();
    QTest::newRow("one") << QStringList{"a"} << QStringList{"a"};
    QTest::newRow("ties") << QStringList{"beta", "Alpha", "alpha"}
                          << QStringList{"Alpha", "alpha", "beta"};
    QTest::newRow("ties change places") << QStringList{"b", "B", "a"} << QStringList{"a", "B", "b"};
}

void ScriptListModelTest::sorts()
{
    QFETCH(const QStringList, names);
    QFETCH(const QStringList, sorted);
    const auto model = emptyModel();
    addAll(*model, names);
    QSignalSpy reset(model.get(), &QAbstractItemModel::modelReset);
    model->sortScripts();
    QCOMPARE(reset.size(), 1);
    QCOMPARE(namesOf(*model), sorted);
}

/// Compares with the method written out, on lists with many ties and odd letters.
void ScriptListModelTest::sortsAsExchangeSortDoes()
{
    const QStringList letters{"a",          "A",      "b", "B",  "\u00DF",
                              "\u1E9E",     "\u0130", "i", "I",  "\U00010400",
                              "\U00010428", "\uFF5E", "",  "ab", "Ab"};
    QRandomGenerator random(7);
    ScriptListModel model;
    model.setScriptFileName({});
    for (int round = 0; round < 300; ++round) {
        QList<Script> expected;
        for (int i = random.bounded(12); i >= 0; --i)
            expected.append({letters[random.bounded(static_cast<int>(letters.size()))] +
                                 letters[random.bounded(4)],
                             QString::number(i)});
        QVERIFY(model.loadFromData(writeLibrary(expected)));
        model.sortScripts();
        for (qsizetype i = 0; i + 1 < expected.size(); ++i) {
            for (qsizetype j = i + 1; j < expected.size(); ++j) {
                if (QString::compare(expected[i].name, expected[j].name, Qt::CaseInsensitive) > 0)
                    expected.swapItemsAt(i, j);
            }
        }
        for (int row = 0; row < expected.size(); ++row) {
            QCOMPARE(model.scriptNameAt(row), expected[row].name);
            QCOMPARE(model.scriptTextAt(row), expected[row].text);
        }
    }
}

void ScriptListModelTest::loadsAndSaves()
{
    m_home->write(R"({"scripts":[{"name":7},{"name":"a","text":"b"}],"more":1})");
    ScriptListModel model;
    QCOMPARE(namesOf(model), QStringList({"", "a"}));
    // The first save writes the exact form, also with nothing changed.
    QVERIFY(model.saveToFile());
    QCOMPARE(m_home->read(), writeLibrary({{}, {"a", "b"}}));

    QVERIFY(QFile::remove(m_home->path()));
    QVERIFY(model.saveToFile());
    QCOMPARE(m_home->read(), writeLibrary({{}, {"a", "b"}}));

    m_home->write("{}");
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QVERIFY(model.loadFromFile());
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(changed.size(), 1);
    QVERIFY(!changed[0][1].toModelIndex().isValid());
    QVERIFY(model.saveToFile());
    QCOMPARE(m_home->read(), writeLibrary({}));
    QCOMPARE(m_home->files(), QStringList{"OSTScripts.json"});
}

void ScriptListModelTest::keepsNoFileWithoutAName()
{
    {
        ScriptListModel model;
        QSignalSpy renamed(&model, &ScriptListModel::scriptFileNameChanged);
        model.setScriptFileName({});
        model.setScriptFileName({});
        QCOMPARE(renamed.size(), 1);
        model.addScript(QStringLiteral("a"), {});
        model.modifyScriptName(0, QStringLiteral("b"));
        model.saveInBackground();
        QVERIFY(!model.saveToFile());
        QVERIFY(!model.loadFromFile());
    }
    QVERIFY(m_home->files().isEmpty());
}

void ScriptListModelTest::reportsFailures()
{
    ScriptListModel model;
    const QStringList before = namesOf(model);
    const QString path = m_home->path() + QStringLiteral("/below-a-file");
    m_home->write("[]");
    QTest::ignoreMessage(QtWarningMsg, "Invalid JSON format in file");
    QVERIFY(!model.loadFromFile());
    model.setScriptFileName(path);
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Failed to open file for reading: " + path));
    QVERIFY(!model.loadFromFile());
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Failed to open file for writing: " + path));
    QVERIFY(!model.saveToFile());
    QCOMPARE(namesOf(model), before);
    QCOMPARE(m_home->read(), QByteArray("[]"));
    model.setScriptFileName({});
}

void ScriptListModelTest::savesSoonAfterTypingPauses()
{
    const auto model = emptyModel();
    addAll(*model, {"b", "a"});
    model->modifyScriptText(0, QStringLiteral("typed"));
    QTRY_VERIFY_WITH_TIMEOUT(onDisk().value(0).text == QStringLiteral("typed"), 30000);
    model->modifyScriptName(1, QStringLiteral("named"));
    QTRY_VERIFY_WITH_TIMEOUT(onDisk().value(1).name == QStringLiteral("named"), 30000);
    model->addScript(QStringLiteral("A"), {});
    model->sortScripts();
    QTRY_VERIFY_WITH_TIMEOUT(onDisk().value(0).name == QStringLiteral("A"), 30000);
}

void ScriptListModelTest::savesWhileTypingGoesOn()
{
    const auto model = emptyModel();
    addAll(*model, {"a"});
    QTimer typing;
    connect(&typing, &QTimer::timeout, model.get(),
            [&] { model->modifyScriptText(0, model->scriptTextAt(0) + u'x'); });
    typing.start(ScriptListModel::SettleTime / 20);
    QTRY_VERIFY_WITH_TIMEOUT(onDisk().value(0).text.endsWith(u'x'), 60000);
}

void ScriptListModelTest::savesTheRestAtTheEnd()
{
    auto model = emptyModel();
    addAll(*model, {"a"});
    model->modifyScriptText(0, QStringLiteral("first"));
    model->saveInBackground();
    model->modifyScriptText(0, QStringLiteral("last"));
    model.reset();
    QCOMPARE(onDisk().value(0).text, QStringLiteral("last"));
}

void ScriptListModelTest::savesWhenTheLoopEnds()
{
    const auto model = emptyModel();
    addAll(*model, {"a"});
    QTimer::singleShot(0, model.get(), [&] {
        model->modifyScriptText(0, QStringLiteral("last"));
        QCoreApplication::exit();
    });
    QCoreApplication::exec();
    QCOMPARE(onDisk().value(0).text, QStringLiteral("last"));
}

QTEST_GUILESS_MAIN(ScriptListModelTest)
#include "tst_scriptlistmodel.moc"
