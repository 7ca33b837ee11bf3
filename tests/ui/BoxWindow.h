#pragma once

#include "support/BoxProcess.h"
#include "ui/WindowFixture.h"

#include <QTest>

/// What tests of the window with a box beside it share. The program waits for a box as long as
/// people would, which a busy machine may exceed, so these try again until it worked.
namespace boxwindow
{

inline constexpr char NotConnected[] = "- not connected -";
inline constexpr char ScanEntry[] = "- Scan for Devices -";

/// Picks an entry of the device chooser. False when there is no such entry.
inline bool choose(const WindowFixture &ui, const QString &entry)
{
    ui.click("connectedDeviceComboBox");
    const bool found = QTest::qWaitFor([&] { return ui.itemSaying(entry) != nullptr; });
    if (found)
        ui.click(ui.itemSaying(entry));
    else
        ui.press(Qt::Key_Escape);
    return found;
}

inline QString chosen(const WindowFixture &ui)
{
    return ui.value("connectedDeviceComboBox", "displayText").toString();
}

/// Scans until the chooser offers `entry`, by way of its own entry for that.
inline bool scanFor(const WindowFixture &ui, const QString &entry)
{
    return QTest::qWaitFor(
        [&] {
            ui.click("connectedDeviceComboBox");
            QQuickItem *scanEntry = nullptr;
            if (!QTest::qWaitFor([&] { return scanEntry = ui.itemSaying(ScanEntry); }))
                return false;
            const bool offered = ui.itemSaying(entry);
            if (offered)
                ui.press(Qt::Key_Escape);
            else
                ui.click(scanEntry);
            return offered;
        },
        WindowFixture::TimeoutMs);
}

/// Waits for the connection that the window makes by itself.
inline bool connectTo(const WindowFixture &ui, const QString &menuName)
{
    return QTest::qWaitFor([&] { return chosen(ui) == menuName; }, WindowFixture::TimeoutMs);
}

/// Waits for the end of the message log to be `end`.
inline bool logEndsWith(const WindowFixture &ui, const QString &end, int timeoutMs = 5000)
{
    return QTest::qWaitFor([&] { return ui.text("messageTextArea").endsWith(end); }, timeoutMs);
}

/// There before the window is.
struct BoxBesideWindow
{
    explicit BoxBesideWindow(const QStringList &options)
        : box(options)
    {
        QTest::qVerify(box.isReady(), "box", box.errorOutput(), __FILE__, __LINE__);
    }

    testsupport::BoxProcess box;
};

/// The window with a box beside it. A box that does not start fails the test.
class WindowWithBox : public BoxBesideWindow, public WindowFixture
{
public:
    explicit WindowWithBox(const QStringList &boxOptions = {},
                           const std::optional<Library> &library = {})
        : BoxBesideWindow(boxOptions)
        , WindowFixture(library)
    {}
};

} // namespace boxwindow
