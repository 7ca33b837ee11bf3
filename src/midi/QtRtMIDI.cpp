#include "midi/QtRtMIDI.h"

#include "midi/BlockEncoding.h"
#include "midi/Crc32.h"
#include "midi/MCoded7.h"
#include "midi/SevenBit.h"

#include <QMetaType>
#include <QThread>

#include <RtMidi.h>

#include <algorithm>
#include <iterator>

using midi::ByteView;

namespace
{

constexpr char NoAnswer[] = "the MIDI service does not answer";

/// Runs a piece of work with the MIDI library. An error becomes a text and a false result.
template <typename Work>
bool attempt(std::string &errorText, Work &&work)
{
    try {
        work();
        return true;
    } catch (const std::exception &error) {
        errorText = error.what();
        return false;
    }
}

std::string lastingName(midi::NameStyle style, const std::vector<std::string> &names, unsigned i)
{
    return std::string(midi::lastingName(style, names[i], i));
}

/// Without those that are ours, or those of another editor: they come and go with what is opened.
std::vector<std::string> foreignPortNames(RtMidi &client, midi::NameStyle style)
{
    const std::vector<std::string> all = midi::allPortNames(client);
    std::vector<std::string> foreign;
    for (unsigned i = 0; i < all.size(); ++i) {
        if (!midi::isOwnPort(style, all[i], i))
            foreign.push_back(lastingName(style, all, i));
    }
    return foreign;
}

QString toLatin1Text(ByteView bytes)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(bytes.data()),
                               static_cast<qsizetype>(bytes.size()));
}

} // namespace

QtRtMIDI::QtRtMIDI(QObject *parent)
    : QObject(parent)
    , m_inbox(std::make_shared<midi::MessageInbox>(&QtRtMIDI::receiveCB, this))
    , m_service(m_inbox)
{
    qRegisterMetaType<std::vector<uint8_t>>("std::vector<uint8_t>");
}

QtRtMIDI::~QtRtMIDI()
{
    // What still arrives until the input is gone must not call into an object that is half gone.
    m_inbox->setPushing(false);
}

bool QtRtMIDI::init()
{
    return true;
}

void QtRtMIDI::scanPorts(const char *inName, const char *outName)
{
    if (!inName || !outName) {
        listPairs(false, true);
        return;
    }
    m_namedInput = inName;
    m_namedOutput = outName;
    listPairs(true, false);
}

void QtRtMIDI::scanAllPorts()
{
    listPairs(!m_namedInput.empty(), true);
}

/// Lists the pair of the last named scan, or the pairs of equal names, or both.
void QtRtMIDI::listPairs(bool named, bool equal)
{
    m_pairs.clear();
    m_selected.reset();
    m_service.refreshThoroughly();
    const midi::MidiClients &clients = m_service.clients();
    if (clients.input) {
        attempt(m_error, [&] {
            const midi::NameStyle style = clients.nameStyle;
            const auto inputs = midi::allPortNames(*clients.input);
            const auto outputs = midi::allPortNames(*clients.output);
            std::vector<midi::PortPair> found;
            const auto input = midi::findPort(style, inputs, m_namedInput);
            const auto output = midi::findPort(style, outputs, m_namedOutput);
            if (named && input && output)
                found.push_back({*input, *output});
            if (equal)
                std::ranges::copy(midi::pairPorts(style, inputs, outputs),
                                  std::back_inserter(found));
            for (const midi::PortPair &pair : found)
                m_pairs.push_back({{pair.input, lastingName(style, inputs, pair.input)},
                                   {pair.output, lastingName(style, outputs, pair.output)}});
        });
    }
    emit portListChanged();
}

midi::PortNames QtRtMIDI::portNames()
{
    m_service.refresh();
    midi::PortNames names;
    const midi::MidiClients &clients = m_service.clients();
    if (!clients.input)
        return names;
    attempt(m_error, [&] {
        names.inputs = foreignPortNames(*clients.input, clients.nameStyle);
        names.outputs = foreignPortNames(*clients.output, clients.nameStyle);
    });
    return names;
}

bool QtRtMIDI::isOpenAmong(const midi::PortNames &names) const
{
    const auto contains = [](const std::vector<std::string> &list, const std::string &name) {
        return std::ranges::find(list, name) != list.end();
    };
    return m_openPair && contains(names.inputs, m_openPair->input.name) &&
           contains(names.outputs, m_openPair->output.name);
}

