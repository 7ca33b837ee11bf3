#include "support/FakeRtMidi.h"

#include <jack/jack.h>
#include <RtMidi.h>

#include <mutex>
#include <utility>

namespace
{

// A test may let messages arrive on a thread of its own.
std::recursive_mutex liveGuard;

[[noreturn]] void fail()
{
    throw RtMidiError(FakeRtMidi::ErrorText, RtMidiError::DRIVER_ERROR);
}

RtMidi::Api apiOf(midi::NameStyle style)
{
    switch (style) {
    case midi::NameStyle::Alsa:
        return RtMidi::LINUX_ALSA;
    case midi::NameStyle::Jack:
        return RtMidi::UNIX_JACK;
    case midi::NameStyle::WinMM:
        return RtMidi::WINDOWS_MM;
    case midi::NameStyle::Undecorated:
        break;
    }
    return RtMidi::RTMIDI_DUMMY;
}

/// What inputs and outputs have in common, over the library's base class for each of them.
template <typename Base>
class FakeApi : public Base
{
public:
    template <typename... Arguments>
    explicit FakeApi(const std::vector<std::string> &ports, const bool &openFails,
                     Arguments... arguments)
        : Base(arguments...)
        , m_ports(ports)
        , m_openFails(openFails)
    {
        const std::scoped_lock lock(liveGuard);
        live = this;
    }
    ~FakeApi() override
    {
        const std::scoped_lock lock(liveGuard);
        if (live == this)
            live = nullptr;
    }

    RtMidi::Api getCurrentApi() override { return apiOf(FakeRtMidi::world().style); }
    void openPort(unsigned number, const std::string & /*ownName*/) override
    {
        if (m_openFails || number >= m_ports.size())
            fail();
        const std::scoped_lock lock(liveGuard);
        m_openName = m_ports[number];
        this->connected_ = true;
    }
    void closePort() override
    {
        const std::scoped_lock lock(liveGuard);
        m_openName.reset();
        this->connected_ = false;
    }
    unsigned getPortCount() override
    {
        if (FakeRtMidi::world().countFails)
            fail();
        return static_cast<unsigned>(m_ports.size());
    }
    std::string getPortName(unsigned number) override
    {
        return number < m_ports.size() ? m_ports[number] : std::string();
    }
    void openVirtualPort(const std::string & /*name*/) override { fail(); }
    void setClientName(const std::string & /*name*/) override {}
    void setPortName(const std::string & /*name*/) override {}

    /// The port that the client made last has open.
    static std::optional<std::string> openName()
    {
        const std::scoped_lock lock(liveGuard);
        return live ? live->m_openName : std::nullopt;
    }

    static inline FakeApi *live = nullptr; ///< the client made last

protected:
    void initialize(const std::string & /*clientName*/) override {}

    std::optional<std::string> m_openName;

private:
    const std::vector<std::string> &m_ports;
    const bool &m_openFails;
};

class FakeInput final : public FakeApi<MidiInApi>
{
public:
    explicit FakeInput(unsigned queueLimit)
        : FakeApi(FakeRtMidi::world().inputs, FakeRtMidi::world().inputOpenFails, queueLimit)
    {}

    void deliver(const FakeRtMidi::Message &bytes)
    {
        MidiMessage message;
        message.bytes = bytes;
        if (inputData_.usingCallback)
            inputData_.userCallback(0.0, &message.bytes, inputData_.userData);
        else
            inputData_.queue.push(message);
    }
};

class FakeOutput final : public FakeApi<MidiOutApi>
{
public:
    FakeOutput()
        : FakeApi(FakeRtMidi::world().outputs, FakeRtMidi::world().outputOpenFails)
    {}

