#include "alsa/AlsaKernel.h"
#include "alsa/LeakyBucket.h"
#include "midi/MovingBytes.h"
#include "support/Rows.h"

#include <QTest>

using namespace std::chrono_literals;
using namespace testsupport;

namespace
{

constexpr char TwoPorts[] = "Ostrel\n"
                            "\n"
                            "Output 0\n"
                            "  Tx bytes     : 7\n"
                            "Output 10\n"
                            "  Tx bytes     : 8192\n"
                            "  Owner PID    : 141\n"
                            "  Mode         : native\n"
                            "  Buffer size  : 4096\n"
                            "  Avail        : 3840\n"
                            "Input 0\n"
                            "  Rx bytes     : 15874\n"
                            "  Avail        : 12\n"
                            "  Overruns     : 0\n";

} // namespace

/// How the kernel's files are read, and the bookkeeping where it tells nothing. That the
/// pieces arrive whole is shown with a real kernel.
class TestAlsaPorts : public QObject
{
    Q_OBJECT

private slots:
    void readsTheFile_data()
    {
        const Rows<QByteArray, QByteArray, unsigned, QByteArray, int> add;
        add("output", TwoPorts, "Output", 10, "Avail", 3840);
        add("input", TwoPorts, "Input", 0, "Rx bytes", 15874);
        add("closed output", TwoPorts, "Output", 0, "Avail", -1);
        add("number that another begins with", TwoPorts, "Output", 1, "Avail", -1);
        add("no such port", TwoPorts, "Input", 3, "Rx bytes", -1);
        add("missing or empty file", "", "Output", 0, "Avail", -1);
        add("no end of the line", "Output 0\n  Avail : 5", "Output", 0, "Avail", 5);
        add("no number", "Output 0\n  Avail : ?\n", "Output", 0, "Avail", -1);
        add("nothing behind the colon", "Output 0\n  Avail :\n", "Output", 0, "Avail", -1);
        add("no colon", "Output 0\n  Avail 5\n", "Output", 0, "Avail", -1);
        add("more than a number", "Output 0\n  Avail : 5 kB\n", "Output", 0, "Avail", -1);
        add("too large", "Output 0\n  Avail : 99999999999999999999\n", "Output", 0, "Avail", -1);
    }

    void readsTheFile()
    {
        const auto [content, direction, port, key, expected] =
            row<QByteArray, QByteArray, unsigned, QByteArray, int>();
        const auto value = midi::readKernelValue(content.toStdString(), direction.toStdString(),
                                                 port, key.toStdString());
        QCOMPARE(value ? static_cast<int>(*value) : -1, expected);
    }

    void fillsTheBucket()
    {
        midi::LeakyBucket bucket(4096, 3);
        const std::chrono::steady_clock::time_point start{1h};
        for (int i = 0; i < 16; ++i)
            QVERIFY(bucket.take(256, start));
        QVERIFY(!bucket.take(1, start));
        QVERIFY(!bucket.take(256, start + 85ms)); // 255 leaked out
        QVERIFY(bucket.take(256, start + 86ms));
        QVERIFY(!bucket.take(256, start + 86ms));
        // A long rest makes no more room than there ever was.
        QVERIFY(bucket.take(4096, start + 1h));
        QVERIFY(!bucket.take(1, start + 1h));
    }

    void tellsSlowFromSilent()
    {
        midi::MovingBytes bytes(1000);
        QVERIFY(!bytes.stillMove(1000, 500ms));
        QVERIFY(!bytes.stillMove(1048, 500ms)); // a clock
        QVERIFY(bytes.stillMove(1548, 500ms));
        QVERIFY(bytes.stillMove(9000, 2500ms));
        QVERIFY(!bytes.stillMove(20000, 500ms)); // longer than any answer takes
    }
};

QTEST_GUILESS_MAIN(TestAlsaPorts)
#include "tst_alsaports.moc"
