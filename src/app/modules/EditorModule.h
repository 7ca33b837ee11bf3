#pragma once

#include "editor/PythonKeys.h"

#include <QtQml/qqml.h>

struct PythonKeysElement
{
    Q_GADGET
    QML_FOREIGN(PythonKeys)
    QML_NAMED_ELEMENT(PythonKeys)
};
