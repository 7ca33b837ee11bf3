#pragma once

#include "midi/AlsaOutput.h"
#include "midi/ByteMessage.h"
#include "midi/JackService.h"
#include "midi/MessageInbox.h"
#include "midi/PortMatching.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class RtMidi;
class RtMidiIn;
class RtMidiOut;

namespace midi
{

/// Under which names the clients appear with a MIDI service that knows clients.
struct ClientNames
{
    std::string input = "KQEditor In";
    std::string output = "KQEditor Out";
    /// The one that only watches a server. Without a name there is none, and the end of the
    /// server is not noticed.
    std::string watch = "KQEditor";
};

/// A port as a list of ports had it. Numbers move when ports come and go; lasting names tell.
struct ListedPort
{
    unsigned number = 0;
    std::string name; ///< the lasting one
};

/// The MIDI library's input and output client. Both or neither exist. To be made, used and closed
/// on one thread: the library's input mistakes a thread for another one otherwise, and macOS tells
/// of new ports only there. Functions that can fail give an error text, "" on success.
struct MidiClients
{
    MidiClients();
    MidiClients(MidiClients &&) noexcept;
    MidiClients &operator=(MidiClients &&) noexcept;
    /// Takes a second for clients of a server that ended. Clients of one that does not answer are
    /// left to the system, since closing them would wait for it.
    ~MidiClients();

    /// Opens both ports, wherever they stand now, or none of them.
    [[nodiscard]] std::string openPorts(const ListedPort &in, const ListedPort &out);
    /// Closes the ports of both, which exist. Takes 40 ms on JACK.
    std::string closePorts();
    /// Sends one whole message through the open output. May block; see AlsaOutput.
    [[nodiscard]] std::string send(ByteView message);
    /// Counts the bytes that moved between the system and the device while the ports were open; 0
    /// where the system does not tell.
    [[nodiscard]] std::uint64_t movedBytes() const;

    std::unique_ptr<JackService> jack; ///< on JACK only
    /// Where the input delivers, unless whoever set its callback sees to that.
    std::shared_ptr<MessageInbox> inbox;
    std::unique_ptr<RtMidiIn> input;
    std::unique_ptr<RtMidiOut> output;
    NameStyle nameStyle = NameStyle::Undecorated;
    /// What is sent sooner than this after a port was opened may be lost, and a port may be in use
    /// for as long after it was closed: JACK goes by cycles.
    std::chrono::milliseconds settlingTime{0};
    std::string error; ///< the library's last error text; may be set although clients exist

private:
    void awaitQuiet() const;
    [[nodiscard]] std::string sendPiece(ByteView piece) const;

    // On ALSA, while ports are open.
    std::optional<AlsaOutput> m_alsaOutput;
    std::optional<AlsaPortFile> m_alsaInput;
};

/// All ports that `client` sees, as the library reports them.
[[nodiscard]] std::vector<std::string> allPortNames(RtMidi &client);

/// Creates the clients with the first back end that works, ALSA before JACK. JACK without a server
/// does not count as working. Without any, the clients are null and `error` says why. The
/// environment variable OSTREL_MIDI_API names the one back end to try instead. Does not throw.
[[nodiscard]] MidiClients createMidiClients(const ClientNames &names = {});

/// The same for a service that came up later, as servers do: asks without a word on standard error,
/// and so cheaply that it can be done every few seconds.
[[nodiscard]] MidiClients createClientsOfServer(const ClientNames &names = {});

} // namespace midi
