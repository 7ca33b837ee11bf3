#include "fuzz/DataFrames.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/QtRtMIDI.h"
#include "support/FakeRtMidi.h"

#include <deque>

using fuzz::require;
using midi::BlockType;
using midi::ByteMessage;

// A sysex ID, then reads of one connection: what is read and how many replies come, then for each
// reply whether its length and checksum are to be made right (lowest bit), and the message.

namespace
{

constexpr int MaxReads = 4;
constexpr std::size_t QueueRoom = 100;  ///< what the link keeps
constexpr std::size_t MaxReplies = 110; ///< more than that

/// What the link has to make of the messages that wait for it.
class Model
{
public:
    explicit Model(std::uint8_t id)
        : m_id(id)
    {}

    /// What the last read left is no answer to the next question.
    void ask() { m_queue.clear(); }

    void receive(const ByteMessage &message)
    {
        if (!message.empty() && m_queue.size() < QueueRoom)
            m_queue.push_back(message);
    }

    /// The payload of the first right block of this type.
    std::optional<ByteMessage> read(BlockType type)
    {
        while (!m_queue.empty()) {
            const ByteMessage message = m_queue.front();
            m_queue.pop_front();
            auto payload = midi::readDataBlock(message);
            if (payload && midi::isDataBlock(message, m_id, type))
                return payload;
        }
        return std::nullopt;
    }

private:
    std::uint8_t m_id;
    std::deque<ByteMessage> m_queue;
};

QString scriptText(const ByteMessage &payload)
{
    const auto end = std::ranges::find(payload, std::uint8_t{0});
    return QString::fromUtf8(reinterpret_cast<const char *>(payload.data()), end - payload.begin());
}

class Exchange
{
public:
    explicit Exchange(std::uint8_t id)
        : m_model(id)
    {
        FakeRtMidi::world().reset();
        FakeRtMidi::world().inputs = {"A"};
        FakeRtMidi::world().outputs = {"A"};
        m_link.scanPorts(nullptr, nullptr);
        require(m_link.selectPort(0), "the port opens");
        m_link.setSysexID(id);
        QObject::connect(&m_link, &QtRtMIDI::midiMessageReceived, [this] { ++m_pushed; });
    }

    void read(BlockType type, const std::vector<ByteMessage> &replies)
    {
        m_pushed = 0;
        m_model.ask();
        FakeRtMidi::world().onSend = [this, &replies](const FakeRtMidi::Sent &) {
            for (const ByteMessage &reply : replies) {
                FakeRtMidi::world().receive(reply);
                m_model.receive(reply);
            }
        };
        if (type == BlockType::Script)
            readScript();
        else
            readGlobals();
        require(m_pushed == 0, "no message but texts is pushed while somebody reads");
        FakeRtMidi::world().receive(midi::programChange(0, 0));
        require(m_pushed == 1, "messages are pushed again");
    }

private:
    void readScript()
    {
        const QVariant script = m_link.getScript();
        const auto expected = m_model.read(BlockType::Script);
        require(script.isValid() == expected.has_value(), "a script where a box sent one");
        require(!expected || script.toString() == scriptText(*expected), "the script of the box");
    }

    void readGlobals()
    {
        constexpr std::size_t RecordSize = 256;
        const std::uint8_t *record = m_link.getGlobals();
        const auto expected = m_model.read(BlockType::Globals);
        require((record != nullptr) == expected.has_value(), "a record where a box sent one");
        if (!record)
            return;
        const ByteMessage copy(record, record + RecordSize); // all of it may be copied
        const std::size_t common = std::min(RecordSize, expected->size());
        require(std::equal(copy.begin(), copy.begin() + static_cast<std::ptrdiff_t>(common),
                           expected->begin()),
                "the record of the box");
    }

    QtRtMIDI m_link;
    Model m_model;
    int m_pushed = 0;
};

std::vector<ByteMessage> takeReplies(fuzz::Input &input, std::size_t count)
{
    std::vector<ByteMessage> replies;
    while (!input.atEnd() && replies.size() < count) {
        const bool repair = (input.takeByte() & 1U) != 0;
        replies.push_back(input.takeMessage());
        if (repair)
            fuzz::repairDataBlock(replies.back());
    }
    return replies;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    Exchange exchange(input.takeByte() & 0x7FU);
    for (int reads = 0; !input.atEnd() && reads < MaxReads; ++reads) {
        const BlockType type =
            (input.takeByte() & 1U) != 0 ? BlockType::Script : BlockType::Globals;
        const std::size_t count = std::min<std::size_t>(input.takeByte(), MaxReplies);
        exchange.read(type, takeReplies(input, count));
    }
    return 0;
}
