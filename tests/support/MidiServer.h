#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QProcess>

#include <array>
#include <memory>

namespace testsupport
{

/// A MIDI service of the test's own: a JACK server without hardware, on a private name. While it
/// exists, this process and the processes that it starts meet no other MIDI service. Declare it
/// before everything that has MIDI ports.
class MidiServer
{
public:
    /// Starts the server and waits until clients can connect. isRunning() tells whether it worked.
    MidiServer();
    /// Ends the server by its process id and restores the environment.
    ~MidiServer();
    Q_DISABLE_COPY_MOVE(MidiServer)

    [[nodiscard]] bool isRunning() const { return m_running; }
    /// What the server wrote, for the message of a failed test.
    [[nodiscard]] QByteArray output() { return m_process.readAll(); }

    /// Ends the server as its user would.
    void end();
    /// Ends the server at once and without notice, as when it crashes.
    void kill();
    /// Starts the server again, under the same name. False when it did not come up.
    bool start();

private:
    static constexpr std::array<const char *, 3> Variables{
        "JACK_DEFAULT_SERVER", "JACK_NO_START_SERVER", "OSTREL_MIDI_API"};

    void takeName();

    std::array<QByteArray, Variables.size()> m_previous;
    QByteArray m_name;
    std::unique_ptr<QLockFile> m_nameLock;
    QProcess m_process;
    bool m_running = false;
};

} // namespace testsupport
