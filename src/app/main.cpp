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

} // namespace

int main(int argc, char *argv[])
{
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
