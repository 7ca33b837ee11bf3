#include "ui/WindowFixture.h"

#include "midi/QtRtMIDI.h"

#include <QDir>
#include <QGuiApplication>
#include <QQuickStyle>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <algorithm>

namespace
{

/// Both lists of the window say that they find no file.
void announceFirstStart()
{
    for (int list = 0; list < 2; ++list)
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("^Failed to open file for reading")));
}

/// In the middle of what can be seen of `item`.
QPoint centreOf(QQuickItem *item)
{
    QRectF visible = item->mapRectToScene(item->boundingRect());
    for (const QQuickItem *outer = item->parentItem(); outer; outer = outer->parentItem()) {
        if (outer->clip() || !outer->parentItem())
            visible &= outer->mapRectToScene(QRectF(0, 0, outer->width(), outer->height()));
    }
    return visible.center().toPoint();
}

QString nameOf(QQuickItem *item)
{
    const QAccessibleInterface *const shown = QAccessible::queryAccessibleInterface(item);
    return shown ? shown->text(QAccessible::Name) : QString();
}

void collectShown(QAccessibleInterface *top, QList<QAccessibleInterface *> &shown)
{
    if (!top || top->state().invisible)
        return;
    shown << top;
    for (int i = 0; i < top->childCount(); ++i)
        collectShown(top->child(i), shown);
}

bool isControl(QAccessibleInterface *shown)
{
    // Texts can be reached as well; what scroll bars do, the keys do where the keyboard is.
    if (shown->role() == QAccessible::StaticText || shown->role() == QAccessible::ScrollBar)
        return false;
    QAccessibleActionInterface *const actions = shown->actionInterface();
    return shown->state().focusable ||
           (actions && actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
}

bool hasName(const QAccessibleInterface *shown)
{
    // Buttons with a text take their names from it, but only while somebody listens.
    return !shown->text(QAccessible::Name).isEmpty() ||
           (shown->role() == QAccessible::Button &&
            !shown->object()->property("text").toString().isEmpty());
}

QString textBelow(const QQuickItem *item)
{
    for (QQuickItem *child : item->childItems()) {
        QString text = child->property("text").toString();
        if (!text.isEmpty())
            return text;
    }
    return {};
}

QQuickItem *findBelow(QQuickItem *item, const std::function<bool(QQuickItem *)> &wanted)
{
    if (!item->isVisible())
        return nullptr;
    QList<QQuickItem *> fromFront = item->childItems();
    std::ranges::reverse(fromFront);
    for (QQuickItem *child : std::as_const(fromFront)) {
        if (QQuickItem *found = findBelow(child, wanted))
            return found;
    }
    return wanted(item) ? item : nullptr;
}

} // namespace

WindowFixture::WindowFixture(const std::optional<Library> &library, const QString &memory)
{
    const QString config = memory.isEmpty() ? m_home.folder() + QStringLiteral("/config") : memory;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(config));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       m_home.folder() + QStringLiteral("/settings"));
    if (library)
        m_home.write(scripts::writeLibrary(*library));
    else
        announceFirstStart();

    m_objects = std::make_unique<NativeObjects>();
    m_engine = std::make_unique<QQmlApplicationEngine>();
    registerUserInterface(*m_engine, *m_objects);
    loadMainWindow(*m_engine);
    m_window = qobject_cast<QQuickWindow *>(m_engine->rootObjects().value(0));
    if (!m_window || !QTest::qWaitForWindowActive(m_window, TimeoutMs))
        qFatal("The main window does not show");
}

WindowFixture::~WindowFixture()
{
    // What is still to be delivered belongs to this window: the engine leaks a signal of another
    // thread whose receiver is gone. So nothing more is to arrive.
    if (auto *link = m_window ? m_window->findChild<QtRtMIDI *>() : nullptr)
        link->closePort();
    QCoreApplication::sendPostedEvents();
    m_engine.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void WindowFixture::failOnWarnings()
{
    // The platform without a display minds that it cannot hand on size hints.
    QTest::failOnWarning(
        QRegularExpression(QStringLiteral("^(?!This plugin does not support propagateSizeHints)")));
}

QObject *WindowFixture::object(const QString &objectName) const
{
    QObject *const visible = item(objectName);
    return visible ? visible : m_window->findChild<QObject *>(objectName);
}

QVariant WindowFixture::value(const QString &objectName, const char *property) const
{
    const QObject *const owner = object(objectName);
    return owner ? owner->property(property) : QVariant();
}

bool WindowFixture::closes(const QString &popup) const
{
    return QTest::qWaitFor([&] { return !isOpen(popup); });
}

qreal WindowFixture::iconOpacity(const QString &objectName) const
{
    const QQuickItem *const icon = item(objectName);
    if (!icon)
        return -1;
    for (QQuickItem *child : icon->childItems()) {
        if (child->property("source").isValid())
            return child->opacity();
    }
    return -1;
}

QList<QQuickWindow *> WindowFixture::windowsFromFront() const
{
    QList<QQuickWindow *> windows{m_window};
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        auto *const other = qobject_cast<QQuickWindow *>(window);
        if (other && other != m_window && other->isVisible())
            windows.prepend(other);
    }
    return windows;
}

QQuickWindow *WindowFixture::activeFront() const
{
    QQuickWindow *const window = front();
    const auto isActive = [&] { return QGuiApplication::focusWindow() == window; };
    if (!isActive())
        window->requestActivate();
    QTest::qVerify(QTest::qWaitFor(isActive, TimeoutMs), "active", qPrintable(window->title()),
                   __FILE__, __LINE__);
    return window;
}

