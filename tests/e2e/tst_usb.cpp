#include "e2e/EditorProcess.h"
#include "firmware/FirmwareUpdate.h"
#include "midi/QtRtMIDI.h"
#include "settings/SettingsTransfer.h"
#include "support/BoxLink.h"
#include "support/Rows.h"
#include "ui/BoxWindow.h"
#include "unit/firmware/ImageBuilder.h"

#include <QCryptographicHash>
#include <QElapsedTimer>

using namespace boxwindow;
using namespace testsupport;

namespace
{

constexpr char BoxName[] = "Ostrel:0";
/// The kernel finds a device, and the editor looks twice a second.
constexpr int PlugTimeoutMs = 30000;
constexpr int UpdateTimeoutMs = 240000;
/// What holds up the window may do so for no longer.
constexpr int LongestHangMs = 2000;

const QList<int> Lengths{100, 3500, 3600, 5000, 6900};

/// A script of `length` characters that no other number of characters begins with.
QString script(int length)
{
    QString text = QString("# %1 characters\n").arg(length);
    for (int line = 1; text.size() < length; ++line)
        text += QString("x%1 = %2\n").arg(line).arg(line * 7919);
    return text.first(length - 1) + '\n';
}

/// The line with which the box shows that it holds this script.
QString scriptLine(int length)
{
    const QByteArray sha1 =
        QCryptographicHash::hash(script(length).toLatin1(), QCryptographicHash::Sha1).toHex();
    return QString("^script %1 %2$").arg(length).arg(QString::fromLatin1(sha1));
}

WindowFixture::Library library()
{
    WindowFixture::Library scripts;
    for (const int length : Lengths)
        scripts.append({QString::number(length), script(length)});
    return scripts;
}

bool isConnected(const WindowFixture &ui)
{
    return QTest::qWaitFor([&] { return chosen(ui) == BoxName; }, PlugTimeoutMs);
}

bool isDisconnected(const WindowFixture &ui)
{
    return QTest::qWaitFor([&] { return chosen(ui) == NotConnected; }, PlugTimeoutMs);
}

/// The box as a USB device, with `options`, and the window, which has found it.
class UsbStage : public WindowWithBox
{
public:
    explicit UsbStage(const QStringList &options = {})
        : WindowWithBox(QStringList{"--usb"} + options, library())
    {
        QTest::qVerify(isConnected(*this), "connected", "", __FILE__, __LINE__);
        const SettingsTransfer *transfer = SettingsTransfer::instance();
        QObject::connect(transfer, &SettingsTransfer::sentScriptDiffers, &m_counter,
                         [this] { ++complaints; });
        QObject::connect(transfer, &SettingsTransfer::sentScriptNotConfirmed, &m_counter,
                         [this] { ++complaints; });
    }

    void select(int length) const { click(itemSaying(QString::number(length))); }

    /// Sends the script of that length, which is selected. False unless it came to the box whole
    /// and the log says what it should.
    [[nodiscard]] bool sends(int length)
    {
        click("clearIcon");
        pressCtrl(Qt::Key_Return);
        return box.waitForLine(scriptLine(length)) && logEndsWith(*this, "Running...\n") &&
               text("messageTextArea") ==
                   QString("Sending...\nSend complete!\nScript received: %1 bytes\nRunning...\n")
                       .arg(length);
    }

    /// Reads the box's script, which is then selected. False unless it is that of `length`.
    [[nodiscard]] bool reads(int length) const
    {
        click("clearIcon");
        pressCtrl(Qt::Key_R);
        return text("messageTextArea").startsWith("Reading...\nReceive complete!\n") &&
               text("scriptTextArea") == script(length);
    }

    /// What happened, for the message of a failed test.
    [[nodiscard]] QByteArray account() const
    {
        return (text("messageTextArea") + "--- box\n" + box.lines().join('\n')).toUtf8();
    }

    int complaints = 0; ///< that the box does not hold what was sent

private:
    QObject m_counter;
};

/// A firmware image of 256 KiB, which is more than the editor carries.
struct BigFirmware
{
    const std::vector<std::uint8_t> raw = image::payload(std::size_t{256} * 1024);
    const image::File rawFile{
        QByteArray(reinterpret_cast<const char *>(raw.data()), static_cast<qsizetype>(raw.size()))};
    const image::File file{image::make(firmware::encipherPayload(raw))};
};

/// Says OK to the question for an update, which then brings `firmware`.
bool startUpdate(const WindowFixture &ui, const BigFirmware &firmware)
{
    auto *const updater = ui.window()->property("updater").value<FirmwareUpdate *>();
    if (!QTest::qWaitFor([&] { return ui.itemSaying("Update Needed") != nullptr; }, PlugTimeoutMs))
        return false;
    const bool loaded = updater->loadFile(firmware.file.url(), midi::OstrelProductId);
    ui.click(ui.itemSaying("OK"));
    return loaded;
}

/// The built editor as a process that logs what it finds.
struct LoggingEditor : EditorProcess
{
    LoggingEditor()
    {
        setEnvironment("QT_LOGGING_RULES", "ostrel.devices*=true;ostrel.session=true");
        QTest::qVerify(start(), "started", "", __FILE__, __LINE__);
    }

