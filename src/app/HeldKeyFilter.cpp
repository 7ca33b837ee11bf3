#include "app/HeldKeyFilter.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickWindow>

namespace
{

bool pressesButtons(int key)
{
    return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space;
}

/// Return ends the editing of a line, and the one after it would begin it anew.
bool isTextFor(const QQuickItem *item, int key)
{
    return item && (item->inherits("QQuickTextEdit") ||
                    (key == Qt::Key_Space && item->inherits("QQuickTextInput")));
}

} // namespace

bool HeldKeyFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return false;
    const auto *key = static_cast<const QKeyEvent *>(event);
    const auto *window = qobject_cast<const QQuickWindow *>(watched);
    return window && key->isAutoRepeat() && pressesButtons(key->key()) &&
           !isTextFor(window->activeFocusItem(), key->key());
}
