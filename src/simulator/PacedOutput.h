#pragma once

#include "midi/ByteMessage.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>

namespace simulator
{

/// Sends messages in order and no faster than a box on full-speed USB could. Beyond that the MIDI
/// service would lose some without a word: what one of its cycles takes is limited.
/// Lives on the main thread.
class PacedOutput : public QObject
{
public:
    using Sink = std::function<void(midi::ByteView)>;

    /// `sink` hands one message to the MIDI library.
    explicit PacedOutput(Sink sink, QObject *parent = nullptr);

    /// Sends at once where the pace allows, else as soon as it does.
    void send(midi::ByteMessage message);
    void clear() { m_waiting.clear(); }

private:
    void refill();
    void sendWaiting();

    Sink m_sink;
    std::deque<midi::ByteMessage> m_waiting;
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_allowance; ///< bytes; below zero after a message larger than what was left
};

} // namespace simulator
