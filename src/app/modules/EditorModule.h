#pragma once

#include "editor/PythonKeys.h"
#include "editor/TextFinder.h"

#include <QtQml/qqml.h>

struct PythonKeysElement
{
    Q_GADGET
    QML_FOREIGN(PythonKeys)
    QML_NAMED_ELEMENT(PythonKeys)
};

struct TextFinderElement
{
    Q_GADGET
    QML_FOREIGN(TextFinder)
    QML_NAMED_ELEMENT(TextFinder)
};
