#include "firmware/FirmwareUpdate.h"
#include "unit/firmware/ImageBuilder.h"

#include <QSignalSpy>
#include <QTest>

using namespace firmware;

namespace
{

constexpr std::uint8_t Product = 26;

QByteArray changed(QByteArray bytes, std::size_t offset, char value)
{
    bytes[static_cast<qsizetype>(offset)] = value;
    return bytes;
}

/// Loads `content` and returns the error text, "" when the image was accepted.
QString load(FirmwareUpdate &updater, const QByteArray &content)
{
    const image::File file(content);
    QSignalSpy errors(&updater, &FirmwareUpdate::updateError);
    const bool loaded = updater.loadFile(file.url(), Product);
    if (errors.size() != (loaded ? 0 : 1))
        return QStringLiteral("%1 error signals").arg(errors.size());
    return loaded ? QString() : errors.first().first().toString();
}

} // namespace

/// Reading and checking an image, through the interface of the updater.
class TestFirmwareImage : public QObject
{
    Q_OBJECT

private slots:
    void compiledInImageLoads();
    void urlDecidesWhatIsOpened_data();
    void urlDecidesWhatIsOpened();
    void damagedImagesAreRefused_data();
    void damagedImagesAreRefused();
    void everyTruncationIsRefused();
    void everySingleBitIsGuarded();
    void checkValueIsTheSameEverywhere();
    void drivesAreRepaired();
    void productNames();
};

void TestFirmwareImage::compiledInImageLoads()
{
    FirmwareUpdate updater;
    QVERIFY(updater.loadFile("qrc:/firmware/OstrelFW.zvf", Product));
    QCOMPARE(updater.fileHeader().productID, Product);
    QVERIFY(updater.fileHeader().dataLength > 0);
}

void TestFirmwareImage::urlDecidesWhatIsOpened_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<bool>("found");

    QTest::newRow("file URL") << "file://"
                              << "" << true;
    QTest::newRow("plain path") << ""
                                << "" << false;
    QTest::newRow("other scheme") << "http://localhost"
                                  << "" << false;
    QTest::newRow("missing file") << "file://"
                                  << ".missing" << false;
    QTest::newRow("resource that is not there") << "qrc:"
                                                << "" << false;
}

void TestFirmwareImage::urlDecidesWhatIsOpened()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(bool, found);

    const image::File file(image::make(image::payload(16)));
    FirmwareUpdate updater;
    QSignalSpy errors(&updater, &FirmwareUpdate::updateError);
    QCOMPARE(updater.loadFile(before + file.path() + after, Product), found);
    QCOMPARE(updater.fileData() != nullptr, found);
    if (!found)
        QCOMPARE(errors.first().first().toString(), QString("Update file not found"));
}

void TestFirmwareImage::damagedImagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("keepsEarlierPayload");

    const QByteArray good = image::make(image::payload(600));
    const QString wrongProduct = "Incorrect file type for this product";
    QTest::newRow("untouched") << good << "" << false;
    QTest::newRow("bytes behind the payload") << good + "tail"
                                              << "" << false;
    QTest::newRow("reserved byte set") << changed(good, ReservedOffset, 'x') << "" << false;
    QTest::newRow("parameter changed") << changed(good, DoneParam1Offset, 'x') << "" << false;
    QTest::newRow("header cut") << good.left(15) << "Error reading header" << true;
    QTest::newRow("magic") << changed(good, MagicOffset + 3, 2) << wrongProduct << true;
    QTest::newRow("product") << changed(good, ProductIdOffset, 25) << wrongProduct << true;
    QTest::newRow("length one more")
        << changed(good, DataLengthOffset, char(0x59)) << "Error reading data" << false;
    QTest::newRow("length of gigabytes")
        << changed(good, DataLengthOffset + 3, char(0xFF)) << "Error reading data" << false;
    QTest::newRow("length one less")
        << changed(good, DataLengthOffset, 0x57) << "CRC error" << false;
    QTest::newRow("check value") << changed(good, ImageCrcOffset, char(~good[12])) << "CRC error"
                                 << false;
    QTest::newRow("payload") << changed(good, HeaderSize + 599, char(~good[615])) << "CRC error"
                             << false;
    QTest::newRow("empty payload") << image::make({}) << "" << false;
    QTest::newRow("empty payload, wrong check value")
        << changed(image::make({}), ImageCrcOffset, 0) << "CRC error" << false;
}

