#include "midi/PortMatching.h"

#include <charconv>

namespace midi
{
namespace
{

std::optional<unsigned> parseNumber(std::string_view digits)
{
    unsigned value = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

std::string_view withoutClient(std::string_view name)
{
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

/// An ALSA name "CLIENT:PORT N:M" taken apart behind its last blank.
struct AlsaName
{
    std::string_view clientAndPort;
    AlsaAddress address;
};

std::optional<AlsaName> splitAlsaName(std::string_view reported)
{
    const std::size_t blank = reported.rfind(' ');
    if (blank == std::string_view::npos)
        return std::nullopt;
    const std::string_view numbers = reported.substr(blank + 1);
    const std::size_t colon = numbers.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto client = parseNumber(numbers.substr(0, colon));
    const auto port = parseNumber(numbers.substr(colon + 1));
    if (!client || !port)
        return std::nullopt;
    return AlsaName{reported.substr(0, blank), {*client, *port}};
}

std::string_view withoutWinMMNumber(std::string_view reported, unsigned number)
{
    const std::string suffix = ' ' + std::to_string(number);
    return reported.ends_with(suffix) ? reported.substr(0, reported.size() - suffix.size())
                                      : reported;
}

/// What MIDIINn (Device) or MIDIOUTn (Device) means: the device's port n, counted from 1.
struct WindowsName
{
    std::string_view device;
    unsigned number = 0;
};

std::optional<WindowsName> splitWindowsName(std::string_view name)
{
    for (const std::string_view prefix : {"MIDIIN", "MIDIOUT"}) {
        const std::size_t open = name.find(" (");
        if (!name.starts_with(prefix) || !name.ends_with(')') || open == std::string_view::npos ||
            open < prefix.size())
            continue;
        const auto number = parseNumber(name.substr(prefix.size(), open - prefix.size()));
        if (number && *number > 0)
            return WindowsName{name.substr(open + 2, name.size() - open - 3), *number};
    }
    return std::nullopt;
}

bool isWindowsNameOfAlsaPort(std::string_view wanted, std::string_view reported)
{
    const auto meant = splitWindowsName(wanted);
    const auto alsa = splitAlsaName(reported);
    return meant && alsa && alsa->address.port == meant->number - 1 &&
           alsa->clientAndPort.size() > meant->device.size() &&
           alsa->clientAndPort.starts_with(meant->device) &&
           alsa->clientAndPort[meant->device.size()] == ':';
}

/// Hands out outputs to inputs, each output once.
class Pairing
{
public:
    Pairing(std::span<const std::string> inputs, std::span<const std::string> outputs)
        : m_inputs(inputs)
        , m_outputs(outputs)
        , m_partner(inputs.size())
        , m_taken(outputs.size())
    {}

    /// Gives every input that has none the first free output for which `equal` holds.
    template <typename Equal>
    void match(Equal &&equal)
    {
        for (unsigned i = 0; i < m_inputs.size(); ++i) {
            for (unsigned o = 0; !m_partner[i] && o < m_outputs.size(); ++o) {
                if (m_taken[o] || !equal(i, o))
                    continue;
                m_partner[i] = o;
                m_taken[o] = true;
            }
        }
    }

    [[nodiscard]] std::vector<PortPair> pairs() const
    {
        std::vector<PortPair> result;
        for (unsigned i = 0; i < m_partner.size(); ++i) {
            if (m_partner[i])
                result.push_back({i, *m_partner[i]});
        }
        return result;
    }

private:
    std::span<const std::string> m_inputs;
    std::span<const std::string> m_outputs;
    std::vector<std::optional<unsigned>> m_partner;
    std::vector<bool> m_taken;
};

} // namespace

std::string_view plainName(NameStyle style, std::string_view reported, unsigned number)
{
    switch (style) {
    case NameStyle::Alsa: {
        const auto parts = splitAlsaName(reported);
        return withoutClient(parts ? parts->clientAndPort : reported);
    }
    case NameStyle::Jack:
        return withoutClient(reported);
    case NameStyle::WinMM:
        return withoutWinMMNumber(reported, number);
    case NameStyle::Undecorated:
        break;
    }
    return reported;
}

std::string_view lastingName(NameStyle style, std::string_view reported, unsigned number)
{
    return style == NameStyle::WinMM ? withoutWinMMNumber(reported, number) : reported;
}

std::optional<unsigned> findPort(NameStyle style, std::span<const std::string> names,
                                 std::string_view wanted)
{
    for (unsigned i = 0; i < names.size(); ++i) {
        if (names[i] == wanted)
            return i;
    }
    for (unsigned i = 0; i < names.size(); ++i) {
        if (plainName(style, names[i], i) == wanted)
            return i;
        if (style == NameStyle::Alsa && isWindowsNameOfAlsaPort(wanted, names[i]))
            return i;
    }
    return std::nullopt;
}

bool isOwnPort(NameStyle style, std::string_view reported, unsigned number)
{
    return plainName(style, reported, number) == OwnPortName;
}

std::optional<AlsaAddress> alsaAddress(std::string_view reported)
{
    const auto parts = splitAlsaName(reported);
    return parts ? std::optional(parts->address) : std::nullopt;
}

std::vector<PortPair> pairPorts(NameStyle style, std::span<const std::string> inputs,
                                std::span<const std::string> outputs)
{
    Pairing pairing(inputs, outputs);
    pairing.match([&](unsigned i, unsigned o) {
        return inputs[i] == outputs[o] && !isOwnPort(style, inputs[i], i);
    });
    if (style != NameStyle::Undecorated) {
        pairing.match([&](unsigned i, unsigned o) {
            return plainName(style, inputs[i], i) == plainName(style, outputs[o], o) &&
                   !isOwnPort(style, inputs[i], i);
        });
    }
    return pairing.pairs();
}

} // namespace midi
