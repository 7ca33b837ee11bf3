#include "simulator/BoxRunner.h"

#include "simulator/MessageText.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

namespace simulator
{
namespace
{

void say(const std::string &line)
{
    std::cout << line << std::endl;
}

void complain(const QString &text)
{
    std::cerr << "ostrel-box: " << text.toStdString() << std::endl;
}

BoxProfile numbered(BoxProfile profile, int index)
{
    if (index > 0) {
        profile.name += ' ' + std::to_string(index + 1);
        profile.sysexId = static_cast<std::uint8_t>(profile.sysexId + index);
    }
    return profile;
}

} // namespace

BoxRunner::BoxRunner(const BoxOptions &options, std::unique_ptr<BoxTransport> ports,
                     QObject *parent)
    : QObject(parent)
    , m_ports(std::move(ports))
{
    for (int i = 0; i < options.boxes; ++i) {
        m_boxes.push_back(std::make_unique<SimulatedBox>(numbered(options.profile, i)));
        m_boxes.back()->setFaults(options.faults);
    }
    connect(m_ports.get(), &BoxTransport::opened, this, &BoxRunner::onOpened);
    connect(m_ports.get(), &BoxTransport::lost, this, &BoxRunner::onLost);
    connect(m_ports.get(), &BoxTransport::received, this, &BoxRunner::receive);
    connect(m_ports.get(), &BoxTransport::failed, this, &complain);
}

void BoxRunner::start()
{
    updatePorts();
}

void BoxRunner::command(const QString &line)
{
    struct Entry
    {
        const char *name;
        Command function;
    };
    static constexpr std::array Commands{
        Entry{"print", &BoxRunner::print},      Entry{"lines", &BoxRunner::printLines},
        Entry{"raw", &BoxRunner::sendRaw},      Entry{"program", &BoxRunner::sendProgramChange},
        Entry{"faults", &BoxRunner::setFaults}, Entry{"state", &BoxRunner::reportState},
        Entry{"unplug", &BoxRunner::unplug},    Entry{"plug", &BoxRunner::plug},
        Entry{"stall", &BoxRunner::stall},      Entry{"resume", &BoxRunner::resume},
        Entry{"pace", &BoxRunner::setPace},     Entry{"after", &BoxRunner::commandLater},
    };
    const QString name = line.section(' ', 0, 0).trimmed();
    if (name.isEmpty())
        return;
    if (name == "quit") {
        QCoreApplication::quit();
        return;
    }
    const auto *entry = std::ranges::find(Commands, name, &Entry::name);
    if (entry == Commands.end())
        complain("unknown command '" + name + "'");
    else
        (this->*entry->function)(line.section(' ', 1));
}

void BoxRunner::receive(std::size_t pair, const midi::ByteMessage &message)
{
    // What was under way when the ports went is lost, as on a real bus.
    if (!m_ports->isOpen())
        return;
    say("received " + describe(message));
    m_lastPair = pair;
    for (const auto &box : m_boxes) {
        const Reaction reaction = box->receive(message);
        for (const std::string &event : reaction.events)
            say(event);
        if (reaction.delay.count() == 0)
            perform(*box, pair, reaction);
        else
            after(reaction.delay,
                  [this, &target = *box, pair, reaction] { perform(target, pair, reaction); });
    }
}

void BoxRunner::perform(SimulatedBox &box, std::size_t pair, const Reaction &reaction)
{
    for (const midi::ByteMessage &reply : reaction.replies)
        send(pair, reply);
    if (reaction.absence)
        leave(box, *reaction.absence);
}

void BoxRunner::leave(SimulatedBox &box, const Absence &absence)
{
    if (absence.offBus)
        m_offBus.push_back(&box);
    if (absence.duration)
        after(*absence.duration, [this, &box] { comeBack(box); });
    else
        m_pulled.push_back(&box);
    updatePorts();
}

void BoxRunner::comeBack(SimulatedBox &box)
{
    std::erase(m_offBus, &box);
    for (const std::string &event : box.comeBack().events)
        say(event);
    updatePorts();
}

void BoxRunner::onOpened()
{
    for (const BoxTransport::PairNames &pair : m_ports->pairs()) {
        say("port " + inQuotes(pair.toComputer));
        say("port " + inQuotes(pair.toBox));
    }
    if (std::exchange(m_ready, true)) {
        say("plugged");
        return;
    }
    reportState({});
    say("ready");
}

void BoxRunner::onLost(const QString &reason)
{
    complain(reason);
    m_portsWanted = false;
    if (!m_ready)
        emit startFailed();
}

/// Makes the ports exist exactly while there is a box behind them.
void BoxRunner::updatePorts()
{
    const bool wanted = !m_unplugged && m_offBus.size() < m_boxes.size();
    if (wanted == m_portsWanted)
        return;
    m_portsWanted = wanted;
    if (wanted) {
        m_ports->open();
    } else {
        m_ports->close();
        say("unplugged");
    }
}

void BoxRunner::after(std::chrono::milliseconds delay, std::function<void()> action)
{
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    timer->callOnTimeout(this, [timer, todo = std::move(action)] {
        timer->deleteLater();
        todo();
    });
    timer->start(delay);
}

void BoxRunner::send(std::size_t pair, const midi::ByteMessage &message)
{
    m_ports->send(pair, message);
    say("sent " + describe(message));
}

void BoxRunner::print(const QString &text)
{
    send(m_lastPair, m_boxes.front()->text(text.toStdString() + '\n'));
}

void BoxRunner::printLines(const QString &count)
{
    const std::string total = std::to_string(count.toInt());
    for (int i = 1; i <= count.toInt(); ++i)
        m_ports->send(m_lastPair,
                      m_boxes.front()->text("Line " + std::to_string(i) + " of " + total + '\n'));
    say("sent lines " + total);
}

void BoxRunner::sendRaw(const QString &hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex.toLatin1());
    send(m_lastPair, {bytes.begin(), bytes.end()});
}

