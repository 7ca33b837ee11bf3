#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace midi
{

/// The JACK server behind the MIDI library's clients, as far as the library does not tell: when a
/// server dies, it goes on reporting the ports of that time, and a send waits for ever once its
/// buffer is full. This is a client of its own, without ports and without a part in the server's
/// cycle, which hears of changes and of the end, and sees whether cycles pass.
///
/// The functions of JACK are looked up while the program runs, in the library that the MIDI library
/// brought along. What they have to say goes to the debug log. Belongs to one thread at a time.
class JackService
{
public:
    /// Null where no server runs. Never starts one.
    [[nodiscard]] static std::unique_ptr<JackService> connect(const std::string &clientName);
    ~JackService();
    JackService(const JackService &) = delete;
    JackService &operator=(const JackService &) = delete;

    /// The server has ended. Clients of it can only be closed then.
    [[nodiscard]] bool isGone() const;
    /// False for a server that neither ended nor works, as a stopped process does: whoever closes a
    /// client of it waits until it goes on. May take half a second to tell.
    [[nodiscard]] bool answers() const;
    /// Waits until nothing has changed among the server's clients and their connections for a
    /// moment, at most for half a second.
    void waitForQuiet() const;
    /// To be asked before each message of `bytes` that the MIDI library is given: true once its
    /// buffer has room for it, false when there is none within half a second.
    [[nodiscard]] bool waitForRoom(std::size_t bytes);

private:
    struct Connection;

    explicit JackService(std::unique_ptr<Connection> connection);

    std::unique_ptr<Connection> m_connection;
};

} // namespace midi