void TestFirmwareImage::damagedImagesAreRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    QFETCH(bool, keepsEarlierPayload);

    FirmwareUpdate updater;
    QCOMPARE(load(updater, image::make(image::payload(8))), QString());
    const std::uint8_t *earlier = updater.fileData();

    QCOMPARE(load(updater, content), error);
    if (error.isEmpty() || !keepsEarlierPayload)
        QCOMPARE(updater.fileData() != nullptr, error.isEmpty());
    else
        QCOMPARE(updater.fileData(), earlier);

    const HeaderBytes read = serialiseHeader(updater.fileHeader());
    const QByteArray header(reinterpret_cast<const char *>(read.data()), read.size());
    const auto common = qMin(content.size(), header.size());
    QCOMPARE(header.left(common), content.left(common));
}

void TestFirmwareImage::everyTruncationIsRefused()
{
    const QByteArray good = image::make(image::payload(20));
    FirmwareUpdate updater;
    for (qsizetype length = 0; length < good.size(); ++length) {
        const QString expected =
            length < qsizetype(HeaderSize) ? "Error reading header" : "Error reading data";
        QCOMPARE(load(updater, good.left(length)), expected);
        QVERIFY(!updater.fileData());
    }
}

void TestFirmwareImage::everySingleBitIsGuarded()
{
    const QByteArray good = image::make(image::payload(20));
    FirmwareUpdate updater;
    for (qsizetype offset = 0; offset < good.size(); ++offset) {
        const bool isPassedThrough =
            offset >= qsizetype(DoneParam1Offset) && offset < qsizetype(DataLengthOffset);
        for (int bit = 0; bit < 8; ++bit) {
            const QByteArray damaged =
                changed(good, std::size_t(offset), char(good[offset] ^ (1 << bit)));
            QCOMPARE(load(updater, damaged).isEmpty(), isPassedThrough);
            QCOMPARE(updater.fileData() != nullptr, isPassedThrough);
        }
    }
}

void TestFirmwareImage::checkValueIsTheSameEverywhere()
{
    std::vector<std::uint8_t> stored = image::payload(1300);
    const auto length = static_cast<unsigned>(stored.size());
    QCOMPARE(static_cast<std::uint32_t>(FirmwareUpdate::calcFileCRC(stored.data(), length)),
             imageCheckValue(stored));
    QCOMPARE(FirmwareUpdate::calcFileCRC(stored.data(), 0), -1);
    QCOMPARE(FirmwareUpdate::calcFileCRC(stored.data(), 0x80000000U), -1);
}

void TestFirmwareImage::drivesAreRepaired()
{
    for (const auto &[before, after] :
         {std::pair("//C/fw/a.zvf", "C:/fw/a.zvf"), std::pair("x//b/c", "xb:/c"),
          std::pair("/a//b/c//d/e", "/ab:/cd:/e"), std::pair("//server/a.zvf", "//server/a.zvf")}) {
        QString path = before;
        QCOMPARE(FirmwareUpdate::fixDumbQtFilenameError(path), QString(after));
        QCOMPARE(path, QString(after));
    }
}

void TestFirmwareImage::productNames()
{
    QVERIFY(FirmwareUpdate::isZEVDevice("Ostrel"));
    QVERIFY(FirmwareUpdate::isZEVDevice("???"));
    QVERIFY(!FirmwareUpdate::isZEVDevice("ostrel"));
    QVERIFY(!FirmwareUpdate::isZEVDevice(""));
    QVERIFY(!FirmwareUpdate::isZEVDevice(nullptr));
}

QTEST_GUILESS_MAIN(TestFirmwareImage)
#include "tst_firmwareimage.moc"
