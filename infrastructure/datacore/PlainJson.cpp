#include "infrastructure/datacore/PlainJson_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr int MAX_DEPTH = 128;
constexpr int MAX_DIGITS = 9; // always fits an int

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

using Bits = std::size_t; ///< one for each character of a block
constexpr int BLOCK_SIZE = sizeof(Bits) * 8;

/// The bits of the quotes in a block, the first character's the lowest. `isPlain` is false if a
/// character can't stand in plain text.
Bits findQuotes(const char* block, bool& isPlain)
{
    Bits quotes = 0;
#ifdef __SSE2__
    __m128i others = _mm_setzero_si128();
    for (int i = 0; i < BLOCK_SIZE; i += int(sizeof others)) {
        const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
        const __m128i isQuote = _mm_cmpeq_epi8(characters, _mm_set1_epi8('"'));
        const __m128i isBackslash = _mm_cmpeq_epi8(characters, _mm_set1_epi8('\\'));
        const __m128i isNoText = _mm_cmplt_epi8(characters, _mm_set1_epi8(0x20)); // or no ASCII
        quotes |= static_cast<Bits>(_mm_movemask_epi8(isQuote)) << i;
        others = _mm_or_si128(others, _mm_or_si128(isBackslash, isNoText));
    }
    isPlain = _mm_movemask_epi8(others) == 0;
#else
    constexpr Bits each = ~Bits(0) / 0xFF;
    constexpr int size = sizeof(Bits);
    constexpr auto gather = static_cast<Bits>(0x0102040810204080); // top bits of bytes to the top
    Bits others = 0;
    for (int i = 0; i < BLOCK_SIZE; i += size) {
        const Bits word = qFromLittleEndian<Bits>(block + i);
        const Bits isQuote = ~((word ^ each * '"') + each * 0x7F) & each * 0x80; // if all is ASCII
        quotes |= ((isQuote >> 7) * gather >> (BLOCK_SIZE - size)) << i;
        others |= word | (word - each * 0x20) | ((word ^ each * '\\') - each);
    }
    isPlain = (others & each * 0x80) == 0;
#endif
    return quotes;
}

/// The quotes of plain text, one after the other.
class Quotes
{
public:
    Quotes(const char* text, const char* textEnd)
        : begin(text)
        , end(textEnd)
        , past(text)
    {
    }

    /// Past the string whose opening quote is the next one. Null if it does not end, or has another
    /// character than those of plain text.
    const char* pastString()
    {
        next();
        const char* closing = next();
        return closing == nullptr ? nullptr : closing + 1;
    }

private:
    /// Null if there is none.
    const char* next()
    {
        while (quotes == 0) {
            if (past == end) {
                return nullptr;
            }
            readBlock();
        }
        const char* quote = start + qCountTrailingZeroBits(quotes);
        quotes &= quotes - 1;
        return quote;
    }

    void readBlock()
    {
        bool isPlain = false;
        if (end - begin >= BLOCK_SIZE) {
            start = std::min(past, end - BLOCK_SIZE); // the last one overlaps the one before
            quotes = findQuotes(start, isPlain) & ~Bits(0) << (past - start);
        } else {
            char padded[BLOCK_SIZE];
            std::memset(padded, ' ', sizeof padded);
            std::memcpy(padded, begin, static_cast<std::size_t>(end - begin));
            start = begin;
            quotes = findQuotes(padded, isPlain);
        }
        past = isPlain ? std::min(start + BLOCK_SIZE, end) : end;
        quotes = isPlain ? quotes : 0;
    }

    const char* begin;
    const char* end;
    const char* past;            ///< the block that was read last
    const char* start = nullptr; ///< of that block
    Bits quotes = 0;             ///< in it, that are still to come
};

/// A key within its quotes.
struct Key
{
    const char* start;
    const char* past; ///< its closing quote
};

/// True if `a` comes before the key that begins at `b`, later in the text, in the order of their
/// bytes.
bool isBefore(Key a, const char* b, const char* end)
{
    using Word = quint64;
    if (end - b >= int(sizeof(Word))) {
        const Word differing = qFromLittleEndian<Word>(a.start) ^ qFromLittleEndian<Word>(b);
        const auto same = differing == 0 ? sizeof(Word) : qCountTrailingZeroBits(differing) / 8;
        if (std::ptrdiff_t(same) > a.past - a.start) {
            return false; // the closing quotes are the same, too
        }
        a.start += same;
        b += same;
    }
    while (a.start != a.past && *a.start == *b) {
        ++a.start;
        ++b;
    }
    return *b != '"' && (a.start == a.past || *a.start < *b);
}

// Each of these functions takes the position where an item begins and returns the position after
// it, or null if the text does not hold the item. The text must go on to a closing bracket, which
// stops every item but a string.

const char* pastNumber(const char* at)
{
    const bool isNegative = *at == '-';
    const char* digits = isNegative ? at + 1 : at;
    const char* past = digits;
    while (isDigit(*past)) {
        ++past;
    }
    const auto count = past - digits;
    const bool isZero = *digits == '0';
    if (count < 1 || count > MAX_DIGITS || (isZero && (count > 1 || isNegative))) {
        return nullptr;
    }
    // A fraction or an exponent would go on with a character that no caller allows here.
    return past;
}

template <int SIZE>
const char* pastWord(const char* at, const char* end, const char (&word)[SIZE])
{
    constexpr int length = SIZE - 1;
    return end - at >= length && std::memcmp(at, word, length) == 0 ? at + length : nullptr;
}

