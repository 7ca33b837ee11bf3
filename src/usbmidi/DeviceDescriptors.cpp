#include "usbmidi/DeviceDescriptors.h"

#include <array>
#include <utility>

namespace usbmidi
{
namespace
{

using midi::append;
using midi::ByteMessage;

enum Type : std::uint8_t {
    Interface = 4,
    Endpoint = 5,
    ClassInterface = 0x24,
    ClassEndpoint = 0x25,
};
enum AudioClass : std::uint8_t { Audio = 1, AudioControl = 1, MidiStreaming = 3 };
enum MidiSubtype : std::uint8_t { Header = 1, InJack = 2, OutJack = 3, General = 1 };
enum JackKind : std::uint8_t { Embedded = 1, External = 2 };

constexpr std::uint8_t DirectionToComputer = 0x80;
constexpr std::uint8_t BulkTransfers = 2;
constexpr std::uint8_t BusPowered = 0x80;
constexpr std::uint8_t Current = 50; ///< in units of 2 mA
constexpr std::size_t MaxStringLength = 126;
constexpr std::size_t ConfigurationLengthOffset = 2;

/// The indexes of the strings that every device has; those of the jacks follow.
constexpr std::uint8_t MakerString = 1;
constexpr std::uint8_t ProductString = 2;
constexpr std::uint8_t SerialString = 3;

constexpr std::uint8_t low(std::size_t number)
{
    return static_cast<std::uint8_t>(number & 0xFFU);
}

constexpr std::uint8_t high(std::size_t number)
{
    return static_cast<std::uint8_t>(number >> 8U & 0xFFU);
}

ByteMessage stringDescriptor(const std::string &text)
{
    const std::string cut = text.substr(0, MaxStringLength);
    ByteMessage bytes{low(2 + 2 * cut.size()), StringType};
    for (const char character : cut)
        append(bytes, ByteMessage{static_cast<std::uint8_t>(character), 0});
    return bytes;
}

/// Writes the jacks down one after the other and counts their numbers and strings.
class Jacks
{
public:
    explicit Jacks(std::vector<ByteMessage> &strings)
        : m_strings(strings)
    {}

    /// A jack at the computer's end with one at the outer end behind it. Gives the number of the
    /// former, by which its endpoint knows it.
    std::uint8_t addPair(const std::string &name, bool toDevice)
    {
        const std::uint8_t in = m_nextId++;
        const std::uint8_t out = m_nextId++;
        const std::uint8_t text = addString(name);
        const JackKind inKind = toDevice ? Embedded : External;
        const JackKind outKind = toDevice ? External : Embedded;
        append(bytes, ByteMessage{6, ClassInterface, InJack, inKind, in, text});
        append(bytes, ByteMessage{9, ClassInterface, OutJack, outKind, out, 1, in, 1, text});
        return toDevice ? in : out;
    }

    ByteMessage bytes;

private:
    std::uint8_t addString(const std::string &name)
    {
        if (name.empty())
            return 0;
        m_strings.push_back(stringDescriptor(name));
        return low(m_strings.size() - 1);
    }

    std::vector<ByteMessage> &m_strings;
    std::uint8_t m_nextId = 1;
};

ByteMessage endpoint(std::uint8_t address, const ByteMessage &jacks)
{
    ByteMessage bytes{9, Endpoint, address, BulkTransfers, low(TransferLength), 0, /*interval*/ 0,
                      0, 0};
    append(bytes, ByteMessage{low(4 + jacks.size()), ClassEndpoint, General, low(jacks.size())});
    append(bytes, jacks);
    return bytes;
}

ByteMessage midiStreams(const DeviceNames &names, std::vector<ByteMessage> &strings)
{
    Jacks jacks(strings);
    ByteMessage toDevice;
    ByteMessage toComputer;
    for (const std::string &name : names.toDevice)
        toDevice.push_back(jacks.addPair(name, true));
    for (const std::string &name : names.toComputer)
        toComputer.push_back(jacks.addPair(name, false));

    ByteMessage bytes = std::move(jacks.bytes);
    append(bytes, endpoint(MidiEndpoint, toDevice));
    append(bytes, endpoint(DirectionToComputer | MidiEndpoint, toComputer));
    return bytes;
}

ByteMessage configuration(const ByteMessage &streams)
{
    constexpr std::size_t HeaderLength = 7;
    const std::size_t length = HeaderLength + streams.size();
    ByteMessage bytes{9, ConfigurationType, 0,      0, /*interfaces*/ 2, /*number*/ 1,
                      0, BusPowered,        Current};
    // An audio control interface without any controls must come first and name the other one.
    append(bytes, ByteMessage{9, Interface, 0, 0, 0, Audio, AudioControl, 0, 0});
    append(bytes, ByteMessage{9, ClassInterface, Header, 0x00, 0x01, 9, 0, 1, 1});
    append(bytes, ByteMessage{9, Interface, 1, 0, /*endpoints*/ 2, Audio, MidiStreaming, 0, 0});
    append(bytes, ByteMessage{HeaderLength, ClassInterface, Header, 0x00, 0x01, low(length),
                              high(length)});
    append(bytes, streams);
    bytes[ConfigurationLengthOffset] = low(bytes.size());
    bytes[ConfigurationLengthOffset + 1] = high(bytes.size());
    return bytes;
}

} // namespace

DeviceDescriptors describe(const DeviceNames &names)
{
    DeviceDescriptors all;
    constexpr std::array<std::uint8_t, 4> AmericanEnglish{4, StringType, 0x09, 0x04};
    all.strings.emplace_back(AmericanEnglish.begin(), AmericanEnglish.end());
    for (const std::string &text : {names.product, names.product, std::string("1")})
        all.strings.push_back(stringDescriptor(text));
    // USB 2.0, the class stands with the interfaces; the vendor is the one that lends its number
    // 0x0001 to whoever tries something.
    all.device = {
        18,           DeviceType, 0x00, 0x02, 0,    0,    0,           low(TransferLength),
        0x09,         0x12,       0x01, 0x00, 0x00, 0x01, MakerString, ProductString,
        SerialString, 1};
    all.configuration = configuration(midiStreams(names, all.strings));
    return all;
}

} // namespace usbmidi
