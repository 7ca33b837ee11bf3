#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/backend/PortNames.h"

#include <set>

using fuzz::require;
using midi::NameStyle;
using midi::PortPair;

// The back end, the wanted name, then a name a line; 'o' in front makes it an output's, anything
// else an input's.

namespace
{

using Names = std::vector<std::string>;

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

std::ptrdiff_t count(const Names &names, const std::string &name)
{
    return std::ranges::count(names, name);
}

bool isInside(std::string_view part, std::string_view whole)
{
    return std::greater_equal<>()(part.data(), whole.data()) &&
           std::less_equal<>()(part.data() + part.size(), whole.data() + whole.size());
}

void checkFinding(NameStyle style, const Names &names, const std::string &wanted)
{
    const auto found = midi::findPort(style, names, wanted);
    require(!found || *found < names.size(), "a found port is there");
    const auto exact = std::ranges::find(names, wanted);
    require(exact == names.end() || (found && *found == exact - names.begin()),
            "the first exact name wins");
    for (unsigned i = 0; i < names.size(); ++i) {
        const std::string_view plain = midi::plainName(style, names[i], i);
        require(isInside(plain, names[i]), "a plain name is part of the reported one");
        require(style != NameStyle::Undecorated || plain == names[i], "nothing to take off");
        require(found || plain != wanted, "a plain name is found");
    }
}

class Pairs
{
public:
    Pairs(NameStyle style, const Names &inputs, const Names &outputs)
        : m_style(style)
        , m_inputs(inputs)
        , m_outputs(outputs)
        , m_pairs(midi::pairPorts(style, inputs, outputs))
    {}

    void check() const
    {
        std::set<unsigned> taken;
        std::set<unsigned> paired;
        for (const auto &[input, output] : m_pairs) {
            require(input < m_inputs.size() && output < m_outputs.size(), "paired ports are there");
            require(paired.empty() || input > *paired.rbegin(), "in the order of the inputs");
            paired.insert(input);
            require(taken.insert(output).second, "each output once");
            require(!isOwn(input), "no port of our own");
            require(fit(input, output), "paired names fit");
        }
        for (unsigned i = 0; i < m_inputs.size(); ++i) {
            for (unsigned o = 0; o < m_outputs.size(); ++o)
                require(paired.contains(i) || taken.contains(o) || isOwn(i) || !fit(i, o),
                        "no two that fit are left over");
        }
        checkExactNames();
    }

private:
    [[nodiscard]] std::string_view plainInput(unsigned i) const
    {
        return midi::plainName(m_style, m_inputs[i], i);
    }
    [[nodiscard]] bool isOwn(unsigned input) const
    {
        return plainInput(input) == midi::OwnPortName;
    }
    [[nodiscard]] bool fit(unsigned i, unsigned o) const
    {
        return m_inputs[i] == m_outputs[o] ||
               (m_style != NameStyle::Undecorated &&
                plainInput(i) == midi::plainName(m_style, m_outputs[o], o));
    }

    /// As many pairs of the same name as there can be.
    void checkExactNames() const
    {
        for (unsigned i = 0; i < m_inputs.size(); ++i) {
            const std::string &name = m_inputs[i];
            // A number behind the name may make one of several equal ones our own.
            if (m_style == NameStyle::WinMM || isOwn(i))
                continue;
            const auto exact = std::ranges::count_if(m_pairs, [&](const PortPair &pair) {
                return m_inputs[pair.input] == name && m_outputs[pair.output] == name;
            });
            require(exact == std::min(count(m_inputs, name), count(m_outputs, name)),
                    "exact names come first");
        }
    }

    NameStyle m_style;
    const Names &m_inputs;
    const Names &m_outputs;
    std::vector<PortPair> m_pairs;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto style = static_cast<NameStyle>(input.takeByte() % 4);
    const std::string wanted = takeLine(input);
    Names inputs;
    Names outputs;
    while (!input.atEnd() && inputs.size() + outputs.size() < MaxPorts) {
        Names &names = input.takeByte() == 'o' ? outputs : inputs;
        names.push_back(takeLine(input));
    }
    checkFinding(style, inputs, wanted);
    Pairs(style, inputs, outputs).check();
    return 0;
}
