#include "firmware/ImageCipher.h"
#include "unit/firmware/ImageBuilder.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace
{

struct Outcome
{
    int exitCode = -1;
    QString out;
    QString err;
};

Outcome run(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(ZVF_PROGRAM), arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QStringList packArguments(const QString &product, const QString &done1, const QString &done2)
{
    return {"pack", "--product", product, "--done1", done1, "--done2", done2};
}

QByteArray toBytes(const std::vector<std::uint8_t> &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

} // namespace

/// The packer as a process: files and exit codes.
class TestZvf : public QObject
{
    Q_OBJECT

private slots:
    void packedImageHolds_data();
    void packedImageHolds();
    void whatCannotBeSentIsRefused_data();
    void whatCannotBeSentIsRefused();
    void damagedImagesDoNotHold_data();
    void damagedImagesDoNotHold();
    void wrongUseIsTold();

private:
    [[nodiscard]] QString path(const char *name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

void TestZvf::packedImageHolds_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("pad");
    QTest::addColumn<int>("storedLength");
    QTest::addColumn<bool>("warned");

    QTest::newRow("whole words") << 700 << false << 700 << false;
    QTest::newRow("whole words, padding allowed") << 700 << true << 700 << false;
    QTest::newRow("a single word in the last block") << 516 << false << 516 << true;
    QTest::newRow("a single word, padded") << 516 << true << 520 << false;
    QTest::newRow("part of a word") << 1023 << false << 1023 << true;
    QTest::newRow("part of a word, padded") << 1 << true << 8 << false;
}

void TestZvf::packedImageHolds()
{
    QFETCH(int, length);
    QFETCH(bool, pad);
    QFETCH(int, storedLength);
    QFETCH(bool, warned);

    const QByteArray raw = toBytes(image::payload(static_cast<std::size_t>(length)));
    const image::File rawFile(raw);
    const QString packed = path("packed.zvf");
    const Outcome packing =
        run(packArguments("26", "1", "0x7F") + QStringList(pad ? 1 : 0, "--pad") +
            QStringList{rawFile.path(), packed});
    QCOMPARE(packing.exitCode, 0);
    QCOMPARE(packing.err.contains("warning"), warned);

    const Outcome inspection = run({"inspect", "--product", "26", packed});
    QCOMPARE(inspection.exitCode, 0);
    for (const QString &line : {QString("magic:       0x0146565a"), QString("product:     26"),
                                QString("done1:       1"), QString("done2:       127"),
                                QString("length:      %1").arg(storedLength), QString("(holds)")})
        QVERIFY2(inspection.out.contains(line), qPrintable(inspection.out));

    QFile file(packed);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray stored = file.readAll().mid(firmware::HeaderSize);
    const QByteArray back =
        toBytes(firmware::decipherPayload(std::vector<std::uint8_t>(stored.begin(), stored.end())));
    QCOMPARE(back.size(), storedLength);
    if (!warned)
        QCOMPARE(back, raw.leftJustified(storedLength, char(0xFF)));
}

void TestZvf::whatCannotBeSentIsRefused_data()
{
    QTest::addColumn<qint64>("length");
    QTest::addColumn<QStringList>("arguments");

    const QStringList good = packArguments("26", "1", "1");
    QTest::newRow("empty") << qint64(0) << good;
    QTest::newRow("longer than 28 bits") << (qint64(1) << 28) << good;
    QTest::newRow("product") << qint64(8) << packArguments("128", "1", "1");
    QTest::newRow("first parameter") << qint64(8) << packArguments("26", "0x80", "1");
    QTest::newRow("second parameter") << qint64(8) << packArguments("26", "1", "-1");
}

void TestZvf::whatCannotBeSentIsRefused()
{
    QFETCH(qint64, length);
    QFETCH(QStringList, arguments);

    QFile raw(path("raw.bin"));
    QVERIFY(raw.open(QIODevice::WriteOnly) && raw.resize(length));
    raw.close();
    const QString packed = path("refused.zvf");
    const Outcome outcome = run(arguments + QStringList{raw.fileName(), packed});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(!outcome.err.isEmpty());
    QVERIFY(!QFile::exists(packed));
}

void TestZvf::damagedImagesDoNotHold_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray good = image::make(image::payload(600));
    const auto damaged = [&](std::size_t offset) {
        QByteArray bytes = good;
        bytes[qsizetype(offset)] = char(bytes[qsizetype(offset)] ^ 0x80);
        return bytes;
    };
    QTest::newRow("no header") << good.left(15);
    QTest::newRow("cut") << good.chopped(1);
    QTest::newRow("magic") << damaged(firmware::MagicOffset);
    QTest::newRow("product") << damaged(firmware::ProductIdOffset);
    QTest::newRow("parameter") << damaged(firmware::DoneParam2Offset);
    QTest::newRow("length") << damaged(firmware::DataLengthOffset);
    QTest::newRow("check value") << damaged(firmware::ImageCrcOffset);
    QTest::newRow("payload") << damaged(firmware::HeaderSize + 599);
    QTest::newRow("another product") << image::make(image::payload(600), 25);
}

void TestZvf::damagedImagesDoNotHold()
{
    QFETCH(QByteArray, content);
    const image::File file(content);
    QCOMPARE(run({"inspect", "--product", "26", file.path()}).exitCode, 1);
}

void TestZvf::wrongUseIsTold()
{
    QCOMPARE(run({}).exitCode, 2);
    QCOMPARE(run({"unpack", "a"}).exitCode, 2);
    QCOMPARE(run({"pack", "a", "b"}).exitCode, 2);
    QCOMPARE(run({"inspect", "--unknown", "a"}).exitCode, 2);
    QCOMPARE(run({"--help"}).exitCode, 0);
    QCOMPARE(run({"inspect", path("missing.zvf")}).exitCode, 1);
}

QTEST_GUILESS_MAIN(TestZvf)
#include "tst_zvf.moc"
