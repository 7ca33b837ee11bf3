#include "simulator/SimulatedBox.h"

#include "simulator/MessageText.h"
#include "simulator/ReplyFaults.h"
#include "simulator/ScriptOutput.h"

#include "midi/protocol/DataBlock.h"
#include "midi/protocol/UpdateMessages.h"

#include <algorithm>

namespace simulator
{
namespace
{

using midi::ByteMessage;
using midi::ByteView;
using midi::Command;

/// How long a box hears nothing after its operating mode was changed.
constexpr std::chrono::milliseconds ModeChangeTime{200};

/// `text` as a sysex can carry it.
std::vector<std::uint8_t> wireText(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        bytes.push_back(byte < 0x80 ? byte : std::uint8_t{'?'});
    }
    return bytes;
}

Reaction event(std::string line)
{
    Reaction reaction;
    reaction.events.push_back(std::move(line));
    return reaction;
}

Reaction reply(ByteMessage message)
{
    Reaction reaction;
    reaction.replies.push_back(std::move(message));
    return reaction;
}

} // namespace

SimulatedBox::SimulatedBox(BoxProfile profile)
    : m_profile(std::move(profile))
    , m_memory(m_profile.name, m_profile.sysexId, m_profile.mode)
    , m_inBootloader(m_profile.inBootloader)
{
    m_memory.setScript(m_profile.script);
}

Reaction SimulatedBox::receive(ByteView message)
{
    if (m_absent)
        return {};
    Reaction reaction = handle(message);
    reaction.replies = disturbReplies(m_faults, reaction.replies);
    reaction.delay = m_faults.slow;
    m_absent = reaction.absence.has_value();
    return reaction;
}

Reaction SimulatedBox::comeBack()
{
    m_absent = false;
    return event(m_inBootloader ? "started bootloader" : "started " + versionLine());
}

ByteMessage SimulatedBox::text(std::string_view text) const
{
    return midi::textMessage(sysexId(), wireText(text));
}

std::vector<std::string> SimulatedBox::state() const
{
    return {versionLine(), settingsLine(), scriptLine()};
}

Reaction SimulatedBox::handle(ByteView message)
{
    if (std::ranges::equal(message, midi::identityRequest()))
        return identify();
    if (midi::isSysex(message) && message.back() == midi::SysexEnd &&
        message.size() > midi::CommandOffset + 1 && message[midi::SysexIdOffset] == sysexId())
        return handleAddressed(message);
    return {};
}

Reaction SimulatedBox::handleAddressed(ByteView message)
{
    const Command command{message[midi::CommandOffset]};
    if (command == Command::NameRequest && message.size() == midi::NameRequestLength)
        return reply(midi::nameReply(sysexId(), wireText(m_memory.name())));
    if (command == Command::FirmwareUpdate)
        return update(message);
    if (m_inBootloader)
        return {};
    if (command == Command::BlockReadRequest && message.size() == midi::ReadRequestLength)
        return read(message[midi::BlockTypeOffset]);
    if (command == Command::BlockWrite || command == Command::BlockWriteFlagged)
        return write(message);
    return {};
}

Reaction SimulatedBox::identify() const
{
    return reply(
        midi::identityReply({m_profile.productId, sysexId(),
                             m_inBootloader ? midi::BootloaderVersion : m_profile.version}));
}

Reaction SimulatedBox::read(std::uint8_t blockType) const
{
    ByteView payload;
    if (blockType == toByte(midi::BlockType::Globals))
        payload = m_memory.record();
    else if (blockType == toByte(midi::BlockType::Script))
        payload = m_memory.script();
    else
        return event("refused read type=" + std::to_string(blockType));

    const auto frame = midi::dataBlock(Command::DataBlock, sysexId(), blockType, payload);
    if (!frame)
        return event("refused read: " + std::to_string(payload.size()) + " bytes in no frame");
    return reply(*frame);
}

