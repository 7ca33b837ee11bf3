#pragma once

namespace midi
{

/// Makes room for a whole frame in the sequencer clients that this process has open, where a box
/// sends one faster than the program comes to read it: by default the sequencer keeps about 4600
/// bytes of a long message and drops the rest. Does nothing on systems without ALSA. To be called
/// after the MIDI library's clients were made.
void enlargeAlsaInputPools();

} // namespace midi