/// A number, true, false or null.
const char* pastSimpleValue(const char* at, const char* end)
{
    switch (*at) {
    case 'n':
        return pastWord(at, end, "null");
    case 't':
        return pastWord(at, end, "true");
    case 'f':
        return pastWord(at, end, "false");
    default:
        return pastNumber(at);
    }
}

char closingOf(char opening)
{
    return opening == '{' ? '}' : ']';
}

/// An object or array, in text that goes on to `end`. Calls onMember(key, past value) for each of
/// an object's members, but not for those of objects within; false stops.
template <typename OnMember>
const char* pastContainer(const char* at, const char* end, const OnMember& onMember)
{
    struct Level
    {
        char closing;
        Key key; ///< the last one; null in an array, and before the first
    };
    Level around[MAX_DEPTH]; // the current one
    Level level{closingOf(*at), {nullptr, nullptr}};
    int depth = 0;
    Quotes quotes(at, end);

    ++at;
    if (*at == level.closing) {
        return at + 1;
    }
    for (;;) { // past a comma or an opening bracket
        if (level.closing == '}') {
            const char* start = at + 1;
            const char* past = *at == '"' ? quotes.pastString() : nullptr;
            if (past == nullptr || *past != ':' ||
                (level.key.start != nullptr && !isBefore(level.key, start, end))) {
                return nullptr;
            }
            level.key = {start, past - 1};
            at = past + 1;
        }
        if (*at == '"') {
            at = quotes.pastString();
        } else if (*at == '{' || *at == '[') {
            const char closing = closingOf(*at);
            ++at;
            if (*at != closing) {
                if (depth == MAX_DEPTH) {
                    return nullptr;
                }
                around[depth++] = level;
                level = {closing, {nullptr, nullptr}};
                continue;
            }
            ++at; // it is empty
        } else {
            at = pastSimpleValue(at, end);
        }
        if (at == nullptr) {
            return nullptr;
        }
        for (;;) { // past a value
            if (at == end || (depth == 0 && !onMember(level.key, at))) {
                return nullptr;
            }
            if (*at == ',') {
                ++at;
                break;
            }
            if (*at != level.closing) {
                return nullptr;
            }
            ++at;
            if (depth == 0) {
                return at;
            }
            level = around[--depth];
        }
    }
}

/// Any value of plain text.
const char* pastValue(const char* at, const char* end)
{
    if (*at == '"') {
        return pastPlainCharacters(at + 1, end) + 1;
    }
    const auto ignore = [](Key, const char*) { return true; };
    return *at == '{' || *at == '[' ? pastContainer(at, end, ignore) : pastSimpleValue(at, end);
}

} // namespace

int PlainJsonValue::toInt(int defaultValue) const
{
    if (!startsWith('-') && (isMissing() || !isDigit(*text))) {
        return defaultValue;
    }
    const bool isNegative = *text == '-';
    int value = 0;
    for (int i = isNegative ? 1 : 0; i < size; ++i) {
        value = value * 10 + (text[i] - '0');
    }
    return isNegative ? -value : value;
}

QJsonValue PlainJsonValue::toJsonValue() const
{
    if (isMissing()) {
        return QJsonValue::Undefined;
    }
    switch (*text) {
    case '"':
        return toString();
    case '{':
        return QJsonDocument::fromJson(QByteArray::fromRawData(text, size)).object();
    case '[':
        return QJsonDocument::fromJson(QByteArray::fromRawData(text, size)).array();
    case 'n':
        return QJsonValue::Null;
    case 't':
        return true;
    case 'f':
        return false;
    default:
        return toInt(0);
    }
}

PlainJsonItems::PlainJsonItems(const PlainJsonValue& container)
    : hasKeys(container.isObject())
{
    if (hasKeys || container.isArray()) {
        end = container.text + container.size - 1;
        read(container.text + 1);
    }
}

void PlainJsonItems::next()
{
    const char* past = value.text + value.size;
    read(past == end ? end : past + 1);
}

void PlainJsonItems::read(const char* at)
{
    if (at == end) {
        value = PlainJsonValue();
        return;
    }
    if (hasKeys) {
        const char* pastKey = pastValue(at, end + 1);
        key = QLatin1String(at + 1, static_cast<int>(pastKey - at - 2));
        at = pastKey + 1;
    }
    value = PlainJsonValue(at, static_cast<int>(pastValue(at, end + 1) - at));
}

bool PlainJsonIndex::read(const char* text, int size)
{
    count = 0;
    if (size < 2 || *text != '{' || text[size - 1] != '}') {
        return false;
    }
    Member* const first = members.data();
    Member* member = first;
    const auto onMember = [&](Key key, const char* pastValue) {
        if (member == first + MAX_MEMBERS) {
            return false;
        }
        const char* value = key.past + 2; // past the quote and the colon
        *member++ = {static_cast<int>(key.start - text), static_cast<int>(key.past - key.start),
                     static_cast<int>(value - text), static_cast<int>(pastValue - value)};
        return true;
    };
    const char* end = text + size;
    const bool isPlain = pastContainer(text, end, onMember) == end;
    count = isPlain ? static_cast<int>(member - first) : 0;
    return isPlain;
}

PlainJsonValue PlainJsonIndex::find(const char* text, QLatin1String key) const
{
    for (int i = 0; i < count; ++i) {
        const Member& member = members[static_cast<std::size_t>(i)];
        if (member.keySize == key.size() &&
            std::memcmp(text + member.keyStart, key.data(), static_cast<std::size_t>(key.size())) ==
                0) {
            return PlainJsonValue(text + member.valueStart, member.valueSize);
        }
    }
    return PlainJsonValue();
}
