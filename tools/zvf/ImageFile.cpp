#include "zvf/ImageFile.h"

#include "firmware/ImageCipher.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>

namespace zvf
{
namespace
{

bool write(QSaveFile &file, midi::ByteView bytes)
{
    const auto size = static_cast<qint64>(bytes.size());
    return file.write(reinterpret_cast<const char *>(bytes.data()), size) == size;
}

} // namespace

std::optional<QString> refusal(const firmware::ImageHeader &header)
{
    if (header.magic != firmware::ImageMagic)
        return QStringLiteral("this is no firmware image: the magic is wrong");
    if (header.dataLength == 0)
        return QStringLiteral("the firmware is empty");
    if (header.dataLength > MaxDataLength)
        return QStringLiteral("the firmware is longer than 28 bits can say");
    if (header.productID > MaxParameter)
        return QStringLiteral("product IDs end at 127");
    if (header.doneParam1 > MaxParameter || header.doneParam2 > MaxParameter)
        return QStringLiteral("the done parameters end at 127");
    return std::nullopt;
}

Image makeImage(firmware::ImageHeader header, midi::ByteView raw)
{
    Image image{header, firmware::encipherPayload(raw)};
    image.header.magic = firmware::ImageMagic;
    image.header.dataLength = static_cast<std::uint32_t>(raw.size());
    // Of what is stored, because a box can check no more than that.
    image.header.imageCRC = firmware::imageCheckValue(image.payload);
    return image;
}

std::optional<std::vector<std::uint8_t>> readFile(const QString &path, QString &error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        error = file.errorString();
        return std::nullopt;
    }
    return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
}

std::optional<Image> readImage(const QString &path, QString &error)
{
    const auto bytes = readFile(path, error);
    if (!bytes)
        return std::nullopt;
    if (bytes->size() < firmware::HeaderSize) {
        error = QStringLiteral("shorter than a header");
        return std::nullopt;
    }
    firmware::HeaderBytes header{};
    std::copy_n(bytes->begin(), header.size(), header.begin());
    Image image{firmware::parseHeader(header), {}};
    const midi::ByteView rest = midi::ByteView(*bytes).subspan(firmware::HeaderSize);
    const midi::ByteView payload =
        rest.first(std::min<std::size_t>(rest.size(), image.header.dataLength));
    image.payload.assign(payload.begin(), payload.end());
    return image;
}

bool writeImage(const QString &path, const Image &image, QString &error)
{
    QSaveFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) &&
                         write(file, firmware::serialiseHeader(image.header)) &&
                         write(file, image.payload) && file.commit();
    if (!written)
        error = file.errorString();
    return written;
}

} // namespace zvf
