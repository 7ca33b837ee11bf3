#pragma once

#include "midi/AlsaPortFile.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Which ports belong to a box: rules on port names alone, so that they can be tested for every
/// system on any system. The MIDI library decorates the names that it reports, differently per
/// back end; a plain name is the reported one without that decoration.
namespace midi
{

/// The back ends whose decoration is known. Others report names as they are.
enum class NameStyle { Undecorated, Alsa, Jack, WinMM };

/// The name under which our own ports are registered.
inline constexpr std::string_view OwnPortName = "KQEditor MIDI";

/// The names of ports, in the order in which the library reports them.
struct PortNames
{
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;

    bool operator==(const PortNames &) const = default;
};

/// Port numbers of the library: position in the list of reported names.
struct PortPair
{
    unsigned input = 0;
    unsigned output = 0;

    bool operator==(const PortPair &) const = default;
};

/// `reported` without what the back end added to the name of port `number`.
[[nodiscard]] std::string_view plainName(NameStyle style, std::string_view reported,
                                         unsigned number);

/// By what a port is known as long as it exists: its reported name, without the number that WinMM
/// gives it anew whenever another port goes.
[[nodiscard]] std::string_view lastingName(NameStyle style, std::string_view reported,
                                           unsigned number);

/// The first port named exactly `wanted`; where there is none, the first whose plain name is, or,
/// on ALSA, the one that Windows would call so: MIDIINn (Device) and MIDIOUTn (Device) mean port
/// n - 1 of the client Device.
[[nodiscard]] std::optional<unsigned> findPort(NameStyle style, std::span<const std::string> names,
                                               std::string_view wanted);

/// Whether the port was registered by this editor or another one like it.
[[nodiscard]] bool isOwnPort(NameStyle style, std::string_view reported, unsigned number);

/// "N:M" at the end of a name that ALSA reported; nothing where it is missing.
[[nodiscard]] std::optional<AlsaAddress> alsaAddress(std::string_view reported);

/// Pairs each input with the output of the same name, identical names in order of appearance:
/// first by exact names, then, for inputs without a partner, by plain names among the outputs that
/// are left. Inputs without any partner, and ports of our own, are left out.
[[nodiscard]] std::vector<PortPair> pairPorts(NameStyle style, std::span<const std::string> inputs,
                                              std::span<const std::string> outputs);

} // namespace midi
