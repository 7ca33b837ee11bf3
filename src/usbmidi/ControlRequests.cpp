#include "usbmidi/ControlRequests.h"

#include <tuple>

namespace usbmidi
{
namespace
{

constexpr std::uint8_t KindMask = 0x60; // standard, of a class or of a vendor
constexpr std::uint8_t FromDevice = 0x80;
constexpr std::uint8_t GetStatus = 0;
constexpr std::uint8_t GetDescriptor = 6;

} // namespace

std::optional<midi::ByteMessage> answerControl(const DeviceDescriptors &descriptors,
                                               const SetupPacket &setup)
{
    const auto [target, request, index, type] =
        std::tuple(setup[0], setup[1], std::size_t{setup[2]}, setup[3]);

    if ((target & KindMask) != 0)
        return std::nullopt;
    // Numbers of configurations and settings: there is one of each, so there is nothing to do.
    if ((target & FromDevice) == 0)
        return midi::ByteMessage{};
    if (request == GetStatus)
        return midi::ByteMessage{0, 0};
    if (request != GetDescriptor)
        return std::nullopt;
    if (type == DeviceType)
        return descriptors.device;
    if (type == ConfigurationType)
        return descriptors.configuration;
    if (type == StringType && index < descriptors.strings.size())
        return descriptors.strings[index];
    return std::nullopt;
}

} // namespace usbmidi
