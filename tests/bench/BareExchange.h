#pragma once

#include "midi/backend/Backend.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

/// A client on the back end alone, without events or signals: sends a message and sleeps until
/// the answer is there. The floor for everything that waits for answers.
class BareExchange
{
public:
    /// Opens the ports of that name. Throws when it cannot.
    BareExchange(const char *inputPort, const char *outputPort);
    BareExchange(const BareExchange &) = delete;
    BareExchange &operator=(const BareExchange &) = delete;

    void send(const midi::ByteMessage &message);
    /// False when no answer came in time.
    [[nodiscard]] bool exchange(const midi::ByteMessage &message,
                                std::chrono::milliseconds timeout);

    /// For messages that others send: the first one to arrive after expectAnswer() is the answer.
    void expectAnswer();
    [[nodiscard]] bool awaitAnswer(std::chrono::milliseconds timeout);

private:
    /// On the MIDI library's thread.
    void arrived();

    std::mutex m_mutex;
    std::condition_variable m_arrived;
    bool m_answered = false;
    std::unique_ptr<midi::Backend> m_backend; ///< goes first, and its thread with it
};
