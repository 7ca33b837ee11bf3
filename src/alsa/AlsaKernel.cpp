#include "alsa/AlsaKernel.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#ifdef __linux__
#include <fcntl.h>
#include <sound/asequencer.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#endif

namespace fs = std::filesystem;

namespace midi
{
namespace
{

[[maybe_unused]] constexpr char SequencerDevice[] = "/dev/snd/seq";

// How the kernel numbers the sequencer's clients and ports.
constexpr unsigned FirstCardClient = 16;
constexpr unsigned ClientsPerCard = 4;
constexpr unsigned FirstProgramClient = 128;
constexpr unsigned PortsPerDevice = 32;

/// The number behind the colon of a line such as "  Avail        : 4096".
std::optional<std::uint64_t> numberBehindColon(std::string_view line)
{
    const std::size_t digits = line.find_first_of("0123456789", line.find(':'));
    std::uint64_t value = 0;
    const char *end = line.data() + line.size();
    if (digits == std::string_view::npos)
        return std::nullopt;
    const auto [stop, error] = std::from_chars(line.data() + digits, end, value);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

} // namespace

bool belongsToProgram(AlsaAddress address)
{
    return address.client >= FirstProgramClient;
}

std::optional<std::uint64_t> kernelValue(AlsaAddress address, std::string_view direction,
                                         std::string_view key)
{
    if (address.client < FirstCardClient || belongsToProgram(address) ||
        (address.client - FirstCardClient) % ClientsPerCard != 0)
        return std::nullopt;
    const unsigned card = (address.client - FirstCardClient) / ClientsPerCard;
    const unsigned device = address.port / PortsPerDevice;
    std::ifstream file("/proc/asound/card" + std::to_string(card) + "/midi" +
                       std::to_string(device));
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    return readKernelValue(content, direction, address.port % PortsPerDevice, key);
}

std::optional<std::uint64_t> readKernelValue(std::string_view content, std::string_view direction,
                                             unsigned substream, std::string_view key)
{
    const std::string heading = std::string(direction) + ' ' + std::to_string(substream);
    bool isInPart = false;
    while (!content.empty()) {
        const std::string_view line = content.substr(0, content.find('\n'));
        content.remove_prefix(std::min(line.size() + 1, content.size()));
        const std::size_t start = line.find_first_not_of(" \t");
        if (start == 0)
            isInPart = line == heading;
        else if (isInPart && start != std::string_view::npos && line.substr(start).starts_with(key))
            return numberBehindColon(line);
    }
    return std::nullopt;
}

#ifdef __linux__

bool hasAlsa()
{
    const int sequencer = open(SequencerDevice, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (sequencer >= 0)
        close(sequencer);
    return sequencer >= 0;
}

// The MIDI library does not show its clients, but the kernel shows the files that are open.
void enlargeAlsaInputPools()
{
    constexpr int PoolCells = 1000; // of 28 bytes; the most that the kernel allows
    std::error_code failure;
    std::error_code closed;
    for (fs::directory_iterator entry("/proc/self/fd", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        if (fs::read_symlink(entry->path(), closed) != SequencerDevice)
            continue;
        const std::string name = entry->path().filename();
        int sequencer = 0;
        std::from_chars(name.data(), name.data() + name.size(), sequencer);
        snd_seq_client_pool pool{};
        if (ioctl(sequencer, SNDRV_SEQ_IOCTL_CLIENT_ID, &pool.client) != 0 ||
            ioctl(sequencer, SNDRV_SEQ_IOCTL_GET_CLIENT_POOL, &pool) != 0 ||
            pool.input_pool >= PoolCells)
            continue;
        pool.input_pool = PoolCells;
        // Where it fails, long messages are lost only while the program is held up.
        static_cast<void>(ioctl(sequencer, SNDRV_SEQ_IOCTL_SET_CLIENT_POOL, &pool));
    }
}

InterruptedWaits::InterruptedWaits()
{
    constexpr long IntervalNs = 50'000'000;
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGRTMAX, &action, nullptr);
    sigevent event{};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGRTMAX;
    event._sigev_un._tid = gettid(); // the name that the manual gives it came with later headers
    timer_t timer{};
    if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0)
        return;
    m_timer = timer;
    const itimerspec times{{0, IntervalNs}, {0, IntervalNs}};
    timer_settime(timer, 0, &times, nullptr);
}

InterruptedWaits::~InterruptedWaits()
{
    if (m_timer)
        timer_delete(*m_timer);
}

#else

bool hasAlsa()
{
    return false;
}
void enlargeAlsaInputPools() {}
InterruptedWaits::InterruptedWaits() = default;
InterruptedWaits::~InterruptedWaits() = default;

#endif

} // namespace midi
