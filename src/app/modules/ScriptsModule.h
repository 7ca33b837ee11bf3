#pragma once

#include "scripts/FileDialogColors.h"
#include "scripts/ScriptFile.h"
#include "scripts/ScriptListModel.h"
#include "scripts/TextAppender.h"

#include <QtQml/qqml.h>

struct ScriptListModelElement
{
    Q_GADGET
    QML_FOREIGN(ScriptListModel)
    QML_NAMED_ELEMENT(ScriptListModel)
};

struct ScriptFileElement
{
    Q_GADGET
    QML_FOREIGN(ScriptFile)
    QML_NAMED_ELEMENT(ScriptFile)
};

struct FileDialogColorsElement
{
    Q_GADGET
    QML_FOREIGN(FileDialogColors)
    QML_NAMED_ELEMENT(FileDialogColors)
};

struct TextAppenderElement
{
    Q_GADGET
    QML_FOREIGN(TextAppender)
    QML_NAMED_ELEMENT(TextAppender)
};
