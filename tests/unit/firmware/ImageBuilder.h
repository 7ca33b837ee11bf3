#pragma once

#include "firmware/ImageCipher.h"
#include "firmware/ImageHeader.h"

#include <QByteArray>
#include <QTemporaryFile>
#include <QUrl>

/// Firmware images for tests.
namespace image
{

/// An image whose stored payload is `stored`, with everything in its header right.
inline QByteArray make(const std::vector<std::uint8_t> &stored, std::uint8_t productId = 26)
{
    const firmware::HeaderBytes header =
        firmware::serialiseHeader({.productID = productId,
                                   .doneParam1 = 1,
                                   .doneParam2 = 2,
                                   .dataLength = static_cast<std::uint32_t>(stored.size()),
                                   .imageCRC = firmware::imageCheckValue(stored)});
    QByteArray bytes(reinterpret_cast<const char *>(header.data()), header.size());
    bytes.append(reinterpret_cast<const char *>(stored.data()),
                 static_cast<qsizetype>(stored.size()));
    return bytes;
}

/// Bytes of which no two blocks are the same.
inline std::vector<std::uint8_t> payload(std::size_t length)
{
    std::vector<std::uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    return bytes;
}

/// A file with an image, there as long as the object.
class File
{
public:
    explicit File(const QByteArray &content)
    {
        if (m_file.open()) {
            m_file.write(content);
            m_file.close();
        }
    }
    [[nodiscard]] QString path() const { return m_file.fileName(); }
    [[nodiscard]] QString url() const { return QUrl::fromLocalFile(path()).toString(); }

private:
    QTemporaryFile m_file;
};

} // namespace image
