#include "firmware/TransferEstimate.h"

#include <QTest>

using namespace std::chrono_literals;

class TestTransferEstimate : public QObject
{
    Q_OBJECT

private slots:
    void timeLeftFollowsTheAverageSpeed();
    void blocksSentAgainCountAsWork();
    void nothingIsKnownTooEarlyOrAfterwards();
};

void TestTransferEstimate::timeLeftFollowsTheAverageSpeed()
{
    TransferEstimate estimate;
    estimate.start(100'000);
    estimate.moveTo(10'000, 2s);
    QCOMPARE(estimate.secondsLeft(), 18);
    estimate.moveTo(50'000, 4s);
    QCOMPARE(estimate.secondsLeft(), 4);
    estimate.moveTo(99'999, 4s);
    QCOMPARE(estimate.secondsLeft(), 1);
    estimate.moveTo(100'000, 4s);
    QCOMPARE(estimate.secondsLeft(), 0);
}

void TestTransferEstimate::blocksSentAgainCountAsWork()
{
    TransferEstimate estimate;
    estimate.start(20'000);
    estimate.moveTo(10'000, 1s);
    estimate.moveTo(0, 1s);
    QCOMPARE(estimate.bytesSent(), 0U);
    QCOMPARE(estimate.secondsLeft(), 2);
    estimate.moveTo(10'000, 2s);
    QCOMPARE(estimate.secondsLeft(), 1);
}

void TestTransferEstimate::nothingIsKnownTooEarlyOrAfterwards()
{
    TransferEstimate estimate;
    QCOMPARE(estimate.secondsLeft(), TransferEstimate::Unknown);
    estimate.start(10'000);
    estimate.moveTo(512, 999ms);
    QCOMPARE(estimate.secondsLeft(), TransferEstimate::Unknown);
    estimate.moveTo(20'000, 2s);
    QCOMPARE(estimate.bytesSent(), 10'000U);
    estimate.stop();
    QCOMPARE(estimate.secondsLeft(), TransferEstimate::Unknown);
    QCOMPARE(estimate.bytesTotal(), 10'000U);
    estimate.start(500);
    estimate.moveTo(0, 60s);
    QCOMPARE(estimate.secondsLeft(), TransferEstimate::Unknown);
}

QTEST_GUILESS_MAIN(TestTransferEstimate)
#include "tst_transferestimate.moc"
