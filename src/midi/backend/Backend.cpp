#include "midi/backend/Backend.h"

#include "alsa/AlsaKernel.h"
#include "alsa/AlsaPorts.h"
#include "jack/JackServer.h"
#include "midi/protocol/DataBlock.h"

#include <RtMidi.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <optional>
#include <thread>

namespace midi
{
namespace
{

constexpr char ApiVariable[] = "OSTREL_MIDI_API";
constexpr char ServiceEnded[] = "the MIDI service has ended";
/// Two cycles of a server with large buffers. What is sent sooner after a port was opened is lost.
constexpr std::chrono::milliseconds JackSettlingTime{20};

NameStyle nameStyleOf(RtMidi::Api api)
{
    return api == RtMidi::LINUX_ALSA   ? NameStyle::Alsa
           : api == RtMidi::UNIX_JACK  ? NameStyle::Jack
           : api == RtMidi::WINDOWS_MM ? NameStyle::WinMM
                                       : NameStyle::Undecorated;
}

/// Runs a piece of work with the library and gives the text of the error that ended it, if any.
template <typename Work>
ErrorText errorOf(Work &&work)
{
    try {
        work();
        return {};
    } catch (const std::exception &error) {
        return *error.what() ? error.what() : "the MIDI library failed without a reason";
    }
}

/// Keeps what the library complains of while this exists, since on ALSA and macOS a failed send is
/// but a warning, which the library prints otherwise.
class ErrorTrap
{
public:
    explicit ErrorTrap(RtMidi &client)
        : m_client(client)
    {
        m_client.setErrorCallback(&ErrorTrap::keep, &m_text);
    }
    ~ErrorTrap() { m_client.setErrorCallback(nullptr, nullptr); }
    ErrorTrap(const ErrorTrap &) = delete;
    ErrorTrap &operator=(const ErrorTrap &) = delete;
    [[nodiscard]] const std::string &text() const { return m_text; }

private:
    static void keep(RtMidiError::Type type, const std::string &text, void *kept)
    {
        if (type != RtMidiError::DEBUG_WARNING)
            *static_cast<std::string *>(kept) = text;
    }

    RtMidi &m_client;
    std::string m_text;
};

/// RtMidi reports success even when a busy JACK server refused the client, and openPort() then
/// crashes. When it looks for ports, it tries once more, and complains.
void requireClient(RtMidi &client)
{
    const ErrorTrap trap(client);
    client.getPortCount();
    if (!trap.text().empty())
        throw RtMidiError(trap.text(), RtMidiError::DRIVER_ERROR);
}

std::vector<Port> portsOf(RtMidi &client, NameStyle style)
{
    std::vector<Port> ports(client.getPortCount());
    for (unsigned i = 0; i < ports.size(); ++i)
        ports[i] = parsePort(style, i, client.getPortName(i));
    return ports;
}

/// Opens the port of that name, wherever it stands now, and gives what it found.
Port openPort(RtMidi &client, NameStyle style, const Port &port)
{
    const std::vector<Port> now = portsOf(client, style);
    const auto isMeant = [&](const Port &candidate) { return candidate.name == port.name; };
    auto found = now.begin() + std::min<std::ptrdiff_t>(port.number, std::ssize(now));
    if (found == now.end() || !isMeant(*found))
        found = std::ranges::find_if(now, isMeant);
    if (found == now.end())
        throw RtMidiError("MIDI port is gone: " + port.name, RtMidiError::NO_DEVICES_FOUND);
    client.openPort(found->number, std::string(OwnPortName));
    return *found;
}

/// The back ends to be tried, and what is wrong with the user's own choice, if anything.
std::vector<RtMidi::Api> candidates(ErrorText &error)
{
    const char *requested = std::getenv(ApiVariable);
    if (requested && *requested) {
        const RtMidi::Api api = RtMidi::getCompiledApiByName(requested);
        if (api != RtMidi::UNSPECIFIED)
            return {api};
        error = std::string(ApiVariable) + " names no MIDI back end of this build: \"" + requested +
                '"';
    }
    std::vector<RtMidi::Api> apis;
    RtMidi::getCompiledApi(apis);
    if (!hasAlsa())
        std::erase(apis, RtMidi::LINUX_ALSA);
    return apis;
}

} // namespace

struct Backend::Input
{
    Input(RtMidi::Api api, const std::string &name, Receiver onMessage)
        : receiver(std::move(onMessage))
        , client(api, name)
    {
        client.ignoreTypes(false, true, true);
#ifdef OSTREL_RTMIDI_HAS_SET_BUFFER_SIZE
        // A frame is to arrive in one piece where the system fills buffers of a fixed size.
        client.setBufferSize(MaxFrameLength, /*count*/ 4);
#endif
        client.setCallback([](double, ByteMessage *message,
                              void *self) { static_cast<Input *>(self)->receiver(*message); },
                           this);
    }

