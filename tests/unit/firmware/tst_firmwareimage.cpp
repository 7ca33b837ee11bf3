#include "firmware/FirmwareUpdate.h"
#include "support/Rows.h"
#include "unit/firmware/ImageBuilder.h"

#include <QSignalSpy>

using namespace firmware;
using namespace testsupport;

namespace
{

constexpr std::uint8_t Product = 26;

const QString NoHeader = "Error reading header";
const QString WrongProduct = "Incorrect file type for this product";
const QString NoData = "Error reading data";
const QString WrongCheckValue = "CRC error";

QByteArray changed(QByteArray bytes, std::size_t offset, int value)
{
    bytes[static_cast<qsizetype>(offset)] = static_cast<char>(value);
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

/// Loads `content` after a good image, and looks at what an image with this error leaves.
void checkLoading(const QByteArray &content, const QString &error)
{
    FirmwareUpdate updater;
    QCOMPARE(load(updater, image::make(image::payload(8))), QString());
    const std::uint8_t *const earlier = updater.fileData();

    QCOMPARE(load(updater, content), error);
    if (error == NoHeader || error == WrongProduct)
        QCOMPARE(updater.fileData(), earlier);
    else
        QCOMPARE(updater.fileData() != nullptr, error.isEmpty());

    const HeaderBytes read = serialiseHeader(updater.fileHeader());
    const QByteArray header(reinterpret_cast<const char *>(read.data()), read.size());
    const auto common = qMin(content.size(), header.size());
    QCOMPARE(header.left(common), content.left(common));
}

} // namespace

/// Reading and checking an image, through the interface of the updater.
class TestFirmwareImage : public QObject
{
    Q_OBJECT

private slots:
    void urlDecidesWhatIsOpened_data()
    {
        const Rows<QString, QString, bool> add;
        add("file URL", "file://", "", true);
        add("plain path", "", "", false);
        add("other scheme", "http://localhost", "", false);
        add("missing file", "file://", ".missing", false);
        add("resource that is not there", "qrc:", "", false);
    }

    void urlDecidesWhatIsOpened()
    {
        const auto [before, after, found] = row<QString, QString, bool>();
        const image::File file(image::make(image::payload(16)));
        FirmwareUpdate updater;
        QSignalSpy errors(&updater, &FirmwareUpdate::updateError);
        QCOMPARE(updater.loadFile(before + file.path() + after, Product), found);
        QCOMPARE(updater.fileData() != nullptr, found);
        if (!found)
            QCOMPARE(errors.first().first().toString(), QString("Update file not found"));
    }

    void contentIsChecked_data()
    {
        const QByteArray good = image::make(image::payload(600));
        const QByteArray empty = image::make({});
        const Rows<QByteArray, QString> add;
        add("bytes behind the payload", good + "tail", "");
        add("length one less", changed(good, DataLengthOffset, 0x57), WrongCheckValue);
        add("second block", changed(good, HeaderSize + 599, ~good[615]), WrongCheckValue);
        add("empty payload", empty, "");
        add("empty, wrong check value", changed(empty, ImageCrcOffset, 0), WrongCheckValue);
    }

    void contentIsChecked()
    {
        const auto [content, error] = row<QByteArray, QString>();
        checkLoading(content, error);
    }

    void everyTruncationIsRefused()
    {
        const QByteArray good = image::make(image::payload(20));
        for (qsizetype length = 0; length < good.size(); ++length)
            checkLoading(good.left(length), length < qsizetype(HeaderSize) ? NoHeader : NoData);
    }

    /// But for the bytes that are passed on as they are.
    void everySingleBitIsGuarded()
    {
        const QByteArray good = image::make(image::payload(20));
        const auto errorAt = [&](std::size_t offset, int damaged) {
            if (offset < DoneParam1Offset)
                return WrongProduct;
            if (offset < DataLengthOffset)
                return QString();
            const bool longer = static_cast<std::uint8_t>(good[qsizetype(offset)]) < damaged;
            return offset < ImageCrcOffset && longer ? NoData : WrongCheckValue;
        };
        for (std::size_t offset = 0; offset < std::size_t(good.size()); ++offset) {
            for (int bit = 0; bit < 8; ++bit) {
                const int damaged = static_cast<std::uint8_t>(good[qsizetype(offset)]) ^ (1 << bit);
                checkLoading(changed(good, offset, damaged), errorAt(offset, damaged));
            }
        }
    }

    void checkValueIsTheSameEverywhere()
    {
        std::vector<std::uint8_t> stored = image::payload(1300);
        QCOMPARE(std::uint32_t(FirmwareUpdate::calcFileCRC(stored.data(), 1300)),
                 imageCheckValue(stored));
        QCOMPARE(FirmwareUpdate::calcFileCRC(stored.data(), 0x80000000U), -1);
    }

    void drivesAreRepaired()
    {
        for (const auto &[before, after] :
             {std::pair("//C/fw/a.zvf", "C:/fw/a.zvf"), std::pair("x//b/c", "xb:/c"),
              std::pair("/a//b/c//d/e", "/ab:/cd:/e"),
              std::pair("//server/a.zvf", "//server/a.zvf")}) {
            QString path = before;
            QCOMPARE(FirmwareUpdate::fixDumbQtFilenameError(path), QString(after));
            QCOMPARE(path, QString(after));
        }
    }

    void productNames()
    {
        for (const char *name : {"Ostrel", "???"})
            QVERIFY2(FirmwareUpdate::isZEVDevice(name), name);
        for (const char *name : {"ostrel", "", static_cast<const char *>(nullptr)})
            QVERIFY2(!FirmwareUpdate::isZEVDevice(name), name);
    }
};

QTEST_GUILESS_MAIN(TestFirmwareImage)
#include "tst_firmwareimage.moc"
