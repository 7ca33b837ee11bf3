#pragma once

#include "simulator/BoxFaults.h"

#include "midi/protocol/Bytes.h"

#include <optional>
#include <string>
#include <vector>

namespace simulator
{

/// The part of a box that takes new firmware: checks each block, says which one it wants next, and
/// deciphers what arrived once the client says that this was all.
class BoxBootloader
{
public:
    /// A position that no image reaches.
    static constexpr std::uint32_t PositionBeyondEnd = 0x0FFFFFFF;

    struct Outcome
    {
        midi::ByteMessage reply; ///< empty when there is none
        std::string event;       ///< what happened, for the record; empty when nothing did
        bool unplugged = false;
        /// The deciphered firmware, once it is complete.
        std::optional<std::vector<std::uint8_t>> firmware;
    };

    /// `faults` belongs to the box and outlives this object; a fault that has happened is cleared.
    explicit BoxBootloader(BoxFaults &faults)
        : m_faults(&faults)
    {}

    /// Forgets what arrived and waits for a first block.
    void restart();

    /// Handles a firmware update message for this box, of any length and content.
    [[nodiscard]] Outcome receive(midi::ByteView message);

private:
    [[nodiscard]] Outcome takeBlock(midi::ByteView message);
    [[nodiscard]] std::optional<Outcome> fail(std::uint32_t block);
    [[nodiscard]] Outcome finish(midi::ByteView message);
    [[nodiscard]] Outcome ask(std::uint32_t position, const std::string &reason) const;
    [[nodiscard]] std::uint32_t position() const;

    BoxFaults *m_faults;
    std::vector<std::uint8_t> m_stored; ///< as it arrived, still enciphered
    std::uint8_t m_sysexId = 0;         ///< of the message at hand, which is the box's own
    bool m_silent = false;
};

} // namespace simulator
