#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// The built editor as a process without a display, in a home folder of its own. The folder stays
/// as long as the object, so that the editor can be started again in it.
class EditorProcess
{
public:
    EditorProcess();
    ~EditorProcess();
    Q_DISABLE_COPY_MOVE(EditorProcess)

    /// For the next start.
    void setEnvironment(const QString &name, const QString &value);

    [[nodiscard]] bool start();
    /// Ends it at once, as a crash or a power cut does.
    void kill();

    [[nodiscard]] QProcess &process() { return m_process; }
    [[nodiscard]] const QProcess &process() const { return m_process; }
    /// What the editor's own log categories wrote since the start, a line each.
    [[nodiscard]] QStringList log();

    [[nodiscard]] QString homePath(const QString &name) const { return m_home.filePath(name); }
    [[nodiscard]] QString libraryFolder() const;
    [[nodiscard]] QString libraryPath() const;
    [[nodiscard]] QString settingsPath() const;

private:
    [[nodiscard]] bool hasCrashed() const;

    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
    QProcess m_process;
    QByteArray m_output;
    bool m_isKilled = false;
};

/// From here on, an editor finds no MIDI service unless the test has one of its own.
void hideMidiServices();

/// How many scripts a library file holds, -1 where it is none.
[[nodiscard]] int scriptsIn(const QString &path);
/// All of a file; empty where there is none.
[[nodiscard]] QByteArray contentOf(const QString &path);
/// Writes a file and the folders above it. False when that failed.
[[nodiscard]] bool writeFile(const QString &path, const QByteArray &content);
