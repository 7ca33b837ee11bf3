// What whole processes cost, seen from outside on an X display: the editor, with a box and without,
// against a bare window. A start ends when the display shows something in the window's middle, a
// connection when the device chooser has last changed. The display must belong to this program
// alone, without a window manager.

#include "bench/Bench.h"
#include "support/BoxProcess.h"
#include "support/ChildProcess.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTemporaryDir>

#include <thread>

using testsupport::BoxProcess;

namespace
{

using namespace std::chrono_literals;
using bench::Clock;

constexpr int Starts = 10;
constexpr auto Glance = 1ms; ///< between two looks at the display
constexpr QRect Middle(512, 384, 1, 1);
constexpr QRect DeviceChooser(10, 10, 200, 40);
constexpr double ScanTime = 200; ///< what a scan listens to one pair of ports, in ms

QImage look(const QRect &area)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
        .toImage();
}

void sleepUntil(const std::function<bool()> &done, const char *what)
{
    const auto deadline = Clock::now() + 30s;
    while (!done()) {
        bench::require(Clock::now() < deadline, what);
        std::this_thread::sleep_for(Glance);
    }
}

/// A program with a window, in a home folder that it has been started in before.
class Program
{
public:
    explicit Program(const QString &path)
        : m_path(path)
    {
        const Run once(*this);
    }

    class Run
    {
    public:
        /// Starts the program and waits for its first frame.
        explicit Run(const Program &program)
        {
            const QImage blank = look(Middle);
            auto environment = QProcessEnvironment::systemEnvironment();
            for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
                environment.insert(name, program.m_home.path());
            m_process.setProcessEnvironment(environment);
            m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            testsupport::endWithParent(m_process);
            m_begin = Clock::now();
            m_process.start(program.m_path, QStringList());
            sleepUntil([&] { return look(Middle) != blank; }, "the window does not show");
            m_firstFrame = bench::millisecondsSince(m_begin);
        }
        Run(const Run &) = delete;
        Run &operator=(const Run &) = delete;
        ~Run()
        {
            const QImage shown = look(Middle);
            testsupport::stop(m_process);
            sleepUntil([&] { return look(Middle) != shown; }, "the window does not go");
        }

        [[nodiscard]] double firstFrame() const { return m_firstFrame; } ///< in ms
        [[nodiscard]] qint64 id() const { return m_process.processId(); }

        /// When the device chooser last changed before it stood still, in ms from the start.
        [[nodiscard]] double connected() const
        {
            constexpr double Still = 1000;
            const QImage notConnected = look(DeviceChooser);
            QImage shown = notConnected;
            double change = m_firstFrame;
            while (bench::millisecondsSince(m_begin) < change + Still) {
                const QImage now = look(DeviceChooser);
                if (now != shown)
                    change = bench::millisecondsSince(m_begin);
                shown = now;
                std::this_thread::sleep_for(Glance);
            }
            bench::require(shown != notConnected, "the editor does not connect");
            return change;
        }

        void sleepUntilAge(std::chrono::milliseconds age) const
        {
            std::this_thread::sleep_until(m_begin + age);
        }

    private:
        QProcess m_process;
        Clock::time_point m_begin;
        double m_firstFrame = 0;
    };

private:
    QString m_path;
    QTemporaryDir m_home;
};

QString pathOf(const char *name)
{
    return QCoreApplication::applicationDirPath() + '/' + name;
}

struct Programs
{
    Program editor{OSTREL_EDITOR_PROGRAM};
    Program bareWindow{pathOf("bare_window")};
};

QByteArray kernelFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What a process uses, with its share of what it shares with others, in MiB.
struct Memory
{
    double own = 0;
    double midiServer =
        0; ///< the buffers of all ports, which a JACK server shares with each client
};

Memory proportionalMemory(qint64 id)
{
    constexpr double KibibytesPerMebibyte = 1024;
    Memory memory;
    bool isServers = false;
    for (const QByteArray &line : kernelFile(QString("/proc/%1/smaps").arg(id)).split('\n')) {
        if (line.startsWith("Pss:"))
            (isServers ? memory.midiServer : memory.own) +=
                line.mid(4).chopped(2).trimmed().toDouble() / KibibytesPerMebibyte;
        else if (!line.left(line.indexOf(' ')).endsWith(':')) // the head of a mapping
            isServers = line.contains(" /dev/shm/jack");
    }
    bench::require(memory.own > 0, "the kernel does not tell the memory of a process");
    return memory;
}

/// What all threads of the process have computed so far, in ms.
double processorTime(qint64 id)
{
    constexpr double NanosecondsPerMillisecond = 1e6;
    double sum = 0;
    const QDir tasks(QString("/proc/%1/task").arg(id));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        sum += kernelFile(tasks.filePath(task + "/schedstat")).split(' ').first().toDouble();
    return sum / NanosecondsPerMillisecond;
}

void requireReady(const BoxProcess &box)
{
    bench::require(box.isReady(), "the box did not start");
}

void measureStart()
{
    const Programs programs;
    for (int i = 0; i < Starts; ++i) {
        bench::sample("start", bench::Floor, Program::Run(programs.bareWindow).firstFrame());
        bench::sample("start", bench::Measured, Program::Run(programs.editor).firstFrame());
    }
}

void measureStartWithBox()
{
    const Programs programs;
    for (int i = 0; i < Starts; ++i) {
        bench::sample("start-with-box", bench::Floor, Program::Run(programs.editor).firstFrame());
        const BoxProcess box;
        requireReady(box);
        bench::sample("start-with-box", bench::Measured,
                      Program::Run(programs.editor).firstFrame());
    }
}

void measureConnecting()
{
    const Programs programs;
    const BoxProcess box;
    requireReady(box);
    for (int i = 0; i < Starts; ++i) {
        const Program::Run run(programs.editor);
        bench::sample("connected", bench::Floor, run.firstFrame() + ScanTime);
        bench::sample("connected", bench::Measured, run.connected());
    }
}

void measureMemory()
{
    const Programs programs;
    const auto measure = [](const Program &program) {
        const Program::Run run(program);
        run.sleepUntilAge(3s);
        return proportionalMemory(run.id());
    };
    bench::sample("memory", bench::Floor, measure(programs.bareWindow).own);
    const Memory memory = measure(programs.editor);
    bench::sample("memory", bench::Measured, memory.own);
    bench::sample("memory-midi", bench::Measured, memory.midiServer);
}

void measureIdle()
{
    constexpr auto Settling = 5s;
    constexpr auto Time = 60s;
    const Program editor(OSTREL_EDITOR_PROGRAM);
    const BoxProcess box;
    requireReady(box);
    const Program::Run run(editor);
    static_cast<void>(run.connected());
    run.sleepUntilAge(Settling);
    const double before = processorTime(run.id());
    run.sleepUntilAge(Settling + Time);
    const double used = processorTime(run.id()) - before;
    bench::sample("idle", bench::Measured,
                  100 * used / std::chrono::duration<double, std::milli>(Time).count());
}

} // namespace

int main(int argc, char *argv[])
{
    return bench::run(argc, argv,
                      {{"start", measureStart},
                       {"start-with-box", measureStartWithBox},
                       {"connected", measureConnecting},
                       {"memory", measureMemory},
                       {"idle", measureIdle}});
}