int QtRtMIDI::portCount() const
{
    return static_cast<int>(m_pairs.size());
}

const char *QtRtMIDI::portName(unsigned index)
{
    m_portName.clear();
    const midi::MidiClients &clients = m_service.clients();
    if (clients.input && index < m_pairs.size()) {
        attempt(m_error, [&] {
            const unsigned number = m_pairs[index].input.number;
            if (number < clients.input->getPortCount())
                m_portName = clients.input->getPortName(number);
        });
    }
    return m_portName.c_str();
}

std::string QtRtMIDI::pairName(unsigned index) const
{
    return index < m_pairs.size() ? m_pairs[index].input.name : std::string();
}

bool QtRtMIDI::selectPort(unsigned index)
{
    midi::MidiClients &clients = m_service.clients();
    if (!clients.input || index >= m_pairs.size())
        return false;
    if (clients.jack && !clients.jack->answers()) {
        m_error = NoAnswer;
        return false;
    }
    closePort();
    const Pair &pair = m_pairs[index];
    if (!succeeded(clients.openPorts(pair.input, pair.output)))
        return false;
    m_openPair = pair;
    m_selected = index;
    emit addresseeChanged();
    return true;
}

/// True where `error` is empty. Else keeps it for getErrorMessage().
bool QtRtMIDI::succeeded(std::string &&error)
{
    if (error.empty())
        return true;
    m_error = std::move(error);
    return false;
}

bool QtRtMIDI::isSelected(unsigned index) const
{
    return m_selected == index && portsReady();
}

void QtRtMIDI::closePort()
{
    m_openPair.reset();
    m_selected.reset();
    midi::MidiClients *clients = m_service.clientsInUse();
    if (!clients || !clients->input ||
        (!clients->input->isPortOpen() && !clients->output->isPortOpen()))
        return;
    // Nothing can be closed with a service that is gone, whose clients are given up as a whole, or
    // with one that does not answer, which would keep the window waiting.
    if (clients->jack && (clients->jack->isGone() || !clients->jack->answers()))
        return;
    succeeded(clients->closePorts());
    emit addresseeChanged();
}

bool QtRtMIDI::portsReady() const
{
    const midi::MidiClients *clients = m_service.clientsInUse();
    return clients && clients->input && clients->input->isPortOpen() &&
           clients->output->isPortOpen();
}

void QtRtMIDI::setCallbackMode(bool enabled)
{
    m_inbox->setPushing(enabled);
}

const char *QtRtMIDI::getErrorMessage()
{
    const midi::MidiClients *clients = m_service.clientsInUse();
    if (m_error.empty() && clients)
        m_error = clients->error;
    return m_error.c_str();
}

void QtRtMIDI::receiveCB(double /*timeStamp*/, std::vector<uint8_t> *message, void *userData)
{
    auto *connection = static_cast<QtRtMIDI *>(userData);
    if (!connection || !message)
        return;
    if (midi::isProgramChange(*message)) {
        connection->emitIncomingDataSignal(*message);
        return;
    }
    if (!midi::isSysex(*message))
        return;
    if (midi::isTextMessage(*message))
        connection->emitMessageSignal(toLatin1Text(midi::readText(*message)));
    else
        connection->emitIncomingDataSignal(*message);
}

bool QtRtMIDI::receiveMessage(std::vector<uint8_t> &message)
{
    message.clear();
    return portsReady() && m_inbox->take(message);
}

void QtRtMIDI::flushInput()
{
    std::vector<uint8_t> discarded;
    while (receiveMessage(discarded)) {
    }
}

bool QtRtMIDI::sendMessage(const std::vector<uint8_t> &message)
{
    if (message.empty() || !portsReady())
        return false;
    midi::MidiClients &clients = m_service.clients();
    if (clients.jack && !clients.jack->waitForRoom(message.size())) {
        m_error = NoAnswer;
        return false;
    }
    return succeeded(clients.send(message));
}

bool QtRtMIDI::sendSysex(const uint8_t *bytes, uint32_t length)
{
    return sendMessage(std::vector<uint8_t>(bytes, bytes + length));
}

bool QtRtMIDI::pgmChange(uint8_t channel, uint8_t program)
{
    return sendMessage(midi::programChange(channel, program));
}

