#include "support/BoxProcess.h"

#include "support/ChildProcess.h"

#include <QTest>

namespace testsupport
{

namespace
{

/// A JACK server may keep a new client waiting until others, which wait for it, have timed out.
constexpr int StartTimeoutMs = 150000;

} // namespace

BoxProcess::BoxProcess(const QStringList &arguments)
{
    endWithParent(m_process);
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process,
                     [this] { readLines(); });
    m_process.start(OSTREL_BOX_PROGRAM, QStringList{"--exit-with-stdin"} + arguments);
    m_ready = waitForLine(QStringLiteral("^ready$"), StartTimeoutMs);
}

BoxProcess::~BoxProcess()
{
    m_process.disconnect();
    stop(m_process);
}

void BoxProcess::send(const QString &command)
{
    m_process.write(command.toUtf8() + '\n');
}

bool BoxProcess::obeys(const QString &command, const QString &line)
{
    send(command);
    return waitForLine(line);
}

bool BoxProcess::waitForLine(const QString &pattern, int timeoutMs)
{
    const QRegularExpression wanted(pattern);
    bool found = findLine(wanted);
    if (found)
        return true;
    const bool ended = !QTest::qWaitFor(
        [&] {
            found = findLine(wanted);
            return found || m_process.state() == QProcess::NotRunning;
        },
        timeoutMs);
    // What a process wrote last may arrive together with the news of its end.
    return found || (!ended && findLine(wanted));
}

void BoxProcess::readLines()
{
    while (m_process.canReadLine())
        m_lines.append(QString::fromUtf8(m_process.readLine()).chopped(1));
}

bool BoxProcess::findLine(const QRegularExpression &pattern)
{
    for (qsizetype i = m_next; i < m_lines.size(); ++i) {
        if (m_lines[i].contains(pattern)) {
            m_next = i + 1;
            return true;
        }
    }
    return false;
}

} // namespace testsupport
