#pragma once

#include "simulator/BoxOptions.h"
#include "simulator/BoxPorts.h"
#include "simulator/SimulatedBox.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace simulator
{

/// Runs simulated boxes on one set of ports: passes messages to all of them as on a bus, keeps
/// their delays and absences, obeys typed commands, and writes what happens to standard output, a
/// flushed line an event. Lives on the main thread.
class BoxRunner : public QObject
{
    Q_OBJECT

public:
    explicit BoxRunner(const BoxOptions &options, QObject *parent = nullptr);

    /// Registers the ports. False when that fails; the reason stands on standard error.
    [[nodiscard]] bool start();
    /// One line of standard input.
    void command(const QString &line);

private:
    using Command = void (BoxRunner::*)(const QString &argument);

    void receive(std::size_t pair, const midi::ByteMessage &message);
    void perform(SimulatedBox &box, std::size_t pair, const Reaction &reaction);
    void leave(SimulatedBox &box, const Absence &absence);
    void comeBack(SimulatedBox &box);
    bool openPorts();
    void updatePorts();
    void after(std::chrono::milliseconds delay, std::function<void()> action);
    void send(std::size_t pair, const midi::ByteMessage &message);

    void print(const QString &text);
    void printLines(const QString &count);
    void sendRaw(const QString &hex);
    void sendProgramChange(const QString &numbers);
    void setFaults(const QString &options);
    void reportState(const QString &argument);
    void unplug(const QString &argument);
    void plug(const QString &argument);

    BoxPorts m_ports;
    std::vector<std::unique_ptr<SimulatedBox>> m_boxes;
    std::vector<SimulatedBox *> m_offBus; ///< the ports go when all boxes are in here
    std::vector<SimulatedBox *> m_pulled; ///< of these, the ones that wait to be plugged in
    std::size_t m_lastPair = 0;           ///< through which a box says what nobody asked for
    bool m_unplugged = false;             ///< by command
};

} // namespace simulator
