#pragma once

#include <QByteArrayView>
#include <QJsonParseError>
#include <QString>

/// Walks a JSON text from front to back without building anything from it, so that a text of any
/// size and shape costs time and memory for what its caller keeps alone. Takes and refuses the
/// same texts as QJsonDocument, with the same error but for a backslash at the very end. Each
/// function returns false once the text turned out to be damaged; error() then says how. The text
/// must outlive the scanner.
class JsonScanner
{
public:
    explicit JsonScanner(QByteArrayView text);

    /// The first character of the next value, which is not consumed; 0 at the end of the text.
    [[nodiscard]] char peek();

    /// Reads an object, peek() being '{'. `onValue` is called at each member's value with the
    /// member's name in `*key`; it must consume the value and return whether that went well.
    /// `key` may be null if the names do not matter.
    template <typename OnValue>
    [[nodiscard]] bool readObject(QString *key, OnValue &&onValue);

    /// Reads an array, peek() being '['. `onValue` is called at each element, as for objects.
    template <typename OnValue>
    [[nodiscard]] bool readArray(OnValue &&onValue);

    /// Reads a string, peek() being '"', into `*value`, which may be null. Unlike QJsonDocument
    /// this keeps a byte order mark at the front of a string.
    [[nodiscard]] bool readString(QString *value);

    /// Reads any value and forgets it.
    [[nodiscard]] bool skipValue();

    /// Reads a whole text's array and forgets it; anything else is no JSON text.
    [[nodiscard]] bool skipRootArray();

    /// Whether nothing but blanks follows.
    [[nodiscard]] bool finish();

    [[nodiscard]] QJsonParseError error() const;

private:
    enum class Step { Value, Done, Failed };

    bool fail(QJsonParseError::ParseError error);
    bool skipBlanks();
    char nextToken();
    bool enter();
    Step firstMember(QString *key);
    Step nextMember(QString *key);
    Step member(QString *key);
    Step firstElement();
    Step nextElement();
    bool skipWord(QByteArrayView word);
    bool skipNumber();
    bool scanString();
    bool skipEscape();
    bool skipMultiByte();

    QByteArrayView m_text;
    const char *m_at;
    const char *m_end;
    int m_depth = 0;
    QJsonParseError::ParseError m_error = QJsonParseError::NoError;
};

template <typename OnValue>
bool JsonScanner::readObject(QString *key, OnValue &&onValue)
{
    if (!enter())
        return false;
    Step step = firstMember(key);
    while (step == Step::Value)
        step = onValue() ? nextMember(key) : Step::Failed;
    --m_depth;
    return step == Step::Done;
}

template <typename OnValue>
bool JsonScanner::readArray(OnValue &&onValue)
{
    if (!enter())
        return false;
    Step step = firstElement();
    while (step == Step::Value)
        step = onValue() ? nextElement() : Step::Failed;
    --m_depth;
    return step == Step::Done;
}
