#pragma once

#include "scripts/LibraryDocument.h"

namespace scripts
{

/// Whether `later`, which another editor saved, may take the place of a copy of `earlier`, because
/// the same session of that editor saved both. Nothing in a library names its writer, so we look at
/// the scripts: each of `earlier` is still there, is in our `own` list as well, or has become one
/// that resembles it more than it does ours.
[[nodiscard]] bool continues(const QList<Script> &earlier, const QList<Script> &later,
                             const QList<Script> &own);

} // namespace scripts
