#include "alsa/AlsaPorts.h"

#include "alsa/AlsaKernel.h"

#include <algorithm>
#include <thread>

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace midi
{
namespace
{

constexpr auto LookInterval = 1ms;
/// A device that takes nothing for so long is given up, and one whose port is closed sooner.
constexpr auto StallTime = 1s;
constexpr auto DrainStallTime = 300ms;
/// Nobody waits longer for room, since another program may go on filling it.
constexpr auto LongestWait = 2s;

/// What the kernel keeps for a device, and what another program's port holds, in bytes.
constexpr std::size_t BufferSize = 4096;
/// Just below the slowest device there is, one with a plug of the old kind: 31250 bits per second.
constexpr double SlowestPace = 3;
/// A program takes what comes as soon as it runs, so this is only to give it the time to.
constexpr double ProgramPace = 48;

} // namespace

AlsaPorts::AlsaPorts(AlsaAddress input, AlsaAddress output)
    : m_input(input)
    , m_output(output)
    , m_capacity(kernelValue(output, "Output", "Buffer size"))
    , m_bucket(BufferSize, belongsToProgram(output) ? ProgramPace : SlowestPace)
{}

std::string AlsaPorts::send(ByteView message, const Sink &sink)
{
    while (!message.empty()) {
        const ByteView piece = message.first(std::min(PieceLength, message.size()));
        const Room room = awaitRoom(piece.size(), StallTime);
        if (room != Room::Enough)
            return room == Room::Unknown ? "the device is gone"
                                         : "the device does not take any data";
        if (std::string failure = sink(piece); !failure.empty())
            return failure;
        message = message.subspan(piece.size());
    }
    return {};
}

bool AlsaPorts::drain()
{
    const Room room = awaitRoom(m_capacity.value_or(BufferSize), DrainStallTime);
    return m_capacity ? room != Room::TooLittle : belongsToProgram(m_output);
}

std::uint64_t AlsaPorts::movedBytes() const
{
    return kernelValue(m_output, "Output", "Tx bytes").value_or(0) +
           kernelValue(m_input, "Input", "Rx bytes").value_or(0);
}

AlsaPorts::Room AlsaPorts::awaitRoom(std::size_t bytes, std::chrono::milliseconds patience)
{
    if (!m_capacity) {
        while (!m_bucket.take(bytes, steady_clock::now()))
            std::this_thread::sleep_for(LookInterval);
        return Room::Enough;
    }
    // Twice as much as needed, because another program may send between the look and the piece.
    const auto needed = std::min<std::uint64_t>(2 * bytes, *m_capacity);
    std::uint64_t mostRoom = 0;
    const auto begin = steady_clock::now();
    auto lastTaken = begin;
    for (;;) {
        const auto room = kernelValue(m_output, "Output", "Avail");
        if (!room)
            return Room::Unknown;
        if (*room >= needed)
            return Room::Enough;
        const auto now = steady_clock::now();
        if (*room > mostRoom) {
            mostRoom = *room;
            lastTaken = now;
        }
        if (now - lastTaken > patience || now - begin > LongestWait)
            return Room::TooLittle;
        std::this_thread::sleep_for(LookInterval);
    }
}

} // namespace midi
