#include "simulator/BoxMemory.h"

#include <algorithm>

namespace simulator
{
namespace
{

/// Never zero, and with high bits set in places.
std::uint8_t fillByte(std::size_t offset)
{
    const auto byte = static_cast<std::uint8_t>(offset * 37 + 11);
    return byte == 0 ? std::uint8_t{0xA5} : byte;
}

} // namespace

BoxMemory::BoxMemory(std::string_view name, std::uint8_t sysexId, OperatingMode mode)
{
    for (std::size_t i = 0; i < midi::RecordNameOffset; ++i)
        m_record[i] = fillByte(i);
    m_record[midi::RecordModeOffset] = static_cast<std::uint8_t>(mode);
    m_record[midi::RecordSysexIdOffset] = sysexId;
    const std::string_view kept = name.substr(0, midi::MaxNameLength);
    std::transform(kept.begin(), kept.end(), m_record.begin() + midi::RecordNameOffset,
                   [](char c) { return static_cast<std::uint8_t>(c); });
}

bool BoxMemory::setRecord(midi::ByteView record)
{
    if (record.size() != midi::RecordLength ||
        record[midi::RecordSysexIdOffset] > midi::MaxSysexId ||
        record[midi::RecordModeOffset] >= midi::OperatingModeCount)
        return false;
    std::ranges::copy(record, m_record.begin());
    m_record.back() = 0;
    return true;
}

std::string BoxMemory::name() const
{
    const midi::ByteView field = midi::ByteView(m_record).subspan(midi::RecordNameOffset);
    return {field.begin(), std::ranges::find(field, std::uint8_t{0})};
}

} // namespace simulator
