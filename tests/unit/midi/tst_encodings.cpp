#include "midi/QtRtMIDI.h"
#include "support/Messages.h"
#include "support/Rows.h"
#include "unit/midi/EncodingChecks.h"

#include <random>

using namespace testsupport;
using midi::ByteMessage;

namespace
{

constexpr std::size_t LongestInput = 600;

ByteMessage randomBytes(std::size_t length)
{
    std::minstd_rand random(static_cast<unsigned>(length) + 1);
    ByteMessage bytes(length);
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(random() >> 8U);
    return bytes;
}

void require(bool holds, const char *what)
{
    QVERIFY2(holds, what);
}

std::uint32_t length(midi::ByteView bytes)
{
    return static_cast<std::uint32_t>(bytes.size());
}

} // namespace

/// The two 7-bit encodings, the checksum and the packed numbers.
class TestEncodings : public QObject
{
    Q_OBJECT

private slots:
    void vectors_data()
    {
        const Rows<QByteArray, QByteArray, QByteArray> add; // raw, MCoded7, block form
        add("nothing", "", "", "00 00 00 00 00 00 00 00");
        add("a whole group", "80 00 00 00 00 00 01", "40 00 00 00 00 00 00 01",
            "00 00 00 00 00 00 01 40 00 00 00 00 00 00 00 00");
        add("three bytes", "FF 7F 80", "50 7F 7F 00", "7F 7F 00 00 00 00 00 50");
        add("into a second group", "00 00 00 00 00 00 80 81", "01 00 00 00 00 00 00 00 40 01",
            "00 00 00 00 00 00 00 01 01 00 00 00 00 00 00 40");
    }

    void vectors()
    {
        const auto [raw, mcoded7, block] = row<QByteArray, QByteArray, QByteArray>();
        const ByteMessage input = fromHex(raw);

        ByteMessage encoded(100, 0xEE);
        std::uint32_t count = length(encoded);
        QVERIFY(QtRtMIDI::encodeMCoded7(input.data(), length(input), encoded.data(), count));
        encoded.resize(count);
        QCOMPARE(hex(encoded), mcoded7);
        encoded.resize(QtRtMIDI::decodeMCoded7(encoded.data(), count));
        QCOMPARE(hex(encoded), raw);

        QVERIFY(QtRtMIDI::encodeBlock(input.data(), length(input), encoded));
        QCOMPARE(hex(encoded), block);
        ByteMessage decoded(100, 0xEE);
        count = length(decoded);
        QVERIFY(QtRtMIDI::decodeBlock(encoded.data(), length(encoded), decoded.data(), count));
        QCOMPARE(count, length(encoded) / 8 * 7);
        decoded.resize(input.size());
        QCOMPARE(hex(decoded), raw);
    }

    /// The top bits stand behind what is decoded, in the group's eighth byte.
    void decodesAPartOfAGroup()
    {
        const ByteMessage group = fromHex("7F 7F 00 01 02 03 04 50");
        ByteMessage decoded(7);
        const auto decode = [&](std::uint32_t part, std::uint32_t capacity) {
            const bool complete =
                QtRtMIDI::decodeBlock(group.data(), part, decoded.data(), capacity);
            return hex(std::span(decoded).first(capacity)) + (complete ? "" : " full");
        };
        QCOMPARE(decode(2, 7), QByteArray("FF 7F"));
        QCOMPARE(decode(3, 7), QByteArray("FF 7F 80"));
        QCOMPARE(decode(3, 3), QByteArray("FF 7F 80 full"));
        QCOMPARE(decode(7, 7), QByteArray("FF 7F 80 01 02 03 04 full"));
        // Where the eighth byte did not arrive, it is not read.
        QCOMPARE(midi::decodeBlock(std::span(group).first(3), 3, decoded).written, 3U);
        QCOMPARE(hex(std::span(decoded).first(3)), QByteArray("7F 7F 00"));
    }

    void comeBackAtEveryLength()
    {
        for (std::size_t size = 0; size <= LongestInput && !QTest::currentTestFailed(); ++size) {
            encodingchecks::checkMCoded7(randomBytes(size), midi::mcoded7Length(size), require);
            encodingchecks::checkBlock(randomBytes(size), size, require);
        }
    }

    void stopWhereTheOutputEnds()
    {
        for (std::size_t size = 0; size <= 24; ++size) {
            for (std::size_t capacity = 0; capacity <= 32 && !QTest::currentTestFailed();
                 ++capacity) {
                encodingchecks::checkMCoded7(randomBytes(size), capacity, require);
                encodingchecks::checkBlock(randomBytes(size), capacity, require);
            }
        }
    }

    void checksum()
    {
        const ByteMessage digits = toBytes("123456789");
        const auto crc = [](midi::ByteView bytes, std::uint32_t initial) {
            return QtRtMIDI::calcCRC(bytes.data(), length(bytes), initial);
        };
        QtRtMIDI::genCRCTable();
        QCOMPARE(crc(digits, 0xFFFFFFFF), 0xFC891918U);
        QCOMPARE(crc(digits, 0), 0x765E7680U);
        QCOMPARE(crc({}, 0xFFFFFFFF), 0U);
        QCOMPARE(crc({}, 0x12345678), ~0x12345678U);

        // One result handed to the next call does not join the data; images rely on that.
        const std::uint32_t first = crc(std::span(digits).first(5), 0xFFFFFFFF);
        QCOMPARE(crc(std::span(digits).last(4), first), 0x3B8DC463U);
        QCOMPARE(crc(std::span(digits).last(4), ~first), 0xFC891918U);
    }

    void packedNumbers()
    {
        QCOMPARE(QtRtMIDI::convert16To14Bit(0x3FFF), 0x7F7F);
        QCOMPARE(QtRtMIDI::convert16To14Bit(0xC080), 0x0100);
        QCOMPARE(QtRtMIDI::convert14To16Bit(0x8180), 0x0080);
        QCOMPARE(QtRtMIDI::convert32To28Bit(0x0FFFFFFF), 0x7F7F7F7FU);
        QCOMPARE(QtRtMIDI::convert32To28Bit(0xF0204081), 0x01010101U);
        QCOMPARE(QtRtMIDI::convert28To32Bit(0x7F7F7F7F), 0x0FFFFFFFU);
        QCOMPARE(QtRtMIDI::convert28To32Bit(0x81818181), 0x00204081U);
        for (std::uint32_t value = 0; value <= 0xFFFF && !QTest::currentTestFailed(); ++value)
            encodingchecks::checkSevenBit(value * 0x10001U, require);
    }
};

QTEST_GUILESS_MAIN(TestEncodings)
#include "tst_encodings.moc"
