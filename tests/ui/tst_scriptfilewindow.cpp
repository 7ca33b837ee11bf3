#include "support/Rows.h"
#include "ui/WindowFixture.h"

#include <QMimeData>
#include <QTemporaryDir>

using namespace testsupport;

namespace
{

constexpr char NoText[] = "\"<b>picture.py\" is not a text file in UTF-8.";

} // namespace

/// Scripts as files: what is dropped on the window, opened in it and saved from it. The dialogs are
/// those for systems without any of their own.
class ScriptFileWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        WindowFixture::failOnWarnings();
        m_folder = std::make_unique<QTemporaryDir>();
        QDir::setCurrent(m_folder->path()); // where the dialogs begin
        QVERIFY(QFile::link("missing/Wah.py", "Wah.py"));
        write("Chorus.py", "# \xC3\xBC\r\n");
        write("Long.py", QByteArray(6901, '#'));
        write("Echo.py", "# echo\n");
        write("notes.txt", "no script");
        write("<b>picture.py", QByteArray("\x89PNG\0", 5));
    }
    void cleanup() { QDir::setCurrent(QDir::rootPath()); }

    void takesDroppedFiles()
    {
        const WindowFixture ui(oneScript());
        // The file stays, whatever key is held.
        QCOMPARE(drop(ui, {"Chorus.py", "<b>picture.py", "Echo.py"}), Qt::CopyAction);
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList({"Tape", "Chorus", "Echo"}));
        QCOMPARE(ui.text("scriptTextArea"), "# echo\n");
        QCOMPARE(ui.savedLibrary().at(1).text, QStringLiteral("# \u00FC\n"));
        QTRY_VERIFY(ui.showsLiterally(NoText));
        ui.press(Qt::Key_Escape);
        QTRY_VERIFY(!ui.itemSaying(NoText));
        QCOMPARE(ui.savedNames().size(), 3);

        // A window that covers the list, or a question about it.
        ui.press(Qt::Key_F1);
        QTRY_VERIFY(ui.item("helpTextArea"));
        QCOMPARE(drop(ui, {"Chorus.py"}), Qt::IgnoreAction);
        ui.press(Qt::Key_Escape);
        QTRY_VERIFY(!ui.item("helpTextArea"));
        ui.press(Qt::Key_Delete, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(ui.isOpen("okCancelDialog"));
        QCOMPARE(drop(ui, {"Chorus.py"}), Qt::IgnoreAction);
        ui.press(Qt::Key_Return);
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList({"Tape", "Chorus"}));
    }

    void opensFiles()
    {
        const WindowFixture ui(oneScript());
        ui.pressCtrl(Qt::Key_O);
        QTRY_VERIFY(ui.itemSaying("Echo.py"));
        QTRY_VERIFY(!ui.itemSaying("notes.txt")); // the list may come before its filter does
        QVERIFY(showsThePath(ui));
        ui.takePicture("open");
        ui.click(ui.itemSaying("Echo.py"));
        ui.click(ui.itemSaying("Open"));
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList({"Tape", "Echo"}));
        QTRY_VERIFY(!ui.itemSaying("Open"));
        QCOMPARE(ui.text("scriptTextArea"), "# echo\n");
        QCOMPARE(ui.savedNames(), QStringList({"Tape", "Echo"}));

        // One that does not fit the device yet can be shortened here.
        QCOMPARE(drop(ui, {"Long.py"}), Qt::CopyAction);
        QTRY_COMPARE(ui.text("scriptTextArea").size(), 6901);
        QTRY_VERIFY(ui.itemSaying("Script exceeds maximum allowable length (6900 bytes)"));
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(!ui.isOpen("messageDialog"));

        ui.pressCtrl(Qt::Key_O);
        QTRY_VERIFY(ui.itemSaying("<b>picture.py"));
        ui.click(ui.itemSaying("<b>picture.py"));
        ui.click(ui.itemSaying("Open"));
        QTRY_VERIFY(ui.itemSaying(NoText));
        ui.takePicture("no-text");
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(!ui.itemSaying(NoText));

        ui.pressCtrl(Qt::Key_O);
        QTRY_VERIFY(ui.itemSaying("Open"));
        ui.press(Qt::Key_Escape);
        QTRY_VERIFY(!ui.itemSaying("Open"));
        QCOMPARE(ui.savedNames(), QStringList({"Tape", "Echo", "Long"}));
    }

    void savesAFile_data()
    {
        const Rows<QString, QString, QString, QByteArray> add; // what is typed, and its file
        add("as proposed", "", "Tape.py", "", "# tape\n");
        add("without suffix", "Delay", "Delay.py", "", "# tape\n");
        add("replaced", "Echo.py", "Echo.py", "OK", "# tape\n");
        add("not replaced", "Echo.py", "Echo.py", "Cancel", "# echo\n");
    }

    void savesAFile()
    {
        const auto [typed, file, answer, content] = row<QString, QString, QString, QByteArray>();
        const WindowFixture ui(oneScript());
        QVERIFY(saveAs(ui, typed));
        if (!answer.isEmpty()) {
            QTRY_VERIFY(ui.itemSaying("Replace '" + file + "'?"));
            ui.takePicture("replace");
            QCOMPARE(read(file), "# echo\n");
            ui.click(ui.itemSaying(answer));
        }
        QVERIFY(ui.closes("replaceDialog"));
        QTRY_COMPARE(read(file), content);
    }

    void saysThatAFileCannotBeSaved()
    {
        const WindowFixture ui(oneScript());
        QVERIFY(saveAs(ui, "Wah.py")); // leads to a folder that is missing
        QTRY_VERIFY(ui.itemSaying("\"Wah.py\" cannot be written."));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("fileMessageDialog"));
    }

    void savesNoFileWithoutAScript()
    {
        const WindowFixture ui(WindowFixture::Library{});
        ui.pressCtrl(Qt::Key_S);
        ui.pressCtrl(Qt::Key_O);
        QTRY_VERIFY(ui.itemSaying("Open"));
        QVERIFY(!ui.itemSaying("Save"));
    }