    void sendMessage(const unsigned char *bytes, std::size_t size) override
    {
        FakeRtMidi &world = FakeRtMidi::world();
        if (world.sendFails)
            fail();
        if (world.sendWarns) {
            error(RtMidiError::WARNING, FakeRtMidi::WarningText);
            return;
        }
        const FakeRtMidi::Sent sent{m_openName.value_or(""), {bytes, bytes + size}};
        world.sent.push_back(sent);
        if (world.onSend)
            world.onSend(sent);
    }
};

void checkService(RtMidi::Api requested)
{
    using Service = FakeRtMidi::Service;
    const FakeRtMidi &world = FakeRtMidi::world();
    if (world.service == Service::FailsAlways ||
        (world.service == Service::FirstFails && requested != RtMidi::UNIX_JACK) ||
        (world.service == Service::JackFails && requested == RtMidi::UNIX_JACK))
        fail();
}

} // namespace

// The library's own constructors look for a MIDI service; a program's definitions come before those
// of a shared library. Everything else of these classes is inline and asks rtapi_.

RtMidiIn::RtMidiIn(RtMidi::Api api, const std::string & /*clientName*/, unsigned queueLimit)
{
    checkService(api);
    rtapi_ = new FakeInput(queueLimit); // the base class deletes it
}

RtMidiIn::~RtMidiIn() noexcept = default;

RtMidiOut::RtMidiOut(RtMidi::Api api, const std::string & /*clientName*/)
{
    checkService(api);
    if (FakeRtMidi::world().service == FakeRtMidi::Service::OutputFails)
        fail();
    rtapi_ = new FakeOutput; // the base class deletes it
}

RtMidiOut::~RtMidiOut() noexcept = default;

void RtMidi::getCompiledApi(std::vector<RtMidi::Api> &apis) noexcept
{
    apis = {RtMidi::MACOSX_CORE, RtMidi::UNIX_JACK};
    if (FakeRtMidi::world().style == midi::NameStyle::Jack)
        apis = {RtMidi::UNIX_JACK};
}

// JACK's own library would look for a server.

namespace
{

JackShutdownCallback serverEnded = nullptr;
void *serverEndedArgument = nullptr;

} // namespace

jack_client_t *jack_client_open(const char * /*name*/, jack_options_t /*options*/,
                                jack_status_t *status, ...)
{
    static int client = 0;
    const bool runs = FakeRtMidi::world().jackServerRuns;
    *status = runs ? jack_status_t{} : JackServerFailed;
    return runs ? reinterpret_cast<jack_client_t *>(&client) : nullptr;
}

int jack_client_close(jack_client_t * /*client*/)
{
    serverEnded = nullptr;
    return 0;
}

void jack_on_shutdown(jack_client_t * /*client*/, JackShutdownCallback callback, void *argument)
{
    serverEnded = callback;
    serverEndedArgument = argument;
}

int jack_set_graph_order_callback(jack_client_t * /*client*/, JackGraphOrderCallback /*callback*/,
                                  void * /*argument*/)
{
    return 0;
}

int jack_activate(jack_client_t * /*client*/)
{
    return 0;
}

void FakeRtMidi::endJackServer()
{
    jackServerRuns = false;
    if (serverEnded)
        serverEnded(serverEndedArgument);
}

FakeRtMidi &FakeRtMidi::world()
{
    static FakeRtMidi instance;
    return instance;
}

void FakeRtMidi::reset()
{
    const std::scoped_lock lock(liveGuard);
    if (FakeInput::live)
        FakeInput::live->closePort();
    if (FakeOutput::live)
        FakeOutput::live->closePort();
    *this = FakeRtMidi();
}

void FakeRtMidi::receive(const Message &message)
{
    const std::scoped_lock lock(liveGuard);
    if (FakeInput::openName())
        static_cast<FakeInput *>(FakeInput::live)->deliver(message);
}

std::vector<FakeRtMidi::Message> FakeRtMidi::takeSent()
{
    std::vector<Message> messages;
    for (Sent &one : std::exchange(sent, {}))
        messages.push_back(std::move(one.bytes));
    return messages;
}

std::optional<std::string> FakeRtMidi::openInput() const
{
    return FakeInput::openName();
}

std::optional<std::string> FakeRtMidi::openOutput() const
{
    return FakeOutput::openName();
}
