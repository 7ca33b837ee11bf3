#include "support/BoxProcess.h"
#include "ui/BoxWindow.h"

#include <QSettings>
#include <QTemporaryFile>

#include <algorithm>

using namespace boxwindow;
using testsupport::BoxProcess;

namespace
{

constexpr char ReadError[] = "Error reading settings from device.";
constexpr char WriteError[] = "Error writing settings to device.";
using AccessibleNames = QList<std::pair<QString, QAccessible::Role>>;

const QStringList DeviceIcons{"readIcon", "sendIcon", "settingsIcon"};

QString withoutFailedAttempts(QString log, const QString &attempt)
{
    return log.remove(attempt);
}

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
        for (const QString &icon : DeviceIcons) {
            QCOMPARE(ui.iconOpacity(icon), 0.2);
            ui.hover(icon);
            QTRY_VERIFY2(ui.itemSaying("Connect a device first"), qPrintable(icon));
            ui.click(icon);
        }
        ui.takePicture("not-connected");
        QVERIFY(explains(ui, {{"sortIcon", "Sort scripts (Ctrl+L)"},
                              {"minusIcon", "Delete script (Ctrl+Shift+Delete)"},
                              {"plusIcon", "Add script (Ctrl+N)"},
                              {"downloadIcon", "Download Scripts (Ctrl+D)"},
                              {"guideIcon", "Read Guide (F1)"},
                              {"clearIcon", "Clear (Ctrl+Shift+K)"}}));
        ui.press(Qt::Key_R, Qt::ControlModifier);
        ui.press(Qt::Key_Return, Qt::ControlModifier);
        ui.press(Qt::Key_Comma, Qt::ControlModifier);
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

    /// Buttons with a text and dialogs with a title are not listed: they take their names from
    /// these, but only while somebody listens.
    void hasNamesForAssistiveTechnology_data()
    {
        QTest::addColumn<Qt::Key>("key"); // opens the window, with Ctrl
        QTest::addColumn<AccessibleNames>("names");
        QTest::newRow("main") << Qt::Key_Escape
                              << AccessibleNames{{"Device", QAccessible::ComboBox},
                                                 {"Available Scripts", QAccessible::List},
                                                 {"mine", QAccessible::ListItem},
                                                 {"Sort scripts", QAccessible::Button},
                                                 {"Delete script", QAccessible::Button},
                                                 {"Add script", QAccessible::Button},
                                                 {"Settings", QAccessible::Button},
                                                 {"Download Scripts", QAccessible::Button},
                                                 {"Read Guide", QAccessible::Button},
                                                 {"Read Script", QAccessible::Button},
                                                 {"Send Script", QAccessible::Button},
                                                 {"Script editor", QAccessible::EditableText},
                                                 {"Message log", QAccessible::EditableText},
                                                 {"Clear", QAccessible::Button}};
        QTest::newRow("settings") << Qt::Key_Comma
                                  << AccessibleNames{{"Global Settings", QAccessible::Dialog},
                                                     {"Display Name", QAccessible::EditableText},
                                                     {"Sysex ID", QAccessible::SpinBox},
                                                     {"Mode", QAccessible::ComboBox}};
        QTest::newRow("guide") << Qt::Key_F1 << AccessibleNames{{"Guide", QAccessible::Dialog}};
    }

    void hasNamesForAssistiveTechnology()
    {
        QFETCH(Qt::Key, key);
        QFETCH(AccessibleNames, names);
        const BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{"mine", ""}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.press(key, key == Qt::Key_F1 ? Qt::NoModifier : Qt::ControlModifier);
        for (const auto &[name, role] : names)
            QTRY_VERIFY2(ui.accessibleNames().contains(name, role), qPrintable(name));
    }

    void choosesAmongBoxes()
    {
        const BoxProcess boxes({"--name", "Stage", "--boxes", "2"});
        QVERIFY(boxes.isReady());
        const WindowFixture ui;
        QVERIFY(scanFor(ui, "Stage 2:1"));
        QCOMPARE(chosen(ui), NotConnected);
        ui.click("connectedDeviceComboBox");
        QTRY_VERIFY(ui.itemSaying("Stage:0"));
        QVERIFY(ui.itemSaying(ScanEntry));
        ui.takePicture("chooser");
        ui.press(Qt::Key_Down);
        ui.press(Qt::Key_Down);
        ui.press(Qt::Key_Return);
        QTRY_COMPARE(chosen(ui), "Stage 2:1");
        QCOMPARE(QSettings().value("zevost_lastproduct").toInt(), 0x1A01);
        QVERIFY(choose(ui, "Stage:0"));
        QTRY_COMPARE(chosen(ui), "Stage:0");
        QCOMPARE(QSettings().value("zevost_lastproduct").toInt(), 0x1A00);
    }

