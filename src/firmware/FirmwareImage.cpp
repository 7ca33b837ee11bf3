#include "firmware/FirmwareImage.h"

#include "firmware/ImageCipher.h"

#include <QFile>
#include <QString>

#include <new>

namespace firmware
{
namespace
{

/// Reads exactly `size` bytes.
bool readAll(QFile &file, std::uint8_t *to, std::size_t size)
{
    const auto wanted = static_cast<qint64>(size);
    return file.read(reinterpret_cast<char *>(to), wanted) == wanted;
}

} // namespace

ImageError FirmwareImage::load(const QString &path, std::uint8_t productID)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return ImageError::FileNotFound;
    ImageError error = readHeader(file, productID);
    if (error == ImageError::None)
        error = readPayload(file);
    if (error == ImageError::None)
        error = checkPayload();
    return error;
}

ImageError FirmwareImage::readHeader(QFile &file, std::uint8_t productID)
{
    if (!readAll(file, m_header.data(), m_header.size()))
        return ImageError::HeaderUnreadable;
    const ImageHeader read = header();
    return read.magic == ImageMagic && read.productID == productID ? ImageError::None
                                                                   : ImageError::WrongProduct;
}

ImageError FirmwareImage::readPayload(QFile &file)
{
    release();
    const std::size_t size = header().dataLength;
    // A damaged length is no reason to ask for gigabytes that the file cannot fill anyway.
    if (!file.isSequential() && file.bytesAvailable() < static_cast<qint64>(size))
        return ImageError::DataUnreadable;
    m_data.reset(new (std::nothrow) std::uint8_t[size]());
    if (!m_data)
        return ImageError::OutOfMemory;
    m_size = size;
    if (readAll(file, m_data.get(), m_size))
        return ImageError::None;
    release();
    return ImageError::DataUnreadable;
}

ImageError FirmwareImage::checkPayload()
{
    if (imageCheckValue(payload()) == header().imageCRC)
        return ImageError::None;
    release();
    return ImageError::CheckValueWrong;
}

void FirmwareImage::release()
{
    m_data.reset();
    m_size = 0;
}

} // namespace firmware
