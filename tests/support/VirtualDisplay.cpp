#include "support/VirtualDisplay.h"

#include "support/ChildProcess.h"

#include <QTest>

namespace testsupport
{
namespace
{

constexpr int TimeoutMs = 60000;
constexpr char Title[] = "Ostrel Script Editor";

/// Why xdotool could not do what it was told, or nothing when it could.
QByteArray drive(const QString &display, const QStringList &arguments)
{
    QProcess xdotool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", display);
    xdotool.setProcessEnvironment(environment);
    xdotool.start("xdotool", arguments);
    if (!xdotool.waitForFinished(TimeoutMs) || xdotool.exitStatus() != QProcess::NormalExit)
        return "xdotool: " + xdotool.errorString().toUtf8();
    return xdotool.exitCode() == 0 ? QByteArray()
                                   : "xdotool failed: " + xdotool.readAllStandardError();
}

} // namespace

VirtualDisplay::VirtualDisplay()
{
    endWithParent(m_process);
    // It picks a free number and says so once it is ready. It must not start anew, and drop a
    // program that is just connecting, when a look for the window was the only other client.
    m_process.start(
        "Xvfb", {"-displayfd", "1", "-noreset", "-screen", "0", "1024x768x24", "-nolisten", "tcp"});
    while (!m_process.canReadLine() && m_process.waitForReadyRead(TimeoutMs)) {
    }
    const QByteArray number = m_process.readLine().trimmed();
    if (!number.isEmpty())
        m_name = ':' + QString::fromLatin1(number);
}

VirtualDisplay::~VirtualDisplay()
{
    end();
}

bool VirtualDisplay::press(const QProcess &process, const QStringList &keys) const
{
    const QString pid = QString::number(process.processId());
    const QStringList focus{"search", "--onlyvisible", "--all",       "--pid",       pid,
                            "--name", Title,           "windowraise", "windowfocus", "--sync"};
    QByteArray error;
    const auto isFocused = [&] {
        error = drive(m_name, focus);
        return error.isEmpty();
    };
    const auto isGone = [&] { return process.state() == QProcess::NotRunning; };
    const bool ready = QTest::qWaitFor([&] { return isGone() || isFocused(); }, TimeoutMs);
    if (isGone())
        error = "the program has ended with " + QByteArray::number(process.exitCode());
    else if (ready)
        error = drive(m_name, QStringList{"key", "--clearmodifiers"} + keys);
    if (!error.isEmpty())
        qWarning().noquote() << error;
    return error.isEmpty();
}

void VirtualDisplay::end()
{
    stop(m_process);
    m_name.clear();
}

} // namespace testsupport