std::uint64_t QtRtMIDI::movedBytes() const
{
    const midi::MidiClients *clients = m_service.clientsInUse();
    return clients ? clients->movedBytes() : 0;
}

void QtRtMIDI::setSysexID(uint8_t id)
{
    if (m_sysexId == id)
        return;
    m_sysexId = id;
    emit addresseeChanged();
}

void QtRtMIDI::setSettingsTransferObj(SettingsTransfer *object)
{
    if (m_settingsTransfer == object)
        return;
    m_settingsTransfer = object;
    emit settingsTransferObjChanged();
}

void QtRtMIDI::emitIncomingDataSignal(const std::vector<uint8_t> &message)
{
    emit midiMessageReceived(message);
}

void QtRtMIDI::emitMessageSignal(const QString &text)
{
    emit textMessageReceived(text);
}

bool QtRtMIDI::isZEVSysexMsg(const std::vector<uint8_t> &msg)
{
    return midi::isSysex(msg);
}

bool QtRtMIDI::isPgmChange(const std::vector<uint8_t> &msg)
{
    return midi::isProgramChange(msg);
}

bool QtRtMIDI::isOurZEVSysexMsg(const std::vector<uint8_t> &msg) const
{
    return midi::isSysex(msg) &&
           (msg[midi::SysexIdOffset] == m_sysexId || msg[midi::SysexIdOffset] == m_altSysexId);
}

bool QtRtMIDI::isZEVGlobals(const std::vector<uint8_t> &msg) const
{
    return midi::isDataBlock(msg, m_sysexId, midi::BlockType::Globals);
}

bool QtRtMIDI::isZEVScriptData(const std::vector<uint8_t> &msg) const
{
    return midi::isDataBlock(msg, m_sysexId, midi::BlockType::Script);
}

bool QtRtMIDI::isZEVSysexAck(const std::vector<uint8_t> &msg) const
{
    return midi::isAcknowledgement(msg, m_sysexId);
}

bool QtRtMIDI::isZEVSysexData(const std::vector<uint8_t> &msg) const
{
    return midi::isEmptyDataBlock(msg, m_sysexId);
}

uint32_t QtRtMIDI::calcCRC(const uint8_t *data, uint32_t length, uint32_t initial)
{
    return midi::calcCrc(ByteView(data, length), initial);
}

bool QtRtMIDI::encodeMCoded7(const uint8_t *input, uint32_t length, uint8_t *output,
                             uint32_t &capacity)
{
    const auto result = midi::encodeMCoded7(ByteView(input, length), {output, capacity});
    capacity = static_cast<uint32_t>(result.written);
    return result.complete;
}

uint32_t QtRtMIDI::decodeMCoded7(uint8_t *buffer, uint32_t length)
{
    return static_cast<uint32_t>(midi::decodeMCoded7({buffer, length}));
}

bool QtRtMIDI::encodeBlock(const uint8_t *input, uint32_t length, std::vector<uint8_t> &output)
{
    output = midi::encodeBlock(ByteView(input, length));
    return true;
}

bool QtRtMIDI::decodeBlock(const uint8_t *input, uint32_t length, uint8_t *output,
                           uint32_t &capacity)
{
    const auto result = midi::decodeBlock(ByteView(input, length), {output, capacity});
    capacity = static_cast<uint32_t>(result.written);
    return result.complete;
}

uint16_t QtRtMIDI::convert16To14Bit(uint16_t value)
{
    return midi::convert16To14Bit(value);
}

uint16_t QtRtMIDI::convert14To16Bit(uint16_t packed)
{
    return midi::convert14To16Bit(packed);
}

uint32_t QtRtMIDI::convert32To28Bit(uint32_t value)
{
    return midi::convert32To28Bit(value);
}

uint32_t QtRtMIDI::convert28To32Bit(uint32_t packed)
{
    return midi::convert28To32Bit(packed);
}

void QtRtMIDI::convertToVector(std::vector<uint8_t> &message, const uint8_t *bytes, uint32_t length)
{
    message.assign(bytes, bytes + length);
}

void QtRtMIDI::prependDataHeader(std::vector<uint8_t> &message) const
{
    const auto header = midi::dataHeader(m_sysexId);
    message.insert(message.begin(), header.begin(), header.end());
}
