#include "midi/BlockEncoding.h"
#include "midi/MCoded7.h"
#include "midi/QtRtMIDI.h"
#include "midi/SevenBit.h"
#include "support/Messages.h"

#include <QTest>

#include <random>

using midi::ByteMessage;
using testsupport::fromHex;
using testsupport::hex;

namespace
{

constexpr std::size_t LongestInput = 600;
constexpr std::uint8_t Untouched = 0xEE;

ByteMessage randomBytes(std::size_t length)
{
    std::minstd_rand random(static_cast<unsigned>(length) + 1);
    ByteMessage bytes(length);
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(random() >> 8U);
    return bytes;
}

bool isSevenBit(midi::ByteView bytes)
{
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte < 0x80; });
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
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QByteArray>("mcoded7");
        QTest::addColumn<QByteArray>("block");
        const auto row = [](const char *name, const char *raw, const char *mcoded7,
                            const char *block) {
            QTest::newRow(name) << QByteArray(raw) << QByteArray(mcoded7) << QByteArray(block);
        };
        row("nothing", "", "", "00 00 00 00 00 00 00 00");
        row("a whole group", "80 00 00 00 00 00 01", "40 00 00 00 00 00 00 01",
            "00 00 00 00 00 00 01 40 00 00 00 00 00 00 00 00");
        row("three bytes", "FF 7F 80", "50 7F 7F 00", "7F 7F 00 00 00 00 00 50");
        row("into a second group", "00 00 00 00 00 00 80 81", "01 00 00 00 00 00 00 00 40 01",
            "00 00 00 00 00 00 00 01 01 00 00 00 00 00 00 40");
    }

    void vectors()
    {
        QFETCH(QByteArray, raw);
        QFETCH(QByteArray, mcoded7);
        QFETCH(QByteArray, block);
        const ByteMessage input = fromHex(raw);

        ByteMessage encoded(100, Untouched);
        std::uint32_t count = length(encoded);
        QVERIFY(QtRtMIDI::encodeMCoded7(input.data(), length(input), encoded.data(), count));
        encoded.resize(count);
        QCOMPARE(hex(encoded), mcoded7);
        encoded.resize(QtRtMIDI::decodeMCoded7(encoded.data(), count));
        QCOMPARE(hex(encoded), raw);

        QVERIFY(QtRtMIDI::encodeBlock(input.data(), length(input), encoded));
        QCOMPARE(hex(encoded), block);
        ByteMessage decoded(100, Untouched);
        count = length(decoded);
        QVERIFY(QtRtMIDI::decodeBlock(encoded.data(), length(encoded), decoded.data(), count));
        QCOMPARE(count, length(encoded) / 8 * 7);
        decoded.resize(input.size());
        QCOMPARE(hex(decoded), raw);
    }

    void mcoded7ComesBackAtEveryLength()
    {
        for (std::size_t size = 0; size <= LongestInput; ++size) {
            const ByteMessage raw = randomBytes(size);
            const std::size_t expected = midi::mcoded7Length(size);
            ByteMessage encoded(expected + 1, Untouched);
            const auto result = midi::encodeMCoded7(raw, std::span(encoded).first(expected));
            QVERIFY(result.complete);
            QCOMPARE(result.written, expected);
            QCOMPARE(encoded.back(), Untouched);
            encoded.pop_back();
            QVERIFY(isSevenBit(encoded));
            encoded.resize(midi::decodeMCoded7(encoded));
            QVERIFY2(encoded == raw, QByteArray::number(size));
        }
    }

    void mcoded7StopsWhereTheOutputEnds()
    {
        const ByteMessage raw = randomBytes(20);
        for (std::size_t capacity = 0; capacity <= 24; ++capacity) {
            ByteMessage output(capacity + 1, Untouched);
            const auto result = midi::encodeMCoded7(raw, std::span(output).first(capacity));
            QCOMPARE(result.complete, capacity >= 23);
            QCOMPARE(result.written, std::min<std::size_t>(capacity, 23));
            QCOMPARE(output.back(), Untouched);
        }
    }

    void blockFormComesBackAtEveryLength()
    {
        for (std::size_t size = 0; size <= LongestInput; ++size) {
            const ByteMessage raw = randomBytes(size);
            const ByteMessage encoded = midi::encodeBlock(raw);
            QCOMPARE(encoded.size(), (size / 7 + 1) * 8);
            QVERIFY(isSevenBit(encoded));

            ByteMessage decoded(encoded.size(), Untouched);
            const auto result = midi::decodeBlock(encoded, decoded);
            QVERIFY(result.complete);
            QCOMPARE(result.written, encoded.size() / 8 * 7);
            decoded.resize(result.written);
            ByteMessage padded = raw;
            padded.resize(result.written, 0);
            QVERIFY2(decoded == padded, QByteArray::number(size));
        }
    }

    void blockFormStopsWhereTheOutputOrTheInputEnds()
    {
        const ByteMessage encoded = midi::encodeBlock(randomBytes(13));
        for (std::size_t capacity = 0; capacity <= 15; ++capacity) {
            ByteMessage output(capacity + 1, Untouched);
            const auto result = midi::decodeBlock(encoded, std::span(output).first(capacity));
            // Exactly full counts as too small.
            QCOMPARE(result.complete, capacity > 14);
            QCOMPARE(result.written, std::min<std::size_t>(capacity, 14));
            QCOMPARE(output.back(), Untouched);
        }
        ByteMessage output(20, Untouched);
        const auto cutShort = midi::decodeBlock(std::span(encoded).first(11), output);
        QVERIFY(cutShort.complete);
        QCOMPARE(cutShort.written, 10U);
        QVERIFY(midi::decodeBlock({}, {}).complete);
    }

    void checksum()
    {
        const ByteMessage digits = testsupport::toBytes("123456789");
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
        for (std::uint32_t value = 0; value <= 0xFFFF; ++value) {
            const auto packed = midi::convert16To14Bit(static_cast<std::uint16_t>(value));
            QCOMPARE(packed & 0x8080, 0);
            QCOMPARE(midi::convert14To16Bit(packed), value & 0x3FFF);
            const std::uint32_t wide = value * 0x10001U;
            QCOMPARE(midi::convert32To28Bit(wide) & 0x80808080U, 0U);
            QCOMPARE(midi::convert28To32Bit(midi::convert32To28Bit(wide)), wide & 0x0FFFFFFFU);
        }
    }
};

QTEST_GUILESS_MAIN(TestEncodings)
#include "tst_encodings.moc"
