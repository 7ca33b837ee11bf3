#include "support/Messages.h"
#include "support/Rows.h"

using namespace testsupport;

namespace
{

constexpr char ThreeBytes[] = "F0 00 01 5B 05 34 04 00 00 04 00 40 4F 5C 67 02 20 61 69 62 F7";
constexpr char Empty[] = "F0 00 01 5B 05 34 04 00 00 00 00 00 00 00 00 00 F7";

} // namespace

/// Reading frames; tst_goldenbytes builds them.
class TestDataBlock : public QObject
{
    Q_OBJECT

private slots:
    void takesNoFrameAtItsWord_data()
    {
        const Rows<QByteArray, QByteArray> add;
        const auto row = [&](const char *name, const char *before, const char *after) {
            add(name, QByteArray(ThreeBytes).replace(before, after), "refused");
        };
        add("as built", ThreeBytes, "61 E9 62");
        row("one payload bit wrong", "61 69", "61 6B");
        row("one checksum bit wrong", "4F 5C", "4F 5D");
        row("length one too large", "04 00 40", "05 00 40");
        row("length one too small", "04 00 40", "03 00 40");
        row("length into the zeros", "04 00 40", "7F 3E 40");
        row("length to the buffer's end", "04 00 40", "70 3F 40");
        row("length one beyond the buffer", "04 00 40", "71 3F 40");
        row("largest length", "04 00 40", "7F 7F 40");
        add("empty", Empty, "");
        add("empty with a checksum", QByteArray(Empty).replace("00 F7", "01 F7"), "refused");
    }

    void takesNoFrameAtItsWord()
    {
        const auto [frame, decoded] = row<QByteArray, QByteArray>();
        const auto payload = midi::readDataBlock(fromHex(frame));
        QCOMPARE(payload ? hex(*payload) : "refused", decoded);
    }
};

QTEST_GUILESS_MAIN(TestDataBlock)
#include "tst_datablock.moc"
