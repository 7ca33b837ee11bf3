#pragma once

#include "editor/ErrorLines.h"
#include "editor/LostCharacters.h"
#include "editor/PythonKeys.h"
#include "editor/StateFile.h"
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

struct ErrorLinesElement
{
    Q_GADGET
    QML_FOREIGN(ErrorLines)
    QML_NAMED_ELEMENT(ErrorLines)
};

struct LostCharactersElement
{
    Q_GADGET
    QML_FOREIGN(LostCharacters)
    QML_NAMED_ELEMENT(LostCharacters)
};

struct StateFileElement
{
    Q_GADGET
    QML_FOREIGN(StateFile)
    QML_NAMED_ELEMENT(StateFile)
};
