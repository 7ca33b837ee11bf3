#pragma once

#include "app/HeldKeyFilter.h"
#include "firmware/FirmwareUpdate.h"
#include "settings/CppInterface.h"

class QQmlApplicationEngine;

/// The native objects that every document reaches by name, and what guards its keys. They belong to
/// the entry, which keeps them until the engine with its documents is gone.
struct NativeObjects
{
    HeldKeyFilter heldKeys;
    FirmwareUpdate firmwareUpdate;
    CppInterface cppInterface;
};

/// Makes the native types and the application's own module known to the engine, sets the native
/// objects, and the one SettingsTransfer that the engine owns, on its root context, and filters the
/// application's keys. Comes before any document is loaded; `objects` must outlive the engine.
void registerUserInterface(QQmlApplicationEngine &engine, NativeObjects &objects);

/// Loads the main window. A failure ends the event loop with -1 once it runs.
void loadMainWindow(QQmlApplicationEngine &engine);
