#include "LibraryHome.h"
#include "scripts/ScriptListModel.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

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

} // namespace

class ScriptListModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<LibraryHome>(); }

    void startsWithTheBuiltInLibrary()
    {
        QVERIFY(QDir(m_home->folder()).removeRecursively());
        ScriptListModel model;
        const QStringList expected{"Expression x1", "Flasher", "Merge and Thru",
                                   "MIDI Cable Tester", "Thru x2"};
        QCOMPARE(namesOf(model), expected);
        QVERIFY(model.scriptTextAt(1).contains("\nfrom ostrel import *\n"));
        QCOMPARE(model.scriptFileName(), m_home->path());
        QVERIFY(QDir(m_home->folder()).exists());
        QVERIFY(m_home->files().isEmpty());
    }

    void addsAndRemoves()
    {
        const auto model = modelWith({});
        QSignalSpy inserted(model.get(), &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(model.get(), &QAbstractItemModel::rowsRemoved);

        model->addScript("a", "text");
        model->addScript({}, {});
        model->addScript("a", {});
        const QList<Script> three{{"a", "text"}, {}, {"a", {}}};
        QVERIFY(m_home->library() == three);
        QCOMPARE(inserted.size(), 3);
        QCOMPARE(inserted[2][1].toInt(), 2);
        QCOMPARE(inserted[2][2].toInt(), 2);
        QCOMPARE(model->findScriptByName("a"), 0);
        QCOMPARE(model->findScriptByName("A"), -1);

        model->removeScript(0);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed[0][1].toInt(), 0);
        QVERIFY(m_home->library() == three.sliced(1));
        QCOMPARE(model->findScriptByName("a"), 1);
        const QModelIndex last = model->index(1, 0);
        QCOMPARE(model->data(last, ScriptListModel::ScriptNameRole).toString(), "a");
        QVERIFY(!model->data(last, Qt::DisplayRole).isValid());
        QVERIFY(model->flags(last).testFlag(Qt::ItemIsEditable));
    }

    void modifies()
    {
        const auto model = modelWith({"a", "b"});
        const QByteArray before = m_home->read();
        QSignalSpy changed(model.get(), &QAbstractItemModel::dataChanged);
        model->modifyScriptName(1, "c");
        model->modifyScriptText(0, "new");
        QCOMPARE(changed.size(), 2);
        QCOMPARE(changed[0][0].toModelIndex(), model->index(1, 0));
        QCOMPARE(changed[0][2].value<QList<int>>(), QList<int>{257});
        QCOMPARE(changed[1][1].toModelIndex(), model->index(0, 0));
        QCOMPARE(changed[1][2].value<QList<int>>(), QList<int>{258});

        model->modifyScriptName(1, "c");
        model->modifyScriptText(0, "new");
        QVERIFY(!model->setData(model->index(0, 0), "x", Qt::EditRole));
        QCOMPARE(changed.size(), 2);
        QCOMPARE(namesOf(*model), QStringList({"a", "c"}));
        QCOMPARE(model->scriptTextAt(0), "new");
        QCOMPARE(m_home->read(), before);
    }

    void ignoresRowsThatAreNotThere()
    {
        const auto model = modelWith({});
        for (const int row : {-1, 0, 1}) {
            model->removeScript(row);
            model->modifyScriptName(row, "x");
            model->modifyScriptText(row, "x");
            QVERIFY(model->scriptNameAt(row).isEmpty());
            QVERIFY(model->scriptTextAt(row).isEmpty());
        }
        QCOMPARE(model->findScriptByName({}), -1);
        QVERIFY(m_home->files().isEmpty());
    }

    void sorts()
    {
        const auto model = modelWith({"b", "B", "a"});
        QSignalSpy reset(model.get(), &QAbstractItemModel::modelReset);
        model->sortScripts();
        QCOMPARE(reset.size(), 1);
        QCOMPARE(namesOf(*model), QStringList({"a", "B", "b"}));
    }

    /// Compares with the method written out, on lists with many ties and odd letters.
    void sortsAsExchangeSortDoes()
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
                    if (expected[i].name.compare(expected[j].name, Qt::CaseInsensitive) > 0)
                        expected.swapItemsAt(i, j);
                }
            }
            QList<Script> sorted;
            for (int i = 0; i < model.rowCount(); ++i)
                sorted.append({model.scriptNameAt(i), model.scriptTextAt(i)});
            QCOMPARE(writeLibrary(sorted), writeLibrary(expected));
        }
    }

    void loadsAndSaves()
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
        QCOMPARE(m_home->files(), QStringList(LibraryHome::FileName));
    }

    void keepsNoFileWithoutAName()
    {
        {
            ScriptListModel model;
            QSignalSpy renamed(&model, &ScriptListModel::scriptFileNameChanged);
            model.setScriptFileName({});
            model.setScriptFileName({});
            QCOMPARE(renamed.size(), 1);
            model.addScript("a", {});
            model.modifyScriptName(0, "b");
            model.saveInBackground();
            QVERIFY(!model.saveToFile());
            QVERIFY(!model.loadFromFile());
        }
        QVERIFY(m_home->files().isEmpty());
    }

    void reportsFailures()
    {
        ScriptListModel model;
        const QStringList before = namesOf(model);
        const QString path = m_home->path() + "/below-a-file";
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

    void savesSoonAfterTypingPauses()
    {
        const auto model = modelWith({"b", "a"});
        model->modifyScriptText(0, "typed");
        QTRY_VERIFY_WITH_TIMEOUT(m_home->library().value(0).text == "typed", 30000);
        model->modifyScriptName(1, "named");
        QTRY_VERIFY_WITH_TIMEOUT(m_home->library().value(1).name == "named", 30000);
        model->addScript("A", {});
        model->sortScripts();
        QTRY_VERIFY_WITH_TIMEOUT(m_home->library().value(0).name == "A", 30000);
    }

    void savesWhileTypingGoesOn()
    {
        const auto model = modelWith({"a"});
        QTimer typing;
        connect(&typing, &QTimer::timeout, model.get(),
                [&] { model->modifyScriptText(0, model->scriptTextAt(0) + u'x'); });
        typing.start(ScriptListModel::SettleTime / 20);
        QTRY_VERIFY_WITH_TIMEOUT(m_home->library().value(0).text.endsWith(u'x'), 60000);
    }

    void savesTheRestAtTheEnd()
    {
        auto model = modelWith({"a"});
        model->modifyScriptText(0, "first");
        model->saveInBackground();
        model->modifyScriptText(0, "last");
        model.reset();
        QCOMPARE(m_home->library().value(0).text, "last");
    }

    void savesWhenTheLoopEnds()
    {
        const auto model = modelWith({"a"});
        QTimer::singleShot(0, model.get(), [&] {
            model->modifyScriptText(0, "last");
            QCoreApplication::exit();
        });
        QCoreApplication::exec();
        QCOMPARE(m_home->library().value(0).text, "last");
    }

private:
    /// A model with scripts of these names, whose file does not exist without any.
    [[nodiscard]] static std::unique_ptr<ScriptListModel> modelWith(const QStringList &names)
    {
        auto model = std::make_unique<ScriptListModel>();
        model->clear();
        for (const QString &name : names)
            model->addScript(name, {});
        return model;
    }

    std::unique_ptr<LibraryHome> m_home;
};

QTEST_GUILESS_MAIN(ScriptListModelTest)
#include "tst_scriptlistmodel.moc"
