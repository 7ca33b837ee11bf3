#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/backend/PortNames.h"

#include <algorithm>
#include <set>

using fuzz::require;
using midi::NameStyle;
using midi::Port;

// The back end, the wanted name, then a name a line; 'o' in front makes it an output's, anything
// else an input's.

namespace
{

/// So many ports nobody has, and the rules compare each with each.
constexpr std::size_t MaxPorts = 32;

std::string takeLine(fuzz::Input &input)
{
    std::string line;
    while (!input.atEnd()) {
        const char character = static_cast<char>(input.takeByte());
        if (character == '\n')
            break;
        line += character;
    }
    return line;
}

void checkFinding(const std::vector<Port> &ports, const std::string &wanted)
{
    const std::vector<const Port *> fitting = midi::findPorts(ports, wanted);
    const Port *found = fitting.empty() ? nullptr : fitting.front();
    const auto exact = std::ranges::find(ports, wanted, &Port::reported);
    require(exact == ports.end() || found == &*exact, "the first exact name wins");
    for (const Port &port : ports) {
        require(port.reported.starts_with(port.name), "a lasting name is a part of the reported");
        require(found || port.plainName != wanted, "a plain name is found");
    }
}

bool fit(const Port &input, const Port &output)
{
    return input.name == output.name || input.plainName == output.plainName;
}

void checkPairs(const midi::PortLists &ports)
{
    std::set<unsigned> inputs;
    std::set<unsigned> outputs;
    for (const auto &[input, output] : midi::pairPorts(ports)) {
        require(inputs.insert(input.number).second, "each input once");
        require(outputs.insert(output.number).second, "each output once");
        require(!input.isOurs() && fit(input, output), "another's ports, whose names fit");
    }
    for (const Port &input : ports.inputs) {
        for (const Port &output : ports.outputs)
            require(inputs.contains(input.number) || outputs.contains(output.number) ||
                        input.isOurs() || !fit(input, output),
                    "no two that fit are left over");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto style = static_cast<NameStyle>(input.takeByte() % 4);
    const std::string wanted = takeLine(input);
    midi::PortLists ports;
    while (!input.atEnd() && ports.inputs.size() + ports.outputs.size() < MaxPorts) {
        std::vector<Port> &list = input.takeByte() == 'o' ? ports.outputs : ports.inputs;
        list.push_back(midi::parsePort(style, static_cast<unsigned>(list.size()), takeLine(input)));
    }
    checkFinding(ports.inputs, wanted);
    checkPairs(ports);
    return 0;
}
