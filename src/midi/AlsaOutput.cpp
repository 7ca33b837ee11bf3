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
/// Without a byte taken, after which a device is given up.
constexpr auto StallTime = 1s;
/// The same when its port is closed, with nothing more to be said.
constexpr auto DrainStallTime = 300ms;

/// What the kernel keeps for a device, and what another program's port holds, in bytes.
constexpr double BufferSize = 4096;
/// Just below the slowest device there is, one with a plug of the old kind: 31250 bits per second.
constexpr double SlowestPace = 3;
/// A program takes what comes as soon as it runs, so this is only to give it the time to.
constexpr double ProgramPace = 48;

} // namespace

AlsaOutput::AlsaOutput(AlsaAddress address)
    : m_file(alsaPortFile(address))
    , m_bucket(BufferSize, belongsToProgram(address) ? ProgramPace : SlowestPace)
{
    const auto capacity = m_file ? outputCapacity(*m_file) : std::nullopt;
    if (capacity && room())
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

std::optional<std::size_t> AlsaOutput::room() const
{
    return m_file ? outputRoom(*m_file) : std::nullopt;
}

AlsaOutput::Result AlsaOutput::awaitRoom(std::size_t bytes)
{
    if (m_file)
        return awaitToldRoom(bytes, StallTime);
    while (!m_bucket.take(bytes, steady_clock::now()))
        std::this_thread::sleep_for(LookInterval);
    return Result::Sent;
}

bool AlsaOutput::drain() const
{
    return !m_file || awaitToldRoom(m_capacity, DrainStallTime) != Result::NotTaken;
}

AlsaOutput::Result AlsaOutput::awaitToldRoom(std::size_t bytes,
                                             std::chrono::milliseconds patience) const
{
    std::size_t lastRoom = 0;
    auto lastTaken = steady_clock::now();
    for (;;) {
        const auto roomNow = room();
        if (!roomNow)
            return Result::Gone;
        if (*roomNow >= bytes)
            return Result::Sent;
        const auto now = steady_clock::now();
        if (*roomNow != lastRoom) {
            lastRoom = *roomNow;
            lastTaken = now;
        }
        if (now - lastTaken > patience)
            return Result::NotTaken;
        std::this_thread::sleep_for(LookInterval);
    }
}

} // namespace midi
