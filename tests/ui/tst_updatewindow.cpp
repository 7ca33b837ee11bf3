#include "support/BoxProcess.h"
#include "ui/BoxWindow.h"

#include <QRegularExpression>

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
        QVERIFY(ui.accessibleNames().contains("Update Needed", QAccessible::StaticText));
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
        QVERIFY(startSlowUpdate(ui, box));
        QTRY_VERIFY(ui.value("updateProgress", "value").toReal() > 0);
        QVERIFY(QTest::qWaitFor(
            [&] {
                static const QRegularExpression amount(R"(^\d+ of 49 KiB, about \d+ s left$)");
                return ui.item("updateAmountText") &&
                       amount.match(ui.text("updateAmountText")).hasMatch();
            },
            WindowFixture::TimeoutMs));
        const auto names = ui.accessibleNames();
        QVERIFY(names.contains("Firmware Update", QAccessible::StaticText));
        QVERIFY(names.contains("Status", QAccessible::StaticText));
        QVERIFY(names.contains("Progress", QAccessible::ProgressBar));
        ui.takePicture("update-progress");
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.isOpen("updateDialog"));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!ui.isOpen("updateDialog"));
        QVERIFY(box.waitForLine("^received update-cancel"));
    }

    void closesInATransferWhenToldTwice()
    {
        BoxProcess box({"--bootloader"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(startSlowUpdate(ui, box));
        QVERIFY(!ui.item("updateCloseNote"));
        ui.window()->close();
        QVERIFY(ui.window()->isVisible());
        QTRY_VERIFY(ui.item("updateCloseNote"));
        QVERIFY(ui.text("updateCloseNote").contains("Press Cancel to stop the update."));
        ui.takePicture("update-close");
        ui.window()->close();
        QTRY_VERIFY(!ui.window()->isVisible());
        QVERIFY(box.waitForLine("^received update-cancel"));
    }

    void keepsAnErrorInSight()
    {
        const BoxProcess box({"--bootloader", "--ask-beyond-end", "20"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression("^the position lies beyond the end of the image"));
        QVERIFY(offerUpdate(ui));
        ui.click(ui.itemSaying("OK"));
        QTRY_COMPARE_WITH_TIMEOUT(ui.text("updateStatusText"), "Bad update position request.",
                                  WindowFixture::TimeoutMs);
        ui.takePicture("update-error");
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.isOpen("updateDialog"));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!ui.isOpen("updateDialog"));
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

    /// Updates the box, which from now on takes its time.
    static bool startSlowUpdate(const WindowFixture &ui, BoxProcess &box)
    {
        if (!offerUpdate(ui))
            return false;
        box.send("faults --slow 300");
        if (!box.waitForLine("^faults"))
            return false;
        ui.click(ui.itemSaying("OK"));
        return QTest::qWaitFor([&] { return ui.text("updateStatusText") == "Update in progress"; },
                               WindowFixture::TimeoutMs);
    }
};

int main(int argc, char *argv[])
{
    UpdateWindowTest test;
    return runWindowTests(test, argc, argv);
}
#include "tst_updatewindow.moc"
