#pragma once

#include <QProcess>

namespace testsupport
{

/// A display of the test's own, without a window manager, and a user at its keyboard.
class VirtualDisplay
{
public:
    /// Starts an X server and waits until programs can connect; isRunning() tells whether it
    /// worked.
    VirtualDisplay();
    ~VirtualDisplay();
    Q_DISABLE_COPY_MOVE(VirtualDisplay)

    [[nodiscard]] bool isRunning() const { return !m_name.isEmpty(); }
    /// For the environment variable DISPLAY.
    [[nodiscard]] const QString &name() const { return m_name; }

    /// Waits for the window of `process` and presses keys there, named as xdotool does. False when
    /// no window came.
    [[nodiscard]] bool press(const QProcess &process, const QStringList &keys) const;

    /// Takes the display away from under the programs that show themselves on it.
    void end();

private:
    QProcess m_process;
    QString m_name;
};

} // namespace testsupport
