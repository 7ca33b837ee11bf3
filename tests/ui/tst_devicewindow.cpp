#include "midi/QtRtMIDI.h"
#include "settings/SettingsTransfer.h"
#include "support/Rows.h"
#include "ui/BoxWindow.h"

#include <QSettings>
#include <QTemporaryFile>

#include <algorithm>

using namespace boxwindow;
using namespace testsupport;

namespace
{

constexpr char ReadError[] = "Error reading settings from device.";
constexpr char WriteError[] = "Error writing settings to device.";
using Tooltips = QList<std::pair<QString, QString>>;

const WindowFixture::Library OneScript{{"mine", "# mine\n"}};

} // namespace

/// The window with a box beside it: what it shows of the box, and what reaches the box.
class DeviceWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void waitsForADevice()
    {
        const WindowFixture ui;
        QCOMPARE(chosen(ui), NotConnected);
        for (const char *icon : {"readIcon", "sendIcon", "settingsIcon"}) {
            QCOMPARE(ui.iconOpacity(icon), 0.2);
            QVERIFY(isReportedDisabled(ui.item(icon + QString("Button"))));
            ui.hover(icon);
            QTRY_VERIFY2(ui.itemSaying("Connect a device first"), icon);
            ui.click(icon);
        }
        ui.takePicture("not-connected");
        QVERIFY(explains(ui, {{"sortIcon", "Sort scripts (Ctrl+L)"},
                              {"minusIcon", "Delete script (Ctrl+Shift+Delete)"},
                              {"plusIcon", "Add script (Ctrl+N)"},
                              {"downloadIcon", "Download Scripts (Ctrl+D)"},
                              {"guideIcon", "Read Guide (F1)"},
                              {"clearIcon", "Clear (Ctrl+Shift+K)"}}));
        for (const Qt::Key key : {Qt::Key_R, Qt::Key_Return, Qt::Key_Comma})
            ui.pressCtrl(key);
        QCOMPARE(ui.text("messageTextArea"), "");
        QVERIFY(!ui.isOpen("globalSettingsWindow"));

        const BoxProcess box({"--name", "Stage", "--sysex-id", "5"});
        QVERIFY(box.isReady());
        QVERIFY(scanFor(ui, "Stage:5"));
        QCOMPARE(chosen(ui), "Stage:5");
        QVERIFY(explains(ui, {{"readIcon", "Read Script (Ctrl+R)"},
                              {"sendIcon", "Send Script (Ctrl+Return)"},
                              {"settingsIcon", "Settings (Ctrl+,)"}}));
        QCOMPARE(ui.tabOrder().join(", "),
                 "Device, Sort scripts, Delete script, Add script, Expression x1, Settings, "
                 "Download Scripts, Read Guide, Read Script, Send Script, Script editor, Clear, "
                 "Message log");
    }

    void hasNamesForAssistiveTechnology()
    {
        const WindowWithBox ui({},
                               WindowFixture::Library{{"mine", ""}, {"huge", QString(8000, '#')}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QCOMPARE(ui.accessible("Device", QAccessible::ComboBox)->text(QAccessible::Description),
                 "Ostrel:0");
        QVERIFY(offers(ui, QAccessible::StaticText, {"Ostrel:0"}));
        QVERIFY(offers(ui, QAccessible::List, {"Available Scripts"}));
        QCOMPARE(selectedRows(ui, {"mine", "huge"}), QStringList("mine"));
        for (const char *text : {"Script editor", "Message log"})
            QVERIFY2(ui.accessible(text, QAccessible::EditableText)->state().multiLine, text);
        ui.pressCtrl(Qt::Key_F);
        ui.click("scriptTextArea");
        ui.pressCtrl(Qt::Key_H);
        ui.pressCtrl(Qt::Key_G);
        QVERIFY(offers(ui, QAccessible::EditableText,
                       {"Find scripts by name or text", "Replace by", "Go to line"}));
        QCOMPARE(ui.namelessControls(), "");
        ui.click("connectedDeviceComboBox");
        QVERIFY(offers(ui, QAccessible::ListItem, {ScanEntry, "Ostrel:0"}));
        QCOMPARE(selectedRows(ui, {ScanEntry, "Ostrel:0"}), QStringList("Ostrel:0"));
        ui.press(Qt::Key_Escape);
        ui.click("minusIcon");
        QVERIFY(offers(ui, QAccessible::Dialog, {"Delete script 'mine'?"}));
        QCOMPARE(ui.namelessControls(), "");
        ui.click(ui.itemSaying("Cancel"));
        QVERIFY(ui.closes("okCancelDialog"));
        ui.click(ui.itemSaying("huge"));
        QVERIFY(offers(ui, QAccessible::StaticText,
                       {"Script exceeds maximum allowable length (6900 bytes)"}));
        QCOMPARE(ui.namelessControls(), "");
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("messageDialog"));
        QCOMPARE(selectedRows(ui, {"mine", "huge"}), QStringList("huge"));
        QVERIFY(openSettings(ui));
        QVERIFY(offers(ui, QAccessible::Dialog, {"Global Settings"}));
        QVERIFY(offers(ui, QAccessible::StaticText, {"Python Script"}));
        QCOMPARE(ui.namelessControls(), "");
        ui.click("modeChooser");
        QVERIFY(offers(ui, QAccessible::ListItem, {"Merge/Thru", "USB MIDI", "Python Script"}));
        ui.press(Qt::Key_Escape);
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.closes("globalSettingsWindow"));
        ui.press(Qt::Key_F1);
        QVERIFY(offers(ui, QAccessible::Dialog, {"Guide"}));
        QCOMPARE(ui.namelessControls(), "");
    }

    void choosesAmongBoxes()
    {
        WindowWithBox ui({"--name", "Stage", "--boxes", "2"});
        QVERIFY(scanFor(ui, "Stage 2:1"));
        QCOMPARE(chosen(ui), NotConnected);
        const qsizetype before = ui.box.lines().size();
        ui.press(Qt::Key_Return); // the chooser has the focus
        QTRY_VERIFY(ui.itemSaying("Stage:0"));
        QVERIFY(ui.itemSaying(ScanEntry));
        QCOMPARE(ui.box.lines().size(), before);
        ui.takePicture("chooser");
        for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Return})
            ui.press(key);
        QTRY_COMPARE(chosen(ui), "Stage 2:1");
        QCOMPARE(QSettings().value("zevost_lastproduct").toInt(), 0x1A01);
        QVERIFY(choose(ui, "Stage:0"));
        QTRY_COMPARE(chosen(ui), "Stage:0");
        QCOMPARE(QSettings().value("zevost_lastproduct").toInt(), 0x1A00);
    }

    void leavesAnotherProductAlone()
    {
        WindowWithBox ui({"--product", "12"});
        QVERIFY(choose(ui, ScanEntry));
        QVERIFY(logEndsWith(ui, "No device found. Check cable and power.\n"));
        QCOMPARE(chosen(ui), NotConnected);
        QCOMPARE(ui.iconOpacity("sendIcon"), 0.2);
        ui.pressCtrl(Qt::Key_Return);
        for (const QString &line : ui.box.lines().filter("received"))
            QCOMPARE(line, "received identity-request");
    }

    void readsTheScript()
    {
        const QString text = "# from the box\nprint('hello')\n";
        QTemporaryFile script;
        QVERIFY(script.open());
        script.write(text.toUtf8());
        script.close();
        const WindowWithBox ui({"--script", script.fileName()}, OneScript);
        QVERIFY(connectTo(ui, "Ostrel:0"));
        const auto reads = [&] {
            ui.click("readIcon");
            return logEndsWith(ui, "Receive complete!\n", 2000);
        };
        QVERIFY(QTest::qWaitFor(reads, WindowFixture::TimeoutMs));
        // A busy machine may have failed at first.
        QCOMPARE(ui.text("messageTextArea").remove("Reading...\nError receiving script.\n"),
                 "Reading...\nReceive complete!\n");
        QCOMPARE(ui.rows("scriptListView"), QStringList({"mine", "Downloaded Script"}));
        QCOMPARE(ui.text("scriptTextArea"), text);
        QCOMPARE(ui.savedLibrary().last(), (scripts::Script{"Downloaded Script", text}));
    }

    void saysThatAReadFailed_data()
    {
        const Rows<QString> add; // faults of the box
        add("no script", "");
        add("mute", "--mute");
    }

    void saysThatAReadFailed()
    {
        const auto [faults] = row<QString>();
        WindowWithBox ui({}, OneScript);
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QVERIFY(ui.box.obeys("faults " + faults, "^faults"));
        ui.click("readIcon");
        QTRY_COMPARE(ui.text("messageTextArea"), "Reading...\nError receiving script.\n");
        QCOMPARE(ui.savedNames(), QStringList("mine"));
    }

    void sendsTheScriptAndShowsTheOutput()
    {
        WindowWithBox ui({}, WindowFixture::Library{{"other", ""}, {"mine", ""}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click(ui.itemSaying("mine"));
        ui.click("scriptTextArea");
        ui.type("print('<b>hi</b>')");
        ui.click("sendIcon");
        QVERIFY(ui.box.waitForLine("^script 18 "));
        QCOMPARE(ui.savedLibrary().last().text, "print('<b>hi</b>')");
        QTRY_COMPARE(ui.text("messageTextArea"),
                     "Sending...\nSend complete!\nScript received: 18 bytes\nRunning...\n"
                     "<b>hi</b>\n");
        QCOMPARE(ui.text("stateLine"), "18 of 6900, in the device");
        QVERIFY(ui.item("heldMark"));
        ui.takePicture("main-connected");
        ui.window()->resize(1024, 768);
        ui.type("#");
        QTRY_COMPARE(ui.text("stateLine"), "19 of 6900, changed since sent");
        ui.press(Qt::Key_Backspace);
        ui.click(ui.itemSaying("other"));
        QCOMPARE(ui.text("stateLine"), "0 of 6900, not in the device");
        ui.box.send("print a <i>second</i> line");
        QVERIFY(logEndsWith(ui, "a <i>second</i> line\n"));
        ui.click("clearIcon");
        QCOMPARE(ui.text("messageTextArea"), "");
    }

    void saysWhenTheBoxDoesNotHoldTheScript()
    {
        WindowWithBox ui({}, OneScript);
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click("sendIcon");
        QVERIFY(ui.box.obeys("faults --mute", "^faults"));
        QVERIFY(logEndsWith(ui, "The device did not confirm the script.\n"));
        emit SettingsTransfer::instance()->sentScriptDiffers();
        QVERIFY(logEndsWith(ui, "The device holds a different script. Please send it again.\n"));
        ui.takePicture("script-differs");
    }

    void saysThatASendFailed()
    {
        const WindowWithBox ui({},
                               WindowFixture::Library{{"mine", ""}, {"huge", QString(8000, '#')}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click(ui.itemSaying("huge"));
        QTRY_VERIFY(ui.isOpen("messageDialog"));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("messageDialog"));
        const QString refusal = "Sending...\nError sending script.\n";
        ui.pressCtrl(Qt::Key_Return);
        QTRY_COMPARE(ui.text("messageTextArea"), refusal);
        ui.press(Qt::Key_Enter, Qt::ControlModifier | Qt::KeypadModifier);
        QTRY_COMPARE(ui.text("messageTextArea"), refusal + refusal);
    }

    void takesNoNameForMarkup()
    {
        const QString name = "<b>x</b><img src=file:///x>";
        WindowWithBox ui({"--name", name}, WindowFixture::Library{{name, ""}});
        QVERIFY(connectTo(ui, name + ":0"));
        QVERIFY(ui.showsLiterally(name));
        QVERIFY(ui.showsLiterally(name + ":0"));
        ui.click("connectedDeviceComboBox");
        QTRY_VERIFY(ui.itemSaying(ScanEntry));
        QVERIFY(ui.showsLiterally(name + ":0"));
        ui.press(Qt::Key_Escape);
        ui.box.send("print " + name);
        QTRY_VERIFY(ui.showsLiterally(name + '\n'));
        ui.click("minusIcon");
        QTRY_VERIFY(ui.showsLiterally("Delete script '" + name + "'?"));
        ui.click(ui.itemSaying("Cancel"));
        QVERIFY(ui.closes("okCancelDialog"));
        QVERIFY(openSettings(ui));
        QCOMPARE(ui.text("displayNameInput"), name);
        QVERIFY(ui.showsLiterally(name));
    }

    void staysUsableInAFlood()
    {
        constexpr int Lines = 20000;
        WindowWithBox ui({}, WindowFixture::Library{{"mine", ""}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click("scriptTextArea");
        QString expected;
        for (int i = 1; i <= Lines; ++i)
            expected += QString("Line %1 of %2\n").arg(i).arg(Lines);
        ui.box.send(QString("lines %1").arg(Lines));
        QTRY_VERIFY_WITH_TIMEOUT(!ui.text("messageTextArea").isEmpty(), WindowFixture::TimeoutMs);
        ui.type("typed");
        QCOMPARE(ui.text("scriptTextArea"), "typed");
        QTRY_VERIFY_WITH_TIMEOUT(ui.value("messageTextArea", "length").toInt() == expected.size(),
                                 120000);
        QVERIFY(ui.text("messageTextArea") == expected);
    }

    void changesTheSettings()
    {
        WindowWithBox ui({"--name", "Stage", "--sysex-id", "5", "--mode", "0"});
        QVERIFY(connectTo(ui, "Stage:5"));
        for (const bool byKeyboard : {true, false}) {
            QVERIFY(openSettings(ui));
            ui.type("Discarded");
            if (byKeyboard)
                ui.press(Qt::Key_Escape);
            else
                ui.click("settingsCancelButton");
            QVERIFY(ui.closes("globalSettingsWindow"));
        }
        QVERIFY(openSettings(ui));
        QCOMPARE(ui.text("displayNameInput"), "Stage");
        QCOMPARE(ui.value("sysexIdBox", "value").toInt(), 5);
        QCOMPARE(ui.value("modeChooser", "displayText").toString(), "Merge/Thru");
        ui.takePicture("settings");

        ui.type(QString(40, 'x')); // replaces the selected name
        QCOMPARE(ui.text("displayNameInput"), QString(31, 'x'));
        ui.pressCtrl(Qt::Key_A);
        ui.type("Studio");
        ui.press(Qt::Key_Tab);
        QCOMPARE(ui.focusedName(), "Sysex ID");
        ui.pressCtrl(Qt::Key_A);
        ui.press(Qt::Key_Backspace);
        ui.press(Qt::Key_Tab);
        QCOMPARE(ui.value("sysexIdBox", "value").toInt(), 5);
        ui.press(Qt::Key_Backtab, Qt::ShiftModifier);
        ui.pressCtrl(Qt::Key_A);
        ui.type("7");
        ui.press(Qt::Key_Tab);
        QCOMPARE(ui.focusedName(), "Mode");
        ui.click("modeChooser");
        QTRY_VERIFY(ui.itemSaying("Python Script"));
        ui.takePicture("settings-mode");
        ui.click(ui.itemSaying("Python Script"));
        QVERIFY(ui.box.lines().filter("received block-write").isEmpty());
        const qsizetype before = ui.box.lines().size();
        ui.click("settingsDoneButton");
        QVERIFY(ui.box.waitForLine(R"(^settings name="Studio" sysex-id=7 mode=2 )"));
        QVERIFY(ui.closes("globalSettingsWindow"));
        QCOMPARE(ui.box.lines().filter("received block-write").size(), 1);

        // The box restarts; the window looks for it under its new ID by itself. A busy machine may
        // miss the answer.
        QTRY_VERIFY_WITH_TIMEOUT(ui.box.lines().mid(before).contains("received identity-request"),
                                 WindowFixture::TimeoutMs);
        QVERIFY(chosen(ui) == "Studio:7" || scanFor(ui, "Studio:7"));
        QTRY_COMPARE(chosen(ui), "Studio:7");
    }

    void saysThatSettingsCannotBeRead()
    {
        WindowWithBox ui;
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QVERIFY(ui.box.obeys("faults --mute", "^faults"));
        for (const bool byKeyboard : {true, false}) {
            ui.click("settingsIcon");
            QTRY_VERIFY(ui.itemSaying(ReadError));
            QVERIFY(showsFocus(ui.itemSaying("OK")));
            ui.takePicture("settings-error");
            if (byKeyboard) {
                ui.press(Qt::Key_Return);
            } else {
                ui.press(Qt::Key_Escape);
                QVERIFY(ui.isOpen("settingsMessageDialog"));
                ui.click(ui.itemSaying("OK"));
            }
            QVERIFY(ui.closes("settingsMessageDialog"));
            QVERIFY(!ui.isOpen("globalSettingsWindow"));
        }
    }

    void saysThatTheBoxOfTheSettingsIsGone()
    {
        WindowWithBox ui;
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QVERIFY(openSettings(ui));
        ui.click("settingsDoneButton");
        QVERIFY(ui.box.waitForLine("^settings name=\"Ostrel\""));
        // The window looks for the box again soon, while the settings are open again.
        QVERIFY(openSettings(ui));
        QVERIFY(ui.box.obeys("unplug", "^unplugged"));
        QTRY_COMPARE_WITH_TIMEOUT(chosen(ui), NotConnected, WindowFixture::TimeoutMs);
        QVERIFY(ui.item("deviceGoneNote"));
        ui.takePicture("settings-gone");

        // Another one might have come.
        QVERIFY(ui.box.obeys("plug", "^plugged"));
        QTRY_COMPARE_WITH_TIMEOUT(chosen(ui), "Ostrel:0", WindowFixture::TimeoutMs);
        QVERIFY(ui.item("deviceGoneNote"));
        ui.click("settingsDoneButton");
        ui.press(Qt::Key_Return); // in the name
        QVERIFY(ui.isOpen("globalSettingsWindow"));
        QVERIFY(!ui.isOpen("settingsMessageDialog"));
        QCOMPARE(ui.box.lines().filter("received block-write").size(), 1);
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.closes("globalSettingsWindow"));
        QVERIFY(openSettings(ui));
        QVERIFY(!ui.item("deviceGoneNote"));
        QVERIFY(ui.item("settingsDoneButton")->isEnabled());
    }

    void saysThatSettingsCannotBeWritten()
    {
        const WindowWithBox ui;
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QVERIFY(openSettings(ui));
        // Before the window could notice that the box is gone.
        ui.window()->findChild<QtRtMIDI *>()->closePort();
        ui.click("settingsDoneButton");
        QTRY_VERIFY(ui.itemSaying(WriteError));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("globalSettingsWindow"));
    }

private:
    /// Whether the button that an item is part of is marked as the one that Return presses.
    static bool showsFocus(const QQuickItem *item)
    {
        while (item && !item->property("visualFocus").isValid())
            item = item->parentItem();
        return item && item->property("visualFocus").toBool();
    }

    /// Whether assistive technology hears that a button cannot be used, and why.
    static bool isReportedDisabled(QQuickItem *button)
    {
        const QAccessibleInterface *const shown = QAccessible::queryAccessibleInterface(button);
        // Qt 6.4 does not say of any control that it is disabled.
        return shown && (QT_VERSION < QT_VERSION_CHECK(6, 8, 0) || shown->state().disabled) &&
               shown->text(QAccessible::Description) == "Connect a device first";
    }

    static QStringList selectedRows(const WindowFixture &ui, QStringList rows)
    {
        rows.removeIf([&](const QString &row) {
            return !ui.accessible(row, QAccessible::ListItem)->state().selected;
        });
        return rows;
    }

    /// Whether the tooltips of icons say what is expected. The pointer lights the icons up.
    static bool explains(const WindowFixture &ui, const Tooltips &tooltips)
    {
        return std::ranges::all_of(tooltips, [&](const auto &expected) {
            ui.hover(expected.first);
            return ui.iconOpacity(expected.first) == 0.8 &&
                   QTest::qWaitFor([&] { return ui.itemSaying(expected.second) != nullptr; });
        });
    }

    /// Whether assistive technology finds something with each of these names and this role.
    static bool offers(const WindowFixture &ui, QAccessible::Role role, const QStringList &names)
    {
        return std::ranges::all_of(names, [&](const QString &name) {
            const bool found =
                QTest::qWaitFor([&] { return ui.accessible(name, role) != nullptr; });
            if (!found)
                qInfo() << "nothing is called" << name;
            return found;
        });
    }

    /// Opens the settings, again where the box was too slow to answer.
    static bool openSettings(const WindowFixture &ui)
    {
        return QTest::qWaitFor(
            [&] {
                ui.click("settingsIcon");
                const bool failed = ui.isOpen("settingsMessageDialog");
                if (failed)
                    ui.press(Qt::Key_Return);
                return !failed && ui.isOpen("globalSettingsWindow");
            },
            WindowFixture::TimeoutMs);
    }
};

WINDOW_TEST_MAIN(DeviceWindowTest)
#include "tst_devicewindow.moc"
