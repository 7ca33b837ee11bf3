#include "midi/MidiClients.h"

#include "midi/DataBlockFrame.h"

#include <QByteArray>
#include <QLoggingCategory>

#include <RtMidi.h>

#include <exception>
#include <thread>
#include <vector>

namespace midi
{
namespace
{

Q_LOGGING_CATEGORY(lcMidi, "ostrel.midi", QtInfoMsg)

constexpr char ApiVariable[] = "OSTREL_MIDI_API";

/// Two cycles of a server with large buffers.
constexpr std::chrono::milliseconds JackSettlingTime{20};

NameStyle nameStyle(RtMidi::Api api)
{
    switch (api) {
    case RtMidi::LINUX_ALSA:
        return NameStyle::Alsa;
    case RtMidi::UNIX_JACK:
        return NameStyle::Jack;
    case RtMidi::WINDOWS_MM:
        return NameStyle::WinMM;
    default:
        return NameStyle::Undecorated;
    }
}

/// Lets a sysex of the full frame length arrive in one piece where the system hands it over in
/// buffers of a fixed size. Must come before a port is opened.
void enlargeBuffers([[maybe_unused]] RtMidiIn &input)
{
#ifdef OSTREL_RTMIDI_HAS_SET_BUFFER_SIZE
    constexpr unsigned BufferCount = 4;
    input.setBufferSize(MaxFrameLength, BufferCount);
#endif
}

/// The library takes JACK without a server, too, but then has no ports and never gets any.
std::unique_ptr<JackService> connectToJack(const ClientNames &names)
{
    if (names.watch.empty())
        return nullptr;
    auto jack = JackService::connect(names.watch);
    if (!jack)
        throw RtMidiError("no JACK server is running", RtMidiError::DRIVER_ERROR);
    return jack;
}

/// The library takes a client for made that a busy JACK server turned away, and crashes when a port
/// is opened with it. When it looks for ports, it tries once more, and complains.
void requireClient(RtMidi &client)
{
    std::string complaint;
    client.setErrorCallback([](RtMidiError::Type, const std::string &text,
                               void *user) { *static_cast<std::string *>(user) = text; },
                            &complaint);
    client.getPortCount();
    client.setErrorCallback(nullptr, nullptr);
    if (!complaint.empty())
        throw RtMidiError(complaint, RtMidiError::DRIVER_ERROR);
}

bool create(RtMidi::Api api, const ClientNames &names, MidiClients &clients)
{
    try {
        std::unique_ptr<JackService> jack;
        if (api == RtMidi::UNIX_JACK)
            jack = connectToJack(names);
        auto input = std::make_unique<RtMidiIn>(api, names.input);
        input->ignoreTypes(false, true, true);
        enlargeBuffers(*input);
        const RtMidi::Api used = input->getCurrentApi();
        if (used == RtMidi::UNIX_JACK && !jack)
            jack = connectToJack(names);
        auto output = std::make_unique<RtMidiOut>(used, names.output);
        if (used == RtMidi::UNIX_JACK) {
            requireClient(*input);
            requireClient(*output);
        }
        clients.output = std::move(output);
        clients.input = std::move(input);
        clients.jack = std::move(jack);
        clients.nameStyle = nameStyle(used);
        if (used == RtMidi::UNIX_JACK)
            clients.settlingTime = JackSettlingTime;
        qCDebug(lcMidi) << "MIDI back end:" << RtMidi::getApiDisplayName(used).c_str();
        return true;
    } catch (const std::exception &error) {
        clients.error = error.what();
        return false;
    }
}

RtMidi::Api requestedApi()
{
    const QByteArray name = qgetenv(ApiVariable);
    if (name.isEmpty())
        return RtMidi::UNSPECIFIED;
    const RtMidi::Api api = RtMidi::getCompiledApiByName(name.toStdString());
    if (api == RtMidi::UNSPECIFIED)
        qCInfo(lcMidi) << ApiVariable << "names no MIDI back end of this build:" << name;
    return api;
}

} // namespace

MidiClients::MidiClients() = default;
MidiClients::MidiClients(MidiClients &&) noexcept = default;
MidiClients &MidiClients::operator=(MidiClients &&) noexcept = default;

/// The library, up to 6.0 at least, frees the output's buffer before it ends JACK's thread that
/// reads from it. That thread leaves the buffer alone from the cycle after the port closed.
MidiClients::~MidiClients()
{
    if (!input)
        return;
    if (!jack || jack->answers()) {
        closePorts();
        awaitQuiet();
        return;
    }
    if (inbox)
        MessageInbox::keepForGood(inbox);
    static_cast<void>(input.release());
    static_cast<void>(output.release());
    static_cast<void>(jack.release());
}

void MidiClients::awaitQuiet() const
{
    if (jack)
        jack->waitForQuiet();
    else
        std::this_thread::sleep_for(settlingTime);
}

/// JACK tells a client of each change around it on a thread that walks through the client's ports,
/// and crashes when one is closed at this moment. To close a port is such a change for the other
/// client.
std::string MidiClients::closePorts() const
{
    std::string lastError;
    const auto close = [&](RtMidi &client) {
        try {
            client.closePort();
        } catch (const std::exception &closing) {
            lastError = closing.what();
        }
    };
    awaitQuiet();
    close(*input);
    awaitQuiet();
    close(*output);
    return lastError;
}

MidiClients createMidiClients(const ClientNames &names)
{
    MidiClients clients;
    const RtMidi::Api requested = requestedApi();
    if (create(requested, names, clients) || requested != RtMidi::UNSPECIFIED)
        return clients;

    std::vector<RtMidi::Api> compiled;
    RtMidi::getCompiledApi(compiled);
    for (const RtMidi::Api api : compiled) {
        if (create(api, names, clients))
            return clients;
    }
    qCInfo(lcMidi) << "no MIDI service:" << clients.error.c_str();
    return clients;
}

MidiClients createClientsOfServer(const ClientNames &names)
{
    MidiClients clients;
    const RtMidi::Api requested = requestedApi();
    if (requested == RtMidi::UNSPECIFIED || requested == RtMidi::UNIX_JACK)
        create(RtMidi::UNIX_JACK, names, clients);
    return clients;
}

} // namespace midi
