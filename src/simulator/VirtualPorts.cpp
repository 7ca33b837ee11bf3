#include "simulator/VirtualPorts.h"

#include "simulator/PacedOutput.h"

#include "midi/MidiClients.h"

#include <QThread>

#include <RtMidi.h>

#include <algorithm>
#include <limits>

namespace simulator
{
namespace
{

struct Names
{
    const char *toComputer;
    const char *toBox;
};
constexpr std::array<Names, 2> Pairs{
    {{"MIDIIN4 (Ostrel)", "MIDIOUT6 (Ostrel)"}, {"Ostrel", "Ostrel"}}};

/// How one service wants its messages. Longer ones go in pieces, which the receiver joins.
struct Delivery
{
    std::size_t pieceLength;
    OutputPace pace;
};

/// No faster than a box on full-speed USB could at most. JACK drops longer messages, and what one
/// of its cycles takes is limited.
constexpr OutputPace UsualPace{4096, 1024, 16};
constexpr Delivery ToJack{16000, UsualPace};
constexpr Delivery ToOthers{std::numeric_limits<std::size_t>::max(), UsualPace};

/// ALSA keeps what a program has not read yet in 200 cells of 28 bytes, and what finds none is
/// lost. A message takes one cell for itself and fills its last one in part, so that 56 bytes more
/// for each count all of them. The pieces are of one length because the library keeps back what
/// does not fill the longest that it has met. Of a long message 52 bytes pass in a millisecond,
/// about as many as a box on full-speed USB sends.
constexpr Delivery ToAlsa{256, {4096, 64, 56}};

Delivery deliveryTo(midi::NameStyle service)
{
    switch (service) {
    case midi::NameStyle::Alsa:
        return ToAlsa;
    case midi::NameStyle::Jack:
        return ToJack;
    default:
        return ToOthers;
    }
}

/// A server with much to do turns a client away that it takes a moment later.
constexpr int OpenAttempts = 15;
constexpr unsigned long OpenPauseMs = 200;

} // namespace

/// One pair of registered ports. Throws what the MIDI library throws when it cannot register them.
class VirtualPorts::OpenPair
{
public:
    OpenPair(VirtualPorts &owner, std::size_t index)
        : m_owner(owner)
        , m_index(index)
        , m_clients(midi::createMidiClients({"Ostrel Box In", "Ostrel Box Out", {}}))
        , m_delivery(deliveryTo(m_clients.nameStyle))
        , m_output(m_delivery.pace, [this](midi::ByteView bytes) { sendNow(bytes); })
    {
        if (!m_clients.input || !m_clients.output)
            throw RtMidiError(m_clients.error);
        m_clients.input->setCallback(&OpenPair::onMessage, this);
        m_clients.output->openVirtualPort(Pairs[index].toComputer);
        m_clients.input->openVirtualPort(Pairs[index].toBox);
    }

    void send(const midi::ByteMessage &message)
    {
        for (midi::ByteView rest = message; !rest.empty();) {
            const midi::ByteView piece = rest.first(std::min(m_delivery.pieceLength, rest.size()));
            m_output.send({piece.begin(), piece.end()});
            rest = rest.subspan(piece.size());
        }
    }

private:
    /// On the MIDI library's thread, as the signal says.
    static void onMessage(double /*timeStamp*/, std::vector<unsigned char> *message, void *user)
    {
        const auto *pair = static_cast<OpenPair *>(user);
        emit pair->m_owner.received(pair->m_index, *message);
    }

    /// With ALSA a message that was lost is only a warning to the library, which no exception
    /// tells.
    void sendNow(midi::ByteView bytes)
    {
        m_clients.output->setErrorCallback(&OpenPair::onError, this);
        m_clients.output->sendMessage(bytes.data(), bytes.size());
        m_clients.output->setErrorCallback(nullptr, nullptr);
    }

    static void onError(RtMidiError::Type /*type*/, const std::string &text, void *user)
    {
        emit static_cast<OpenPair *>(user)->m_owner.failed(QString::fromStdString(text));
    }

    VirtualPorts &m_owner;
    std::size_t m_index;
    midi::MidiClients m_clients;
    Delivery m_delivery;
    PacedOutput m_output;
};

VirtualPorts::VirtualPorts(QObject *parent)
    : BoxTransport(parent)
{}

VirtualPorts::~VirtualPorts() = default;

void VirtualPorts::open()
{
    for (int attempt = 1; !tryToOpen(); ++attempt) {
        if (attempt == OpenAttempts) {
            emit lost("cannot register the ports: " + m_error);
            return;
        }
        QThread::msleep(OpenPauseMs);
    }
    emit opened();
}

bool VirtualPorts::tryToOpen()
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

void VirtualPorts::close()
{
    for (auto &pair : m_pairs)
        pair.reset();
}

std::vector<BoxTransport::PairNames> VirtualPorts::pairs() const
{
    std::vector<PairNames> names;
    names.reserve(Pairs.size());
    for (const Names &pair : Pairs)
        names.push_back({pair.toComputer, pair.toBox});
    return names;
}

void VirtualPorts::send(std::size_t pair, const midi::ByteMessage &message)
{
    if (m_pairs[pair] && !message.empty())
        m_pairs[pair]->send(message);
}

} // namespace simulator
