#include "support/MidiServer.h"

#include "jack/JackServer.h"
#include "support/ChildProcess.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

#include <vector>

#include <unistd.h>

namespace testsupport
{
namespace
{

constexpr int StartTimeoutMs = 30000;
constexpr int StartPollMs = 10;

/// JACK knows eight servers at a time, and counts one that was killed until its name is used again.
/// So the tests of all processes share a few names, and leave some places to others.
constexpr int NameCount = 6;
constexpr int StartAttempts = 3;
constexpr int NameTimeoutMs = 120000;
constexpr int NamePollMs = 50;

/// A server listens on a socket that carries its name, somewhat before it takes clients.
bool isListening(const QByteArray &name)
{
    QFile sockets(QStringLiteral("/proc/net/unix"));
    return sockets.open(QIODevice::ReadOnly) &&
           sockets.readAll().contains("/jack_" + name + '_' + QByteArray::number(::getuid()) +
                                      "_0\n");
}

} // namespace

MidiServer::MidiServer()
{
    for (std::size_t i = 0; i < Variables.size(); ++i)
        m_previous[i] = qgetenv(Variables[i]);
    endWithParent(m_process);
    m_process.setProcessChannelMode(QProcess::MergedChannels);

    // JACK refuses the name of a killed server whose process number is in use again.
    std::vector<std::unique_ptr<QLockFile>> refused;
    for (int attempt = 0; attempt < StartAttempts && !m_running; ++attempt) {
        if (m_nameLock)
            refused.push_back(std::move(m_nameLock));
        takeName();
        const std::array<QByteArray, Variables.size()> values{m_name, "1", "jack"};
        for (std::size_t i = 0; i < Variables.size(); ++i)
            qputenv(Variables[i], values[i]);
        if (!start())
            stop(m_process);
    }
}

/// Waits until a name is free. The lock of a process that died counts for nothing.
void MidiServer::takeName()
{
    for (QDeadlineTimer deadline(NameTimeoutMs); !deadline.hasExpired();) {
        for (int number = 1; number <= NameCount; ++number) {
            m_name = "ostrel-test-" + QByteArray::number(number);
            m_nameLock = std::make_unique<QLockFile>(QDir::tempPath() + '/' +
                                                     QString::fromLatin1(m_name) + ".lock");
            m_nameLock->setStaleLockTime(0);
            if (m_nameLock->tryLock(NamePollMs))
                return;
        }
    }
}

bool MidiServer::start()
{
    // Synchronous, because the asynchronous mode loses messages under load.
    m_process.start("jackd", {"-n", QString::fromLatin1(m_name), "-S", "-r", "-d", "dummy", "-r",
                              "48000", "-p", "256"});
    const QDeadlineTimer deadline(StartTimeoutMs);
    m_running = false;
    while (!m_running && m_process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        m_process.waitForFinished(StartPollMs);
        m_running = isListening(m_name) && midi::JackServer::connect("ready?");
    }
    return m_running;
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

void MidiServer::end()
{
    stop(m_process);
    m_running = false;
}

void MidiServer::kill()
{
    m_process.kill();
    m_process.waitForFinished();
    m_running = false;
}

} // namespace testsupport
