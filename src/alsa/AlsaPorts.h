#pragma once

#include "alsa/AlsaKernel.h"
#include "alsa/LeakyBucket.h"
#include "midi/protocol/Bytes.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace midi
{

/// Sends messages of any length through an open output of ALSA's sequencer, whole. The sequencer
/// keeps 4096 bytes for a device and drops the rest of a longer message without a word, so long
/// messages go in pieces, each once there is room for it. One object per opened pair of ports; one
/// thread.
class AlsaPorts
{
public:
    /// Hands a message or a piece of one to the MIDI library. Gives what went wrong, "" otherwise.
    using Sink = std::function<std::string(ByteView)>;

    /// Messages over this length go in pieces of exactly this length and a rest, because the
    /// library passes a piece on only when it is as long as the longest one so far.
    static constexpr std::size_t PieceLength = 256;

    /// The addresses of ports that are open.
    AlsaPorts(AlsaAddress input, AlsaAddress output);

    /// Returns once all of `message` was handed over, or with what went wrong: the sink failed, or
    /// the device took nothing for a second or is gone. Blocks for as long as the device takes to
    /// make room, or, where the kernel does not tell, as long as a slow device would.
    [[nodiscard]] std::string send(ByteView message, const Sink &sink);

    /// Waits until the device has taken all that was sent, two seconds at most. False when it has
    /// not, as far as one can know: whoever closes the port may then wait for it for 20 seconds.
    [[nodiscard]] bool drain();

    /// Bytes that the device has taken and sent; 0 where the kernel does not tell.
    [[nodiscard]] std::uint64_t movedBytes() const;

private:
    enum class Room { Enough, TooLittle, Unknown };

    [[nodiscard]] Room awaitRoom(std::size_t bytes, std::chrono::milliseconds patience);

    AlsaAddress m_input;
    AlsaAddress m_output;
    std::optional<std::uint64_t> m_capacity; ///< of the kernel's buffer in bytes, where it tells
    LeakyBucket m_bucket;                    ///< where it does not
};

} // namespace midi
