#include "support/Messages.h"
#include "unit/midi/BlockPayload.h"

#include <QTest>

using midi::ByteMessage;
using midi::ByteView;
using testsupport::fromHex;
using testsupport::hex;

using Buffer = std::array<std::uint8_t, midi::MaxFrameLength>;

namespace
{

constexpr char ThreeBytes[] = "F0 00 01 5B 05 34 04 00 00 04 00 40 4F 5C 67 02 20 61 69 62 F7";
constexpr char Empty[] = "F0 00 01 5B 05 34 04 00 00 00 00 00 00 00 00 00 F7";

/// The frame, built where an earlier one has left its bytes, which must be gone.
QByteArray built(midi::Command command, std::uint8_t type, const char *payload)
{
    Buffer buffer;
    buffer.fill(0xEE);
    const auto length = midi::buildDataBlock(buffer, command, 5, type, fromHex(payload));
    if (!length)
        return "nothing";
    const auto rest = ByteView(buffer).subspan(*length);
    const bool isClear = std::ranges::count(rest, 0) == std::ssize(rest);
    return isClear ? hex(ByteView(buffer).first(*length)) : "bytes behind the frame";
}

} // namespace

class TestDataBlockFrame : public QObject
{
    Q_OBJECT

private slots:
    void builds()
    {
        using midi::Command;
        QCOMPARE(built(Command::DataBlock, 4, "61 E9 62"), QByteArray(ThreeBytes));
        QCOMPARE(built(Command::DataBlock, 4, ""), QByteArray(Empty));
        QCOMPARE(built(Command::BlockWriteFlagged, 0x84, ""),
                 QByteArray(Empty).replace("34 04", "39 04")); // a type has seven bits
    }

    void holdsAtMost7153Bytes()
    {
        Buffer buffer;
        ByteMessage payload(7153);
        for (std::size_t i = 0; i < payload.size(); ++i)
            payload[i] = static_cast<std::uint8_t>(i * 7);
        const auto length = midi::buildDataBlock(buffer, midi::Command::BlockWrite, 5, 4, payload);
        QCOMPARE(length, std::optional<std::size_t>(8192));
        QCOMPARE(hex(ByteView(buffer).subspan(9, 2)), QByteArray("6F 3F")); // 8175
        QCOMPARE(buffer.back(), 0xF7);
        QCOMPARE(blockPayload(buffer), std::optional(payload));

        payload.push_back(0);
        QVERIFY(!midi::buildDataBlock(buffer, midi::Command::BlockWrite, 5, 4, payload));
    }

    void takesNoFrameAtItsWord_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<int>("decoded"); // -1: refused
        const auto row = [](const char *name, const char *before, const char *after, int decoded) {
            QTest::newRow(name) << QByteArray(ThreeBytes).replace(before, after) << decoded;
        };
        row("as built", "", "", 3);
        row("one payload bit wrong", "61 69", "61 6B", -1);
        row("one checksum bit wrong", "4F 5C", "4F 5D", -1);
        row("length one too large", "04 00 40", "05 00 40", -1);
        row("length one too small", "04 00 40", "03 00 40", -1);
        row("length into the zeros", "04 00 40", "7F 3E 40", -1);
        row("length to the buffer's end", "04 00 40", "70 3F 40", -1);
        row("length one beyond the buffer", "04 00 40", "71 3F 40", -1);
        row("largest length", "04 00 40", "7F 7F 40", -1);
        QTest::newRow("empty") << QByteArray(Empty) << 0;
        QTest::newRow("empty with a checksum") << QByteArray(Empty).replace("00 F7", "01 F7") << -1;
    }

    void takesNoFrameAtItsWord()
    {
        QFETCH(QByteArray, frame);
        QFETCH(int, decoded);
        const auto payload = blockPayload(fromHex(frame));
        QCOMPARE(payload ? static_cast<int>(payload->size()) : -1, decoded);
        if (decoded == 3)
            QCOMPARE(hex(*payload), QByteArray("61 E9 62"));
    }
};

QTEST_GUILESS_MAIN(TestDataBlockFrame)
#include "tst_datablockframe.moc"
