#include "midi/backend/PortNames.h"

#include <algorithm>
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
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

/// Takes "N:M" off the end of `name`, with the blank before it.
std::optional<AlsaAddress> takeAlsaAddress(std::string_view &name)
{
    const std::size_t blank = name.rfind(' ');
    const std::size_t colon = name.rfind(':');
    if (blank == std::string_view::npos || colon == std::string_view::npos || colon < blank)
        return std::nullopt;
    const auto client = parseNumber(name.substr(blank + 1, colon - blank - 1));
    const auto port = parseNumber(name.substr(colon + 1));
    if (!client || !port)
        return std::nullopt;
    name = name.substr(0, blank);
    return AlsaAddress{*client, *port};
}

/// Whether Windows would call this port of ALSA `wanted`, if `direction` is its own.
bool isWindowsName(const Port &port, std::string_view wanted, const char *direction)
{
    if (!port.alsa)
        return false;
    const std::string start = direction + std::to_string(port.alsa->port + 1) + " (";
    if (!wanted.starts_with(start) || !wanted.ends_with(')'))
        return false;
    const auto device = wanted.substr(start.size(), wanted.size() - start.size() - 1);
    return !device.empty() && port.reported.starts_with(std::string(device) + ':');
}

} // namespace

Port parsePort(NameStyle style, unsigned number, std::string reported)
{
    Port port{number, std::move(reported), {}, {}};
    std::string_view name = port.reported;
    const std::string suffix = ' ' + std::to_string(number);
    if (style == NameStyle::WinMM && name.ends_with(suffix))
        name.remove_suffix(suffix.size());
    port.name = name;
    if (style == NameStyle::Alsa)
        port.alsa = takeAlsaAddress(name);
    if (style == NameStyle::Alsa || style == NameStyle::Jack)
        name.remove_prefix(name.find(':') + 1); // the client; nothing where there is none
    port.plainName = name;
    return port;
}

std::vector<const Port *> findPorts(std::span<const Port> ports, std::string_view wanted)
{
    std::vector<const Port *> exact, meant;
    for (const Port &port : ports) {
        if (port.reported == wanted)
            exact.push_back(&port);
        else if (port.plainName == wanted || isWindowsName(port, wanted, "MIDIIN") ||
                 isWindowsName(port, wanted, "MIDIOUT"))
            meant.push_back(&port);
    }
    exact.insert(exact.end(), meant.begin(), meant.end());
    return exact;
}

std::vector<PortPair> findPairs(const PortLists &ports, std::string_view input,
                                std::string_view output)
{
    auto outputs = findPorts(ports.outputs, output);
    std::vector<PortPair> pairs;
    for (const Port *in : findPorts(ports.inputs, input)) {
        const auto out = std::ranges::find_if(outputs, [&](const Port *candidate) {
            return !in->alsa || !candidate->alsa || in->alsa->client == candidate->alsa->client;
        });
        if (out == outputs.end())
            continue;
        pairs.push_back({*in, **out});
        outputs.erase(out);
    }
    return pairs;
}

std::vector<PortPair> pairPorts(const PortLists &ports)
{
    std::vector<const Port *> partners(ports.inputs.size());
    std::vector<bool> taken(ports.outputs.size());
    for (const auto name : {&Port::name, &Port::plainName}) {
        for (std::size_t i = 0; i < partners.size(); ++i) {
            const Port &input = ports.inputs[i];
            for (std::size_t o = 0; !partners[i] && !input.isOurs() && o < taken.size(); ++o) {
                if (taken[o] || ports.outputs[o].*name != input.*name)
                    continue;
                partners[i] = &ports.outputs[o];
                taken[o] = true;
            }
        }
    }
    std::vector<PortPair> pairs;
    for (std::size_t i = 0; i < partners.size(); ++i) {
        if (partners[i])
            pairs.push_back({ports.inputs[i], *partners[i]});
    }
    return pairs;
}

} // namespace midi
