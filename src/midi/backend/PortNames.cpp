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
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

std::string_view withoutClient(std::string_view name)
{
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
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

/// Whether Windows would call this port of ALSA so.
bool isWindowsName(const Port &port, std::string_view wanted)
{
    if (!port.alsa)
        return false;
    const std::string number = std::to_string(port.alsa->port + 1);
    return std::ranges::any_of(std::array{"MIDIIN", "MIDIOUT"}, [&](const char *direction) {
        const std::string start = direction + number + " (";
        if (!wanted.starts_with(start) || !wanted.ends_with(')'))
            return false;
        const std::string_view device =
            wanted.substr(start.size(), wanted.size() - start.size() - 1);
        return !device.empty() && port.reported.starts_with(std::string(device) + ':');
    });
}

} // namespace

Port parsePort(NameStyle style, unsigned number, std::string reported)
{
    Port port{number, std::move(reported), {}, {}};
    std::string_view name = port.reported;
    if (style == NameStyle::WinMM) {
        const std::string suffix = ' ' + std::to_string(number);
        if (name.ends_with(suffix))
            name.remove_suffix(suffix.size());
    }
    port.name = name;
    if (style == NameStyle::Alsa)
        port.alsa = takeAlsaAddress(name);
    if (style == NameStyle::Alsa || style == NameStyle::Jack)
        name = withoutClient(name);
    port.plainName = name;
    return port;
}

const Port *findPort(std::span<const Port> ports, std::string_view wanted)
{
    auto found = std::ranges::find(ports, wanted, &Port::reported);
    if (found == ports.end())
        found = std::ranges::find_if(ports, [&](const Port &port) {
            return port.plainName == wanted || isWindowsName(port, wanted);
        });
    return found == ports.end() ? nullptr : &*found;
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
