#include "scripts/SaveLock.h"

#include <chrono>

#ifdef Q_OS_UNIX
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#endif

namespace
{

constexpr std::chrono::milliseconds Patience{500};

} // namespace

#ifdef Q_OS_UNIX

SaveLock::SaveLock(const QString &path)
    : m_folder(open(QFile::encodeName(QFileInfo(path).path()).constData(),
                    O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    constexpr std::chrono::milliseconds Interval{5};
    for (auto left = Patience; m_folder >= 0 && left > std::chrono::milliseconds::zero();
         left -= Interval) {
        m_held = flock(m_folder, LOCK_EX | LOCK_NB) == 0;
        if (m_held || errno != EWOULDBLOCK)
            return;
        std::this_thread::sleep_for(Interval);
    }
}

SaveLock::~SaveLock()
{
    if (m_folder >= 0)
        close(m_folder);
}

bool SaveLock::isHeld() const
{
    return m_held;
}

#else

// A kill in the moment of locking leaves an empty lock file, which only its age betrays.
SaveLock::SaveLock(const QString &path)
    : m_lock(path + QStringLiteral(".lock"))
{
    m_lock.setStaleLockTime(static_cast<int>(2 * Patience.count()));
    static_cast<void>(m_lock.tryLock(static_cast<int>(Patience.count())));
}

SaveLock::~SaveLock() = default;

bool SaveLock::isHeld() const
{
    return m_lock.isLocked();
}

#endif
