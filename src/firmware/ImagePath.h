#pragma once

#include <QString>

/// Where a firmware image lies, given as a URL.
namespace firmware
{

/// The path that QFile opens for `url`: of a local file (file:) or of a compiled-in resource
/// (qrc:). Empty for every other scheme, and for a plain path, which is no URL.
[[nodiscard]] QString imagePath(const QString &url);

/// Turns each "//X/" of a path into "X:/", in place, and returns a copy. A drive that was written
/// as the host of a URL comes back as a drive that way; the rule is deliberately not limited to
/// the start of the path.
QString repairDrive(QString &path);

} // namespace firmware
