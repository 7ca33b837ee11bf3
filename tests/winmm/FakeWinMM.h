#pragma once

#include <cstddef>
#include <string_view>

/// Windows' MIDI system as the MIDI library's code for it sees it, with simulated boxes plugged in.
/// It behaves as we believe that Windows does: the names of ports, a wavetable synthesizer as
/// output 0, inputs that only one client can hold, messages in as many of the input's buffers as
/// they need, and handles that are of no more use after an unplug. Messages arrive on a thread of
/// its own; the functions here belong to the test's thread.
namespace fakewinmm
{

/// Begins anew, without boxes. No client may be left that has a port open.
void reset();
/// Plugs a new box in, behind those that were added before. Its last ports lead to the box, the
/// others to nothing.
void addBox(std::string_view script, unsigned inputs = 4, unsigned outputs = 6);
/// `index` counts the boxes in the order in which they were added. A box keeps what it holds.
void setPlugged(std::size_t index, bool plugged);

} // namespace fakewinmm
