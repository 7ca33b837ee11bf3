#include "firmware/TransferEstimate.h"
#include "support/Rows.h"

using namespace std::chrono_literals;
using namespace testsupport;

namespace
{

/// Positions, with the milliseconds since the start.
using Moves = QList<std::pair<std::uint32_t, int>>;

constexpr int Unknown = TransferEstimate::Unknown;

} // namespace

class TestTransferEstimate : public QObject
{
    Q_OBJECT

private slots:
    void timeLeftFollowsTheAverageSpeed_data()
    {
        const Rows<std::uint32_t, Moves, std::uint32_t, int> add;
        add("first", 100'000, {{10'000, 2000}}, 10'000, 18);
        add("faster", 100'000, {{10'000, 2000}, {50'000, 4000}}, 50'000, 4);
        add("rounded up", 100'000, {{99'999, 4000}}, 99'999, 1);
        add("at the end", 100'000, {{100'000, 4000}}, 100'000, 0);
        add("beyond the end", 10'000, {{20'000, 2000}}, 10'000, 0);
        add("back to the start", 20'000, {{10'000, 1000}, {0, 1000}}, 0, 2);
        add("sent again", 20'000, {{10'000, 1000}, {0, 1000}, {10'000, 2000}}, 10'000, 1);
        add("too early", 10'000, {{512, 999}}, 512, Unknown);
        add("nothing accepted", 500, {{0, 60'000}}, 0, Unknown);
    }

    void timeLeftFollowsTheAverageSpeed()
    {
        const auto [total, moves, sent, left] = row<std::uint32_t, Moves, std::uint32_t, int>();
        TransferEstimate estimate;
        estimate.start(7);
        estimate.moveTo(7, 5s); // forgotten at the next start
        estimate.start(total);
        QCOMPARE(estimate.secondsLeft(), Unknown);
        for (const auto &[position, elapsed] : moves)
            estimate.moveTo(position, std::chrono::milliseconds(elapsed));
        QCOMPARE(estimate.bytesSent(), sent);
        QCOMPARE(estimate.secondsLeft(), left);
        estimate.stop();
        QCOMPARE(estimate.secondsLeft(), Unknown);
        QCOMPARE(estimate.bytesTotal(), total);
    }
};

QTEST_GUILESS_MAIN(TestTransferEstimate)
#include "tst_transferestimate.moc"
