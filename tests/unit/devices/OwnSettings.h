#pragma once

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

/// A test whose settings bear the program's own names, in a folder that no installed editor reads.
class OwnSettings : public QObject
{
public:
    /// Called by Qt Test's main().
    static void initMain()
    {
        QCoreApplication::setOrganizationName("ZEVMusicTechnology");
        QCoreApplication::setApplicationName("Ostrel Editor");
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder());
    }

    static QString folder()
    {
        static const QTemporaryDir ours;
        return ours.path();
    }
};
