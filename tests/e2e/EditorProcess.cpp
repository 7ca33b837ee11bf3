#include "e2e/EditorProcess.h"

#include "scripts/LibraryDocument.h"
#include "support/ChildProcess.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace
{

constexpr char LogPattern[] = "%{category}: %{message}";
constexpr char OwnCategories[] = "ostrel.";

} // namespace

EditorProcess::EditorProcess()
    : m_environment(QProcessEnvironment::systemEnvironment())
{
    setEnvironment("HOME", m_home.path());
    setEnvironment("XDG_CONFIG_HOME", homePath("config"));
    setEnvironment("XDG_DATA_HOME", homePath("data"));
    setEnvironment("XDG_CACHE_HOME", homePath("cache"));
    setEnvironment("TMPDIR", m_home.path());
    // Without an address, D-Bus starts a bus of its own and leaves files in the home folder.
    setEnvironment("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + homePath("no-bus"));
    setEnvironment("QT_QPA_PLATFORM", "offscreen");
    setEnvironment("QT_QUICK_BACKEND", "software");
    setEnvironment("QT_MESSAGE_PATTERN", LogPattern);
    m_process.setWorkingDirectory(m_home.path());
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    testsupport::endWithParent(m_process);
}

EditorProcess::~EditorProcess()
{
    if (hasCrashed())
        qWarning().noquote() << "The editor crashed:" << m_output + m_process.readAll();
    testsupport::stop(m_process);
}

void EditorProcess::setEnvironment(const QString &name, const QString &value)
{
    m_environment.insert(name, value);
}

bool EditorProcess::start()
{
    m_output.clear();
    m_isKilled = false;
    m_process.setProcessEnvironment(m_environment);
    m_process.start(OSTREL_EDITOR_PROGRAM, QStringList());
    return m_process.waitForStarted();
}

void EditorProcess::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_isKilled = true;
    m_process.kill();
    m_process.waitForFinished();
}

bool EditorProcess::hasCrashed() const
{
    return m_process.state() == QProcess::NotRunning &&
           m_process.exitStatus() == QProcess::CrashExit && !m_isKilled;
}

QStringList EditorProcess::log()
{
    m_output += m_process.readAll();
    return QString::fromUtf8(m_output).split('\n').filter(
        QRegularExpression('^' + QRegularExpression::escape(OwnCategories)));
}

QString EditorProcess::libraryFolder() const
{
    return homePath("data/ZEVMusicTechnology/Ostrel Editor");
}

QString EditorProcess::libraryPath() const
{
    return libraryFolder() + "/OSTScripts.json";
}

QString EditorProcess::settingsPath() const
{
    return homePath("config/ZEVMusicTechnology/Ostrel Editor.conf");
}

void hideMidiServices()
{
    qputenv("JACK_DEFAULT_SERVER", "no-such-server");
    qputenv("JACK_NO_START_SERVER", "1");
    qunsetenv("OSTREL_MIDI_API");
}

int scriptsIn(const QString &path)
{
    const auto scripts = scripts::readLibrary(contentOf(path)).scripts;
    return scripts ? static_cast<int>(scripts->size()) : -1;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size();
}
