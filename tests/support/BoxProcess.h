#pragma once

#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

namespace testsupport
{

/// The simulated box as a process of its own, on the MIDI service that the environment names.
class BoxProcess
{
public:
    static constexpr int DefaultTimeoutMs = 20000;

    /// Starts ostrel-box with `arguments` and waits until its ports are registered. isReady()
    /// tells whether it worked.
    explicit BoxProcess(const QStringList &arguments = {});
    ~BoxProcess();
    Q_DISABLE_COPY_MOVE(BoxProcess)

    [[nodiscard]] bool isReady() const { return m_ready; }

    /// Types one command, such as "print Hello".
    void send(const QString &command);

    /// Types one command and waits, as below, for the line that it is done.
    [[nodiscard]] bool obeys(const QString &command, const QString &line);

    /// Waits for a line in which `pattern` is found, looking only behind the line of the last
    /// success, while the event loop runs. False when none came in time.
    [[nodiscard]] bool waitForLine(const QString &pattern, int timeoutMs = DefaultTimeoutMs);

    /// All lines so far, for counting and for the message of a failed test.
    [[nodiscard]] const QStringList &lines() const { return m_lines; }
    [[nodiscard]] QByteArray errorOutput() { return m_process.readAllStandardError(); }

    [[nodiscard]] QProcess &process() { return m_process; }

private:
    void readLines();
    [[nodiscard]] bool findLine(const QRegularExpression &pattern);

    QProcess m_process;
    QStringList m_lines;
    qsizetype m_next = 0; ///< the first line that waitForLine() looks at
    bool m_ready = false;
};

} // namespace testsupport
