#include "app/WarmUp.h"

#include <QFontDatabase>
#include <QImageReader>
#include <QThreadPool>

namespace
{

/// The first look at any font reads the system's list of fonts.
void prepareFonts()
{
    static_cast<void>(QFontDatabase::hasFamily(QString()));
}

/// The first picture loads the plugins for all formats.
void prepareArtwork()
{
    static_cast<void>(QImageReader(QStringLiteral(":/assets/ScriptIcon.svg")).read());
}

} // namespace

void warmUp()
{
    QThreadPool::globalInstance()->start([] {
        prepareFonts();
        prepareArtwork();
    });
}
