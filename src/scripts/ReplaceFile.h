#pragma once

#include <QByteArray>
#include <QString>

namespace scripts
{

/// Makes `bytes` the content of the file, creating it if need be. A crash, a kill or a full disk at
/// any moment leaves the old or the new content, never a part: the file is replaced as a whole.
/// Only where its folder forbids new files is it written in place, and then it grows first, so that
/// a full disk is met while the old content still stands. False when the disk refused.
[[nodiscard]] bool replaceFile(const QString &path, const QByteArray &bytes);

} // namespace scripts
