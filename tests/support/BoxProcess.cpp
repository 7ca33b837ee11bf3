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

bool BoxProcess::waitForLine(const QRegularExpression &pattern, int timeoutMs)
{
    bool found = findLine(pattern);
    if (found)
        return true;
    const bool ended = !QTest::qWaitFor(
        [&] {
            found = findLine(pattern);
            return found || m_process.state() == QProcess::NotRunning;
        },
        timeoutMs);
    // What a process wrote last may arrive together with the news of its end.
    return found || (!ended && findLine(pattern));
}

bool BoxProcess::waitForLine(const QString &pattern, int timeoutMs)
{
    return waitForLine(QRegularExpression(pattern), timeoutMs);
}

void BoxProcess::readLines()
{
    m_unfinished += m_process.readAllStandardOutput();
    for (qsizetype end = m_unfinished.indexOf('\n'); end >= 0; end = m_unfinished.indexOf('\n')) {
        m_lines.append(QString::fromUtf8(m_unfinished.first(end)));
        m_unfinished.remove(0, end + 1);
    }
}

bool BoxProcess::findLine(const QRegularExpression &pattern)
{
    for (qsizetype i = m_next; i < m_lines.size(); ++i) {
        m_match = pattern.match(m_lines[i]);
        if (m_match.hasMatch()) {
            m_next = i + 1;
            return true;
        }
    }
    return false;
}

} // namespace testsupport
