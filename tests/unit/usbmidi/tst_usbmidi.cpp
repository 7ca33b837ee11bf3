#include "support/Messages.h"
#include "usbmidi/ControlRequests.h"
#include "usbmidi/PacketReader.h"
#include "usbmidi/UsbIpMessages.h"

#include <QTest>

using namespace usbmidi;
using testsupport::fromHex;
using testsupport::hex;

/// The bytes that a plugged-in device exchanges with the kernel. That the kernel takes them for
/// such a device is seen where one can be plugged in.
class TestUsbMidi : public QObject
{
    Q_OBJECT

private slots:
    void packs_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("packets");
        const auto row = [](const char *name, const char *message, const char *packets) {
            QTest::newRow(name) << QByteArray(message) << QByteArray(packets);
        };
        row("sysex of two", "F0 F7", "36 F0 F7 00");
        row("sysex of three", "F0 01 F7", "37 F0 01 F7");
        row("ends in a first byte", "F0 01 02 F7", "34 F0 01 02 35 F7 00 00");
        row("ends in a second byte", "F0 01 02 03 F7", "34 F0 01 02 36 03 F7 00");
        row("ends in a third byte", "F0 01 02 03 04 F7", "34 F0 01 02 37 03 04 F7");
        row("note", "93 40 7F", "39 93 40 7F");
        row("program change", "C3 07", "3C C3 07 00");
        row("system messages", "F1 01 F2 02 03 F6 F8",
            "32 F1 01 00 33 F2 02 03 3F F6 00 00 3F F8 00 00");
    }

    void packs()
    {
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, packets);
        QCOMPARE(hex(toPackets(3, fromHex(message))), packets);
        QByteArray read;
        for (const auto &part : PacketReader().read(fromHex(packets)))
            read += (read.isEmpty() ? "" : " ") + hex(part.bytes);
        QCOMPARE(read, message);
    }

    /// No message is made up out of what is none.
    void packsFragments()
    {
        QCOMPARE(hex(toPackets(0, fromHex("F0 01 02 03 04"))),
                 QByteArray("04 F0 01 02 0F 03 00 00 0F 04 00 00"));
        QCOMPARE(hex(toPackets(0, fromHex("C3"))), QByteArray("0F C3 00 00"));
        QCOMPARE(hex(toPackets(0, fromHex("90 F7"))), QByteArray("0F 90 00 00 05 F7 00 00"));
    }

    void joins_data()
    {
        QTest::addColumn<QByteArray>("packets");
        QTest::addColumn<QStringList>("messages"); // "!" in front: dropped
        const auto row = [](const char *name, const char *packets, const QStringList &messages) {
            QTest::newRow(name) << QByteArray(packets) << messages;
        };
        row("not ended", "54 F0 01 02", {});
        row("another begins", "54 F0 01 02 54 F0 03 04 55 F7 00 00",
            {"!5 F0 01 02", "5 F0 03 04 F7"});
        row("a short one comes between", "54 F0 01 02 5C C0 07 00 55 F7 00 00",
            {"!5 F0 01 02", "5 C0 07"});
        row("a clock comes between", "54 F0 01 02 5F F8 00 00 55 F7 00 00",
            {"5 F8", "5 F0 01 02 F7"});
        row("two cables", "54 F0 01 02 04 F0 03 04 55 F7 00 00 05 F7 00 00",
            {"5 F0 01 02 F7", "0 F0 03 04 F7"});
        row("byte by byte", "5F F0 00 00 5F 01 00 00 5F F7 00 00", {"5 F0 01 F7"});
        row("of nothing", "55 F7 00 00 5F 01 00 00 50 01 02 03 5C C0", {});
    }

    void joins()
    {
        QFETCH(QByteArray, packets);
        QStringList messages;
        for (const auto &message : PacketReader().read(fromHex(packets)))
            messages.append((message.whole ? "" : "!") + QString::number(message.cable) + ' ' +
                            hex(message.bytes));
        QTEST(messages, "messages");
    }

    void describes()
    {
        const auto device = describe({"Box", {"In"}, {""}});
        QCOMPARE(hex(device.device),
                 QByteArray("12 01 00 02 00 00 00 40 09 12 01 00 00 01 01 02 03 01"));
        QCOMPARE(hex(device.configuration),
                 QByteArray("09 02 65 00 02 01 00 80 32 "
                            "09 04 00 00 00 01 01 00 00 09 24 01 00 01 09 00 01 01 "
                            "09 04 01 00 02 01 03 00 00 07 24 01 00 01 41 00 "
                            "06 24 02 01 01 00 09 24 03 02 02 01 01 01 00 "
                            "06 24 02 02 03 04 09 24 03 01 04 01 03 01 04 "
                            "09 05 01 02 40 00 00 00 00 05 25 01 01 01 "
                            "09 05 81 02 40 00 00 00 00 05 25 01 01 04"));
        const SetupPacket stringFour{0x80, 6, 4, 3, 0x09, 0x04, 0xFF, 0};
        QCOMPARE(hex(answerControl(device, stringFour).value()), QByteArray("06 03 49 00 6E 00"));
        QVERIFY(!answerControl(device, {0x80, 6, 5, 3, 0, 0, 0xFF, 0}));
    }

    /// However the stream arrives; a length that cannot be ends it.
    void readsRequests()
    {
        const auto write = fromHex("00000001 00000007 00010001 00000000 00000001 00000000 00000004 "
                                   "00000000 00000000 00000000 0000000000000000 5CC00700");
        UsbRequestReader reader;
        for (const std::uint8_t byte : write) {
            QVERIFY(!reader.next());
            reader.append({&byte, 1});
        }
        const auto request = reader.next();
        QVERIFY(request && !request->toComputer && request->number == 7 && !reader.next());
        QCOMPARE(hex(request->data), QByteArray("5C C0 07 00"));

        auto tooLong = write;
        tooLong[25] = 0x01;
        tooLong[27] = 0x01;
        reader.append(tooLong);
        QVERIFY(!reader.next() && reader.isBroken());
    }
};

QTEST_GUILESS_MAIN(TestUsbMidi)
#include "tst_usbmidi.moc"
