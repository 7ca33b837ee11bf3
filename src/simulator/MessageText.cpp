#include "simulator/MessageText.h"

#include "midi/protocol/Messages.h"
#include "midi/protocol/UpdateMessages.h"

#include <QByteArrayView>
#include <QCryptographicHash>

#include <algorithm>
#include <array>

namespace simulator
{
namespace
{

using midi::ByteView;
using midi::Command;
using midi::UpdateCommand;

std::string number(const char *label, std::size_t value)
{
    return ' ' + std::string(label) + '=' + std::to_string(value);
}

/// "F0 00 01 …"
std::string toHex(ByteView bytes)
{
    const QByteArrayView view(bytes.data(), static_cast<qsizetype>(bytes.size()));
    return view.toByteArray().toHex(' ').toUpper().toStdString();
}

std::string describeOther(ByteView message)
{
    constexpr std::size_t Shown = 8;
    return "other" + number("bytes", message.size()) + ' ' +
           toHex(message.first(std::min(Shown, message.size())));
}

std::string describeUpdate(ByteView message)
{
    switch (*midi::updateCommand(message, message[midi::SysexIdOffset])) {
    case UpdateCommand::Request:
        return "update-request";
    case UpdateCommand::Cancel:
        return "update-cancel";
    case UpdateCommand::Data:
        if (const auto data = midi::readUpdateData(message);
            const auto *block = std::get_if<midi::UpdateBlock>(&data))
            return "update-data" + number("position", block->position) +
                   number("length", block->bytes.size());
        break;
    case UpdateCommand::Done:
        if (const auto done = midi::readUpdateDone(message))
            return "update-done" + number("length", done->length);
        break;
    case UpdateCommand::Response:
        if (const auto response = midi::readUpdateResponse(message))
            return "update-response" + number("status", response->status) +
                   number("position", response->position);
        break;
    }
    return describeOther(message);
}

std::string quotedText(ByteView message)
{
    const ByteView text = midi::readText(message);
    return inQuotes(std::string(text.begin(), text.end()));
}

/// A message with at least one byte behind its command.
std::string describeAddressed(ByteView message)
{
    const std::string id = number("id", message[midi::SysexIdOffset]);
    const std::string type = number("type", message[midi::CommandOffset + 1]);
    const std::string bytes = number("bytes", message.size());
    switch (Command{message[midi::CommandOffset]}) {
    case Command::NameRequest:
        return "name-request" + id;
    case Command::NameReply:
        return "name-reply" + id + " name=" + quotedText(message);
    case Command::BlockReadRequest:
        return "read-request" + id + type;
    case Command::BlockWrite:
    case Command::BlockWriteFlagged:
        return "block-write" + id + type + bytes;
    case Command::DataBlock:
        return "data-block" + id + type + bytes;
    case Command::Acknowledgement:
        return "acknowledgement" + id;
    case Command::Text:
        return "text " + quotedText(message);
    case Command::FirmwareUpdate:
        return describeUpdate(message) + id;
    default:
        return describeOther(message);
    }
}

} // namespace

std::string describe(ByteView message)
{
    if (std::ranges::equal(message, midi::identityRequest()))
        return "identity-request";
    if (midi::isIdentityReply(message)) {
        const midi::Identity identity = midi::readIdentity(message);
        return "identity-reply" + number("id", identity.sysexId) +
               number("product", identity.productId);
    }
    if (midi::isProgramChange(message))
        return "program-change" + number("channel", message[0] & 0x0FU) +
               number("program", message[1]);
    if (midi::isSysex(message) && message.size() > midi::CommandOffset + 1)
        return describeAddressed(message);
    return describeOther(message);
}

std::string sha1(ByteView bytes)
{
    const QByteArrayView view(bytes.data(), static_cast<qsizetype>(bytes.size()));
    return QCryptographicHash::hash(view.toByteArray(), QCryptographicHash::Sha1)
        .toHex()
        .toStdString();
}

std::string inQuotes(std::string_view text)
{
    static constexpr char Digits[] = "0123456789abcdef";
    std::string result = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            result += "\\n";
        else if (c == '"' || c == '\\')
            result += {'\\', c};
        else if (byte < 0x20 || byte == 0x7F)
            result += {'\\', 'x', Digits[byte >> 4U], Digits[byte & 0x0FU]};
        else
            result += c;
    }
    return result + '"';
}

} // namespace simulator
