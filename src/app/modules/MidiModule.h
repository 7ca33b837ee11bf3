#pragma once

#include "midi/QtRtMIDI.h"

#include <QtQml/qqml.h>

/// The MIDI link as the documents know it.
struct MidiElement
{
    Q_GADGET
    QML_FOREIGN(QtRtMIDI)
    QML_NAMED_ELEMENT(MIDI)
};