private:
    /// Whether the dialog's bar with the path is dark, as its text is not.
    bool showsThePath(const WindowFixture &ui) const
    {
        const QQuickItem *bar = ui.itemSaying(QDir(m_folder->path()).dirName());
        while (bar && !bar->inherits("QQuickFolderBreadcrumbBar"))
            bar = bar->parentItem();
        const auto *background = bar ? bar->property("background").value<QQuickItem *>() : nullptr;
        return background && background->property("color") == QColor("#222222");
    }

    static WindowFixture::Library oneScript() { return {{"Tape", "# tape\r\n"}}; }

    void write(const QString &name, const QByteArray &content) const
    {
        QFile file(m_folder->filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("The test's own file cannot be written");
    }

    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(m_folder->filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

    /// What the window makes of it.
    [[nodiscard]] Qt::DropAction drop(const WindowFixture &ui, const QStringList &names) const
    {
        QList<QUrl> urls;
        for (const QString &name : names)
            urls << QUrl::fromLocalFile(m_folder->filePath(name));
        QMimeData data;
        data.setUrls(urls);
        const QQuickItem *const list = ui.item("scriptListView");
        const QPointF place = list->mapToScene({list->width() / 2, list->height() / 2});
        const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter(place.toPoint(), actions, &data, Qt::LeftButton, Qt::ShiftModifier);
        QCoreApplication::sendEvent(ui.window(), &enter);
        QDropEvent drop(place, actions, &data, Qt::LeftButton, Qt::ShiftModifier);
        QCoreApplication::sendEvent(ui.window(), &drop);
        return drop.isAccepted() ? drop.dropAction() : Qt::IgnoreAction;
    }

    /// Saves the selected script, under the name that is proposed if `name` is empty.
    static bool saveAs(const WindowFixture &ui, const QString &name)
    {
        ui.pressCtrl(Qt::Key_S);
        // Each change of its list makes the dialog forget what was typed.
        if (!QTest::qWaitFor([&] { return ui.itemSaying("Echo.py"); }))
            return false;
        if (!name.isEmpty()) {
            ui.click("fileNameTextField");
            ui.pressCtrl(Qt::Key_A);
            ui.type(name);
        }
        ui.click(ui.itemSaying("Save"));
        return QTest::qWaitFor([&] { return !ui.item("fileNameTextField"); });
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

WINDOW_TEST_MAIN(ScriptFileWindowTest)
#include "tst_scriptfilewindow.moc"
