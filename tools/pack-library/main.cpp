// pack-library OUTPUT NAME=FILE...
// Packs script files, UTF-8, into a library document in the order given.

#include "scripts/LibraryDocument.h"

#include <QFile>
#include <QStringDecoder>
#include <QStringList>

#include <cstdio>
#include <cstdlib>

namespace
{

int fail(const QString &what)
{
    std::fprintf(stderr, "pack-library: %s\n", qUtf8Printable(what));
    return EXIT_FAILURE;
}

/// A checkout on Windows may have changed the line ends; the document's are "\n".
std::optional<QString> readText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(file.readAll());
    if (decoder.hasError())
        return std::nullopt;
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2)
        return fail(QStringLiteral("usage: pack-library OUTPUT NAME=FILE..."));

    QList<scripts::Script> library;
    for (int i = 2; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        const QString path = argument.section(u'=', 1);
        const std::optional<QString> text = readText(path);
        if (!text)
            return fail(QStringLiteral("cannot read \"%1\" as text").arg(path));
        library.append({argument.section(u'=', 0, 0), *text});
    }

    const QByteArray bytes = scripts::writeLibrary(library);
    QFile output(QString::fromLocal8Bit(argv[1]));
    if (!output.open(QIODevice::WriteOnly) || output.write(bytes) != bytes.size())
        return fail(QStringLiteral("cannot write \"%1\"").arg(output.fileName()));
    return EXIT_SUCCESS;
}
