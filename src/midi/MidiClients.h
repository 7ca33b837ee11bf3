#pragma once

#include "midi/JackService.h"
#include "midi/MessageInbox.h"
#include "midi/PortMatching.h"

#include <chrono>
#include <memory>
#include <string>

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

/// The MIDI library's input and output client. Both or neither exist.
struct MidiClients
{
    MidiClients();
    MidiClients(MidiClients &&) noexcept;
    MidiClients &operator=(MidiClients &&) noexcept;
    /// Takes a second for clients of a server that ended. Clients of one that does not answer are
    /// left to the system, since closing them would wait for it.
    ~MidiClients();

    /// Closes the ports of both, which exist. Takes 40 ms on JACK. Gives the library's error text,
    /// "" where there is none.
    std::string closePorts() const;

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
};

/// Creates the clients with the library's own choice of back end; where that fails, with the first
/// compiled one that works. JACK without a server does not count as working. Without any, the
/// clients are null and `error` says why. The environment variable OSTREL_MIDI_API names a back end
/// to use instead. Does not throw.
[[nodiscard]] MidiClients createMidiClients(const ClientNames &names = {});

/// The same for a service that came up later, as servers do: asks without a word on standard error,
/// and so cheaply that it can be done every few seconds.
[[nodiscard]] MidiClients createClientsOfServer(const ClientNames &names = {});

} // namespace midi
