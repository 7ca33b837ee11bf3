#include "firmware/Btea.h"
#include "firmware/ImageCipher.h"
#include "firmware/ImageHeader.h"
#include "support/Rows.h"

#include <array>
#include <vector>

using namespace testsupport;
using Words = std::vector<std::uint32_t>;
using Bytes = std::vector<std::uint8_t>;

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
    void wordsFollowPublicVectors_data()
    {
        const Rows<Words, Words, Words> add;
        add("two words", {0, 0, 0, 0}, {0, 0}, {0x053704AB, 0x575D8C80});
        add("three words", {0x01234567, 0x89ABCDEF, 0xFEDCBA98, 0x76543210},
            {0x00010203, 0x04050607, 0x08090A0B}, {0xC51944ED, 0x089BDDC4, 0x0A844FE4});
    }

    void wordsFollowPublicVectors()
    {
        const auto [key, plain, enciphered] = row<Words, Words, Words>();
        Words words = plain;
        const auto count = static_cast<std::uint32_t>(words.size());
        btea_encrypt(words.data(), count, key.data());
        QCOMPARE(words, enciphered);
        btea_decrypt(words.data(), count, key.data());
        QCOMPARE(words, plain);
    }

    void singleWordIsProcessedInBothDirections()
    {
        const std::array<std::uint32_t, 4> key{};
        std::uint32_t word = 0;
        btea_encrypt(&word, 1, key.data());
        QCOMPARE(word, 0xACC927B6U);
        word = 0;
        btea_decrypt(&word, 1, key.data());
        QCOMPARE(word, 0x19BCDF9EU);
    }

    /// The values were computed with a second implementation, written in another language.
    void checkValueChainsBlocks_data()
    {
        const Rows<std::size_t, std::uint32_t> add;
        add("nothing", 0, 0xFFFFFFFFU);
        add("part of a single word", 1, 0x9B366039U);
        add("a single word", 4, 0xCF63A266U);
        add("part of a second word", 5, 0xCDEDCDBCU);
        add("almost a block", 511, 0x01244701U);
        add("one block", 512, 0x9A068123U);
        add("a block and one byte", 513, 0xD92811C5U);
        add("a block and a word", 516, 0xDD43BD1FU);
        add("two blocks", 1024, 0x2237247CU);
        add("several blocks and a rest", 1300, 0x9C0CD2D0U);
    }

    void checkValueChainsBlocks()
    {
        const auto [length, expected] = row<std::size_t, std::uint32_t>();
        QCOMPARE(firmware::imageCheckValue(rampPayload(length)), expected);
    }

    /// All of it for some lengths, and all but the last block for any.
    void decipheringUndoesEnciphering()
    {
        for (const std::size_t length : {0U, 1U, 4U, 7U, 8U, 511U, 512U, 513U, 516U, 517U, 520U,
                                         1024U, 1026U, 1027U, 1028U, 1032U}) {
            const Bytes raw = rampPayload(length);
            const Bytes stored = firmware::encipherPayload(raw);
            const Bytes back = firmware::decipherPayload(stored);
            QCOMPARE(stored.size(), length);
            QCOMPARE(back.size(), length);
            const auto whole = static_cast<std::ptrdiff_t>(length - length % 512);
            QVERIFY(std::equal(raw.begin(), raw.begin() + whole, back.begin()));
            QCOMPARE(back == raw, firmware::isExactLength(length));
        }
    }

    void headerFieldsStandWhereBoxesExpectThem()
    {
        const firmware::HeaderBytes bytes{0x5A, 0x56, 0x46, 0x01, 26,   1,    2,    3,
                                          0x04, 0x03, 0x02, 0x01, 0xEF, 0xBE, 0xAD, 0xDE};
        const firmware::ImageHeader header{firmware::ImageMagic, 26,        1, 2, 3,
                                           0x01020304,           0xDEADBEEF};
        QCOMPARE(firmware::parseHeader(bytes), header);
        QCOMPARE(firmware::serialiseHeader(header), bytes);
    }
};

QTEST_GUILESS_MAIN(TestImageCipher)
#include "tst_imagecipher.moc"
