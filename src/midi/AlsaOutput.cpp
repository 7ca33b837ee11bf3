#include "midi/AlsaOutput.h"

#include <algorithm>
#include <chrono>
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
constexpr double BufferSize = 4096;
/// Just below the slowest device there is, one with a plug of the old kind: 31250 bits per second.
constexpr double SlowestPace = 3;
/// A program takes what comes as soon as it runs, so this is only to give it the time to.
constexpr double ProgramPace = 48;

} // namespace

AlsaOutput::AlsaOutput(AlsaAddress address)
    : m_address(address)
    , m_file(alsaPortFile(address))
    , m_bucket(BufferSize, belongsToProgram(address) ? ProgramPace : SlowestPace)
{
    const auto capacity = m_file ? outputCapacity(*m_file) : std::nullopt;
    if (capacity)
        m_capacity = *capacity;
    else
        m_file.reset();
}

AlsaOutput::Result AlsaOutput::send(ByteView message, const Sink &sink)
{
    while (!message.empty()) {
        const ByteView piece = message.first(std::min(PieceLength, message.size()));
        const Result result = awaitRoom(piece.size());
        if (result != Result::Sent)
            return result;
        if (!sink(piece))
            return Result::Refused;
        message = message.subspan(piece.size());
    }
    return Result::Sent;
}

std::uint64_t AlsaOutput::bytesTaken() const
{
    return m_file ? midi::bytesTaken(*m_file) : 0;
}

bool AlsaOutput::drain() const
{
    if (m_file)
        return awaitToldRoom(m_capacity, DrainStallTime) != Result::NotTaken;
    while (!m_bucket.isEmpty(steady_clock::now()))
        std::this_thread::sleep_for(LookInterval);
    return belongsToProgram(m_address);
}

AlsaOutput::Result AlsaOutput::awaitRoom(std::size_t bytes)
{
    // Twice as much as needed, because another program may send between the look and the piece.
    if (m_file)
        return awaitToldRoom(std::min(2 * bytes, m_capacity), StallTime);
    while (!m_bucket.take(bytes, steady_clock::now()))
        std::this_thread::sleep_for(LookInterval);
    return Result::Sent;
}

AlsaOutput::Result AlsaOutput::awaitToldRoom(std::size_t bytes,
                                             std::chrono::milliseconds patience) const
{
    std::size_t mostRoom = 0;
    const auto begin = steady_clock::now();
    auto lastTaken = begin;
    for (;;) {
        const auto room = outputRoom(*m_file);
        if (!room)
            return Result::Gone;
        if (*room >= bytes)
            return Result::Sent;
        const auto now = steady_clock::now();
        if (*room > mostRoom) {
            mostRoom = *room;
            lastTaken = now;
        }
        if (now - lastTaken > patience || now - begin > LongestWait)
            return Result::NotTaken;
        std::this_thread::sleep_for(LookInterval);
    }
}

} // namespace midi
