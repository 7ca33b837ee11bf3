#pragma once

#include "app/Registrations.h"
#include "scripts/LibraryDocument.h"
#include "support/MidiServer.h"
#include "unit/scripts/LibraryHome.h"

#include <QAccessible>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <functional>
#include <memory>
#include <optional>

/// The main window as the program shows it, with a home folder and settings of its own. A test
/// makes one after the boxes that it needs, finds what a user sees by object name, accessible name
/// or text, and acts by mouse and key events. Declare a MidiServer first.
class WindowFixture
{
public:
    using Library = QList<scripts::Script>;

    static constexpr int TimeoutMs = 20000;

    /// Shows the window once `library` is in its file; without one it is a first start.
    /// What it remembers is in `memory`, or in its own folder, where there is nothing yet.
    explicit WindowFixture(const std::optional<Library> &library = {}, const QString &memory = {});
    ~WindowFixture();
    Q_DISABLE_COPY_MOVE(WindowFixture)

    /// To be called by each test: every warning that it does not announce fails it, those of the
    /// documents above all.
    static void failOnWarnings();

    [[nodiscard]] QQuickWindow *window() const { return m_window; }

    // What is there. Null or an invalid value where there is no such thing.

    /// Of the window or of a popup, open or not.
    [[nodiscard]] QObject *object(const QString &objectName) const;
    [[nodiscard]] QVariant value(const QString &objectName, const char *property) const;
    [[nodiscard]] QString text(const QString &objectName) const
    {
        return value(objectName, "text").toString();
    }
    [[nodiscard]] bool isOpen(const QString &popup) const
    {
        return value(popup, "visible").toBool();
    }
    /// Waits until it is closed, which takes a moment where something moves.
    [[nodiscard]] bool closes(const QString &popup) const;
    /// What an icon is drawn with.
    [[nodiscard]] qreal iconOpacity(const QString &objectName) const;

    // What can be seen, the uppermost first.

    [[nodiscard]] QQuickItem *item(const QString &objectName) const;
    [[nodiscard]] QQuickItem *itemSaying(const QString &text) const;
    /// Whether something in sight says `text`, and nothing that does takes it for markup.
    [[nodiscard]] bool showsLiterally(const QString &text) const;
    /// The texts of a list's rows from top to bottom.
    [[nodiscard]] QStringList rows(const QString &listName) const;
    [[nodiscard]] QString focusedName() const;
    /// What assistive technology finds under a name.
    [[nodiscard]] QAccessibleInterface *accessible(const QString &name,
                                                   QAccessible::Role role) const;
    /// What can be pressed or have the keyboard, and has no name for assistive technology.
    [[nodiscard]] QString namelessControls() const;

    // What a user does. A missing item fails the test.

    void click(QQuickItem *item) const;
    void click(const QString &objectName) const { click(item(objectName)); }
    void hover(const QString &objectName) const;
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const;
    /// Keeps it pressed until it has been repeated a few times.
    void hold(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const;
    void pressCtrl(Qt::Key key) const { press(key, Qt::ControlModifier); }
    /// Goes on with Tab until the focus is where it was, and returns what had it on the way. The
    /// script editor, where Tab inserts blanks, is helped on.
    [[nodiscard]] QStringList tabOrder() const;
    /// Types text of one line in ASCII.
    void type(const QString &text) const;

    // What came of it

    [[nodiscard]] const LibraryHome &home() const { return m_home; }
    /// What the library file holds now.
    [[nodiscard]] Library savedLibrary() const { return m_home.library(); }
    [[nodiscard]] QStringList savedNames() const;
    /// Leaves a picture of the uppermost window in the build folder, as NAME.png.
    void takePicture(const QString &name) const;

private:
    /// The main window and the dialogs that have windows of their own, as those have from Qt 6.8 on
    /// that stand in for the system's.
    [[nodiscard]] QList<QQuickWindow *> windowsFromFront() const;
    [[nodiscard]] QQuickWindow *front() const { return windowsFromFront().first(); }
    /// With the keyboard, which a window manager would give it when one in front of it closes.
    [[nodiscard]] QQuickWindow *activeFront() const;
    [[nodiscard]] QList<QAccessibleInterface *> accessibleTree() const;
    [[nodiscard]] QQuickItem *find(const std::function<bool(QQuickItem *)> &wanted) const;

    LibraryHome m_home;
    std::unique_ptr<NativeObjects> m_objects; ///< outlives the engine
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QQuickWindow *m_window = nullptr;
};

/// Whose MIDI service the tests of a class meet: one of their own, or the machine's.
enum class MidiOf { Test, Machine };

/// Runs the tests of a class.
int runWindowTests(QObject &test, int argc, char **argv, MidiOf owner = MidiOf::Test);

/// The main function of a test program, as QTEST_MAIN is without a window.
#define WINDOW_TEST_MAIN(TestClass)                                                                \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        TestClass test;                                                                            \
        return runWindowTests(test, argc, argv);                                                   \
    }
