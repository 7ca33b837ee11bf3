#include "support/BoxProcess.h"
#include "ui/BoxWindow.h"

using namespace boxwindow;
using testsupport::BoxProcess;

/// What a user sees of a firmware update. The procedure itself is tested without a window.
class UpdateWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void asksBeforeAnUpdate()
    {
        const BoxProcess box({"--version", "1.1.0"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(offerUpdate(ui));
        QVERIFY(ui.itemSaying("Update Needed"));
        ui.takePicture("update-needed");
        ui.press(Qt::Key_Escape);
        QVERIFY(isAsking(ui));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!isAsking(ui));
        QCOMPARE(chosen(ui), NotConnected);
        QCOMPARE(ui.value("connectedDeviceComboBox", "currentIndex").toInt(), 0);
        QCOMPARE(ui.iconOpacity("sendIcon"), 0.2);
        QVERIFY(box.lines().filter("update-request").isEmpty());
    }

    void cancelsAnUpdate()
    {
        BoxProcess box({"--bootloader"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(offerUpdate(ui));
        box.send("faults --slow 300");
        QVERIFY(box.waitForLine("^faults"));
        ui.click(ui.itemSaying("OK"));
        QTRY_VERIFY(ui.isOpen("updateDialog"));
        QTRY_COMPARE(ui.text("updateStatusText"), "Update in progress");
        QVERIFY(ui.value("updateProgress", "value").toReal() > 0);
        ui.takePicture("update-progress");
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.isOpen("updateDialog"));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!ui.isOpen("updateDialog"));
        QVERIFY(box.waitForLine("^received update-cancel"));
    }

    void updatesAndConnects()
    {
        BoxProcess box({"--version", "1.1.0", "--restart-ms", "200"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(offerUpdate(ui));
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(ui.isOpen("updateDialog"));
        QVERIFY(box.waitForLine("^started bootloader"));
        QVERIFY(box.waitForLine("^firmware complete", 120000));
        QTRY_VERIFY(!ui.isOpen("updateDialog"));
        QVERIFY(box.waitForLine("^started version=1.1.1"));
        QTRY_COMPARE(chosen(ui), "Ostrel:0");
        QVERIFY(box.lines().filter("update-cancel").isEmpty());
    }

private:
    static bool isAsking(const WindowFixture &ui)
    {
        return ui.itemSaying("This device needs a firmware update to work with this version of the "
                             "editor. Ok to proceed with the update?");
    }

    /// Picks the box, which is then found to need an update.
    static bool offerUpdate(const WindowFixture &ui)
    {
        return scanFor(ui, "Ostrel:0") && choose(ui, "Ostrel:0") &&
               QTest::qWaitFor([&] { return isAsking(ui); });
    }
};

int main(int argc, char *argv[])
{
    UpdateWindowTest test;
    return runWindowTests(test, argc, argv);
}
#include "tst_updatewindow.moc"
