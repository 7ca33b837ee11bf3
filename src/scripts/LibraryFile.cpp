#include "scripts/LibraryFile.h"

#include "scripts/ForeignState.h"
#include "scripts/ReplaceFile.h"
#include "scripts/SaveLock.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <utility>

namespace
{

constexpr QLatin1String Conflict("conflict");
constexpr QLatin1String Damaged("damaged");

/// Never 0, which stands for nothing known.
size_t digestOf(const QByteArray &bytes)
{
    return qHash(bytes, 0) | 1U;
}

/// Anything but a file could be endless, or wait for ever.
std::optional<QByteArray> contentOf(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

} // namespace

LibraryFile::LibraryFile(QString path)
    : m_path(std::move(path))
{}

std::optional<QByteArray> LibraryFile::read() const
{
    return contentOf(m_path);
}

void LibraryFile::loaded(const QByteArray &bytes, quint64 revision)
{
    const QMutexLocker locker(&m_mutex);
    remember(bytes);
    m_safeRevision = revision;
    m_current = true;
    m_exact = false;
}

void LibraryFile::replacedByDefaults(quint64 revision)
{
    const QMutexLocker locker(&m_mutex);
    m_safeRevision = revision;
    m_current = false;
    m_exact = false;
    if (!QFileInfo::exists(m_path))
        return;
    const SaveLock lock(m_path);
    const std::optional<QByteArray> damaged = read();
    if (damaged && !scripts::readLibrary(*damaged).scripts && !keepBeside(*damaged).isEmpty())
        remember(*damaged);
}

void LibraryFile::removeLeftovers() const
{
    const QFileInfo file(m_path);
    const SaveLock lock(m_path);
    // Without the lock, one of them may belong to an editor that is saving now.
    if (!lock.isHeld())
        return;
    // Of the library and of the copies beside it. QSaveFile adds six random letters to the name; a
    // suffix that somebody chose, such as "backup", has no capitals within.
    static const QRegularExpression random(
        QStringLiteral(R"(\.(?=.*[a-z])(?=.+[A-Z])[A-Za-z]{6}$)"));
    const QString pattern = QStringLiteral("%1*.%2.??????");
    const QDir folder(file.path());
    const QStringList names =
        folder.entryList({pattern.arg(file.completeBaseName(), file.suffix())}, QDir::Files);
    for (const QString &name : names.filter(random))
        QFile::remove(folder.filePath(name));
}

bool LibraryFile::saveChanges(const QList<scripts::Script> &list, quint64 revision)
{
    {
        const QMutexLocker locker(&m_mutex);
        if (m_current && revision == m_safeRevision && isUntouched())
            return true;
    }
    return save(list, revision);
}

bool LibraryFile::save(const QList<scripts::Script> &list, quint64 revision)
{
    const QMutexLocker locker(&m_mutex);
    if (revision < m_safeRevision)
        return true;
    if (m_exact && revision == m_safeRevision && isUntouched())
        return true;
    return save(scripts::writeLibrary(list), list, revision);
}

/// Since it was last read or written here, as far as its size and time tell.
bool LibraryFile::isUntouched() const
{
    return QFileInfo::exists(m_path) && stamp() == m_stamp;
}

bool LibraryFile::save(const QByteArray &bytes, const QList<scripts::Script> &list,
                       quint64 revision)
{
    // The folder may have gone since the start.
    QDir().mkpath(QFileInfo(m_path).path());
    const SaveLock lock(m_path);
    const std::optional<QByteArray> present = read();
    if (present && *present != bytes && digestOf(*present) != m_digest) {
        const bool nothingToSave = revision == m_safeRevision;
        if (nothingToSave && scripts::readLibrary(*present).scripts)
            return true;
        if (!keepForeign(*present, list))
            return false;
    }
    if (!present && QFileInfo(m_path).isFile() && !moveAside())
        return false;
    if (present != bytes && !scripts::replaceFile(m_path, bytes))
        return false;
    remember(bytes);
    m_safeRevision = revision;
    m_current = true;
    m_exact = true;
    return true;
}

bool LibraryFile::keepForeign(const QByteArray &bytes, const QList<scripts::Script> &own)
{
    const std::optional<QList<scripts::Script>> foreign = scripts::readLibrary(bytes).scripts;
    if (foreign && isNewestCopyReplaceable(*foreign, own)) {
        m_newestCopy.list = *foreign;
        return scripts::replaceFile(m_newestCopy.path, bytes);
    }
    const QString path = keepBeside(bytes);
    if (foreign)
        m_newestCopy = {path, *foreign};
    return !path.isEmpty();
}

bool LibraryFile::isNewestCopyReplaceable(const QList<scripts::Script> &foreign,
                                          const QList<scripts::Script> &own) const
{
    const std::optional<QByteArray> copy = contentOf(m_newestCopy.path);
    // Somebody may have edited it.
    return copy && scripts::readLibrary(*copy).scripts == m_newestCopy.list &&
           scripts::continues(m_newestCopy.list, foreign, own);
}

QString LibraryFile::keepBeside(const QByteArray &bytes) const
{
    const QLatin1String kind = scripts::readLibrary(bytes).scripts ? Conflict : Damaged;
    for (int number = 1;; ++number) {
        QString name = nameBeside(kind, number);
        if (!QFileInfo::exists(name)) {
            qWarning().noquote() << "Keeping the file of another program as" << name;
            return scripts::replaceFile(name, bytes) ? name : QString();
        }
        if (QFileInfo(name).size() == bytes.size() && contentOf(name) == bytes)
            return name;
    }
}

/// For a file that cannot be opened, and so not copied.
bool LibraryFile::moveAside() const
{
    int number = 1;
    while (QFileInfo::exists(nameBeside(Damaged, number)))
        ++number;
    return QFile::rename(m_path, nameBeside(Damaged, number));
}

QString LibraryFile::nameBeside(QLatin1String kind, int number) const
{
    const QFileInfo file(m_path);
    return QStringLiteral("%1/%2.%3-%4.%5")
        .arg(file.path(), file.completeBaseName(), kind, QString::number(number), file.suffix());
}

LibraryFile::Stamp LibraryFile::stamp() const
{
    const QFileInfo file(m_path);
    return {file.size(), file.lastModified()};
}

void LibraryFile::remember(const QByteArray &bytes)
{
    m_digest = digestOf(bytes);
    m_stamp = stamp();
}
