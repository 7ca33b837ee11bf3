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
};

WINDOW_TEST_MAIN(WritingWindowTest)
#include "tst_writingwindow.moc"