    void readsTheScript()
    {
        QTemporaryFile script;
        QVERIFY(script.open());
        script.write("# from the box\nprint('hello')\n");
        script.close();
        const BoxProcess box({"--script", script.fileName()});
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{"mine", "# mine\n"}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QVERIFY(QTest::qWaitFor(
            [&] {
                ui.click("readIcon");
                return QTest::qWaitFor(
                    [&] { return ui.text("messageTextArea").endsWith("Receive complete!\n"); },
                    2000);
            },
            WindowFixture::TimeoutMs));
        QCOMPARE(withoutFailedAttempts(ui.text("messageTextArea"),
                                       "Reading...\nError receiving script.\n"),
                 "Reading...\nReceive complete!\n");
        QCOMPARE(ui.rows("scriptListView"), QStringList({"mine", "Downloaded Script"}));
        QCOMPARE(ui.text("scriptTextArea"), "# from the box\nprint('hello')\n");
        QCOMPARE(ui.savedLibrary().last(),
                 (scripts::Script{"Downloaded Script", "# from the box\nprint('hello')\n"}));
    }

    void saysThatAReadFailed_data()
    {
        QTest::addColumn<QString>("faults");
        QTest::newRow("no script") << QString();
        QTest::newRow("mute") << "faults --mute";
    }

    void saysThatAReadFailed()
    {
        QFETCH(QString, faults);
        BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{"mine", "# mine\n"}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        if (!faults.isEmpty()) {
            box.send(faults);
            QVERIFY(box.waitForLine("^faults"));
        }
        ui.click("readIcon");
        QTRY_COMPARE(ui.text("messageTextArea"), "Reading...\nError receiving script.\n");
        QCOMPARE(ui.savedNames(), QStringList("mine"));
    }

    void sendsTheScriptAndShowsTheOutput()
    {
        BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{"other", ""}, {"mine", ""}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click(ui.itemSaying("mine"));
        ui.click("scriptTextArea");
        ui.type("print('<b>hi</b>')");
        ui.click("sendIcon");
        QVERIFY(box.waitForLine("^script 18 "));
        QCOMPARE(ui.savedLibrary().last().text, "print('<b>hi</b>')");
        QTRY_COMPARE(ui.text("messageTextArea"),
                     "Sending...\nSend complete!\nScript received: 18 bytes\nRunning...\n"
                     "<b>hi</b>\n");
        ui.takePicture("main-connected");
        box.send("print a <i>second</i> line");
        QTRY_VERIFY(ui.text("messageTextArea").endsWith("a <i>second</i> line\n"));
        ui.click("clearIcon");
        QCOMPARE(ui.text("messageTextArea"), "");
    }

    void saysThatASendFailed()
    {
        const BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{"mine", ""}, {"huge", QString(8000, '#')}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click(ui.itemSaying("huge"));
        QTRY_VERIFY(ui.isOpen("messageDialog"));
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(!ui.isOpen("messageDialog"));
        ui.press(Qt::Key_Return, Qt::ControlModifier);
        QTRY_COMPARE(ui.text("messageTextArea"), "Sending...\nError sending script.\n");
    }

