#include "infrastructure/datacore/JsonText_p.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

constexpr int MOST_BYTES = 6; ///< of a character, as \u0001
constexpr int QUOTES = 2;

bool standsAsItIs(ushort code)
{
    return code >= 0x20 && code < 0x80 && code != '"' && code != '\\';
}

/// Copies characters that stand as they are, four at a time, and leaves it where one does not or
/// fewer are left. The order of bytes cancels out.
void copyFours(const QChar*& from, const QChar* end, char*& to)
{
    constexpr quint64 each = 0x0001000100010001;
    for (; end - from >= 4; from += 4, to += 4) {
        quint64 units = 0;
        std::memcpy(&units, from, sizeof units);
        // Sets the top bit of each such character below 0x80, and perhaps of some after the first.
        const quint64 marks =
            (units - each * 0x20) | ((units ^ each * '"') - each) | ((units ^ each * '\\') - each);
        if (((units & each * 0xFF80) | (marks & each * 0x8000)) != 0) {
            return;
        }
        const quint64 pairs = (units | units >> 8) & 0x0000FFFF0000FFFF;
        const auto bytes = static_cast<quint32>(pairs | pairs >> 16);
        std::memcpy(to, &bytes, sizeof bytes);
    }
}

/// The escape or the UTF-8 bytes of a character that does not stand as it is; `from` moves past it.
/// Half of a surrogate pair has no UTF-8 and is escaped.
char* writeCharacter(const QChar*& from, const QChar* end, char* to)
{
    const uint unit = (from++)->unicode();
    const auto put = [&to](uint byte) { *to++ = static_cast<char>(byte); };
    const auto putTail = [&put](uint bits) { put(0x80 | (bits & 0x3F)); };
    const bool isPair = QChar::isHighSurrogate(unit) && from != end && from->isLowSurrogate();
    if (isPair) {
        const uint character = QChar::surrogateToUcs4(static_cast<ushort>(unit), from->unicode());
        ++from;
        put(0xF0 | character >> 18);
        putTail(character >> 12);
        putTail(character >> 6);
        putTail(character);
    } else if (unit < 0x80 || QChar::isSurrogate(unit)) {
        static constexpr char shortEscapes[] = "\"\"\\\\\bb\ff\nn\rr\tt";
        put('\\');
        for (const char* escape = shortEscapes; *escape != 0; escape += 2) {
            if (unit == static_cast<uint>(*escape)) {
                put(static_cast<uint>(escape[1]));
                return to;
            }
        }
        put('u');
        for (int shift = 12; shift >= 0; shift -= 4) {
            put(static_cast<uint>("0123456789abcdef"[unit >> shift & 0xF]));
        }
    } else {
        if (unit < 0x800) {
            put(0xC0 | unit >> 6);
        } else {
            put(0xE0 | unit >> 12);
            putTail(unit >> 6);
        }
        putTail(unit);
    }
    return to;
}

} // namespace

/// Takes all the room that the text has got, so that Qt's rules of growth apply.
void JsonTextWriter::grow(int size)
{
    text.resize(at);
    text.resize(at + size);
    text.resize(text.capacity());
    start = text.data();
    room = text.size();
}

void JsonTextWriter::appendString(const QString& string)
{
    const QChar* from = string.begin();
    const QChar* const end = string.end();
    char* to = makeRoom(string.size() + QUOTES);
    *to++ = '"';
    copyFours(from, end, to);
    while (from != end && standsAsItIs(from->unicode())) {
        *to++ = static_cast<char>((from++)->unicode());
    }
    at = static_cast<int>(to - start);
    if (from != end) {
        to = makeRoom(static_cast<int>(end - from) * MOST_BYTES + QUOTES);
        while (from != end) {
            if (standsAsItIs(from->unicode())) {
                *to++ = static_cast<char>((from++)->unicode());
            } else {
                to = writeCharacter(from, end, to);
            }
        }
    }
    *to++ = '"';
    at = static_cast<int>(to - start);
}

void JsonTextWriter::appendValue(const QJsonValue& value)
{
    // Only arrays and objects can be documents on their own.
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    const int size = array.size() - 2;
    std::memcpy(makeRoom(size), array.constData() + 1, static_cast<std::size_t>(size));
    at += size;
}

void appendJsonString(QByteArray& text, const QString& string)
{
    JsonTextWriter(text).appendString(string);
}

void appendNextJsonKey(QByteArray& text, QLatin1String key)
{
    text.append(",\"").append(key.data(), key.size()).append("\":");
}

void appendJsonValue(QByteArray& text, const QJsonValue& value)
{
    JsonTextWriter(text).appendValue(value);
}
