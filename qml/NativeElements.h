#pragma once

#include "firmware/FirmwareUpdate.h"
#include "session/DeviceSession.h"
#include "settings/CppInterface.h"

#include <QtQml/qqml.h>

// Classes of the application's own module. The objects themselves are made at start-up and reach
// the documents by name; the types let a document say what it expects.

struct CppInterfaceElement
{
    Q_GADGET
    QML_FOREIGN(CppInterface)
    QML_NAMED_ELEMENT(CppInterface)
};

struct FirmwareUpdateElement
{
    Q_GADGET
    QML_FOREIGN(FirmwareUpdate)
    QML_NAMED_ELEMENT(FirmwareUpdate)
    QML_UNCREATABLE("There is one, firmwareUpdate")
};

struct DeviceSessionElement
{
    Q_GADGET
    QML_FOREIGN(DeviceSession)
    QML_NAMED_ELEMENT(DeviceSession)
};