    void takesNoNameForMarkup()
    {
        const QString name = "<b>x</b><img src=file:///x>";
        BoxProcess box({"--name", name});
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{name, ""}});
        QVERIFY(connectTo(ui, name + ":0"));
        QVERIFY(ui.showsLiterally(name));
        QVERIFY(ui.showsLiterally(name + ":0"));
        ui.click("connectedDeviceComboBox");
        QTRY_VERIFY(ui.itemSaying(ScanEntry));
        QVERIFY(ui.showsLiterally(name + ":0"));
        ui.press(Qt::Key_Escape);
        box.send("print " + name);
        QTRY_VERIFY(ui.showsLiterally(name + '\n'));
        ui.click("minusIcon");
        QTRY_VERIFY(ui.showsLiterally("Delete script '" + name + "'?"));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!ui.isOpen("okCancelDialog"));
        QVERIFY(openSettings(ui));
        QCOMPARE(ui.text("displayNameInput"), name);
        QVERIFY(ui.showsLiterally(name));
    }

    void staysUsableInAFlood()
    {
        constexpr int Lines = 20000;
        BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui(WindowFixture::Library{{"mine", ""}});
        QVERIFY(connectTo(ui, "Ostrel:0"));
        ui.click("scriptTextArea");
        QString expected;
        for (int i = 1; i <= Lines; ++i)
            expected += QString("Line %1 of %2\n").arg(i).arg(Lines);
        box.send(QString("lines %1").arg(Lines));
        QTRY_VERIFY_WITH_TIMEOUT(!ui.text("messageTextArea").isEmpty(), WindowFixture::TimeoutMs);
        ui.type("typed");
        QCOMPARE(ui.text("scriptTextArea"), "typed");
        QTRY_VERIFY_WITH_TIMEOUT(ui.value("messageTextArea", "length").toInt() == expected.size(),
                                 120000);
        QVERIFY(ui.text("messageTextArea") == expected);
    }

    void changesTheSettings()
    {
        BoxProcess box({"--name", "Stage", "--sysex-id", "5", "--mode", "0"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(connectTo(ui, "Stage:5"));
        QVERIFY(openSettings(ui));
        QCOMPARE(ui.text("displayNameInput"), "Stage");
        QCOMPARE(ui.value("sysexIdBox", "value").toInt(), 5);
        QCOMPARE(ui.value("modeChooser", "displayText").toString(), "Merge/Thru");
        ui.takePicture("settings");

        ui.type(QString(40, 'x')); // replaces the selected name
        QCOMPARE(ui.text("displayNameInput"), QString(31, 'x'));
        ui.press(Qt::Key_A, Qt::ControlModifier);
        ui.type("Studio");
        ui.press(Qt::Key_Tab);
        QCOMPARE(ui.focusedName(), "Sysex ID");
        ui.press(Qt::Key_A, Qt::ControlModifier);
        ui.type("7");
        ui.press(Qt::Key_Tab);
        QCOMPARE(ui.focusedName(), "Mode");
        ui.click("modeChooser");
        QTRY_VERIFY(ui.itemSaying("Python Script"));
        ui.takePicture("settings-mode");
        ui.click(ui.itemSaying("Python Script"));
        const qsizetype before = box.lines().size();
        ui.click("settingsDoneButton");
        QVERIFY(box.waitForLine(R"(^settings name="Studio" sysex-id=7 mode=2 )"));
        QTRY_VERIFY(!ui.isOpen("globalSettingsWindow"));
        QCOMPARE(box.lines().mid(before).filter("received block-write").size(), 1);

        // The box restarts; the window finds it again under its new ID by itself.
        QTRY_VERIFY_WITH_TIMEOUT(box.lines().mid(before).contains("received identity-request"),
                                 WindowFixture::TimeoutMs);
        QVERIFY(chosen(ui) == "Studio:7" || scanFor(ui, "Studio:7"));
        QTRY_COMPARE(chosen(ui), "Studio:7");
    }

    void discardsSettingsOnEscape()
    {
        const BoxProcess box({"--name", "Stage"});
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(connectTo(ui, "Stage:0"));
        QVERIFY(openSettings(ui));
        ui.type("Studio");
        ui.press(Qt::Key_Escape);
        QTRY_VERIFY(!ui.isOpen("globalSettingsWindow"));
        QVERIFY(openSettings(ui));
        QCOMPARE(ui.text("displayNameInput"), "Stage");
        QVERIFY(box.lines().filter("received block-write").isEmpty());
    }

    void saysThatSettingsCannotBeRead()
    {
        BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(connectTo(ui, "Ostrel:0"));
        box.send("faults --mute");
        QVERIFY(box.waitForLine("^faults"));
        ui.click("settingsIcon");
        QTRY_VERIFY(ui.itemSaying(ReadError));
        ui.takePicture("settings-error");
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.isOpen("settingsMessageDialog"));
        ui.click(ui.itemSaying("OK"));
        QTRY_VERIFY(!ui.isOpen("settingsMessageDialog"));
        QVERIFY(!ui.isOpen("globalSettingsWindow"));
    }

    void saysThatSettingsCannotBeWritten()
    {
        BoxProcess box;
        QVERIFY(box.isReady());
        const WindowFixture ui;
        QVERIFY(connectTo(ui, "Ostrel:0"));
        QVERIFY(openSettings(ui));
        ui.click("settingsDoneButton");
        QVERIFY(box.waitForLine("^settings name=\"Ostrel\""));
        // The window looks for the box again soon, while the settings are open again.
        QVERIFY(openSettings(ui));
        box.send("unplug");
        QVERIFY(box.waitForLine("^unplugged"));
        QTRY_COMPARE_WITH_TIMEOUT(chosen(ui), NotConnected, WindowFixture::TimeoutMs);
        ui.click("settingsDoneButton");
        QTRY_VERIFY(ui.itemSaying(WriteError));
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(!ui.isOpen("globalSettingsWindow"));
    }

private:
    /// Whether the tooltips of icons say what is expected. The pointer lights the icons up.
    static bool explains(const WindowFixture &ui,
                         const QList<std::pair<QString, QString>> &tooltips)
    {
        return std::ranges::all_of(tooltips, [&](const auto &expected) {
            ui.hover(expected.first);
            return ui.iconOpacity(expected.first) == 0.8 &&
                   QTest::qWaitFor([&] { return ui.itemSaying(expected.second) != nullptr; });
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

int main(int argc, char *argv[])
{
    DeviceWindowTest test;
    return runWindowTests(test, argc, argv);
}
#include "tst_devicewindow.moc"
