#pragma once

#include "midi/AlsaPortFile.h"
#include "midi/ByteMessage.h"
#include "midi/LeakyBucket.h"

#include <chrono>
#include <functional>
#include <optional>

namespace midi
{

/// Sends messages of any length through an open output of ALSA's sequencer, whole. The sequencer
/// keeps 4096 bytes for a device and drops the rest of a longer message without a word, so long
/// messages go in pieces, each once there is room for it. One object per opened output; GUI thread.
class AlsaOutput
{
public:
    /// Hands a message or a piece of one to the MIDI library. False when the library refused it.
    using Sink = std::function<bool(ByteView)>;
    enum class Result { Sent, Refused, NotTaken, Gone };

    /// Messages over this length go in pieces of exactly this length and a rest, because the
    /// library passes a piece on only when it is as long as the longest one so far.
    static constexpr std::size_t PieceLength = 256;

    /// `address` is that of the port, which must be open already.
    explicit AlsaOutput(AlsaAddress address);

    /// Returns once all of `message` was handed over. NotTaken: the device took nothing for a
    /// second, or too little. Gone: it was unplugged meanwhile. Blocks for as long as the device
    /// takes to make room, or, where the kernel does not tell, as long as a slow device would.
    [[nodiscard]] Result send(ByteView message, const Sink &sink);

    /// Waits until the device has taken all that was sent, two seconds at most. False when it has
    /// not, as far as one can know: whoever closes the port may then wait for it for 20 seconds.
    [[nodiscard]] bool drain() const;

    /// Bytes that the device has taken; 0 where the kernel does not tell.
    [[nodiscard]] std::uint64_t bytesTaken() const;

private:
    [[nodiscard]] Result awaitRoom(std::size_t bytes);
    [[nodiscard]] Result awaitToldRoom(std::size_t bytes, std::chrono::milliseconds patience) const;

    AlsaAddress m_address;
    std::optional<AlsaPortFile> m_file; ///< where the kernel tells
    std::size_t m_capacity = 0;         ///< of the kernel's buffer, in bytes; there as well
    LeakyBucket m_bucket;               ///< where it does not
};

} // namespace midi
