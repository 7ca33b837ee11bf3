#include "firmware/FirmwareImage.h"
#include "firmware/ImageCipher.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "unit/firmware/ImageBuilder.h"

#include <algorithm>

using firmware::ImageError;
using fuzz::require;
using midi::ByteMessage;
using midi::ByteView;

// What to make right in the header (a bit each), then a file.

namespace
{

constexpr std::uint8_t Product = 26;

enum Repair : unsigned { Magic = 1, ProductId = 2, Length = 4, CheckValue = 8 };

firmware::ImageHeader headerOf(ByteView file)
{
    firmware::HeaderBytes bytes{};
    std::ranges::copy(file.first(bytes.size()), bytes.begin());
    return firmware::parseHeader(bytes);
}

/// The part of the file that its header calls the payload, as far as the file goes.
ByteView payloadOf(ByteView file)
{
    const ByteView rest = file.subspan(firmware::HeaderSize);
    return rest.first(std::min<std::size_t>(rest.size(), headerOf(file).dataLength));
}

void repair(ByteMessage &file, unsigned what)
{
    if (file.size() < firmware::HeaderSize)
        return;
    firmware::ImageHeader header = headerOf(file);
    if (what & Magic)
        header.magic = firmware::ImageMagic;
    if (what & ProductId)
        header.productID = Product;
    if (what & Length)
        header.dataLength = static_cast<std::uint32_t>(file.size() - firmware::HeaderSize);
    std::ranges::copy(firmware::serialiseHeader(header), file.begin());
    if (what & CheckValue) {
        header.imageCRC = firmware::imageCheckValue(payloadOf(file));
        std::ranges::copy(firmware::serialiseHeader(header), file.begin());
    }
}

ImageError expectedError(ByteView file)
{
    if (file.size() < firmware::HeaderSize)
        return ImageError::HeaderUnreadable;
    const firmware::ImageHeader header = headerOf(file);
    if (header.magic != firmware::ImageMagic || header.productID != Product)
        return ImageError::WrongProduct;
    if (header.dataLength > file.size() - firmware::HeaderSize)
        return ImageError::DataUnreadable;
    return firmware::imageCheckValue(payloadOf(file)) == header.imageCRC
               ? ImageError::None
               : ImageError::CheckValueWrong;
}

void checkLoading(const ByteMessage &content)
{
    static const std::vector<std::uint8_t> earlier = image::payload(8);
    static const image::File earlierFile(image::make(earlier, Product));
    firmware::FirmwareImage image;
    require(image.load(earlierFile.path(), Product) == ImageError::None, "a good image loads");

    const image::File file(
        {reinterpret_cast<const char *>(content.data()), static_cast<qsizetype>(content.size())});
    const ImageError error = image.load(file.path(), Product);
    require(error == expectedError(content), "what is wrong is said");
    if (error == ImageError::None) {
        require(std::ranges::equal(image.payload(), payloadOf(content)),
                "the payload is the file's");
        require(image.header() == headerOf(content), "the header is the file's");
    } else if (error == ImageError::HeaderUnreadable || error == ImageError::WrongProduct) {
        require(std::ranges::equal(image.payload(), earlier), "an earlier payload stays");
    }
    const bool keeps = error == ImageError::None || error == ImageError::HeaderUnreadable ||
                       error == ImageError::WrongProduct;
    require(image.isLoaded() == keeps, "no payload that was not checked");
    require(keeps || image.payload().empty(), "nothing left of a refused payload");
}

void checkCipher(const ByteMessage &raw)
{
    const auto stored = firmware::encipherPayload(raw);
    require(stored.size() == raw.size(), "enciphering keeps the length");
    const auto back = firmware::decipherPayload(stored);
    require(back.size() == raw.size(), "deciphering keeps the length");
    require(!firmware::isExactLength(raw.size()) || back == raw, "cipher: there and back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const unsigned what = input.takeByte();
    ByteMessage file = input.takeRest();
    checkCipher(file);
    repair(file, what);
    checkLoading(file);
    return 0;
}
