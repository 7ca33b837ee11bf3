#include "app/Registrations.h"

#include "settings/SettingsTransfer.h"

#include <QCoreApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>

using namespace Qt::StringLiterals;

// Generated with the modules of these names. They are called here because a module in a static
// library is otherwise dropped by the linker, and because the order is then ours.
void qml_register_types_ConnectedDevices();
void qml_register_types_Editing();
void qml_register_types_MIDI();
void qml_register_types_Scripts();
void qml_register_types_OSTSyntaxHighlighter();
void qml_register_types_OstrelEditor();

namespace
{

constexpr int ExitNoWindow = -1;

} // namespace

void registerUserInterface(QQmlApplicationEngine &engine, NativeObjects &objects)
{
    qml_register_types_ConnectedDevices();
    qml_register_types_Editing();
    qml_register_types_MIDI();
    qml_register_types_Scripts();
    qml_register_types_OSTSyntaxHighlighter();
    qml_register_types_OstrelEditor();
    engine.addImportPath(u"qrc:/qt/qml"_s);

    QQmlContext *context = engine.rootContext();
    context->setContextProperty(u"firmwareUpdate"_s, &objects.firmwareUpdate);
    context->setContextProperty(u"cppInterface"_s, &objects.cppInterface);
    SettingsTransfer::registerSingleton(&engine);
    objects.cppInterface.setSettingsTransfer(SettingsTransfer::instance());
    QCoreApplication::instance()->installEventFilter(&objects.heldKeys);
}

void loadMainWindow(QQmlApplicationEngine &engine)
{
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, QCoreApplication::instance(),
        [] { QCoreApplication::exit(ExitNoWindow); }, Qt::QueuedConnection);
    // By address instead of by module name: that works with every release of Qt 6.
    engine.load(QUrl(u"qrc:/qt/qml/OstrelEditor/qml/Main.qml"_s));
}
