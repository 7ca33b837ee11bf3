#include "editor/StateFile.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

namespace
{

QString folder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
}

} // namespace

QVariantMap StateFile::read()
{
    QFile file(folder() + u'/' + FileName);
    if (file.size() > MaxSize || !file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object().toVariantMap();
}

void StateFile::write(const QVariantMap &state)
{
    QDir().mkpath(folder());
    QSaveFile file(folder() + u'/' + FileName);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(QJsonDocument(QJsonObject::fromVariantMap(state)).toJson());
    file.commit();
}
