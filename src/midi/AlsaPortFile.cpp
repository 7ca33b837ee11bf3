#include "midi/AlsaPortFile.h"

#include <charconv>
#include <fstream>
#include <iterator>

namespace midi
{
namespace
{

// How the kernel numbers the sequencer's clients and ports.
constexpr unsigned FirstCardClient = 16;
constexpr unsigned ClientsPerCard = 4;
constexpr unsigned FirstProgramClient = 128;
constexpr unsigned PortsPerDevice = 32;

constexpr std::string_view Blanks = " \t";

/// Takes the first line off `content`.
std::string_view takeLine(std::string_view &content)
{
    const std::size_t end = content.find('\n');
    const std::string_view line = content.substr(0, end);
    content = end == std::string_view::npos ? std::string_view() : content.substr(end + 1);
    return line;
}

/// The number behind the colon of a line such as "  Avail        : 4096".
std::optional<std::uint64_t> numberBehindColon(std::string_view line)
{
    const std::size_t colon = line.find(':');
    const std::size_t digits =
        colon == std::string_view::npos ? colon : line.find_first_not_of(Blanks, colon + 1);
    if (digits == std::string_view::npos)
        return std::nullopt;
    std::uint64_t value = 0;
    const char *end = line.data() + line.size();
    const auto [stop, error] = std::from_chars(line.data() + digits, end, value);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

/// All of a small file; empty where it cannot be read.
std::string contentOf(const std::string &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

bool belongsToProgram(AlsaAddress address)
{
    return address.client >= FirstProgramClient;
}

std::optional<AlsaPortFile> alsaPortFile(AlsaAddress address)
{
    if (address.client < FirstCardClient || belongsToProgram(address) ||
        (address.client - FirstCardClient) % ClientsPerCard != 0)
        return std::nullopt;
    const unsigned card = (address.client - FirstCardClient) / ClientsPerCard;
    const unsigned device = address.port / PortsPerDevice;
    return AlsaPortFile{"/proc/asound/card" + std::to_string(card) + "/midi" +
                            std::to_string(device),
                        address.port % PortsPerDevice};
}

std::optional<std::uint64_t> readPortValue(std::string_view content, std::string_view direction,
                                           unsigned substream, std::string_view key)
{
    const std::string heading = std::string(direction) + ' ' + std::to_string(substream);
    bool isInPart = false;
    while (!content.empty()) {
        const std::string_view line = takeLine(content);
        const std::size_t start = line.find_first_not_of(Blanks);
        if (start == 0)
            isInPart = line == heading;
        else if (isInPart && start != std::string_view::npos && line.substr(start).starts_with(key))
            return numberBehindColon(line);
    }
    return std::nullopt;
}

std::optional<std::size_t> outputRoom(const AlsaPortFile &file)
{
    return readPortValue(contentOf(file.path), "Output", file.substream, "Avail");
}

std::optional<std::size_t> outputCapacity(const AlsaPortFile &file)
{
    return readPortValue(contentOf(file.path), "Output", file.substream, "Buffer size");
}

std::uint64_t bytesTaken(const AlsaPortFile &file)
{
    return readPortValue(contentOf(file.path), "Output", file.substream, "Tx bytes").value_or(0);
}

std::uint64_t bytesReceived(const AlsaPortFile &file)
{
    return readPortValue(contentOf(file.path), "Input", file.substream, "Rx bytes").value_or(0);
}

} // namespace midi
