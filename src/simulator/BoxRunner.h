#pragma once

#include "simulator/BoxOptions.h"
#include "simulator/BoxTransport.h"
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
    /// `ports` are the way to the boxes, not yet open.
    BoxRunner(const BoxOptions &options, std::unique_ptr<BoxTransport> ports,
              QObject *parent = nullptr);

    /// Opens the ports. Then "ready" is written, or startFailed() emitted, in which case the reason
    /// stands on standard error.
    void start();
    /// One line of standard input.
    void command(const QString &line);

signals:
    void startFailed();

private:
    using Command = void (BoxRunner::*)(const QString &argument);

    void receive(std::size_t pair, const midi::ByteMessage &message);
    void perform(SimulatedBox &box, std::size_t pair, const Reaction &reaction);
    void leave(SimulatedBox &box, const Absence &absence);
    void comeBack(SimulatedBox &box);
    void onOpened();
    void onLost(const QString &reason);
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
    void stall(const QString &argument);
    void setPace(const QString &bytesPerMs);
    void commandLater(const QString &msAndLine);
    void resume(const QString &argument);
    void setStalled(bool stalled);

    std::unique_ptr<BoxTransport> m_ports;
    std::vector<std::unique_ptr<SimulatedBox>> m_boxes;
    std::vector<SimulatedBox *> m_offBus; ///< the ports go when all boxes are in here
    std::vector<SimulatedBox *> m_pulled; ///< of these, the ones that wait to be plugged in
    std::size_t m_lastPair = 0;           ///< through which a box says what nobody asked for
    bool m_unplugged = false;             ///< by command
    bool m_portsWanted = false;           ///< the ports are open, or will be soon
    bool m_ready = false;                 ///< the ports were open once
};

} // namespace simulator
