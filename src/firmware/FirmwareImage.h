#pragma once

#include "firmware/ImageHeader.h"

#include <memory>

class QFile;
class QString;

namespace firmware
{

enum class ImageError {
    None,
    FileNotFound,
    HeaderUnreadable,
    WrongProduct, ///< not an image at all, or one for another product
    OutOfMemory,
    DataUnreadable,
    CheckValueWrong,
};

/// The firmware image in memory, payload still enciphered: a box gets it as it is stored.
///
/// A failed load may leave the header of the file that it refused beside the payload of an earlier
/// one, so the header's length says nothing about payload().size().
class FirmwareImage
{
public:
    /// Reads and checks the file at `path`. What is wrong with the header leaves an earlier payload
    /// in place; what is wrong behind it leaves none.
    [[nodiscard]] ImageError load(const QString &path, std::uint8_t productID);

    [[nodiscard]] ImageHeader header() const { return parseHeader(m_header); }
    /// True while there is a payload, even one of no bytes.
    [[nodiscard]] bool isLoaded() const { return m_data != nullptr; }
    [[nodiscard]] midi::ByteView payload() const { return {m_data.get(), m_size}; }

private:
    [[nodiscard]] ImageError readHeader(QFile &file, std::uint8_t productID);
    [[nodiscard]] ImageError readPayload(QFile &file);
    [[nodiscard]] ImageError checkPayload();
    void release();

    HeaderBytes m_header{};
    std::unique_ptr<std::uint8_t[]> m_data;
    std::size_t m_size = 0;
};

} // namespace firmware