QQuickItem *WindowFixture::find(const std::function<bool(QQuickItem *)> &wanted) const
{
    for (const QQuickWindow *window : windowsFromFront()) {
        if (QQuickItem *found = findBelow(window->contentItem(), wanted))
            return found;
    }
    return nullptr;
}

QQuickItem *WindowFixture::item(const QString &objectName) const
{
    return find([&](const QQuickItem *item) { return item->objectName() == objectName; });
}

QQuickItem *WindowFixture::itemSaying(const QString &text) const
{
    return find([&](const QQuickItem *item) {
        return item->width() > 0 && item->property("text").toString() == text;
    });
}

bool WindowFixture::showsLiterally(const QString &text) const
{
    bool isShown = false;
    const QQuickItem *const misread = find([&](const QQuickItem *item) {
        if (!item->property("text").toString().contains(text))
            return false;
        isShown = true;
        const QVariant format = item->property("textFormat");
        return format.isValid() && format.toInt() != Qt::PlainText;
    });
    return isShown && !misread;
}

QStringList WindowFixture::rows(const QString &listName) const
{
    const QQuickItem *const list = item(listName);
    if (!list)
        return {};
    const auto *const content = list->property("contentItem").value<QQuickItem *>();
    QList<QQuickItem *> rows = content->childItems();
    std::ranges::sort(rows, {}, &QQuickItem::y);
    QStringList texts;
    for (const QQuickItem *row : std::as_const(rows)) {
        if (row->isVisible() && row->property("scriptName").isValid())
            texts << textBelow(row);
    }
    return texts;
}

QString WindowFixture::focusedName() const
{
    // A control may leave its focus to a part of it that has no name.
    for (QQuickItem *item = m_window->activeFocusItem(); item; item = item->parentItem()) {
        if (!nameOf(item).isEmpty())
            return nameOf(item);
    }
    return {};
}

QAccessibleInterface *WindowFixture::accessible(const QString &name, QAccessible::Role role) const
{
    const QList<QAccessibleInterface *> tree = accessibleTree();
    const auto found = std::ranges::find_if(tree, [&](const QAccessibleInterface *shown) {
        return shown->role() == role && shown->text(QAccessible::Name) == name;
    });
    return found == tree.end() ? nullptr : *found;
}

QString WindowFixture::namelessControls() const
{
    QStringList nameless;
    for (QAccessibleInterface *shown : accessibleTree()) {
        if (isControl(shown) && !hasName(shown))
            nameless << shown->object()->metaObject()->className() + shown->object()->objectName();
    }
    return nameless.join(QStringLiteral(", "));
}

QList<QAccessibleInterface *> WindowFixture::accessibleTree() const
{
    // Or controls that say nothing of themselves would be missing.
    QAccessible::setActive(true);
    QList<QAccessibleInterface *> shown;
    for (QQuickWindow *window : windowsFromFront())
        collectShown(QAccessible::queryAccessibleInterface(window), shown);
    return shown;
}

void WindowFixture::click(QQuickItem *item) const
{
    if (QTest::qVerify(item, "item", "There is nothing to click", __FILE__, __LINE__))
        QTest::mouseClick(item->window(), Qt::LeftButton, {}, centreOf(item));
}

void WindowFixture::hover(const QString &objectName) const
{
    QQuickItem *const target = item(objectName);
    if (!QTest::qVerify(target, "item", qPrintable(objectName), __FILE__, __LINE__))
        return;
    // A pointer that moves within the item, as a real one does.
    QTest::mouseMove(m_window, centreOf(target) + QPoint(1, 1));
    QTest::mouseMove(m_window, centreOf(target));
}

void WindowFixture::press(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    QTest::keyClick(activeFront(), key, modifiers);
}

void WindowFixture::hold(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    const auto send = [&](QEvent::Type type, bool repeated) {
        const QString text = key == Qt::Key_Space ? " " : "\r";
        qt_handleKeyEvent(activeFront(), type, key, modifiers, modifiers ? QString() : text,
                          repeated);
    };
    send(QEvent::KeyPress, false);
    for (int i = 0; i < 6; ++i) {
        send(QEvent::KeyRelease, true);
        send(QEvent::KeyPress, true);
    }
    send(QEvent::KeyRelease, false);
}

QStringList WindowFixture::tabOrder() const
{
    constexpr int Many = 50;
    QStringList order{focusedName()};
    do {
        if (order.last() == QLatin1String("Script editor"))
            m_window->activeFocusItem()->nextItemInFocusChain()->forceActiveFocus(
                Qt::TabFocusReason);
        else
            press(Qt::Key_Tab);
        order << focusedName();
    } while (order.last() != order.first() && order.size() < Many);
    order.removeLast();
    return order;
}

void WindowFixture::type(const QString &text) const
{
    for (const QChar character : text)
        QTest::keyClick(activeFront(), character.toLatin1());
}

QStringList WindowFixture::savedNames() const
{
    QStringList names;
    for (const scripts::Script &script : savedLibrary())
        names << script.name;
    return names;
}

void WindowFixture::takePicture(const QString &name) const
{
    const QDir folder(QStringLiteral(OSTREL_PICTURES));
    const QString path = folder.filePath(name + QStringLiteral(".png"));
    const bool saved = folder.mkpath(QStringLiteral(".")) && front()->grabWindow().save(path);
    QTest::qVerify(saved, "saved", qPrintable(path), __FILE__, __LINE__);
}

int runWindowTests(QObject &test, int argc, char **argv, MidiOf owner)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ZEVMusicTechnology"));
    QCoreApplication::setApplicationName(QStringLiteral("Ostrel Editor"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    std::optional<testsupport::MidiServer> server;
    if (owner == MidiOf::Test && !server.emplace().isRunning())
        qFatal("No MIDI service: %s", server->output().constData());
    return QTest::qExec(&test, argc, argv);
}
