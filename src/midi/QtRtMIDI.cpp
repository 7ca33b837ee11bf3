#include "midi/QtRtMIDI.h"

#include <QLoggingCategory>

#include <algorithm>
#include <chrono>
#include <limits>

using namespace std::chrono_literals;

namespace
{

Q_LOGGING_CATEGORY(lcMidi, "ostrel.midi", QtInfoMsg)

/// Without those that are ours, or those of another editor: they come and go with what is opened.
std::vector<std::string> namesOfOthers(const std::vector<midi::Port> &ports)
{
    std::vector<std::string> names;
    for (const midi::Port &port : ports) {
        if (!port.isOurs())
            names.push_back(port.name);
    }
    return names;
}

} // namespace

QtRtMIDI::QtRtMIDI(QObject *parent)
    : QObject(parent)
    , m_inbox(std::make_shared<midi::MessageInbox>([this](const Message &m) { receive(m); }))
{
    qRegisterMetaType<std::vector<uint8_t>>("std::vector<uint8_t>");
}

QtRtMIDI::~QtRtMIDI()
{
    // What still arrives until the input is gone must not call into an object that is half gone.
    m_inbox->setPushing(false);
}

/// Made where there is none. Null without a service, which is looked for now and then.
midi::Backend *QtRtMIDI::backend()
{
    if (m_backend && m_backend->isGone()) {
        closePort();
        m_backend.reset();
        m_error = "the MIDI service has ended";
        m_nextAttempt.setRemainingTime(3s);
    }
    if (m_backend || !m_nextAttempt.hasExpired())
        return m_backend.get();
    m_nextAttempt.setRemainingTime(3s);
    midi::ErrorText error;
    m_backend = midi::Backend::make(
        {}, [inbox = m_inbox](const Message &message) { inbox->receive(message); }, error);
    if (!error.empty() && error != m_error)
        qCInfo(lcMidi).nospace() << (m_backend ? "" : "no MIDI service: ") << error.c_str();
    if (m_backend)
        qCDebug(lcMidi) << "MIDI back end:" << m_backend->name().c_str();
    succeeded(error);
    return m_backend.get();
}

/// True where `error` is empty. Else keeps it for getErrorMessage().
bool QtRtMIDI::succeeded(const midi::ErrorText &error)
{
    if (!error.empty())
        m_error = error;
    return error.empty();
}

void QtRtMIDI::scanPorts(const char *inName, const char *outName, bool every)
{
    const bool named = inName && outName;
    if (named) {
        m_namedInput = inName;
        m_namedOutput = outName;
    }
    listPairs(every && named ? std::numeric_limits<std::size_t>::max() : named, !named);
}

void QtRtMIDI::scanAllPorts()
{
    listPairs(!m_namedInput.empty(), true);
}

/// Lists up to `named` pairs of the last named scan, and where wanted the pairs of equal names.
void QtRtMIDI::listPairs(std::size_t named, bool equal)
{
    m_pairs.clear();
    m_selected.reset();
    m_nextAttempt.setRemainingTime(0); // somebody may have started a service just now
    midi::PortLists ports;
    if (backend() && succeeded(m_backend->listPorts(ports))) {
        m_pairs = midi::findPairs(ports, m_namedInput, m_namedOutput);
        m_pairs.resize(std::min(named, m_pairs.size()));
        if (equal)
            std::ranges::move(midi::pairPorts(ports), std::back_inserter(m_pairs));
    }
    emit portListChanged();
}

const char *QtRtMIDI::portName(unsigned index)
{
    m_portName.clear();
    midi::PortLists now;
    if (index < m_pairs.size() && backend() && succeeded(m_backend->listPorts(now))) {
        const unsigned number = m_pairs[index].input.number;
        if (number < now.inputs.size())
            m_portName = now.inputs[number].reported;
    }
    return m_portName.c_str();
}

midi::PortPair QtRtMIDI::pair(unsigned index) const
{
    return index < m_pairs.size() ? m_pairs[index] : midi::PortPair();
}

bool QtRtMIDI::selectPort(unsigned index)
{
    if (index >= m_pairs.size())
        return false;
    const midi::PortPair pair = m_pairs[index];
    closePort();
    if (!backend() || !succeeded(m_backend->open(pair.input, pair.output)))
        return false;
    m_openPair = pair;
    m_selected = index;
    emit addresseeChanged();
    return true;
}

void QtRtMIDI::closePort()
{
    m_selected.reset();
    if (!m_openPair)
        return;
    m_openPair.reset();
    succeeded(m_backend->close());
    emit addresseeChanged();
}

midi::PortNames QtRtMIDI::portNames()
{
    midi::PortLists ports;
    if (!backend() || !succeeded(m_backend->listPorts(ports)))
        return {};
    return {namesOfOthers(ports.inputs), namesOfOthers(ports.outputs)};
}

bool QtRtMIDI::isOpenAmong(const midi::PortNames &names) const
{
    return m_openPair && std::ranges::count(names.inputs, m_openPair->input.name) > 0 &&
           std::ranges::count(names.outputs, m_openPair->output.name) > 0;
}

/// Called on a thread of the MIDI library, or, for texts that came in polling mode, on the GUI's.
void QtRtMIDI::receive(const Message &message)
{
    const midi::Arrival arrival = midi::classify(message);
    const midi::ByteView text = midi::readText(message);
    if (arrival == midi::Arrival::Text)
        emitMessageSignal(QString::fromLatin1(reinterpret_cast<const char *>(text.data()),
                                              static_cast<qsizetype>(text.size())));
    else if (arrival == midi::Arrival::Other)
        emitIncomingDataSignal(message);
}

void QtRtMIDI::setCallbackMode(bool enabled)
{
    Message message;
    while (!m_inbox->setPushing(enabled)) {
        if (m_inbox->take(message))
            showText(message);
    }
}

/// What a box prints is shown, behind the texts that were pushed before and wait for the event
/// loop.
void QtRtMIDI::showText(const Message &message)
{
    if (midi::isTextMessage(message))
        QMetaObject::invokeMethod(this, "receive", Qt::QueuedConnection,
                                  Q_ARG(std::vector<uint8_t>, message));
}

bool QtRtMIDI::receiveMessage(Message &message)
{
    message.clear();
    return portsReady() && m_inbox->take(message);
}

void QtRtMIDI::flushInput()
{
    Message message;
    while (receiveMessage(message))
        showText(message);
}

bool QtRtMIDI::sendMessage(const Message &message)
{
    return !message.empty() && portsReady() && succeeded(m_backend->send(message));
}

bool QtRtMIDI::sendSysex(const uint8_t *bytes, uint32_t length)
{
    return sendMessage(Message(bytes, bytes + length));
}

bool QtRtMIDI::pgmChange(uint8_t channel, uint8_t program)
{
    return sendMessage(midi::programChange(channel, program));
}

std::uint64_t QtRtMIDI::movedBytes() const
{
    return m_backend ? m_backend->movedBytes() : 0;
}

void QtRtMIDI::setSysexID(uint8_t id)
{
    if (m_sysexId == id)
        return;
    m_sysexId = id;
    emit addresseeChanged();
}

void QtRtMIDI::setSettingsTransferObj(QObject *object)
{
    if (m_settingsTransfer == object)
        return;
    m_settingsTransfer = object;
    emit settingsTransferObjChanged();
}
