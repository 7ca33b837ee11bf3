#pragma once

#include "midi/protocol/Bytes.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <functional>

namespace simulator
{

/// How fast a MIDI service takes messages.
struct OutputPace
{
    std::int64_t atOnce = 0; ///< bytes after a pause
    std::int64_t bytesPerMs = 0;
    std::int64_t messageOverhead =
        0; ///< bytes that the service keeps for each message beside its own
};

/// Sends messages in order and no faster than a MIDI service takes them. Beyond that it would lose
/// some without a word.
/// Lives on the main thread.
class PacedOutput : public QObject
{
public:
    using Sink = std::function<void(midi::ByteView)>;

    /// `sink` hands one message to the MIDI library.
    PacedOutput(const OutputPace &pace, Sink sink, QObject *parent = nullptr);

    /// Sends at once where the pace allows, else as soon as it does.
    void send(midi::ByteMessage message);
    void clear() { m_waiting.clear(); }

private:
    void refill();
    void sendWaiting();

    OutputPace m_pace;
    Sink m_sink;
    std::deque<midi::ByteMessage> m_waiting;
    QTimer m_timer;
    QElapsedTimer m_clock;
    std::int64_t m_allowance; ///< bytes; below zero after a message larger than what was left
};

} // namespace simulator
