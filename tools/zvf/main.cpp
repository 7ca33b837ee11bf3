// Packs and inspects firmware images; --help says how.

#include "firmware/ImageCipher.h"
#include "zvf/ImageFile.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QTextStream>

namespace
{

enum ExitCode { Holds = 0, Fails = 1, Usage = 2 };

constexpr char Description[] =
    "Packs raw firmware into an image that the editor sends to a box, and inspects images.\n\n"
    "  zvf pack --product N --done1 N --done2 N [--pad] RAW OUT\n"
    "  zvf inspect [--product N] FILE\n\n"
    "Exit code 0: done, or everything holds. 1: refused, or something does not hold. 2: usage.";

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

int complain(const QString &text, ExitCode code)
{
    err() << "zvf: " << text << Qt::endl;
    return code;
}

QString hex(std::uint32_t value, int digits)
{
    return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0'));
}

struct Options
{
    QStringList positional; ///< the command first
    QString product;
    QString done1;
    QString done2;
    bool pad = false;
};

Options parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    parser.addHelpOption();
    const QCommandLineOption product(QStringLiteral("product"),
                                     QStringLiteral("Product ID the image is for."),
                                     QStringLiteral("N"));
    const QCommandLineOption done1(QStringLiteral("done1"),
                                   QStringLiteral("First parameter of the done message."),
                                   QStringLiteral("N"));
    const QCommandLineOption done2(QStringLiteral("done2"),
                                   QStringLiteral("Second parameter of the done message."),
                                   QStringLiteral("N"));
    const QCommandLineOption pad(
        QStringLiteral("pad"),
        QStringLiteral("Fill the firmware up with 0xFF where its length could not be deciphered "
                       "back exactly."));
    parser.addOptions({product, done1, done2, pad});
    if (!parser.parse(arguments)) {
        complain(parser.errorText(), Usage);
        return {};
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(Holds);
    return {parser.positionalArguments(), parser.value(product), parser.value(done1),
            parser.value(done2), parser.isSet(pad)};
}

/// A 7-bit number, decimal or 0x hexadecimal.
std::optional<std::uint8_t> parameter(const QString &text)
{
    bool isNumber = false;
    const uint value = text.toUInt(&isNumber, 0);
    if (!isNumber || value > zvf::MaxParameter)
        return std::nullopt;
    return static_cast<std::uint8_t>(value);
}

void padToExactLength(std::vector<std::uint8_t> &raw)
{
    while (!firmware::isExactLength(raw.size()))
        raw.push_back(0xFF);
}

int pack(const Options &options)
{
    if (options.product.isEmpty() || options.done1.isEmpty() || options.done2.isEmpty())
        return complain(QStringLiteral("pack needs --product, --done1 and --done2"), Usage);
    const auto product = parameter(options.product);
    const auto done1 = parameter(options.done1);
    const auto done2 = parameter(options.done2);
    if (!product || !done1 || !done2)
        return complain(QStringLiteral("product and done parameters are numbers from 0 to 127"),
                        Fails);

    if (QFileInfo(options.positional[1]).size() > zvf::MaxDataLength) // before it is all read
        return complain(QStringLiteral("the firmware is longer than 28 bits can say"), Fails);
    QString error;
    auto raw = zvf::readFile(options.positional[1], error);
    if (!raw)
        return complain(options.positional[1] + QStringLiteral(": ") + error, Fails);
    if (options.pad)
        padToExactLength(*raw);
    const zvf::Image image =
        zvf::makeImage({.productID = *product, .doneParam1 = *done1, .doneParam2 = *done2}, *raw);
    if (const auto reason = zvf::refusal(image.header))
        return complain(*reason, Fails);
    if (!firmware::isExactLength(raw->size()))
        complain(QStringLiteral("warning: at a length of %1 bytes the last block does not decipher "
                                "to the raw file's bytes; --pad fills it up with 0xFF")
                     .arg(raw->size()),
                 Holds);
    if (!zvf::writeImage(options.positional[2], image, error))
        return complain(options.positional[2] + QStringLiteral(": ") + error, Fails);
    return Holds;
}

void printHeader(const firmware::ImageHeader &header)
{
    out() << "magic:       " << hex(header.magic, 8) << '\n'
          << "product:     " << header.productID << '\n'
          << "done1:       " << header.doneParam1 << '\n'
          << "done2:       " << header.doneParam2 << '\n'
          << "reserved:    " << header.reserved << '\n'
          << "length:      " << header.dataLength << '\n'
          << "check value: " << hex(header.imageCRC, 8);
}

/// What keeps the image from being sent, apart from its check value.
std::optional<QString> findFault(const zvf::Image &image, const QString &product)
{
    if (auto reason = zvf::refusal(image.header))
        return reason;
    if (!product.isEmpty() && parameter(product) != image.header.productID)
        return QStringLiteral("the image is for another product than ") + product;
    if (image.payload.size() < image.header.dataLength)
        return QStringLiteral("the file ends before the payload does");
    return std::nullopt;
}

int inspect(const Options &options)
{
    QString error;
    const auto image = zvf::readImage(options.positional[1], error);
    if (!image)
        return complain(options.positional[1] + QStringLiteral(": ") + error, Fails);
    printHeader(image->header);
    const std::uint32_t computed = firmware::imageCheckValue(image->payload);
    const bool holds = computed == image->header.imageCRC;
    if (holds)
        out() << " (holds)" << Qt::endl;
    else
        out() << " (does not hold: the payload gives " << hex(computed, 8) << ')' << Qt::endl;
    if (const auto fault = findFault(*image, options.product))
        return complain(*fault, Fails);
    return holds ? Holds : Fails;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const Options options = parse(QCoreApplication::arguments());
    const QString command = options.positional.value(0);
    if (command == QLatin1String("pack") && options.positional.size() == 3)
        return pack(options);
    if (command == QLatin1String("inspect") && options.positional.size() == 2)
        return inspect(options);
    return complain(QStringLiteral("usage: zvf pack|inspect ...; zvf --help says more"), Usage);
}
