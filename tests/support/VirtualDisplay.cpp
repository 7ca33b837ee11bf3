#include "support/VirtualDisplay.h"

#include "support/ChildProcess.h"

#include <QTest>

namespace testsupport
{
namespace
{

constexpr int TimeoutMs = 60000;
constexpr char Title[] = "Ostrel Script Editor";

bool drive(const QString &display, const QStringList &arguments)
{
    QProcess xdotool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", display);
    xdotool.setProcessEnvironment(environment);
    xdotool.start("xdotool", arguments);
    return xdotool.waitForFinished(TimeoutMs) && xdotool.exitStatus() == QProcess::NormalExit &&
           xdotool.exitCode() == 0;
}

} // namespace

VirtualDisplay::VirtualDisplay()
{
    endWithParent(m_process);
    // It picks a free number and says so once it is ready.
    m_process.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp"});
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
    const auto isGone = [&] { return process.state() == QProcess::NotRunning; };
    return QTest::qWaitFor([&] { return isGone() || drive(m_name, focus); }, TimeoutMs) &&
           !isGone() && drive(m_name, QStringList{"key", "--clearmodifiers"} + keys);
}

void VirtualDisplay::end()
{
    stop(m_process);
    m_name.clear();
}

} // namespace testsupport
