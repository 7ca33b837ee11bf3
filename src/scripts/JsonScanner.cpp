#include "scripts/JsonScanner.h"

#include <QChar>

#include <algorithm>
#include <cstdint>

namespace
{

/// QJsonDocument's own limit.
constexpr int MaxDepth = 1024;

constexpr QByteArrayView ByteOrderMark = "\xEF\xBB\xBF";

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

int hexDigit(char c)
{
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// How many bytes a character takes whose first byte, not an ASCII one, is `first`; 0 for a byte
/// that begins none.
int multiByteLength(uint8_t first)
{
    if (first >= 0xC2 && first <= 0xDF)
        return 2;
    if (first >= 0xE0 && first <= 0xEF)
        return 3;
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

/// The character at `at`, known to be whole. Shortest forms, surrogates and the upper bound are
/// the caller's to check.
char32_t multiByteValue(const char *at, int length)
{
    char32_t value = static_cast<uint8_t>(*at) & (0xFFU >> (length + 1));
    for (int i = 1; i < length; ++i)
        value = (value << 6) | (static_cast<uint8_t>(at[i]) & 0x3FU);
    return value;
}

/// What stands for the escape at `at`, just behind the backslash. Moves `at` behind it.
char16_t unescape(const char *&at)
{
    const char c = *at++;
    switch (c) {
    case 'b':
        return u'\b';
    case 'f':
        return u'\f';
    case 'n':
        return u'\n';
    case 'r':
        return u'\r';
    case 't':
        return u'\t';
    case 'u': {
        int value = 0;
        for (const char *end = at + 4; at != end; ++at)
            value = value * 16 + hexDigit(*at);
        return static_cast<char16_t>(value);
    }
    default:
        return static_cast<uint8_t>(c);
    }
}

/// Sets `text` to what a string holds that was scanned without an error. Each character and escape
/// takes at least as many bytes as it gives code units.
void decode(const char *at, const char *end, QString &text)
{
    text.resize(end - at);
    QChar *const begin = text.data();
    QChar *out = begin;
    while (at < end) {
        const char c = *at;
        if (c == '\\') {
            *out++ = unescape(++at);
        } else if (const auto byte = static_cast<uint8_t>(c); byte < 0x80) {
            *out++ = QLatin1Char(c);
            ++at;
        } else {
            const int length = multiByteLength(byte);
            const char32_t value = multiByteValue(at, length);
            at += length;
            for (const char16_t unit : QChar::fromUcs4(value))
                *out++ = unit;
        }
    }
    text.truncate(out - begin);
}

} // namespace

JsonScanner::JsonScanner(QByteArrayView text)
    : m_text(text)
    , m_at(text.begin())
    , m_end(text.end())
{
    if (text.size() > ByteOrderMark.size() && text.startsWith(ByteOrderMark))
        m_at += ByteOrderMark.size();
}

char JsonScanner::peek()
{
    return skipBlanks() ? *m_at : '\0';
}

bool JsonScanner::finish()
{
    return !skipBlanks() || fail(QJsonParseError::GarbageAtEnd);
}

QJsonParseError JsonScanner::error() const
{
    QJsonParseError error;
    error.error = m_error;
    error.offset =
        m_error == QJsonParseError::NoError ? 0 : static_cast<int>(m_at - m_text.begin());
    return error;
}

bool JsonScanner::fail(QJsonParseError::ParseError error)
{
    m_error = error;
    return false;
}

bool JsonScanner::skipBlanks()
{
    while (m_at < m_end && (*m_at == ' ' || *m_at == '\t' || *m_at == '\n' || *m_at == '\r'))
        ++m_at;
    return m_at < m_end;
}

/// Consumes the next character that is not blank; 0 where that is none of JSON's own.
char JsonScanner::nextToken()
{
    if (!skipBlanks())
        return '\0';
    const char token = *m_at++;
    switch (token) {
    case '{':
    case '}':
    case '[':
    case ']':
    case ':':
    case ',':
    case '"':
        return token;
    default:
        return '\0';
    }
}

bool JsonScanner::enter()
{
    ++m_at;
    return ++m_depth <= MaxDepth || fail(QJsonParseError::DeepNesting);
}

JsonScanner::Step JsonScanner::firstMember(QString *key)
{
    const char token = nextToken();
    if (token == '"')
        return member(key);
    if (token == '}')
        return Step::Done;
    fail(QJsonParseError::UnterminatedObject);
    return Step::Failed;
}

JsonScanner::Step JsonScanner::nextMember(QString *key)
{
    char token = nextToken();
    if (token == '}')
        return Step::Done;
    if (token == ',') {
        token = nextToken();
        if (token == '"')
            return member(key);
        if (token == '}') {
            fail(QJsonParseError::MissingObject);
            return Step::Failed;
        }
    }
    fail(QJsonParseError::UnterminatedObject);
    return Step::Failed;
}

/// Reads a member's name, its opening quote being consumed, and the colon.
JsonScanner::Step JsonScanner::member(QString *key)
{
    --m_at;
    if (!readString(key))
        return Step::Failed;
    if (nextToken() != ':') {
        fail(QJsonParseError::MissingNameSeparator);
        return Step::Failed;
    }
    if (!skipBlanks()) {
        fail(QJsonParseError::UnterminatedObject);
        return Step::Failed;
    }
    return Step::Value;
}

JsonScanner::Step JsonScanner::firstElement()
{
    if (!skipBlanks()) {
        fail(QJsonParseError::UnterminatedArray);
        return Step::Failed;
    }
    if (*m_at != ']')
        return Step::Value;
    ++m_at;
    return Step::Done;
}

JsonScanner::Step JsonScanner::nextElement()
{
    const char token = nextToken();
    if (token == ']')
        return Step::Done;
    if (token != ',') {
        fail(skipBlanks() ? QJsonParseError::MissingValueSeparator
                          : QJsonParseError::UnterminatedArray);
        return Step::Failed;
    }
    if (!skipBlanks()) {
        fail(QJsonParseError::UnterminatedArray);
        return Step::Failed;
    }
    return Step::Value;
}

bool JsonScanner::skipValue()
{
    switch (peek()) {
    case '{':
        return readObject(nullptr, [this] { return skipValue(); });
    case '[':
        return readArray([this] { return skipValue(); });
    case '"':
        return readString(nullptr);
    case 'n':
        return skipWord("null");
    case 't':
        return skipWord("true");
    case 'f':
        return skipWord("false");
    case ',':
        ++m_at;
        return fail(QJsonParseError::IllegalValue);
    case ']':
    case '}':
        ++m_at;
        return fail(QJsonParseError::MissingObject);
    default:
        return skipNumber();
    }
}

bool JsonScanner::skipRootArray()
{
    if (peek() == '[')
        return skipValue();
    static_cast<void>(nextToken());
    return fail(QJsonParseError::IllegalValue);
}

/// No text ends with a word either. The error stands behind the first character that differs, or
/// behind the first of all where the text is too short.
bool JsonScanner::skipWord(QByteArrayView word)
{
    const char *differs = m_at;
    if (m_end - m_at > word.size()) {
        const auto [at, expected] = std::mismatch(m_at, m_at + word.size(), word.begin());
        if (expected == word.end()) {
            m_at = at;
            return true;
        }
        differs = at;
    }
    m_at = differs + 1;
    return fail(QJsonParseError::IllegalValue);
}

bool JsonScanner::skipNumber()
{
    const char *const start = m_at;
    const auto skipDigits = [this] { m_at = std::find_if_not(m_at, m_end, isDigit); };
    const auto skipOneOf = [this](QByteArrayView characters) {
        const bool found = m_at < m_end && characters.contains(*m_at);
        m_at += found ? 1 : 0;
        return found;
    };
    skipOneOf("-");
    if (!skipOneOf("0"))
        skipDigits();
    if (skipOneOf("."))
        skipDigits();
    if (skipOneOf("eE")) {
        skipOneOf("+-");
        skipDigits();
    }
    if (m_at >= m_end)
        return fail(QJsonParseError::TerminationByNumber);

    constexpr qsizetype SurelyValid = 15;
    const QByteArrayView number(start, m_at);
    if (!number.isEmpty() && number.size() <= SurelyValid &&
        std::all_of(number.begin(), number.end(), isDigit))
        return true;
    bool valid = false;
    static_cast<void>(number.toDouble(&valid));
    return valid || fail(QJsonParseError::IllegalNumber);
}

bool JsonScanner::readString(QString *value)
{
    const char *const start = ++m_at;
    if (!scanString())
        return false;
    if (value)
        decode(start, m_at - 1, *value);
    return true;
}

/// Consumes a string and its closing quote. No text ends with a string.
bool JsonScanner::scanString()
{
    while (m_at < m_end) {
        const char c = *m_at;
        if (c == '"') {
            ++m_at;
            return m_at < m_end || fail(QJsonParseError::UnterminatedString);
        }
        if (c == '\\') {
            if (!skipEscape())
                return fail(QJsonParseError::IllegalEscapeSequence);
        } else if (static_cast<uint8_t>(c) < 0x80) {
            ++m_at;
        } else {
            if (!skipMultiByte())
                return fail(QJsonParseError::IllegalUTF8String);
        }
    }
    ++m_at;
    return fail(QJsonParseError::UnterminatedString);
}

/// QJsonDocument takes an unknown escape for the character itself, and so do we.
bool JsonScanner::skipEscape()
{
    ++m_at;
    if (m_at >= m_end)
        return false;
    if (*m_at++ != 'u')
        return true;
    if (m_end - m_at < 4)
        return false;
    const char *const end = m_at + 4;
    m_at = std::find_if(m_at, end, [](char c) { return hexDigit(c) < 0; });
    return m_at == end;
}

bool JsonScanner::skipMultiByte()
{
    const int length = multiByteLength(static_cast<uint8_t>(*m_at));
    if (length == 0 || m_end - m_at < length)
        return false;
    const auto continues = [](char c) { return (static_cast<uint8_t>(c) & 0xC0) == 0x80; };
    if (!std::all_of(m_at + 1, m_at + length, continues))
        return false;
    const char32_t value = multiByteValue(m_at, length);
    constexpr char32_t Least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < Least[length] || QChar::isSurrogate(value) || value > QChar::LastValidCodePoint)
        return false;
    m_at += length;
    return true;
}
