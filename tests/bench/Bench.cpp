#include "bench/Bench.h"

#include "support/MidiServer.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace bench
{
namespace
{

using namespace std::chrono_literals;

constexpr auto Patience = 120s;

} // namespace

int run(int argc, char **argv, const std::vector<Row> &rows)
{
    const QGuiApplication application(argc, argv);
    QCoreApplication::setOrganizationName("ZEVMusicTechnology");
    QCoreApplication::setApplicationName("Ostrel Editor");
    QQuickStyle::setStyle("Basic");
    const QStringList wanted = QCoreApplication::arguments().mid(1);
    try {
        const testsupport::MidiServer server;
        require(server.isRunning(), "no MIDI service");
        for (const Row &row : rows) {
            if (wanted.isEmpty() || wanted.contains(row.name))
                row.measure();
        }
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(QCoreApplication::applicationFilePath()),
                     error.what());
        return 1;
    }
}

void sample(const QString &row, const char *column, double value)
{
    std::printf("%s %s %.6g\n", qPrintable(row), column, value);
    std::fflush(stdout);
}

double millisecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double percentile(std::vector<double> values, double share)
{
    require(!values.empty(), "no values");
    std::ranges::sort(values);
    const double rank = std::ceil(share * static_cast<double>(values.size()));
    return values[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

void require(bool condition, const char *what)
{
    if (!condition)
        throw std::runtime_error(what);
}

void waitUntil(const std::function<bool()> &done, const char *what)
{
    QTimer alarm; // so that the loop wakes up where nothing happens at all
    alarm.start(1s);
    for (const auto begin = Clock::now(); !done();) {
        require(Clock::now() - begin < Patience, what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

double timeToFrame(QQuickWindow &window, const std::function<void()> &action)
{
    bool swapped = false;
    const auto connection =
        QObject::connect(&window, &QQuickWindow::frameSwapped, [&swapped] { swapped = true; });
    const auto begin = Clock::now();
    action();
    waitUntil([&swapped] { return swapped; }, "no frame came");
    const double time = millisecondsSince(begin);
    QObject::disconnect(connection);
    return time;
}

} // namespace bench
