#pragma once

#include "midi/backend/PortNames.h"
#include "midi/protocol/Bytes.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A stand-in for the MIDI library's classes at link level, for what no MIDI server can produce:
/// errors on construction, open and send, and another back end's port names. A test program that
/// links `ostrel_fake_rtmidi` gets clients that see this scripted world and no real port. The
/// library's own queue and callback handling stays in use.
///
/// One world per process; a test begins with reset(). All of it belongs to the test's thread.
class FakeRtMidi
{
public:
    using Message = midi::ByteMessage;

    struct Sent
    {
        std::string port; ///< name of the output that was open
        Message bytes;
    };

    /// What the constructors of the library's clients do: of two back ends, the second is JACK.
    enum class Service { Works, FirstFails, JackFails, FailsAlways, OutputFails };

    static constexpr char ErrorText[] = "scripted MIDI error"; ///< of every error thrown here
    static constexpr char WarningText[] = "scripted MIDI warning";

    static FakeRtMidi &world();

    /// No ports, nothing sent, nothing failing. Clients that exist stay, with closed ports.
    void reset();

    // The script

    Service service = Service::Works;
    midi::NameStyle style = midi::NameStyle::Undecorated; ///< which back end the clients report
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    bool inputOpenFails = false;
    bool outputOpenFails = false;
    bool sendFails = false; ///< by an exception, as on Windows
    bool sendWarns = false; ///< and nothing else, as failed sends do on ALSA
    bool countFails = false;
    bool jackServerRuns = true;
    void endJackServer();
    /// Called for each message sent, after it was recorded; may answer with receive().
    std::function<void(const Sent &)> onSend;

    /// Hands a message to the open input as the library would: to the callback, on the calling
    /// thread, or else to the queue. Dropped while no input is open.
    void receive(const Message &message);

    // What happened

    std::vector<Sent> sent;
    /// Takes the recorded messages, without their ports.
    [[nodiscard]] std::vector<Message> takeSent();
    [[nodiscard]] std::optional<std::string> openInput() const;
    [[nodiscard]] std::optional<std::string> openOutput() const;
};
