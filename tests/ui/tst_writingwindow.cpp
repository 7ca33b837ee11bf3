#include "support/Rows.h"
#include "ui/WindowFixture.h"

using namespace testsupport;

namespace
{

const WindowFixture::Library OneScript{{"mine", "# mine\n"}};

void log(const WindowFixture &ui, const QString &text)
{
    QVERIFY(QMetaObject::invokeMethod(ui.window(), "logMessage", Q_ARG(QString, text)));
}

} // namespace

/// What helps to write scripts: the log, finding, keys and what the window remembers.
class WritingWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void followsTheLogAtItsEndOnly()
    {
        const WindowFixture ui(OneScript);
        const QQuickItem *const text = ui.item("messageTextArea");
        const auto top = [&] { return text->mapToScene({}).y(); };
        const auto endIsInSight = [&] {
            return top() + text->height() <= ui.window()->height() + 10;
        };
        log(ui, QString("line\n").repeated(100));
        QTRY_VERIFY(endIsInSight() && text->height() > 1000);
        ui.click("messageTextArea");
        ui.press(Qt::Key_Home, Qt::ControlModifier);
        const qreal before = top();
        QVERIFY(!endIsInSight());
        log(ui, "more\nand more\n");
        QTRY_VERIFY(ui.text("messageTextArea").endsWith("and more\n"));
        QCOMPARE(top(), before);

        ui.press(Qt::Key_End, Qt::ControlModifier);
        QVERIFY(endIsInSight());
        log(ui, QString("last\n").repeated(10));
        QTRY_VERIFY(ui.text("messageTextArea").endsWith("last\n"));
        QTRY_VERIFY(endIsInSight());
    }

    void saysThatScriptsCannotBeSaved()
    {
        const WindowFixture ui(OneScript);
        const QString folder = ui.home().folder();
        QVERIFY(QDir(folder).removeRecursively());
        QFile inTheWay(folder);
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        // Every failure is a warning, and how many there are is a matter of time.
        const QtMessageHandler handler =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        ui.click("plusIcon");
        ui.click("plusIcon");
        const QString failed = "Your scripts cannot be saved: " + folder + '\n';
        const bool told = QTest::qWaitFor([&] { return ui.text("messageTextArea") == failed; });
        const bool removed = inTheWay.remove();
        ui.click("plusIcon");
        const QString works = failed + "Your scripts can be saved again.\n";
        QTRY_COMPARE(ui.text("messageTextArea"), works);
        qInstallMessageHandler(handler);
        QVERIFY(told && removed);
        QCOMPARE(ui.savedNames().size(), 4);
    }
};

WINDOW_TEST_MAIN(WritingWindowTest)
#include "tst_writingwindow.moc"
