#pragma once

#include "midi/protocol/Box.h"
#include "midi/protocol/Bytes.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace simulator
{

using midi::OperatingMode;

/// What a box keeps through a restart: its settings record, and its script as bytes.
/// The parts of the record that the protocol leaves open start with recognisable bytes and are
/// kept as written, so that a client which loses some of them is found out.
class BoxMemory
{
public:
    BoxMemory(std::string_view name, std::uint8_t sysexId, OperatingMode mode);

    [[nodiscard]] midi::ByteView record() const { return m_record; }
    /// False, with nothing changed, for a record of another length, an unknown mode or a sysex ID
    /// of more than seven bits.
    [[nodiscard]] bool setRecord(midi::ByteView record);

    [[nodiscard]] std::uint8_t sysexId() const { return m_record[midi::RecordSysexIdOffset]; }
    [[nodiscard]] OperatingMode mode() const
    {
        return OperatingMode{m_record[midi::RecordModeOffset]};
    }
    /// The display name up to its first zero byte.
    [[nodiscard]] std::string name() const;

    [[nodiscard]] midi::ByteView script() const { return m_script; }
    void setScript(midi::ByteView script) { m_script.assign(script.begin(), script.end()); }

private:
    std::array<std::uint8_t, midi::RecordLength> m_record{};
    std::vector<std::uint8_t> m_script;
};

} // namespace simulator
