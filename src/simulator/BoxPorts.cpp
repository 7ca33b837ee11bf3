#include "simulator/BoxPorts.h"

#include "simulator/PacedOutput.h"

#include "midi/MidiClients.h"

#include <QThread>

#include <RtMidi.h>

#include <algorithm>

namespace simulator
{
namespace
{

/// JACK drops longer messages, but takes a sysex in pieces, which the receiver joins.
constexpr std::size_t JackPieceLength = 16000;

/// A server with much to do turns a client away that it takes a moment later.
constexpr int OpenAttempts = 15;
constexpr unsigned long OpenPauseMs = 200;

} // namespace

/// One pair of registered ports. Throws what the MIDI library throws when it cannot register them.
class BoxPorts::OpenPair
{
public:
    OpenPair(BoxPorts &owner, std::size_t index)
        : m_owner(owner)
        , m_index(index)
        , m_clients(midi::createMidiClients({"Ostrel Box In", "Ostrel Box Out", {}}))
        , m_output([this](midi::ByteView bytes) { sendNow(bytes); })
    {
        if (!m_clients.input || !m_clients.output)
            throw RtMidiError(m_clients.error);
        m_clients.input->setCallback(&OpenPair::onMessage, this);
        m_clients.output->openVirtualPort(Pairs[index].toComputer);
        m_clients.input->openVirtualPort(Pairs[index].toBox);
    }

    void send(const midi::ByteMessage &message)
    {
        const bool inPieces = m_clients.nameStyle == midi::NameStyle::Jack;
        const std::size_t pieceLength = inPieces ? JackPieceLength : message.size();
        for (std::size_t sent = 0; sent < message.size(); sent += pieceLength) {
            const midi::ByteView rest = midi::ByteView(message).subspan(sent);
            const midi::ByteView piece = rest.first(std::min(pieceLength, rest.size()));
            m_output.send({piece.begin(), piece.end()});
        }
    }

private:
    /// On the MIDI library's thread, as the signal says.
    static void onMessage(double /*timeStamp*/, std::vector<unsigned char> *message, void *user)
    {
        const auto *pair = static_cast<OpenPair *>(user);
        emit pair->m_owner.received(pair->m_index, *message);
    }

    void sendNow(midi::ByteView bytes)
    {
        try {
            m_clients.output->sendMessage(bytes.data(), bytes.size());
        } catch (const RtMidiError &error) {
            emit m_owner.failed(QString::fromStdString(error.getMessage()));
        }
    }

    BoxPorts &m_owner;
    std::size_t m_index;
    midi::MidiClients m_clients;
    PacedOutput m_output;
};

BoxPorts::BoxPorts(QObject *parent)
    : QObject(parent)
{}

BoxPorts::~BoxPorts() = default;

bool BoxPorts::open()
{
    for (int attempt = 1; !tryToOpen(); ++attempt) {
        if (attempt == OpenAttempts)
            return false;
        QThread::msleep(OpenPauseMs);
    }
    return true;
}

bool BoxPorts::tryToOpen()
{
    close();
    try {
        for (std::size_t i = 0; i < m_pairs.size(); ++i)
            m_pairs[i] = std::make_unique<OpenPair>(*this, i);
        return true;
    } catch (const RtMidiError &error) {
        m_error = QString::fromStdString(error.getMessage());
        close();
        return false;
    }
}

void BoxPorts::close()
{
    for (auto &pair : m_pairs)
        pair.reset();
}

void BoxPorts::send(std::size_t pair, const midi::ByteMessage &message)
{
    if (m_pairs[pair] && !message.empty())
        m_pairs[pair]->send(message);
}

} // namespace simulator
