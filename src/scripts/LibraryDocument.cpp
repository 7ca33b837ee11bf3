#include "scripts/LibraryDocument.h"

#include "scripts/JsonScanner.h"

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

bool readText(JsonScanner &scanner, QString &text)
{
    text.clear();
    return scanner.peek() == '"' ? scanner.readString(&text) : scanner.skipValue();
}

bool readScript(JsonScanner &scanner, QString &key, Script &script)
{
    if (scanner.peek() != '{')
        return scanner.skipValue();
    return scanner.readObject(&key, [&] {
        if (key == NameKey)
            return readText(scanner, script.name);
        if (key == TextKey)
            return readText(scanner, script.text);
        return scanner.skipValue();
    });
}

/// The names of all members go to the one `key`, so that its memory is used again.
bool readScripts(JsonScanner &scanner, QString &key, QList<Script> &scripts)
{
    scripts.clear();
    if (scanner.peek() != '[')
        return scanner.skipValue();
    return scanner.readArray([&] { return readScript(scanner, key, scripts.emplaceBack()); });
}

/// A member that comes twice counts the last time, as it does with QJsonDocument.
bool readRoot(JsonScanner &scanner, QList<Script> &scripts)
{
    QString key;
    return scanner.readObject(&key, [&] {
        return key == ScriptsKey ? readScripts(scanner, key, scripts) : scanner.skipValue();
    });
}

} // namespace

LibraryReading readLibrary(QByteArrayView bytes)
{
    JsonScanner scanner(bytes);
    QList<Script> scripts;
    const bool isObject = scanner.peek() == '{';
    const bool intact =
        (isObject ? readRoot(scanner, scripts) : scanner.skipRootArray()) && scanner.finish();
    LibraryReading reading{std::nullopt, scanner.error()};
    if (intact && isObject)
        reading.scripts = std::move(scripts);
    return reading;
}

QByteArray writeLibrary(const QList<Script> &scripts)
{
    QJsonArray array;
    for (const Script &script : scripts)
        array.append(QJsonObject{{NameKey, script.name}, {TextKey, script.text}});
    return QJsonDocument(QJsonObject{{ScriptsKey, array}}).toJson(QJsonDocument::Indented);
}

} // namespace scripts
