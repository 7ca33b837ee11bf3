#pragma once

#include "simulator/BoxBootloader.h"
#include "simulator/BoxFaults.h"
#include "simulator/BoxMemory.h"

#include "midi/protocol/Messages.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace simulator
{

/// A box as it leaves the factory, or as a test wants it.
struct BoxProfile
{

    std::uint8_t productId = midi::OstrelProductId;
    std::uint8_t sysexId = 0;
    std::string name = "Ostrel";
    OperatingMode mode = OperatingMode::PythonScript;
    std::vector<std::uint8_t> script;
    midi::FirmwareVersion version{1, 1, 1};
    midi::FirmwareVersion updatedVersion{1, 1, 1}; ///< after an update
    bool inBootloader = false;
    std::chrono::milliseconds restartTime{1500}; ///< off the bus when the firmware changes
    /// What an update should bring, deciphered. Without it any firmware is believed.
    std::optional<std::vector<std::uint8_t>> expectedFirmware;
};

/// A time in which a box hears nothing, until SimulatedBox::comeBack() is called.
struct Absence
{
    /// Empty: until somebody plugs the box in again.
    std::optional<std::chrono::milliseconds> duration;
    bool offBus = true; ///< the box's ports are gone meanwhile
};

/// What a box does about a message, in the order of the members.
struct Reaction
{
    std::vector<std::string> events;        ///< one line each, for the record
    std::chrono::milliseconds delay{0};     ///< before the replies
    std::vector<midi::ByteMessage> replies; ///< to where the message came from
    std::optional<Absence> absence;         ///< begins behind the last reply
};

/// A box without ports, threads or clock: messages in, reactions out. What is written to it stays
/// for the next read. Any thread, one at a time.
class SimulatedBox
{
public:
    explicit SimulatedBox(BoxProfile profile);
    // The bootloader refers to this box's faults.
    SimulatedBox(const SimulatedBox &) = delete;
    SimulatedBox &operator=(const SimulatedBox &) = delete;

    [[nodiscard]] const BoxFaults &faults() const { return m_faults; }
    void setFaults(const BoxFaults &faults) { m_faults = faults; }

    [[nodiscard]] Reaction receive(midi::ByteView message);
    [[nodiscard]] bool isAbsent() const { return m_absent; }
    /// Ends an absence; the box then runs what it restarted into.
    [[nodiscard]] Reaction comeBack();

    [[nodiscard]] std::uint8_t sysexId() const { return m_memory.sysexId(); }
    /// A text message from this box. Characters that no sysex can carry become question marks.
    [[nodiscard]] midi::ByteMessage text(std::string_view text) const;
    /// The current version, settings and script, one event line each.
    [[nodiscard]] std::vector<std::string> state() const;

private:
    [[nodiscard]] Reaction handle(midi::ByteView message);
    [[nodiscard]] Reaction handleAddressed(midi::ByteView message);
    [[nodiscard]] Reaction identify() const;
    [[nodiscard]] Reaction read(std::uint8_t blockType) const;
    [[nodiscard]] Reaction write(midi::ByteView message);
    [[nodiscard]] Reaction writeSettings(midi::ByteView record);
    [[nodiscard]] Reaction writeScript(midi::ByteView script);
    [[nodiscard]] Reaction update(midi::ByteView message);
    [[nodiscard]] Reaction enterBootloader();
    [[nodiscard]] Reaction startNewFirmware(midi::ByteView firmware);
    [[nodiscard]] std::string versionLine() const;
    [[nodiscard]] std::string settingsLine() const;
    [[nodiscard]] std::string scriptLine() const;

    BoxProfile m_profile;
    BoxFaults m_faults;
    BoxMemory m_memory;
    BoxBootloader m_bootloader{m_faults};
    bool m_inBootloader;
    bool m_absent = false;
};

} // namespace simulator