void BoxRunner::sendProgramChange(const QString &numbers)
{
    send(m_lastPair,
         midi::programChange(static_cast<std::uint8_t>(numbers.section(' ', 0, 0).toUInt()),
                             static_cast<std::uint8_t>(numbers.section(' ', 1, 1).toUInt())));
}

void BoxRunner::setFaults(const QString &options)
{
    const auto result = parseFaults(QProcess::splitCommand(options));
    if (const auto *error = std::get_if<UsageError>(&result)) {
        complain(error->text);
        return;
    }
    for (const auto &box : m_boxes)
        box->setFaults(std::get<BoxFaults>(result));
    say("faults " + options.toStdString());
}

void BoxRunner::reportState(const QString & /*argument*/)
{
    for (const auto &box : m_boxes) {
        for (const std::string &line : box->state())
            say(line);
    }
}

void BoxRunner::unplug(const QString & /*argument*/)
{
    m_unplugged = true;
    updatePorts();
}

void BoxRunner::plug(const QString & /*argument*/)
{
    m_unplugged = false;
    for (SimulatedBox *box : std::exchange(m_pulled, {}))
        comeBack(*box);
    updatePorts();
}

void BoxRunner::stall(const QString & /*argument*/)
{
    setStalled(true);
}

void BoxRunner::resume(const QString & /*argument*/)
{
    setStalled(false);
}

void BoxRunner::setStalled(bool stalled)
{
    if (m_ports->setStalled(stalled))
        say(stalled ? "stalled" : "resumed");
    else
        complain("these ports cannot be stalled");
}

void BoxRunner::setPace(const QString &bytesPerMs)
{
    const auto pace = parsePace(bytesPerMs);
    if (!pace && !bytesPerMs.isEmpty())
        complain("bad pace '" + bytesPerMs + "'");
    else if (m_ports->setPace(pace))
        say("pace " + bytesPerMs.toStdString());
    else
        complain("these ports have no pace");
}

void BoxRunner::commandLater(const QString &msAndLine)
{
    const std::chrono::milliseconds delay(msAndLine.section(' ', 0, 0).toUInt());
    after(delay, [this, line = msAndLine.section(' ', 1)] { command(line); });
}

} // namespace simulator
