#pragma once

#include "midi/backend/PortNames.h"
#include "midi/protocol/Bytes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class RtMidiOut;

namespace midi
{

class AlsaPorts;
class JackServer;

/// What went wrong, in the MIDI library's words or ours; "" when nothing did.
using ErrorText = std::string;

/// Under which names the clients appear with a MIDI service that knows clients.
struct ClientNames
{
    std::string input = "KQEditor In";
    std::string output = "KQEditor Out";
    std::string watch = "KQEditor"; ///< the one that only watches a JACK server
};

/// One system's MIDI: an input and an output of the MIDI library, of one back end, with one pair of
/// ports open at a time. To be made, used and destroyed on one thread, because the library's input
/// mistakes a thread for another one otherwise, and macOS tells of new ports only there. Knows no
/// Qt. Nothing here throws.
class Backend
{
public:
    /// Called with each message that arrives, on a thread of the MIDI library.
    using Receiver = std::function<void(ByteMessage &)>;

    /// The first back end that works, ALSA before JACK; null without any. JACK without a server
    /// does not count as working. The environment variable OSTREL_MIDI_API names the one to try
    /// instead. `error` says what failed first. Takes some milliseconds on ALSA, 50 on JACK.
    [[nodiscard]] static std::unique_ptr<Backend> make(const ClientNames &names,
                                                       const Receiver &receiver, ErrorText &error);
    /// Closes what is open. Takes a second for a JACK server that ended.
    ~Backend();
    Backend(const Backend &) = delete;
    Backend &operator=(const Backend &) = delete;

    [[nodiscard]] const std::string &name() const { return m_name; } ///< for logs
    [[nodiscard]] NameStyle nameStyle() const { return m_style; }
    [[nodiscard]] ErrorText listPorts(PortLists &ports);

    /// Opens both ports, wherever they stand now, or none of them. None must be open.
    [[nodiscard]] ErrorText open(const Port &input, const Port &output);
    /// Registers a pair of ports for other programs to open, where the system has such ports.
    [[nodiscard]] ErrorText openVirtual(const std::string &input, const std::string &output);
    [[nodiscard]] bool isOpen() const { return m_open; }
    /// Closes both ports in any case; says what failed on the way. JACK takes 40 ms, mostly.
    ErrorText close();

    /// Sends one whole message. Blocks while the device makes room for it; see AlsaPorts.
    [[nodiscard]] ErrorText send(ByteView message);
    /// Counts the bytes that moved between system and device; 0 where the system does not tell.
    [[nodiscard]] std::uint64_t movedBytes() const;
    /// The service has ended, or takes no new input: time for another Backend.
    [[nodiscard]] bool isGone() const;

private:
    struct Input;

    Backend();
    /// `apiNumber` is an RtMidi::Api, which only the library's header declares.
    void makeClients(int apiNumber, const ClientNames &names, const Receiver &receiver);
    void awaitQuiet() const;
    ErrorText closeInput();
    [[nodiscard]] ErrorText sendPiece(ByteView piece);

    std::string m_name;
    std::function<std::unique_ptr<Input>()> m_makeInput;
    NameStyle m_style = NameStyle::Undecorated;
    std::unique_ptr<JackServer> m_jack; ///< on JACK only
    std::unique_ptr<Input> m_input;     ///< null once it was given up
    std::unique_ptr<RtMidiOut> m_output;
    std::unique_ptr<AlsaPorts> m_alsa; ///< on ALSA, while ports are open
    bool m_open = false;
};

} // namespace midi
