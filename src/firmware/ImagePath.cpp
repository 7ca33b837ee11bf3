#include "firmware/ImagePath.h"

#include <QRegularExpression>
#include <QUrl>

namespace firmware
{

QString imagePath(const QString &url)
{
    const QUrl parsed(url, QUrl::TolerantMode);
    if (parsed.isLocalFile()) {
        QString path = parsed.toLocalFile();
        return repairDrive(path);
    }
    if (parsed.scheme() == QLatin1String("qrc"))
        return parsed.toString().remove(QRegularExpression(QStringLiteral("^qrc")));
    return {};
}

QString repairDrive(QString &path)
{
    static const QRegularExpression drive(QStringLiteral("//([^/])/"));
    return path.replace(drive, QStringLiteral("\\1:/"));
}

} // namespace firmware
