#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <vector>

class QQuickWindow;

/// What the benchmark programs share. Each measures some rows of the table that tools/bench prints,
/// against their floors, and writes a line "ROW COLUMN VALUE" for each sample.
namespace bench
{

using Clock = std::chrono::steady_clock;

inline constexpr char Measured[] = "measured";
inline constexpr char Floor[] = "floor"; ///< the least that the machine allows

struct Row
{
    QString name;
    std::function<void()> measure; ///< writes samples; throws when nothing can be measured
};

/// A benchmark's main function: on a private MIDI service, measures the rows that the arguments
/// name, or all. Returns the exit code.
int run(int argc, char **argv, const std::vector<Row> &rows);

void sample(const QString &row, const char *column, double value);
[[nodiscard]] double millisecondsSince(Clock::time_point begin);
/// The value that the given share (0 to 1) of the values does not exceed.
[[nodiscard]] double percentile(std::vector<double> values, double share);

/// Throws when the condition does not hold.
void require(bool condition, const char *what);
/// Runs the event loop until `done` holds, asking after each event. Throws after two minutes.
void waitUntil(const std::function<bool()> &done, const char *what);

/// Time from `action`, such as a key, to the end of the first frame after it, in ms.
[[nodiscard]] double timeToFrame(QQuickWindow &window, const std::function<void()> &action);

} // namespace bench
