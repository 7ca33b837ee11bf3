#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What has to be asked of Linux's kernel itself, because neither the MIDI library nor the
/// sequencer offers it. On other systems these functions do nothing.
namespace midi
{

/// A port of ALSA's sequencer, "N:M" at the end of the name that the MIDI library reports.
struct AlsaAddress
{
    unsigned client = 0; ///< N
    unsigned port = 0;   ///< M
};

/// Whether ALSA's sequencer is there and may be used. The MIDI library can tell only with
/// complaints on standard error.
[[nodiscard]] bool hasAlsa();

/// Makes room for whole frames in the sequencer clients that this process has open. By default the
/// sequencer keeps about 4600 bytes of a long message for a program and drops the rest, and a quick
/// box sends more before a busy program comes to read them.
void enlargeAlsaInputPools();

/// Whether another program made the port, and not a device's driver.
[[nodiscard]] bool belongsToProgram(AlsaAddress address);

/// What the kernel tells of a device's port, in a text file that anybody may read: the number
/// behind `key` in the part that begins with the line "`direction` M", such as "Avail" of "Output".
/// Nothing where it does not tell, as for the port of a program or of a device that is gone.
[[nodiscard]] std::optional<std::uint64_t>
kernelValue(AlsaAddress address, std::string_view direction, std::string_view key);

/// The same out of the text of such a file.
[[nodiscard]] std::optional<std::uint64_t> readKernelValue(std::string_view content,
                                                           std::string_view direction,
                                                           unsigned substream,
                                                           std::string_view key);

/// While this exists, a signal every 50 ms cuts this thread's waits in the kernel short, as far as
/// a signal can. When a port is closed whose device takes nothing, ALSA otherwise waits twice for
/// ten seconds. Takes SIGRTMAX for that.
class InterruptedWaits
{
public:
    InterruptedWaits();
    ~InterruptedWaits();
    InterruptedWaits(const InterruptedWaits &) = delete;
    InterruptedWaits &operator=(const InterruptedWaits &) = delete;

private:
    std::optional<void *> m_timer; ///< the system's, where it gave one
};

} // namespace midi
