#include "simulator/BoxBootloader.h"

#include "firmware/ImageCipher.h"
#include "midi/protocol/Messages.h"
#include "midi/protocol/UpdateMessages.h"

namespace simulator
{
namespace
{

constexpr std::uint8_t AskForPosition = 0x00;

/// True once, when `block` is the one that `faultyBlock` names.
bool strikes(std::uint32_t &faultyBlock, std::uint32_t block)
{
    if (faultyBlock != block)
        return false;
    faultyBlock = 0;
    return true;
}

} // namespace

void BoxBootloader::restart()
{
    m_stored.clear();
    m_silent = false;
}

BoxBootloader::Outcome BoxBootloader::receive(midi::ByteView message)
{
    m_sysexId = message[midi::SysexIdOffset];
    const auto command = midi::updateCommand(message, m_sysexId);
    if (!command)
        return {};
    switch (*command) {
    case midi::UpdateCommand::Data:
        return takeBlock(message);
    case midi::UpdateCommand::Done:
        return finish(message);
    case midi::UpdateCommand::Cancel:
        restart();
        return {{}, "firmware cancelled", false, std::nullopt};
    case midi::UpdateCommand::Request:
    case midi::UpdateCommand::Response:
        break;
    }
    return {};
}

BoxBootloader::Outcome BoxBootloader::takeBlock(midi::ByteView message)
{
    if (m_silent)
        return {};
    const auto read = midi::readUpdateData(message);
    if (const auto *reason = std::get_if<std::string>(&read))
        return ask(position(), *reason);

    const auto &block = std::get<midi::UpdateBlock>(read);
    // A client that begins again need not have said that it gave up.
    if (block.position == 0)
        m_stored.clear();
    if (block.position != position())
        return ask(position(), "unexpected position");
    if (const auto failure = fail(block.position / midi::UpdateBlockSize + 1))
        return *failure;

    midi::append(m_stored, block.bytes);
    return {midi::updateResponse(m_sysexId, {midi::UpdateAccepted, position()}),
            {},
            false,
            std::nullopt};
}

std::optional<BoxBootloader::Outcome> BoxBootloader::fail(std::uint32_t block)
{
    const std::string where = " block=" + std::to_string(block);
    if (strikes(m_faults->unplugAt, block))
        return Outcome{{}, "firmware unplugged" + where, true, std::nullopt};
    if (strikes(m_faults->silentAt, block)) {
        m_silent = true;
        return Outcome{{}, "firmware silent" + where, false, std::nullopt};
    }
    if (strikes(m_faults->askBeyondEnd, block))
        return ask(PositionBeyondEnd, "beyond the end");
    if (strikes(m_faults->dropBlock, block))
        return ask(position(), "dropped");
    if (m_faults->repeatRequest > 0 && block == 1) {
        --m_faults->repeatRequest;
        return ask(position(), "repeated");
    }
    return std::nullopt;
}

BoxBootloader::Outcome BoxBootloader::finish(midi::ByteView message)
{
    const auto done = midi::readUpdateDone(message);
    if (!done)
        return {{}, "firmware refused: malformed done message", false, std::nullopt};
    if (m_stored.empty() || done->length != m_stored.size())
        return {{},
                "firmware refused: received " + std::to_string(m_stored.size()) + " of " +
                    std::to_string(done->length) + " bytes",
                false,
                std::nullopt};
    Outcome outcome;
    outcome.event = "firmware done param1=" + std::to_string(done->param1) +
                    " param2=" + std::to_string(done->param2);
    outcome.firmware = firmware::decipherPayload(m_stored);
    restart();
    return outcome;
}

BoxBootloader::Outcome BoxBootloader::ask(std::uint32_t position, const std::string &reason) const
{
    return {midi::updateResponse(m_sysexId, {AskForPosition, position}),
            "firmware asks position=" + std::to_string(position) + " reason=" + reason, false,
            std::nullopt};
}

std::uint32_t BoxBootloader::position() const
{
    return static_cast<std::uint32_t>(m_stored.size());
}

} // namespace simulator
