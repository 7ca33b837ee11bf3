#pragma once

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

/// A home folder for one test, in which the models look for their library.
class LibraryHome
{
public:
    LibraryHome()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_folder.path()));
        QDir().mkpath(folder());
    }

    [[nodiscard]] QString folder() const
    {
        return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    }

    [[nodiscard]] QString path(const QString &name = QStringLiteral("OSTScripts.json")) const
    {
        return folder() + u'/' + name;
    }

    [[nodiscard]] QByteArray read(const QString &name = QStringLiteral("OSTScripts.json")) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void write(const QByteArray &bytes) const
    {
        QFile file(path());
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("The test's own file cannot be written");
    }

    [[nodiscard]] QStringList files() const { return QDir(folder()).entryList(QDir::Files); }

private:
    QTemporaryDir m_folder;
};
