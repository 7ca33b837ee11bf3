#pragma once

#include "midi/ByteMessage.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace simulator
{

enum class OperatingMode : std::uint8_t { MergeThru = 0, UsbMidi = 1, PythonScript = 2 };

/// What a box keeps through a restart: its settings record, and its script as bytes.
/// The parts of the record that the protocol leaves open start with recognisable bytes and are
/// kept as written, so that a client which loses some of them is found out.
class BoxMemory
{
public:
    static constexpr std::size_t RecordLength = 256;
    static constexpr std::size_t ModeOffset = 16;
    static constexpr std::size_t SysexIdOffset = 17;
    static constexpr std::size_t NameOffset = 224;
    static constexpr std::size_t MaxNameLength = 31; ///< the field's last byte is always 0
    static constexpr std::uint8_t MaxSysexId = 127;

    BoxMemory(std::string_view name, std::uint8_t sysexId, OperatingMode mode);

    [[nodiscard]] midi::ByteView record() const { return m_record; }
    /// False, with nothing changed, for a record of another length, an unknown mode or a sysex ID
    /// of more than seven bits.
    [[nodiscard]] bool setRecord(midi::ByteView record);

    [[nodiscard]] std::uint8_t sysexId() const { return m_record[SysexIdOffset]; }
    [[nodiscard]] OperatingMode mode() const { return OperatingMode{m_record[ModeOffset]}; }
    /// The display name up to its first zero byte.
    [[nodiscard]] std::string name() const;

    [[nodiscard]] midi::ByteView script() const { return m_script; }
    void setScript(midi::ByteView script) { m_script.assign(script.begin(), script.end()); }

private:
    std::array<std::uint8_t, RecordLength> m_record{};
    std::vector<std::uint8_t> m_script;
};

} // namespace simulator
