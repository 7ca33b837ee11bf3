#pragma once

#include "simulator/BoxTransport.h"

#include <array>
#include <memory>

namespace simulator
{

/// Virtual ports of a MIDI service. Two pairs, as a real box has on systems that name ports
/// differently: one whose names say which port of the device is meant, and one whose two ports have
/// the same plain name. Lives on the main thread.
class VirtualPorts : public BoxTransport
{
    Q_OBJECT

public:
    explicit VirtualPorts(QObject *parent = nullptr);
    ~VirtualPorts() override;
    Q_DISABLE_COPY_MOVE(VirtualPorts)

    /// Registers all ports or none.
    void open() override;
    void close() override;
    [[nodiscard]] bool isOpen() const override { return m_pairs[0] != nullptr; }
    [[nodiscard]] std::vector<PairNames> pairs() const override;
    void send(std::size_t pair, const midi::ByteMessage &message) override;

private:
    class OpenPair;
    static constexpr std::size_t PairCount = 2;

    [[nodiscard]] bool tryToOpen();

    std::array<std::unique_ptr<OpenPair>, PairCount> m_pairs;
    QString m_error; ///< of the last attempt
};

} // namespace simulator
