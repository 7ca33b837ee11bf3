#include "midi/MidiClients.h"

#include "midi/AlsaInputPool.h"
#include "midi/DataBlockFrame.h"
#include "midi/InterruptedWaits.h"

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

/// Keeps what the library complains of while this exists. Without it, the library prints warnings,
/// and on ALSA and macOS each failed send is one.
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

    /// "" where there was no complaint.
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

/// Runs a piece of work with the library and gives the text of the error that ended it, if any.
template <typename Work>
std::string errorOf(Work &&work)
{
    try {
        work();
        return {};
    } catch (const std::exception &error) {
        const std::string text = error.what();
        return text.empty() ? "the MIDI library failed without a reason" : text;
    }
}

/// Opens the port of that name, wherever it stands now. Gives its name as reported.
std::string openPort(RtMidi &client, NameStyle style, const ListedPort &port)
{
    const std::vector<std::string> now = allPortNames(client);
    const auto isMeant = [&](unsigned number) {
        return number < now.size() && lastingName(style, now[number], number) == port.name;
    };
    unsigned number = port.number;
    if (!isMeant(number)) {
        for (number = 0; number < now.size() && !isMeant(number);)
            ++number;
        if (number == now.size())
            throw RtMidiError("MIDI port is gone: " + port.name, RtMidiError::NO_DEVICES_FOUND);
    }
    client.openPort(number, std::string(OwnPortName));
    return now[number];
}

std::string explain(AlsaOutput::Result result)
{
    switch (result) {
    case AlsaOutput::Result::NotTaken:
        return "the device does not take any data";
    case AlsaOutput::Result::Gone:
        return "the device is gone";
    case AlsaOutput::Result::Sent:
    case AlsaOutput::Result::Refused: // said by the library itself
        break;
    }
    return {};
}

bool create(RtMidi::Api api, const ClientNames &names, MidiClients &clients)
{
    const std::string failure = errorOf([&] {
        std::unique_ptr<JackService> jack;
        if (api == RtMidi::UNIX_JACK)
            jack = connectToJack(names);
        auto input = std::make_unique<RtMidiIn>(api, names.input);
        input->ignoreTypes(false, true, true);
        enlargeBuffers(*input);
        auto output = std::make_unique<RtMidiOut>(api, names.output);
        if (api == RtMidi::UNIX_JACK) {
            requireClient(*input);
            requireClient(*output);
            clients.settlingTime = JackSettlingTime;
        } else if (api == RtMidi::LINUX_ALSA) {
            enlargeAlsaInputPools();
        }
        clients.output = std::move(output);
        clients.input = std::move(input);
        clients.jack = std::move(jack);
        clients.nameStyle = nameStyle(clients.input->getCurrentApi());
        qCDebug(lcMidi) << "MIDI back end:" << RtMidi::getApiDisplayName(api).c_str();
    });
    if (!failure.empty())
        clients.error = failure;
    return failure.empty();
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
std::string MidiClients::closePorts()
{
    std::optional<InterruptedWaits> interruptedWaits;
    if (m_alsaOutput && !m_alsaOutput->drain())
        interruptedWaits.emplace();
    m_alsaOutput.reset();
    m_alsaInput.reset();
    awaitQuiet();
    const std::string inputError = errorOf([this] { input->closePort(); });
    awaitQuiet();
    const std::string outputError = errorOf([this] { output->closePort(); });
    return outputError.empty() ? inputError : outputError;
}

std::string MidiClients::openPorts(const ListedPort &in, const ListedPort &out)
{
    std::string inputName;
    std::string outputName;
    if (std::string failure = errorOf([&] { inputName = openPort(*input, nameStyle, in); });
        !failure.empty())
        return failure;
    if (std::string failure = errorOf([&] { outputName = openPort(*output, nameStyle, out); });
        !failure.empty()) {
        static_cast<void>(errorOf([this] { input->closePort(); }));
        return failure;
    }
    if (nameStyle == NameStyle::Alsa) {
        if (const auto address = alsaAddress(outputName))
            m_alsaOutput.emplace(*address);
        if (const auto address = alsaAddress(inputName))
            m_alsaInput = alsaPortFile(*address);
    }
    std::this_thread::sleep_for(settlingTime);
    return {};
}

std::string MidiClients::send(ByteView message)
{
    if (!m_alsaOutput)
        return sendPiece(message);
    std::string failure;
    const auto result = m_alsaOutput->send(message, [&](ByteView piece) {
        failure = sendPiece(piece);
        return failure.empty();
    });
    return failure.empty() ? explain(result) : failure;
}

std::string MidiClients::sendPiece(ByteView piece) const
{
    const ErrorTrap trap(*output);
    const std::string failure = errorOf([&] { output->sendMessage(piece.data(), piece.size()); });
    return failure.empty() ? trap.text() : failure;
}

std::uint64_t MidiClients::movedBytes() const
{
    const std::uint64_t taken = m_alsaOutput ? m_alsaOutput->bytesTaken() : 0;
    const std::uint64_t received = m_alsaInput ? bytesReceived(*m_alsaInput) : 0;
    return taken + received;
}

std::vector<std::string> allPortNames(RtMidi &client)
{
    std::vector<std::string> names(client.getPortCount());
    for (unsigned i = 0; i < names.size(); ++i)
        names[i] = client.getPortName(i);
    return names;
}

MidiClients createMidiClients(const ClientNames &names)
{
    MidiClients clients;
    std::vector<RtMidi::Api> candidates;
    RtMidi::getCompiledApi(candidates);
    // The library's own choice is no use: it throws where ALSA cannot be opened, and leaves ALSA
    // for JACK while no device is plugged in.
    if (const RtMidi::Api requested = requestedApi(); requested != RtMidi::UNSPECIFIED)
        candidates = {requested};
    for (const RtMidi::Api api : candidates) {
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
