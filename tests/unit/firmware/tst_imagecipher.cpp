#include "firmware/Btea.h"
#include "firmware/ImageCipher.h"
#include "firmware/ImageHeader.h"

#include <QTest>

#include <array>
#include <vector>

using Words = std::vector<std::uint32_t>;
using Bytes = std::vector<std::uint8_t>;

Q_DECLARE_METATYPE(Words)

namespace
{

Bytes rampPayload(std::size_t length)
{
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + 3);
    return bytes;
}

} // namespace

class TestImageCipher : public QObject
{
    Q_OBJECT

private slots:
    void wordsFollowPublicVectors_data();
    void wordsFollowPublicVectors();
    void singleWordIsProcessedInBothDirections();
    void checkValueChainsBlocks_data();
    void checkValueChainsBlocks();
    void decipheringUndoesEnciphering_data();
    void decipheringUndoesEnciphering();
    void headerFieldsStandWhereBoxesExpectThem();
};

void TestImageCipher::wordsFollowPublicVectors_data()
{
    QTest::addColumn<Words>("key");
    QTest::addColumn<Words>("plain");
    QTest::addColumn<Words>("enciphered");

    QTest::newRow("two words, all zero")
        << Words{0, 0, 0, 0} << Words{0, 0} << Words{0x053704AB, 0x575D8C80};
    QTest::newRow("three words") << Words{0x01234567, 0x89ABCDEF, 0xFEDCBA98, 0x76543210}
                                 << Words{0x00010203, 0x04050607, 0x08090A0B}
                                 << Words{0xC51944ED, 0x089BDDC4, 0x0A844FE4};
}

void TestImageCipher::wordsFollowPublicVectors()
{
    QFETCH(Words, key);
    QFETCH(Words, plain);
    QFETCH(Words, enciphered);

    Words words = plain;
    const auto count = static_cast<std::uint32_t>(words.size());
    btea_encrypt(words.data(), count, key.data());
    QCOMPARE(words, enciphered);
    btea_decrypt(words.data(), count, key.data());
    QCOMPARE(words, plain);
}

void TestImageCipher::singleWordIsProcessedInBothDirections()
{
    const std::array<std::uint32_t, 4> key{};
    std::uint32_t word = 0;
    btea_encrypt(&word, 1, key.data());
    QCOMPARE(word, 0xACC927B6U);
    word = 0;
    btea_decrypt(&word, 1, key.data());
    QCOMPARE(word, 0x19BCDF9EU);
}

void TestImageCipher::checkValueChainsBlocks_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<quint32>("expected");

    // Computed with a second implementation, written for this table in another language.
    QTest::newRow("nothing") << 0 << 0xFFFFFFFFU;
    QTest::newRow("part of a single word") << 1 << 0x9B366039U;
    QTest::newRow("a single word") << 4 << 0xCF63A266U;
    QTest::newRow("part of a second word") << 5 << 0xCDEDCDBCU;
    QTest::newRow("almost a block") << 511 << 0x01244701U;
    QTest::newRow("one block") << 512 << 0x9A068123U;
    QTest::newRow("a block and one byte") << 513 << 0xD92811C5U;
    QTest::newRow("a block and a word") << 516 << 0xDD43BD1FU;
    QTest::newRow("two blocks") << 1024 << 0x2237247CU;
    QTest::newRow("several blocks and a rest") << 1300 << 0x9C0CD2D0U;
}

void TestImageCipher::checkValueChainsBlocks()
{
    QFETCH(int, length);
    QFETCH(quint32, expected);
    QCOMPARE(firmware::imageCheckValue(rampPayload(static_cast<std::size_t>(length))), expected);
}

void TestImageCipher::decipheringUndoesEnciphering_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("exactBytes");

    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("two words") << 8 << 8;
    QTest::newRow("one block") << 512 << 512;
    QTest::newRow("a block and two words") << 520 << 520;
    QTest::newRow("a block and a word") << 516 << 512;
    QTest::newRow("two blocks and part of a word") << 1027 << 1024;
    QTest::newRow("part of the last word missing") << 1026 << 1024;
}

void TestImageCipher::decipheringUndoesEnciphering()
{
    QFETCH(int, length);
    QFETCH(int, exactBytes);

    const Bytes raw = rampPayload(static_cast<std::size_t>(length));
    const Bytes stored = firmware::encipherPayload(raw);
    const Bytes back = firmware::decipherPayload(stored);
    QCOMPARE(stored.size(), raw.size());
    QCOMPARE(back.size(), raw.size());
    QCOMPARE(Bytes(back.begin(), back.begin() + exactBytes),
             Bytes(raw.begin(), raw.begin() + exactBytes));
    QCOMPARE(back == raw, firmware::isExactLength(raw.size()));
    QCOMPARE(exactBytes == length, firmware::isExactLength(raw.size()));
}

void TestImageCipher::headerFieldsStandWhereBoxesExpectThem()
{
    const firmware::HeaderBytes bytes{0x5A, 0x56, 0x46, 0x01, 26,   1,    2,    3,
                                      0x04, 0x03, 0x02, 0x01, 0xEF, 0xBE, 0xAD, 0xDE};
    const firmware::ImageHeader header{.magic = firmware::ImageMagic,
                                       .productID = 26,
                                       .doneParam1 = 1,
                                       .doneParam2 = 2,
                                       .reserved = 3,
                                       .dataLength = 0x01020304,
                                       .imageCRC = 0xDEADBEEF};
    QCOMPARE(firmware::parseHeader(bytes), header);
    QCOMPARE(firmware::serialiseHeader(header), bytes);
}

QTEST_GUILESS_MAIN(TestImageCipher)
#include "tst_imagecipher.moc"
