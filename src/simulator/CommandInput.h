#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

namespace simulator
{

/// Reads standard input as it comes, without holding up the event loop. Main thread.
class CommandInput : public QObject
{
    Q_OBJECT

public:
    explicit CommandInput(QObject *parent = nullptr);

signals:
    void line(const QString &text); ///< without its end
    void ended();

private:
    void read();

    QSocketNotifier m_notifier;
    QByteArray m_unfinished;
};

} // namespace simulator
