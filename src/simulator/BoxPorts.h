#pragma once

#include "midi/ByteMessage.h"

#include <QObject>

#include <array>
#include <memory>

namespace simulator
{

/// The virtual ports through which boxes are reached. Two pairs, as a real box has on systems that
/// name ports differently: one whose names say which port of the device is meant, and one whose
/// two ports have the same plain name. Lives on the main thread.
class BoxPorts : public QObject
{
    Q_OBJECT

public:
    struct PairNames
    {
        const char *toComputer;
        const char *toBox;
    };
    static constexpr std::array<PairNames, 2> Pairs{
        {{"MIDIIN4 (Ostrel)", "MIDIOUT6 (Ostrel)"}, {"Ostrel", "Ostrel"}}};

    explicit BoxPorts(QObject *parent = nullptr);
    ~BoxPorts() override;

    /// Registers all ports. False when the MIDI service refuses; nothing is then registered and
    /// errorText() says why.
    [[nodiscard]] bool open();
    void close();
    [[nodiscard]] bool isOpen() const { return m_pairs[0] != nullptr; }
    [[nodiscard]] QString errorText() const { return m_error; }

    /// Sends through pair `pair` of Pairs, or drops the message while the ports are closed.
    void send(std::size_t pair, const midi::ByteMessage &message);

signals:
    /// Emitted on the MIDI library's thread, so that receivers are called queued, perhaps after
    /// the ports were closed.
    void received(std::size_t pair, const midi::ByteMessage &message);
    void failed(const QString &error); ///< a message could not be sent

private:
    class OpenPair;

    [[nodiscard]] bool tryToOpen();

    std::array<std::unique_ptr<OpenPair>, Pairs.size()> m_pairs;
    QString m_error;
};

} // namespace simulator
