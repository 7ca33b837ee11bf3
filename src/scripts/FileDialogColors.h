#pragma once

#include <QColor>
#include <QObject>

/// Colours what Qt's own file dialog, the one for systems that have none, paints white whatever the
/// palette says. GUI thread only.
class FileDialogColors : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The bar that shows the path, whose text comes from the palette. To be called once the dialog
    /// was opened. Does nothing where the system's dialog stands.
    Q_INVOKABLE static void setPathBar(const QColor &color);
};
