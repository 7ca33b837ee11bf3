#pragma once

#include "scripts/LibraryDocument.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

/// A home folder for one test, in which the models look for their library.
class LibraryHome
{
public:
    static inline const QString FileName = QStringLiteral("OSTScripts.json");

    LibraryHome()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_folder.path()));
        QDir().mkpath(folder());
    }

    [[nodiscard]] QString folder() const
    {
        return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    }

    [[nodiscard]] QString path(const QString &name = FileName) const
    {
        return folder() + u'/' + name;
    }

    [[nodiscard]] QByteArray read(const QString &name = FileName) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// The scripts in a file; none where it is no library.
    [[nodiscard]] QList<scripts::Script> library(const QString &name = FileName) const
    {
        return scripts::readLibrary(read(name)).scripts.value_or(QList<scripts::Script>());
    }

    void write(const QByteArray &bytes, const QString &name = FileName) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("The test's own file cannot be written");
    }

    [[nodiscard]] QStringList files() const { return QDir(folder()).entryList(QDir::Files); }

private:
    QTemporaryDir m_folder;
};