Reaction SimulatedBox::write(ByteView message)
{
    const auto payload = midi::readDataBlock(message);
    if (!payload)
        return event("refused write: damaged frame");
    const std::uint8_t type = message[midi::BlockTypeOffset];
    if (type == toByte(midi::BlockType::Globals))
        return writeSettings(*payload);
    if (type == toByte(midi::BlockType::Script))
        return writeScript(*payload);
    return event("refused write type=" + std::to_string(type));
}

Reaction SimulatedBox::writeSettings(ByteView record)
{
    const std::uint8_t addressedId = sysexId();
    const OperatingMode previous = m_memory.mode();
    if (!m_memory.setRecord(record))
        return event("refused settings");
    Reaction reaction = event(settingsLine());
    reaction.replies.push_back(midi::acknowledgement(addressedId));
    if (m_memory.mode() != previous) {
        reaction.events.emplace_back("restarting");
        reaction.absence = Absence{ModeChangeTime, false};
    }
    return reaction;
}

Reaction SimulatedBox::writeScript(ByteView script)
{
    m_memory.setScript(script);
    Reaction reaction = event(scriptLine());
    reaction.replies.push_back(midi::acknowledgement(sysexId()));
    reaction.replies.push_back(
        text("Script received: " + std::to_string(script.size()) + " bytes\n"));
    reaction.replies.push_back(text("Running...\n"));
    for (const std::string &line : scriptOutput(script))
        reaction.replies.push_back(text(line));
    return reaction;
}

Reaction SimulatedBox::update(ByteView message)
{
    if (!m_inBootloader) {
        const bool isRequest = std::ranges::equal(message, midi::updateRequest(sysexId()));
        return isRequest ? enterBootloader() : Reaction{};
    }
    BoxBootloader::Outcome outcome = m_bootloader.receive(message);
    Reaction reaction;
    if (outcome.firmware)
        reaction = startNewFirmware(*outcome.firmware);
    if (!outcome.event.empty())
        reaction.events.insert(reaction.events.begin(), outcome.event);
    if (!outcome.reply.empty())
        reaction.replies.push_back(std::move(outcome.reply));
    if (outcome.unplugged) {
        m_bootloader.restart();
        reaction.absence = Absence{};
    }
    return reaction;
}

Reaction SimulatedBox::enterBootloader()
{
    if (m_faults.ignoreUpdateRequest)
        return event("firmware update request ignored");
    m_inBootloader = true;
    m_bootloader.restart();
    Reaction reaction = event("restarting");
    reaction.absence = Absence{m_profile.restartTime, true};
    return reaction;
}

Reaction SimulatedBox::startNewFirmware(ByteView firmware)
{
    std::string match = "unchecked";
    if (const auto &expected = m_profile.expectedFirmware)
        match = std::ranges::equal(firmware, *expected) ? "yes" : "no";
    Reaction reaction = event("firmware complete length=" + std::to_string(firmware.size()) +
                              " sha1=" + sha1(firmware) + " match=" + match);
    // A box does not start what is not its firmware; it stays open for the next attempt.
    if (match == "no")
        return reaction;
    m_inBootloader = false;
    m_profile.version = m_profile.updatedVersion;
    reaction.events.emplace_back("restarting");
    reaction.absence = Absence{m_profile.restartTime, true};
    return reaction;
}

std::string SimulatedBox::versionLine() const
{
    const midi::FirmwareVersion version =
        m_inBootloader ? midi::BootloaderVersion : m_profile.version;
    return "version=" + std::to_string(version.major) + '.' + std::to_string(version.minor) + '.' +
           std::to_string(version.point);
}

std::string SimulatedBox::settingsLine() const
{
    return "settings name=" + inQuotes(m_memory.name()) +
           " sysex-id=" + std::to_string(m_memory.sysexId()) +
           " mode=" + std::to_string(static_cast<int>(m_memory.mode())) +
           " sha1=" + sha1(m_memory.record());
}

std::string SimulatedBox::scriptLine() const
{
    return "script " + std::to_string(m_memory.script().size()) + ' ' + sha1(m_memory.script());
}

} // namespace simulator
