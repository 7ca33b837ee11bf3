#pragma once

namespace midi
{

/// Makes room for whole frames in the sequencer clients that this process has open. By default the
/// sequencer keeps about 4600 bytes of a long message for a program and drops the rest, and a quick
/// box sends more before a busy program comes to read them. Does nothing on systems without ALSA.
/// To be called after the MIDI library's clients were made.
void enlargeAlsaInputPools();

} // namespace midi
