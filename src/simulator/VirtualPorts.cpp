#include "simulator/VirtualPorts.h"

#include "simulator/PacedOutput.h"

#include "midi/backend/Backend.h"

#include <QThread>

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

/// One pair of registered ports.
class VirtualPorts::OpenPair
{
public:
    /// Null, with the reason, when the ports cannot be registered.
    static std::unique_ptr<OpenPair> make(VirtualPorts &owner, std::size_t index,
                                          std::string &error)
    {
        // Called on the MIDI library's thread, as the signal says.
        const auto receive = [&owner, index](const midi::ByteMessage &message) {
            emit owner.received(index, message);
        };
        auto backend =
            midi::Backend::make({"Ostrel Box In", "Ostrel Box Out", "Ostrel Box"}, receive, error);
        if (backend)
            error = backend->openVirtual(Pairs[index].toBox, Pairs[index].toComputer);
        if (!error.empty())
            return nullptr;
        return std::unique_ptr<OpenPair>(new OpenPair(owner, std::move(backend)));
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
    OpenPair(VirtualPorts &owner, std::unique_ptr<midi::Backend> backend)
        : m_owner(owner)
        , m_backend(std::move(backend))
        , m_delivery(deliveryTo(m_backend->nameStyle()))
        , m_output(m_delivery.pace, [this](midi::ByteView bytes) { sendNow(bytes); })
    {}

    void sendNow(midi::ByteView bytes)
    {
        const midi::ErrorText error = m_backend->send(bytes);
        if (!error.empty())
            emit m_owner.failed(QString::fromStdString(error));
    }

    VirtualPorts &m_owner;
    std::unique_ptr<midi::Backend> m_backend;
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
    for (std::size_t i = 0; i < m_pairs.size(); ++i) {
        std::string error;
        m_pairs[i] = OpenPair::make(*this, i, error);
        if (!m_pairs[i]) {
            m_error = QString::fromStdString(error);
            close();
            return false;
        }
    }
    return true;
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