    Receiver receiver; ///< there before the client starts the thread that calls it
    RtMidiIn client;
};

Backend::Backend() = default;

std::unique_ptr<Backend> Backend::make(const ClientNames &names, const Receiver &receiver,
                                       ErrorText &error)
{
    // The library's own choice leaves ALSA for JACK while no device is plugged in.
    for (const RtMidi::Api api : candidates(error)) {
        std::unique_ptr<Backend> backend(new Backend);
        const ErrorText failure = errorOf([&] { backend->makeClients(api, names, receiver); });
        if (failure.empty())
            return backend;
        if (error.empty())
            error = failure;
    }
    if (error.empty())
        error = "no MIDI service is running";
    return nullptr;
}

void Backend::makeClients(int apiNumber, const ClientNames &names, const Receiver &receiver)
{
    const auto api = static_cast<RtMidi::Api>(apiNumber);
    if (api == RtMidi::UNIX_JACK) {
        // The library takes JACK without a server, too, but then has no ports and never gets any.
        m_jack = JackServer::connect(names.watch);
        if (!m_jack)
            throw RtMidiError("no JACK server is running", RtMidiError::DRIVER_ERROR);
    }
    m_makeInput = [api, name = names.input, receiver] {
        return std::make_unique<Input>(api, name, receiver);
    };
    m_input = m_makeInput();
    m_output = std::make_unique<RtMidiOut>(api, names.output);
    m_style = nameStyleOf(m_input->client.getCurrentApi());
    m_name = RtMidi::getApiDisplayName(m_input->client.getCurrentApi());
    if (m_jack) {
        requireClient(m_input->client);
        requireClient(*m_output);
    } else if (m_style == NameStyle::Alsa) {
        enlargeAlsaInputPools();
    }
}

/// The library, up to 6.0 at least, frees the output's buffer before it ends JACK's thread that
/// reads from it. That thread leaves the buffer alone from the cycle after the port closed.
Backend::~Backend()
{
    if (!m_output)
        return;
    close();
    awaitQuiet();
}

void Backend::awaitQuiet() const
{
    if (m_jack)
        m_jack->waitForQuiet();
}

ErrorText Backend::listPorts(PortLists &ports)
{
    return errorOf([&] {
        if (isGone())
            throw RtMidiError(ServiceEnded);
        ports.inputs = portsOf(m_input->client, m_style);
        ports.outputs = portsOf(*m_output, m_style);
    });
}

ErrorText Backend::open(const Port &input, const Port &output)
{
    if (isGone())
        return ServiceEnded;
    Port in;
    Port out;
    ErrorText error = errorOf([&] {
        in = openPort(m_input->client, m_style, input);
        out = openPort(*m_output, m_style, output);
    });
    if (!error.empty()) {
        closeInput();
        return error;
    }
    m_open = true;
    if (in.alsa && out.alsa)
        m_alsa = std::make_unique<AlsaPorts>(*in.alsa, *out.alsa);
    if (m_jack)
        std::this_thread::sleep_for(JackSettlingTime);
    return {};
}

ErrorText Backend::openVirtual(const std::string &input, const std::string &output)
{
    m_open = true; // one of them may be, even when the other is not
    return errorOf([&] {
        m_output->openVirtualPort(output);
        m_input->client.openVirtualPort(input);
    });
}

ErrorText Backend::close()
{
    if (!m_open)
        return {};
    m_open = false;
    std::optional<InterruptedWaits> interruptedWaits;
    if (m_alsa && !m_alsa->drain())
        interruptedWaits.emplace();
    m_alsa.reset();
    awaitQuiet();
    const ErrorText inputError = closeInput();
    awaitQuiet(); // closing a port is a change for the other client
    const ErrorText outputError = errorOf([this] { m_output->closePort(); });
    return inputError.empty() ? outputError : inputError;
}

/// An input of WinMM that fails to close, as after an unplug, has freed a buffer and would free it
/// again when it is closed or destroyed. So it is never touched again, and a new one takes over.
ErrorText Backend::closeInput()
{
    static auto *const givenUp = new std::vector<std::unique_ptr<Input>>;
    ErrorText error = errorOf([this] { m_input->client.closePort(); });
    if (error.empty())
        return error;
    givenUp->push_back(std::move(m_input));
    // Without a new one, the whole is gone.
    static_cast<void>(errorOf([this] { m_input = m_makeInput(); }));
    return error;
}

ErrorText Backend::send(ByteView message)
{
    if (!m_open)
        return "no port is open";
    if (isGone())
        return ServiceEnded;
    if (!m_alsa)
        return sendPiece(message);
    return m_alsa->send(message, [this](ByteView piece) { return sendPiece(piece); });
}

ErrorText Backend::sendPiece(ByteView piece)
{
    const ErrorTrap trap(*m_output);
    ErrorText error = errorOf([&] { m_output->sendMessage(piece.data(), piece.size()); });
    return error.empty() ? trap.text() : error;
}

std::uint64_t Backend::movedBytes() const
{
    return m_alsa ? m_alsa->movedBytes() : 0;
}

bool Backend::isGone() const
{
    return !m_input || (m_jack && m_jack->isGone());
}

} // namespace midi
