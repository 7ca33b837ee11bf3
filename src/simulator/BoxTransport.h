#pragma once

#include "midi/protocol/Bytes.h"

#include <QObject>

#include <optional>
#include <string>
#include <vector>

namespace simulator
{

/// The ports through which a computer reaches the boxes: one pair or several, numbered from 0 on.
/// Lives on the main thread, whose event loop it may need.
class BoxTransport : public QObject
{
    Q_OBJECT

public:
    struct PairNames
    {
        std::string toComputer;
        std::string toBox;
    };

    using QObject::QObject;

    /// Puts the ports on the bus; opened() or lost() follows, perhaps before the call returns. Only
    /// while they are closed.
    virtual void open() = 0;
    /// Takes the ports off the bus, or gives up to open them. Afterwards nobody finds them.
    virtual void close() = 0;
    [[nodiscard]] virtual bool isOpen() const = 0;

    /// The names under which the open ports are registered.
    [[nodiscard]] virtual std::vector<PairNames> pairs() const = 0;

    /// Sends through pair `pair`, or drops the message while the ports are closed.
    virtual void send(std::size_t pair, const midi::ByteMessage &message) = 0;

    /// Takes nothing from the computer from now on, or takes it again; the computer keeps what
    /// waits. False when these ports cannot do so.
    [[nodiscard]] virtual bool setStalled(bool /*stalled*/) { return false; }
    /// Passes so many bytes a millisecond each way from now on; without a number as many as the
    /// computer likes. False when these ports cannot do so.
    [[nodiscard]] virtual bool setPace(std::optional<double> /*bytesPerMs*/) { return false; }

signals:
    void opened();
    /// The ports could not be opened, or the system took them away. They are closed.
    void lost(const QString &reason);
    /// May be emitted on another thread, so that receivers are called queued, perhaps after the
    /// ports were closed.
    void received(std::size_t pair, const midi::ByteMessage &message);
    void failed(const QString &error); ///< a message did not pass
};

} // namespace simulator
