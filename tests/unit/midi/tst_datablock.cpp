#include "support/Messages.h"
#include "midi/protocol/DataBlock.h"

#include <QTest>

using midi::ByteMessage;
using midi::ByteView;
using testsupport::fromHex;
using testsupport::hex;

namespace
{

constexpr char ThreeBytes[] = "F0 00 01 5B 05 34 04 00 00 04 00 40 4F 5C 67 02 20 61 69 62 F7";
constexpr char Empty[] = "F0 00 01 5B 05 34 04 00 00 00 00 00 00 00 00 00 F7";

QByteArray built(midi::Command command, std::uint8_t type, const char *payload)
{
    const auto frame = midi::dataBlock(command, 5, type, fromHex(payload));
    return frame ? hex(*frame) : "nothing";
}

} // namespace

class TestDataBlock : public QObject
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
        ByteMessage payload(7153);
        for (std::size_t i = 0; i < payload.size(); ++i)
            payload[i] = static_cast<std::uint8_t>(i * 7);
        const auto frame = midi::dataBlock(midi::Command::BlockWrite, 5, 4, payload);
        QCOMPARE(frame.value().size(), 8192U);
        QCOMPARE(hex(ByteView(*frame).subspan(9, 2)), QByteArray("6F 3F")); // 8175
        QCOMPARE(frame->back(), 0xF7);
        QCOMPARE(midi::readDataBlock(*frame), std::optional(payload));

        payload.push_back(0);
        QVERIFY(!midi::dataBlock(midi::Command::BlockWrite, 5, 4, payload));
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
        const auto payload = midi::readDataBlock(fromHex(frame));
        QCOMPARE(payload ? static_cast<int>(payload->size()) : -1, decoded);
        if (decoded == 3)
            QCOMPARE(hex(*payload), QByteArray("61 E9 62"));
    }
};

QTEST_GUILESS_MAIN(TestDataBlock)
#include "tst_datablock.moc"
