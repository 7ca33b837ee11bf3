#pragma once

#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"

#include <QtQml/qqml.h>

struct ConnectedDeviceListModelElement
{
    Q_GADGET
    QML_FOREIGN(ConnectedDeviceListModel)
    QML_NAMED_ELEMENT(ConnectedDeviceListModel)
};

struct MidiDeviceElement
{
    Q_GADGET
    QML_FOREIGN(MidiDevice)
    QML_NAMED_ELEMENT(MidiDevice)
    QML_UNCREATABLE("Devices are found by the device list")
};
