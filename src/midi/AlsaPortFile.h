#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What Linux tells of the ports of a MIDI device while they are open, in a text file that anybody
/// may read: how much it still takes for the device, and how much came from it. The sequencer
/// itself tells neither, and drops what the device does not take in time.
namespace midi
{

/// A port of ALSA's sequencer, "N:M" at the end of a reported name.
struct AlsaAddress
{
    unsigned client = 0; ///< N
    unsigned port = 0;   ///< M
};

/// The file that tells of a port, and which part of the file does.
struct AlsaPortFile
{
    std::string path;       ///< "/proc/asound/cardC/midiD"
    unsigned substream = 0; ///< counted from 0
};

/// Whether another program made the port, and not a device's driver.
[[nodiscard]] bool belongsToProgram(AlsaAddress address);

/// Nothing where the port belongs to a program or to the system.
[[nodiscard]] std::optional<AlsaPortFile> alsaPortFile(AlsaAddress address);

/// The number behind `key` in the part of `content` that begins with the line "`direction`
/// `substream`". Nothing where the part, the key or a number is missing.
[[nodiscard]] std::optional<std::uint64_t> readPortValue(std::string_view content,
                                                         std::string_view direction,
                                                         unsigned substream, std::string_view key);

/// Bytes that the kernel takes for the output at `file` right now. Nothing where it does not tell,
/// as when the device is gone.
[[nodiscard]] std::optional<std::size_t> outputRoom(const AlsaPortFile &file);

/// Bytes that the kernel keeps for the output at `file` at most; nothing as above.
[[nodiscard]] std::optional<std::size_t> outputCapacity(const AlsaPortFile &file);

/// Bytes that the device took from the output at `file`, or sent through the input, since somebody
/// opened it; 0 where the kernel does not tell.
[[nodiscard]] std::uint64_t bytesTaken(const AlsaPortFile &file);
[[nodiscard]] std::uint64_t bytesReceived(const AlsaPortFile &file);

} // namespace midi
