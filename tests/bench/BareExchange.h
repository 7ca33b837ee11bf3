#pragma once

#include "midi/ByteMessage.h"
#include "midi/MidiClients.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

/// A client on the MIDI library alone, without events or signals: sends a message and sleeps until
/// the answer is there. The floor for everything that waits for answers.
class BareExchange
{
public:
    /// Opens the ports of that name. Throws what the MIDI library throws.
    BareExchange(const char *inputPort, const char *outputPort);
    ~BareExchange();
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
    static void onMessage(double timeStamp, std::vector<unsigned char> *message, void *user);

    midi::MidiClients m_clients;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    bool m_answered = false;
};
