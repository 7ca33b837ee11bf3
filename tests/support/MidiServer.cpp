#include "support/MidiServer.h"

#include "support/ChildProcess.h"

#include <QCoreApplication>

namespace testsupport
{
namespace
{

constexpr int StartTimeoutSeconds = 30;

/// JACK keeps its servers apart by name, across all processes of a user.
QByteArray uniqueName()
{
    static int count = 0;
    return "ostrel-test-" + QByteArray::number(QCoreApplication::applicationPid()) + '-' +
           QByteArray::number(++count);
}

bool waitUntilUp(const QByteArray &name)
{
    QProcess probe;
    probe.setStandardOutputFile(QProcess::nullDevice());
    probe.setStandardErrorFile(QProcess::nullDevice());
    probe.start("jack_wait", {"-s", QString::fromLatin1(name), "-w", "-t",
                              QString::number(StartTimeoutSeconds)});
    return probe.waitForFinished((StartTimeoutSeconds + 5) * 1000) &&
           probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0;
}

} // namespace

MidiServer::MidiServer()
    : m_name(uniqueName())
{
    const std::array<QByteArray, Variables.size()> values{m_name, "1", "jack"};
    for (std::size_t i = 0; i < Variables.size(); ++i) {
        m_previous[i] = qgetenv(Variables[i]);
        qputenv(Variables[i], values[i]);
    }

    endWithParent(m_process);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    // Synchronous, because the asynchronous mode loses messages under load.
    m_process.start("jackd", {"-n", QString::fromLatin1(m_name), "-S", "-r", "-d", "dummy", "-r",
                              "48000", "-p", "256"});
    m_running =
        m_process.waitForStarted() && waitUntilUp(m_name) && m_process.state() == QProcess::Running;
}

MidiServer::~MidiServer()
{
    stop(m_process);
    for (std::size_t i = 0; i < Variables.size(); ++i) {
        if (m_previous[i].isEmpty())
            qunsetenv(Variables[i]);
        else
            qputenv(Variables[i], m_previous[i]);
    }
}

void MidiServer::kill()
{
    m_process.kill();
    m_process.waitForFinished();
    m_running = false;
}

} // namespace testsupport