    [[nodiscard]] bool logs(const QString &line)
    {
        return QTest::qWaitFor([&] { return log().contains(line); }, PlugTimeoutMs);
    }
};

} // namespace

/// The editor beside a box on USB, on a kernel with ALSA's sequencer: the road on which nearly all
/// users of Linux reach their box.
class TestUsb : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!QFile::exists("/sys/devices/platform/vhci_hcd.0/attach")) {
            if (qEnvironmentVariableIsSet("OSTREL_USB_ROAD"))
                QFAIL("There can be no made-up USB device, which is what this is for");
            QSKIP("There can be no made-up USB device here; see tools/usb-road");
        }
        qputenv("OSTREL_MIDI_API", "alsa");
    }

    void init() { WindowFixture::failOnWarnings(); }

    void isFoundAtTheStart()
    {
        const BoxProcess box({"--usb"});
        QVERIFY(box.isReady());
        LoggingEditor editor;
        QVERIFY(editor.logs("ostrel.devices: scan found 1 devices, connected to 6656"));
    }

    void isFoundWhenItIsPluggedIn()
    {
        LoggingEditor editor;
        QVERIFY(editor.logs("ostrel.devices: scan found 0 devices, connected to 65535"));
        const BoxProcess box({"--usb", "--jack-names"});
        QVERIFY(box.isReady());
        QVERIFY(editor.logs("ostrel.session: connected to \"Ostrel:0\""));
    }

    void movesScripts_data()
    {
        const Rows<QStringList> add;
        for (const QString pace : {"3", "6.4", "48", "1000000"}) {
            const QStringList options{"--pace", pace};
            add(qPrintable("pace " + pace), options);
            add(qPrintable("pace " + pace + ", jack names"), options + QStringList{"--jack-names"});
        }
    }

    void movesScripts()
    {
        const auto [options] = row<QStringList>();
        UsbStage stage(options);
        for (const int length : Lengths) {
            stage.select(length);
            QVERIFY2(stage.sends(length), stage.account());
            // The editor asks by itself.
            QVERIFY2(stage.box.waitForLine("^sent data-block id=0 type=4"), stage.account());
            QVERIFY2(stage.reads(length), stage.account());
        }
        QCOMPARE(stage.complaints, 0);
    }

    void movesTheLongestManyTimes()
    {
        UsbStage stage;
        const int longest = Lengths.last();
        stage.select(longest);
        for (int i = 0; i < 5; ++i) {
            for (const QString pace : {" 3", " 6.4", " 48", ""}) {
                QVERIFY(stage.box.obeys("pace" + pace, "^pace"));
                QVERIFY2(stage.sends(longest), stage.account());
                QVERIFY2(stage.reads(longest), stage.account());
            }
        }
        QCOMPARE(stage.complaints, 0);
    }

    void showsWhatTheBoxPrints()
    {
        constexpr int Lines = 300;
        UsbStage stage({"--pace", "48"});
        QString expected;
        for (int i = 1; i <= Lines; ++i)
            expected += QString("Line %1 of %2\n").arg(i).arg(Lines);
        stage.box.send(QString("lines %1").arg(Lines));
        QVERIFY(logEndsWith(stage, "Line 300 of 300\n", PlugTimeoutMs));
        QCOMPARE(stage.text("messageTextArea"), expected);
        // A message that never ends takes nothing along.
        stage.box.send("raw F0 00 01 5B 00 34 04 00 00 7F");
        stage.box.send("print Still here");
        QVERIFY(logEndsWith(stage, "Still here\n"));
    }

    void carriesSettingsThrough()
    {
        UsbStage stage({"--pace", "48"});
        stage.click("settingsIcon");
        QTRY_COMPARE(stage.text("displayNameInput"), "Ostrel");
        stage.pressCtrl(Qt::Key_A);
        stage.type("Studio");
        stage.click("settingsDoneButton");
        QVERIFY(stage.box.waitForLine("^settings name=\"Studio\" sysex-id=0 mode=2 "
                                      "sha1=29d7b318db6ee14a4da83e7d390d54ac34ecfcbd$"));
        QTRY_COMPARE_WITH_TIMEOUT(chosen(stage), "Studio:0", PlugTimeoutMs);
    }

    void updatesTheFirmware_data()
    {
        const Rows<QStringList> add;
        add("at one go", {});
        add("unplugged in the middle", {"--unplug-at", "200"});
    }

    void updatesTheFirmware()
    {
        const auto [faults] = row<QStringList>();
        const BigFirmware firmware;
        WindowWithBox ui(QStringList{"--usb", "--pace", "48", "--version", "1.1.0", "--restart-ms",
                                     "300", "--expect-firmware", firmware.rawFile.path()} +
                         faults);
        QVERIFY(startUpdate(ui, firmware));
        if (!faults.isEmpty()) {
            QVERIFY(ui.box.waitForLine("^received update-data"));
            QVERIFY(ui.box.waitForLine("^unplugged", UpdateTimeoutMs));
            ui.click(ui.itemSaying("Cancel"));
            QVERIFY(ui.closes("updateDialog"));
            QVERIFY(isDisconnected(ui));
            QVERIFY(ui.box.obeys("plug", "^plugged"));
            QVERIFY(startUpdate(ui, firmware));
        }
        QVERIFY2(
            ui.box.waitForLine("^firmware complete length=262144 .*match=yes$", UpdateTimeoutMs),
            ui.box.lines().last().toUtf8());
        QVERIFY(ui.box.waitForLine("^started version=1.1.1"));
        QVERIFY(ui.closes("updateDialog"));
        QVERIFY(isConnected(ui));
    }

    void isUnpluggedManyTimes()
    {
        UsbStage stage;
        for (int i = 0; i < 20; ++i) {
            QVERIFY(stage.box.obeys("unplug", "^unplugged"));
            QVERIFY(isDisconnected(stage));
            QVERIFY(stage.box.obeys("plug", "^plugged"));
            QVERIFY2(isConnected(stage), stage.account());
        }
        stage.select(5000);
        QVERIFY2(stage.sends(5000), stage.account());
    }

    /// Closing a port once corrupted memory or hung, some time later.
    void closesAndOpensManyTimes()
    {
        BoxProcess box({"--usb"});
        QVERIFY(box.isReady());
        QtRtMIDI link;
        link.scanPorts(InputPortName, OutputPortName);
        for (int i = 0; i < 200; ++i) {
            QVERIFY2(link.selectPort(0), link.getErrorMessage());
            QVERIFY(link.sendIDReq());
            QVERIFY(box.waitForLine("^received identity-request$"));
            if (i % 2 == 0)
                link.closePort();
        }
    }

    void servesTwoEditors()
    {
        UsbStage stage({"--pace", "48"});
        LoggingEditor other;
        QVERIFY(other.logs("ostrel.devices: scan found 1 devices, connected to 6656"));
        stage.select(6900);
        for (int i = 0; i < 3; ++i) {
            QVERIFY2(stage.sends(6900), stage.account());
            QVERIFY2(stage.reads(6900), stage.account());
        }
    }

    void failsClearly_data()
    {
        const Rows<QString, Qt::Key, QString> add; // what happens to the box, which shortcut, log
        const QString sendFails = "Sending...\nError sending script.\n";
        add("stalls while sending", "stall", Qt::Key_Return, sendFails);
        add("unplugged while sending", "unplug", Qt::Key_Return, sendFails);
        add("unplugged while reading", "unplug", Qt::Key_R,
            "Reading...\nError receiving script.\n");
    }

    /// No fault may hold up the window for long, and the box works again once it is over.
    void failsClearly()
    {
        const auto [fault, key, logged] = row<QString, Qt::Key, QString>();
        UsbStage stage;
        stage.select(6900);
        QVERIFY2(stage.sends(6900), stage.account());
        QVERIFY(stage.box.obeys("pace 3", "^pace"));
        stage.click("clearIcon");
        stage.box.send("after 300 " + fault);
        QElapsedTimer time;
        time.start();
        stage.pressCtrl(key);
        QVERIFY2(time.elapsed() < LongestHangMs, QByteArray::number(time.elapsed()));
        QVERIFY2(stage.text("messageTextArea").startsWith(logged), stage.account());
        time.start();
        QVERIFY(choose(stage, ScanEntry));
        QVERIFY2(time.elapsed() < LongestHangMs, QByteArray::number(time.elapsed()));

        QVERIFY(stage.box.obeys("pace", "^pace"));
        stage.box.send("resume");
        stage.box.send("plug");
        // Who stalled was not away, so nothing tells that it is back, and the user looks for it.
        if (fault == "stall")
            QVERIFY2(scanFor(stage, BoxName), stage.account());
        QVERIFY2(isConnected(stage), stage.account());
        stage.select(5000);
        QVERIFY2(stage.sends(5000), stage.account());
    }
};

int main(int argc, char *argv[])
{
    TestUsb test;
    return runWindowTests(test, argc, argv, MidiOf::Machine);
}
#include "tst_usb.moc"
