#include "midi/JackService.h"

#include <QElapsedTimer>
#include <QLibrary>
#include <QLoggingCategory>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <optional>

namespace midi
{
namespace
{

Q_LOGGING_CATEGORY(lcJack, "ostrel.midi.jack", QtInfoMsg)

constexpr int NoStartServer = 1;                     ///< JackNoStartServer
constexpr int NoServer = 0x10;                       ///< JackServerFailed
constexpr int OpenAttempts = 3;                      ///< a busy server turns some clients away
constexpr qint64 QuietMs = 20;                       ///< longer than a change takes
constexpr qint64 PatienceMs = 500;                   ///< with a server whose cycles may be late
constexpr std::size_t SendBufferSize = 16383;        ///< what the MIDI library's ring buffer holds
constexpr std::size_t LengthFieldSize = sizeof(int); ///< in front of each message in it

void logText(const char *text)
{
    qCDebug(lcJack) << text;
}

/// The functions of JACK's client library that are of use here, as its manual declares them.
struct Functions
{
    using Client = void;
    using Log = void (*)(const char *text);

    Client *(*clientOpen)(const char *name, int options, int *status, ...);
    int (*clientClose)(Client *client);
    void (*onShutdown)(Client *client, void (*callback)(void *), void *argument);
    int (*onGraphOrder)(Client *client, int (*callback)(void *), void *argument);
    int (*activate)(Client *client);
    std::uint32_t (*lastFrameTime)(const Client *client);
    std::uint32_t (*bufferSize)(Client *client);
    void (*setErrorFunction)(Log log);
    void (*setInfoFunction)(Log log);

    [[nodiscard]] bool isComplete() const
    {
        return clientOpen && clientClose && onShutdown && onGraphOrder && activate &&
               lastFrameTime && bufferSize && setErrorFunction && setInfoFunction;
    }
};

std::optional<Functions> resolveFunctions()
{
    constexpr int InterfaceVersion = 0;
    QLibrary library(QStringLiteral("jack"), InterfaceVersion);
    Functions jack{};
    const auto resolve = [&]<typename Function>(Function &function, const char *name) {
        function = reinterpret_cast<Function>(library.resolve(name));
    };
    resolve(jack.clientOpen, "jack_client_open");
    resolve(jack.clientClose, "jack_client_close");
    resolve(jack.onShutdown, "jack_on_shutdown");
    resolve(jack.onGraphOrder, "jack_set_graph_order_callback");
    resolve(jack.activate, "jack_activate");
    resolve(jack.lastFrameTime, "jack_last_frame_time");
    resolve(jack.bufferSize, "jack_get_buffer_size");
    resolve(jack.setErrorFunction, "jack_set_error_function");
    resolve(jack.setInfoFunction, "jack_set_info_function");
    if (!jack.isComplete())
        return std::nullopt;
    jack.setErrorFunction(&logText);
    jack.setInfoFunction(&logText);
    return jack;
}

const std::optional<Functions> &functions()
{
    static const std::optional<Functions> resolved = resolveFunctions();
    return resolved;
}

} // namespace

struct JackService::Connection
{
    const Functions &jack;
    Functions::Client *client;
    std::uint32_t firstFrame = jack.lastFrameTime(client);
    std::uint32_t frameOfLastSend = firstFrame;
    std::size_t backlog = 0; ///< bytes that may still wait in the library's buffer
    std::atomic<bool> gone = false;
    std::atomic<unsigned> changes = 0; ///< counts them, where the server told

    Connection(const Functions &functions, Functions::Client *openClient)
        : jack(functions)
        , client(openClient)
    {
        // On a thread of JACK's.
        jack.onShutdown(
            client, [](void *self) { static_cast<Connection *>(self)->gone = true; }, this);
        const auto count = [](void *self) {
            ++static_cast<Connection *>(self)->changes;
            return 0;
        };
        if (jack.onGraphOrder(client, count, this) != 0 || jack.activate(client) != 0)
            qCDebug(lcJack) << "JACK does not tell of changes";
    }
    ~Connection() { jack.clientClose(client); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    /// The first frame of the present cycle.
    [[nodiscard]] std::uint32_t frame() const { return jack.lastFrameTime(client); }
    /// Some servers count no frames for a client that takes no part in the cycle.
    [[nodiscard]] bool countsFrames() const { return frame() != firstFrame; }
    /// Each cycle empties the buffer, and the second one since a send began after it.
    [[nodiscard]] bool bufferEmptied() const
    {
        return frame() - frameOfLastSend >= 2 * jack.bufferSize(client);
    }
};

JackService::JackService(std::unique_ptr<Connection> connection)
    : m_connection(std::move(connection))
{}

JackService::~JackService() = default;

std::unique_ptr<JackService> JackService::connect(const std::string &clientName)
{
    if (!functions())
        return nullptr;
    Functions::Client *client = nullptr;
    int status = 0;
    for (int i = 0; !client && (status & NoServer) == 0 && i < OpenAttempts; ++i)
        client = functions()->clientOpen(clientName.c_str(), NoStartServer, &status);
    if (!client)
        return nullptr;
    return std::unique_ptr<JackService>(
        new JackService(std::make_unique<Connection>(*functions(), client)));
}

bool JackService::isGone() const
{
    return m_connection->gone;
}

bool JackService::answers() const
{
    if (!m_connection->countsFrames())
        return true;
    QElapsedTimer waited;
    waited.start();
    const std::uint32_t frame = m_connection->frame();
    while (!isGone() && m_connection->frame() == frame) {
        if (waited.hasExpired(PatienceMs))
            return false;
        QThread::msleep(1);
    }
    return true;
}

void JackService::waitForQuiet() const
{
    QElapsedTimer waited;
    waited.start();
    QElapsedTimer quiet = waited;
    unsigned changesSeen = m_connection->changes;
    while (!isGone() && !quiet.hasExpired(QuietMs) && !waited.hasExpired(PatienceMs)) {
        QThread::msleep(1);
        const unsigned changes = m_connection->changes;
        if (changes != changesSeen)
            quiet.restart();
        changesSeen = changes;
    }
}

bool JackService::waitForRoom(std::size_t bytes)
{
    const std::size_t needed = bytes + LengthFieldSize;
    if (isGone() || needed > SendBufferSize)
        return false;
    if (!m_connection->countsFrames())
        return true;
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        if (m_connection->bufferEmptied())
            m_connection->backlog = 0;
        if (m_connection->backlog + needed <= SendBufferSize)
            break;
        if (isGone() || waited.hasExpired(PatienceMs))
            return false;
        QThread::msleep(1);
    }
    m_connection->backlog += needed;
    m_connection->frameOfLastSend = m_connection->frame();
    return true;
}

} // namespace midi
