#include "scripts/LibraryDocument.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace scripts
{
namespace
{

constexpr QLatin1String ScriptsKey("scripts");
constexpr QLatin1String NameKey("name");
constexpr QLatin1String TextKey("text");

// As UTF-8; the reader takes it for a mark of the encoding where a string begins with it.
constexpr char ByteOrderMark[] = "\xEF\xBB\xBF";
constexpr char EscapedByteOrderMark[] = "\\ufeff";

QList<Script> toScripts(const QJsonArray &array)
{
    QList<Script> scripts;
    scripts.reserve(array.size());
    for (const QJsonValueConstRef &value : array) {
        Script &script = scripts.emplaceBack();
        // Asked first, because making an object of a million numbers takes a second.
        if (!value.isObject())
            continue;
        const QJsonObject object = value.toObject();
        script.name = object.value(NameKey).toString();
        script.text = object.value(TextKey).toString();
    }
    return scripts;
}

} // namespace

LibraryReading readLibrary(const QByteArray &bytes)
{
    LibraryReading reading;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &reading.error);
    if (document.isObject())
        reading.scripts = toScripts(document.object().value(ScriptsKey).toArray());
    return reading;
}

QByteArray writeLibrary(const QList<Script> &scripts)
{
    QJsonArray array;
    for (const Script &script : scripts)
        array.append(QJsonObject{{NameKey, script.name}, {TextKey, script.text}});
    return QJsonDocument(QJsonObject{{ScriptsKey, array}})
        .toJson(QJsonDocument::Indented)
        .replace(ByteOrderMark, EscapedByteOrderMark);
}

} // namespace scripts
