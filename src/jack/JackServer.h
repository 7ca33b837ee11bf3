#pragma once

#include <atomic>
#include <memory>
#include <string>

struct _jack_client;

namespace midi
{

/// The JACK server behind the MIDI library's clients, as far as the library does not tell: a client
/// of its own, without ports, which hears of changes and of the end. Belongs to one thread.
class JackServer
{
public:
    /// Null where no server runs. Never starts one.
    [[nodiscard]] static std::unique_ptr<JackServer> connect(const std::string &clientName);
    ~JackServer();
    JackServer(const JackServer &) = delete;
    JackServer &operator=(const JackServer &) = delete;

    /// The server has ended. Clients of it can only be closed then.
    [[nodiscard]] bool isGone() const { return m_gone; }
    /// Waits until nothing has changed among the server's clients for 20 ms, at most for half a
    /// second. JACK tells a client of each change on a thread that walks through the client's
    /// ports, and crashes when one is closed meanwhile.
    void waitForQuiet() const;

private:
    explicit JackServer(_jack_client *client);

    _jack_client *m_client;
    std::atomic<bool> m_gone = false;
    std::atomic<unsigned> m_changes = 0; ///< counts them
};

} // namespace midi
