#pragma once

#include "alsa/AlsaKernel.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Which ports belong to a box: rules on port names alone, so that they can be tested for every
/// system on any system. The MIDI library decorates the names that it reports, differently per
/// back end.
namespace midi
{

/// The back ends whose decoration is known. Others report names as they are.
enum class NameStyle { Undecorated, Alsa, Jack, WinMM };

inline constexpr std::string_view OwnPortName = "KQEditor MIDI"; ///< of every editor's ports

/// A port as a list of ports had it.
struct Port
{
    unsigned number = 0;  ///< its place in that list; changes when ports come and go
    std::string reported; ///< as the library reports it
    /// By what the port is known as long as it exists: the reported name, without the number that
    /// WinMM gives it anew whenever another port goes.
    std::string name;
    std::string plainName; ///< without any decoration
    std::optional<AlsaAddress> alsa{};

    /// Whether this editor or another one like it registered the port.
    [[nodiscard]] bool isOurs() const { return plainName == OwnPortName; }
};

/// All ports that there are at a time, in the library's order.
struct PortLists
{
    std::vector<Port> inputs, outputs;
};

/// Ports by their lasting names, in the library's order.
struct PortNames
{
    std::vector<std::string> inputs, outputs;

    bool operator==(const PortNames &) const = default;
};

struct PortPair
{
    Port input, output;
};

/// Takes the name apart that the library reports for port `number`.
[[nodiscard]] Port parsePort(NameStyle style, unsigned number, std::string reported);

/// The ports reported exactly as `wanted`, and then those whose plain name is, or, on ALSA, which
/// Windows would call so: MIDIINn (Device) and MIDIOUTn (Device) mean port n - 1 of the client
/// Device.
[[nodiscard]] std::vector<const Port *> findPorts(std::span<const Port> ports,
                                                  std::string_view wanted);

/// Pairs such inputs with such outputs in this order, on ALSA only those of one client: one pair
/// per box of that kind.
[[nodiscard]] std::vector<PortPair> findPairs(const PortLists &ports, std::string_view input,
                                              std::string_view output);

/// Pairs each input with the output of the same name, identical names in order of appearance, and
/// then what is left by plain names. Inputs without a partner, and ports of our own, are left out.
[[nodiscard]] std::vector<PortPair> pairPorts(const PortLists &ports);

} // namespace midi
