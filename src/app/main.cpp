#include "app/Registrations.h"
#include "app/WarmUp.h"
#include "process/TerminationSignals.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>

namespace
{

/// Names the program for the settings store and the data folder.
void setApplicationIdentity()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ZEVMusicTechnology"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("ostrel.example"));
    QCoreApplication::setApplicationName(QStringLiteral("Ostrel Editor"));
}

/// Qt would keep compiled documents of its own modules in the user's cache folder, but this program
/// writes nowhere but to its settings and its data. What is compiled into libraries is used still.
void keepNoDocumentCache()
{
    if (!qEnvironmentVariableIsSet("QML_DISK_CACHE"))
        qputenv("QML_DISK_CACHE", "aot");
}

/// Qt would look beside each document for variants of it for this system and language. There are
/// none, of ours or of the style, and the looking takes milliseconds of every start.
void lookForNoVariants()
{
    qputenv("QT_NO_BUILTIN_SELECTORS", "1");
}

} // namespace

int main(int argc, char *argv[])
{
    keepNoDocumentCache();
    lookForNoVariants();
    QGuiApplication app(argc, argv);
    warmUp();
    NativeObjects objects; // outlives the engine, whose documents use it
    QQmlApplicationEngine engine;

    setApplicationIdentity();
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    registerUserInterface(engine, objects);
    process::quitOnTerminationSignals();
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &objects.firmwareUpdate,
                     &FirmwareUpdate::cancelUpdate);
    loadMainWindow(engine);
    return QGuiApplication::exec();
}
