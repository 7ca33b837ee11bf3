#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "scripts/LibraryDocument.h"

using fuzz::require;

// The bytes are read as a document; and as UTF-16 they make the names and texts of a library.

namespace
{

using Library = QList<scripts::Script>;

void checkReading(const QByteArray &bytes)
{
    const scripts::LibraryReading reading = scripts::readLibrary(bytes);
    require(!reading.scripts || reading.error.error == QJsonParseError::NoError,
            "what cannot be parsed has no scripts");
    if (!reading.scripts)
        return;
    const QByteArray written = scripts::writeLibrary(*reading.scripts);
    const scripts::LibraryReading again = scripts::readLibrary(written);
    require(again.scripts == reading.scripts, "what was read, written and read is equal");
    require(scripts::writeLibrary(*again.scripts) == written, "the same library, the same bytes");
}

/// Texts of up to 255 code units, any at all, halves of pairs included.
QString takeText(fuzz::Input &input)
{
    QString text;
    for (int length = input.takeByte(); length > 0 && !input.atEnd(); --length)
        text.append(QChar(input.takeNumber()));
    return text;
}

void checkWriting(fuzz::Input input)
{
    Library library;
    while (!input.atEnd()) {
        const QString name = takeText(input);
        library.append({name, takeText(input)});
    }
    require(scripts::readLibrary(scripts::writeLibrary(library)).scripts == library,
            "every text survives");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    checkReading({reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)});
    checkWriting({data, size});
    return 0;
}
