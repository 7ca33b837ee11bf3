#pragma once

#include <QString>
#include <QtGlobal>

#ifndef Q_OS_UNIX
#include <QLockFile>
#endif

/// Keeps other editors from saving into the same folder for as long as it lives; made and destroyed
/// on one thread. Ends with its process, however that ends. Where the system does not give the lock
/// within half a second, because the other editor hangs or the file system knows no locks, we go on
/// without: the user's own save matters more.
class SaveLock
{
public:
    /// `path` is the file to save.
    explicit SaveLock(const QString &path);
    ~SaveLock();
    Q_DISABLE_COPY_MOVE(SaveLock)

    [[nodiscard]] bool isHeld() const;

private:
#ifdef Q_OS_UNIX
    /// The folder, which can be locked without leaving a file behind; -1 if it cannot be opened.
    int m_folder;
    bool m_held = false;
#else
    QLockFile m_lock;
#endif
};
