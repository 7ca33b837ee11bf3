#include "scripts/ReplaceFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace scripts
{
namespace
{

bool writeAt(QFile &file, qint64 position, QByteArrayView bytes)
{
    return file.seek(position) && file.write(bytes.data(), bytes.size()) == bytes.size();
}

bool writeInPlace(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return false;
    const qint64 oldSize = file.size();
    const qint64 common = qMin<qint64>(oldSize, bytes.size());
    if (!writeAt(file, common, QByteArrayView(bytes).sliced(common))) {
        file.resize(oldSize);
        return false;
    }
    return writeAt(file, 0, QByteArrayView(bytes).first(common)) && file.resize(bytes.size());
}

/// QSaveFile's own fallback truncates before it writes, and a full disk would lose the old content.
bool folderForbidsNewFiles(const QString &path)
{
    const QFileInfo file(path);
    return file.isFile() && !QFileInfo(file.canonicalPath()).isWritable();
}

} // namespace

bool replaceFile(const QString &path, const QByteArray &bytes)
{
    // Unbuffered, because a buffer that a full disk takes in part is committed all the same.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return folderForbidsNewFiles(path) && writeInPlace(path, bytes);
    if (file.write(bytes) != bytes.size())
        file.cancelWriting();
    return file.commit();
}

} // namespace scripts
