#pragma once

#include "firmware/ImageHeader.h"

#include <QString>

#include <optional>
#include <vector>

/// Firmware image files as the packer writes and reads them.
namespace zvf
{

/// The largest length that the messages of an update can carry.
inline constexpr std::uint32_t MaxDataLength = (1U << 28) - 1;
/// Product IDs and the two parameters travel as 7-bit bytes.
inline constexpr std::uint8_t MaxParameter = 0x7F;

/// Why this header's image could not be sent to a box; nothing when it could.
[[nodiscard]] std::optional<QString> refusal(const firmware::ImageHeader &header);

struct Image
{
    firmware::ImageHeader header;
    std::vector<std::uint8_t> payload; ///< enciphered; shorter than the header says if cut off
};

/// Builds the image of a raw firmware; magic, length and check value of `header` are filled in.
[[nodiscard]] Image makeImage(firmware::ImageHeader header, midi::ByteView raw);

/// Nothing, and an explanation in `error`, where a file cannot be read or holds no header.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> readFile(const QString &path,
                                                                QString &error);
[[nodiscard]] std::optional<Image> readImage(const QString &path, QString &error);
/// Replaces the file as a whole, or leaves it as it was.
[[nodiscard]] bool writeImage(const QString &path, const Image &image, QString &error);

} // namespace zvf
