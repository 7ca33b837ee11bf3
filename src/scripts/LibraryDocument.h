#pragma once

#include <QByteArray>
#include <QJsonParseError>
#include <QList>
#include <QString>

#include <optional>

/// The library document, the one form in which scripts are kept in files and offered for
/// download: a JSON object whose array "scripts" holds an object with "name" and "text" for each.
/// Pure functions, for any thread.
namespace scripts
{

/// A script of the library. Any text will do for either; names need not differ.
struct Script
{
    QString name;
    QString text;

    bool operator==(const Script &) const = default;
};

/// What came of reading a document.
struct LibraryReading
{
    /// Nothing where the bytes are not a JSON object.
    std::optional<QList<Script>> scripts;
    /// QJsonParseError::NoError also for valid JSON that is not an object.
    QJsonParseError error;
};

/// Reads leniently: whatever is missing or of another type reads as empty, unknown members are
/// ignored, and each element of the array becomes a script. Nesting beyond what QJsonDocument takes
/// (1024 levels) is an error like any other.
[[nodiscard]] LibraryReading readLibrary(const QByteArray &bytes);

/// Writes in the indented form of QJsonDocument. Every text survives, with NULs and halves of
/// surrogate pairs: what UTF-8 cannot carry is escaped.
[[nodiscard]] QByteArray writeLibrary(const QList<Script> &scripts);

} // namespace scripts

Q_DECLARE_TYPEINFO(scripts::Script, Q_RELOCATABLE_TYPE);
