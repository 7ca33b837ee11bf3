#pragma once

#include "firmware/FirmwareUpdate.h"
#include "settings/CppInterface.h"

class QQmlApplicationEngine;

/// The native objects that every document reaches by name. They belong to the entry, which keeps
/// them until the engine with its documents is gone.
struct NativeObjects
{
    FirmwareUpdate firmwareUpdate;
    CppInterface cppInterface;
};

/// Makes the native types and the application's own module known to the engine and sets the native
/// objects, and the one SettingsTransfer that the engine owns, on its root context. Comes before
/// any document is loaded; `objects` must outlive the engine.
void registerUserInterface(QQmlApplicationEngine &engine, NativeObjects &objects);

/// Loads the main window. A failure ends the event loop with -1 once it runs.
void loadMainWindow(QQmlApplicationEngine &engine);
