#pragma once

#include "scripts/OSTSyntaxHighlighter.h"

#include <QtQml/qqml.h>

struct OSTSyntaxHighlighterElement
{
    Q_GADGET
    QML_FOREIGN(OSTSyntaxHighlighter)
    QML_NAMED_ELEMENT(OSTSyntaxHighlighter)
};
