#include "scripts/FileDialogColors.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

namespace
{

QQuickItem *findPathBar(QQuickItem *item)
{
    if (item->inherits("QQuickFolderBreadcrumbBar"))
        return item;
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children) {
        if (QQuickItem *bar = findPathBar(child))
            return bar;
    }
    return nullptr;
}

} // namespace

void FileDialogColors::setPathBar(const QColor &color)
{
    // The dialog is no child of the element that opened it. It lies in a window of its own, or in
    // that of the application, as the release has it.
    const QWindowList windows = QGuiApplication::allWindows();
    for (const QWindow *window : windows) {
        const auto *quick = qobject_cast<const QQuickWindow *>(window);
        const QQuickItem *bar = quick ? findPathBar(quick->contentItem()) : nullptr;
        if (auto *background = bar ? bar->property("background").value<QQuickItem *>() : nullptr)
            background->setProperty("color", color);
    }
}
