#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

/// What is wrong with a simulated box. Everything off is a healthy one.
namespace simulator
{

enum class WrongCrc {
    Never,
    Once, ///< each data block goes out with a wrong checksum first and then correctly
    Always,
};

struct BoxFaults
{
    bool mute = false;                 ///< no reply to anything
    std::chrono::milliseconds slow{0}; ///< before the replies to a message
    std::uint32_t flood = 0;           ///< unrelated messages in front of each reply
    bool foreignSysexId = false;       ///< addressed replies carry another box's sysex ID
    bool twice = false;                ///< each reply goes out twice

    // Data blocks
    WrongCrc wrongCrc = WrongCrc::Never;
    bool lyingLength = false;    ///< the length field reaches far beyond the frame
    bool hugeFrame = false;      ///< frames of HugeFrameLength bytes
    bool truncatedFrame = false; ///< the second half of a frame is lost, its end is not

    // Firmware update. Blocks count from 1; each of these happens once.
    bool ignoreUpdateRequest = false; ///< does not restart into the bootloader (every time)
    std::uint32_t dropBlock = 0;      ///< throws this block away and asks for it again
    std::uint32_t repeatRequest = 0;  ///< asks for the first block so many times more
    std::uint32_t askBeyondEnd = 0;   ///< answers this block with a request far beyond the end
    std::uint32_t silentAt = 0;       ///< answers no block from this one on, until a cancel
    std::uint32_t unplugAt = 0;       ///< leaves the bus when this block arrives
};

/// Longer than any message that a box may send.
inline constexpr std::size_t HugeFrameLength = 20000;

} // namespace simulator
