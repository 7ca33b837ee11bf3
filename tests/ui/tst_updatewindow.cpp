#include "session/DeviceSession.h"
#include "ui/BoxWindow.h"

#include <QRegularExpression>

using namespace boxwindow;

/// What a user sees of a firmware update. The procedure itself is tested without a window.
class UpdateWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void asksBeforeAnUpdate()
    {
        WindowWithBox ui({"--version", "1.1.0"});
        QVERIFY(offerUpdate(ui));
        QVERIFY(ui.itemSaying("Update Needed"));
        QVERIFY(
            ui.accessible("This device needs a firmware update to work with this version of the "
                          "editor. Ok to proceed with the update? This build carries a test "
                          "image, for the simulated device only. It would leave a real device "
                          "without working firmware.",
                          QAccessible::Dialog));
        QCOMPARE(ui.namelessControls(), "");
        ui.takePicture("update-needed");
        ui.press(Qt::Key_Escape);
        QVERIFY(isAsking(ui));
        QVERIFY(ui.item("testImageNote"));
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(!isAsking(ui));
        QVERIFY(!ui.isOpen("updateDialog"));
        QCOMPARE(chosen(ui), NotConnected);
        QCOMPARE(ui.value("connectedDeviceComboBox", "currentIndex").toInt(), 0);
        QCOMPARE(ui.iconOpacity("sendIcon"), 0.2);
        QVERIFY(ui.box.lines().filter("update-request").isEmpty());

        QVERIFY(ui.box.obeys("unplug", "^unplugged"));
        QVERIFY(ui.box.obeys("plug", "^plugged"));
        // Nothing tells that nothing happens: long enough for the watch to have looked four times.
        constexpr int FourLooksMs = 4 * DeviceSession::CheckMs;
        QVERIFY(!QTest::qWaitFor([&] { return chosen(ui) != NotConnected; }, FourLooksMs));
        QCOMPARE(ui.text("messageTextArea"), "");
    }

    void cancelsAnUpdate()
    {
        WindowWithBox ui({"--bootloader"});
        QVERIFY(startSlowUpdate(ui));
        QTRY_VERIFY(ui.value("updateProgress", "value").toReal() > 0);
        const QRegularExpression amount(R"(^\d+ of 49 KiB, about \d+ s left$)");
        QTRY_VERIFY_WITH_TIMEOUT(ui.item("updateAmountText") &&
                                     ui.text("updateAmountText").contains(amount),
                                 WindowFixture::TimeoutMs);
        QVERIFY(ui.accessible("Firmware Update: Update in progress", QAccessible::Dialog));
        QCOMPARE(ui.namelessControls(), "");
        QVERIFY(ui.accessible("Status", QAccessible::StaticText));
        QVERIFY(ui.accessible("Progress", QAccessible::ProgressBar));
        ui.takePicture("update-progress");
        ui.window()->close(); // the first attempt, which is not to count for the next update
        QTRY_VERIFY(ui.item("updateCloseNote"));
        QVERIFY(cancelClosesTheDialog(ui));
        QVERIFY(ui.box.waitForLine("^received update-cancel"));

        // The next one is not cancelled by a key that was meant for the question before it.
        QVERIFY(choose(ui, "Ostrel:0"));
        QVERIFY(offerUpdate(ui));
        ui.press(Qt::Key_Tab); // from Cancel to OK
        ui.hold(Qt::Key_Return);
        QTRY_VERIFY(ui.isOpen("updateDialog"));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.isOpen("updateDialog"));
        QVERIFY(!ui.item("updateCloseNote"));
        QVERIFY(cancelClosesTheDialog(ui));
    }

    void closesInATransferWhenToldTwice()
    {
        WindowWithBox ui({"--bootloader"});
        QVERIFY(startSlowUpdate(ui));
        QVERIFY(!ui.item("updateCloseNote"));
        ui.window()->close();
        QVERIFY(ui.window()->isVisible());
        QTRY_VERIFY(ui.item("updateCloseNote"));
        QVERIFY(ui.text("updateCloseNote").contains("Press Cancel to stop the update."));
        ui.takePicture("update-close");
        ui.window()->close();
        QTRY_VERIFY(!ui.window()->isVisible());
        QVERIFY(ui.box.waitForLine("^received update-cancel"));
    }

    void keepsAnErrorInSight()
    {
        const WindowWithBox ui({"--bootloader", "--ask-beyond-end", "20"});
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression("^the position lies beyond the end of the image"));
        QVERIFY(offerUpdate(ui));
        ui.click(ui.itemSaying("OK"));
        QTRY_COMPARE_WITH_TIMEOUT(ui.text("updateStatusText"), "Bad update position request.",
                                  WindowFixture::TimeoutMs);
        ui.takePicture("update-error");
        auto *const updater = ui.window()->property("updater").value<FirmwareUpdate *>();
        QVERIFY(updater);
        emit updater->statusChanged("Update in progress");
        QCOMPARE(ui.text("updateStatusText"), "Bad update position request.");
        QVERIFY(cancelClosesTheDialog(ui));
    }

    void updatesAndConnects()
    {
        WindowWithBox ui({"--version", "1.1.0", "--restart-ms", "200"});
        QVERIFY(offerUpdate(ui));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!isAsking(ui));
        // As in a build with a maker's image.
        QVERIFY(ui.object("updateRequestDialog")->setProperty("carriesTestImage", false));
        QVERIFY(choose(ui, "Ostrel:0"));
        QVERIFY(offerUpdate(ui));
        QVERIFY(!ui.item("testImageNote"));
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(ui.isOpen("updateDialog"));
        QVERIFY(ui.box.waitForLine("^started bootloader"));
        QVERIFY(ui.box.waitForLine("^firmware complete", 120000));
        QVERIFY(ui.closes("updateDialog"));
        QVERIFY(ui.box.waitForLine("^started version=1.1.1"));
        QTRY_COMPARE(chosen(ui), "Ostrel:0");
        QVERIFY(ui.box.lines().filter("update-cancel").isEmpty());
    }

private:
    static bool isAsking(const WindowFixture &ui)
    {
        return ui.itemSaying("This device needs a firmware update to work with this version of the "
                             "editor. Ok to proceed with the update?");
    }

    /// Waits for the question that follows when the box is found.
    static bool offerUpdate(const WindowFixture &ui)
    {
        return QTest::qWaitFor([&] { return isAsking(ui); }, WindowFixture::TimeoutMs);
    }

    /// Updates the box, which from now on takes its time.
    static bool startSlowUpdate(WindowWithBox &ui)
    {
        if (!offerUpdate(ui) || !ui.box.obeys("faults --slow 300", "^faults"))
            return false;
        ui.click(ui.itemSaying("OK"));
        return QTest::qWaitFor([&] { return ui.text("updateStatusText") == "Update in progress"; },
                               WindowFixture::TimeoutMs);
    }

    /// Whether Cancel does, and Escape does not.
    static bool cancelClosesTheDialog(const WindowFixture &ui)
    {
        ui.press(Qt::Key_Escape);
        if (!ui.isOpen("updateDialog"))
            return false;
        ui.click(ui.itemSaying("Cancel"));
        return ui.closes("updateDialog");
    }
};

WINDOW_TEST_MAIN(UpdateWindowTest)
#include "tst_updatewindow.moc"
