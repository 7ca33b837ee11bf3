#include "midi/DataBlockFrame.h"
#include "midi/MCoded7.h"
#include "support/Messages.h"

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

} // namespace

class TestDataBlockFrame : public QObject
{
    Q_OBJECT

private slots:
    void builds_data()
    {
        QTest::addColumn<midi::Command>("command");
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QByteArray>("frame");
        using midi::Command;
        QTest::newRow("three bytes")
            << Command::DataBlock << 4 << QByteArray("61 E9 62") << QByteArray(ThreeBytes);
        QTest::newRow("nothing") << Command::DataBlock << 4 << QByteArray() << QByteArray(Empty);
        QTest::newRow("flag, and a type of eight bits")
            << Command::BlockWriteFlagged << 0x84 << QByteArray()
            << QByteArray(Empty).replace("34 04", "39 04");
    }

    void builds()
    {
        QFETCH(midi::Command, command);
        QFETCH(int, type);
        QFETCH(QByteArray, payload);
        QFETCH(QByteArray, frame);
        Buffer buffer;
        buffer.fill(0xEE); // left by an earlier frame
        const auto length = midi::buildDataBlock(buffer, command, 5,
                                                 static_cast<std::uint8_t>(type), fromHex(payload));
        QVERIFY(length);
        QCOMPARE(hex(ByteView(buffer).first(*length)), frame);
        QVERIFY(std::ranges::all_of(ByteView(buffer).subspan(*length),
                                    [](std::uint8_t byte) { return byte == 0; }));
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
        QCOMPARE(midi::decodeDataBlock(buffer), std::optional(payload.size()));
        QVERIFY(std::ranges::equal(ByteView(buffer).subspan(16, payload.size()), payload));

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
        // On the heap, where a sanitizer notices a read behind the end.
        const auto buffer = std::make_unique<Buffer>();
        std::ranges::copy(fromHex(frame), buffer->begin());
        const auto length = midi::decodeDataBlock(*buffer);
        QCOMPARE(length ? static_cast<int>(*length) : -1, decoded);
        if (decoded == 3)
            QCOMPARE(hex(ByteView(*buffer).subspan(16, 3)), QByteArray("61 E9 62"));
    }
};

QTEST_GUILESS_MAIN(TestDataBlockFrame)
#include "tst_datablockframe.moc"
