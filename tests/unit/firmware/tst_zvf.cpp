#include "firmware/ImageCipher.h"
#include "support/Rows.h"
#include "unit/firmware/ImageBuilder.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

using namespace testsupport;

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
    void packedImageHolds_data()
    {
        const Rows<int, bool, int, bool> add;
        add("whole words, padding allowed", 700, true, 700, false);
        add("a single word in the last block", 516, false, 516, true);
        add("a single word, padded", 516, true, 520, false);
        add("part of a word", 1023, false, 1023, true);
        add("part of a word, padded", 1, true, 8, false);
    }

    void packedImageHolds()
    {
        const auto [length, pad, storedLength, warned] = row<int, bool, int, bool>();
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
        for (const QString &line :
             {QString("magic:       0x0146565a"), QString("product:     26"),
              QString("done1:       1"), QString("done2:       127"),
              QString("length:      %1").arg(storedLength), QString("(holds)")})
            QVERIFY2(inspection.out.contains(line), qPrintable(inspection.out));

        QFile file(packed);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray stored = file.readAll().mid(firmware::HeaderSize);
        const std::vector<std::uint8_t> bytes(stored.begin(), stored.end());
        const QByteArray back = toBytes(firmware::decipherPayload(bytes));
        QCOMPARE(back.size(), storedLength);
        if (!warned)
            QCOMPARE(back, raw.leftJustified(storedLength, char(0xFF)));
    }

    void whatCannotBeSentIsRefused_data()
    {
        const QStringList good = packArguments("26", "1", "1");
        const Rows<qint64, QStringList> add;
        add("empty", 0, good);
        add("longer than 28 bits", 1 << 28, good);
        add("product", 8, packArguments("128", "1", "1"));
        add("first parameter", 8, packArguments("26", "0x80", "1"));
        add("second parameter", 8, packArguments("26", "1", "-1"));
    }

    void whatCannotBeSentIsRefused()
    {
        const auto [length, arguments] = row<qint64, QStringList>();
        QFile raw(path("raw.bin"));
        QVERIFY(raw.open(QIODevice::WriteOnly) && raw.resize(length));
        raw.close();
        const QString packed = path("refused.zvf");
        const Outcome outcome = run(arguments + QStringList{raw.fileName(), packed});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(!outcome.err.isEmpty());
        QVERIFY(!QFile::exists(packed));
    }

    void damagedImagesDoNotHold()
    {
        const QByteArray good = image::make(image::payload(600));
        QList<QByteArray> images{good.left(15), good.chopped(1),
                                 image::make(image::payload(600), Product - 1)};
        for (const std::size_t offset :
             {firmware::MagicOffset, firmware::ProductIdOffset, firmware::DoneParam2Offset,
              firmware::DataLengthOffset, firmware::ImageCrcOffset, firmware::HeaderSize + 599}) {
            images << good;
            images.last()[qsizetype(offset)] ^= char(0x80);
        }
        for (qsizetype i = 0; i < images.size(); ++i) {
            const image::File file(images[i]);
            const Outcome outcome = run({"inspect", "--product", "26", file.path()});
            QVERIFY2(outcome.exitCode == 1, qPrintable(QString::number(i) + outcome.out));
        }
    }

    void wrongUseIsTold()
    {
        QCOMPARE(run({}).exitCode, 2);
        QCOMPARE(run({"unpack", "a"}).exitCode, 2);
        QCOMPARE(run({"pack", "a", "b"}).exitCode, 2);
        QCOMPARE(run({"inspect", "--unknown", "a"}).exitCode, 2);
        QCOMPARE(run({"--help"}).exitCode, 0);
        QCOMPARE(run({"inspect", path("missing.zvf")}).exitCode, 1);
    }

private:
    static constexpr std::uint8_t Product = 26;

    [[nodiscard]] QString path(const char *name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestZvf)
#include "tst_zvf.moc"
