#include "infrastructure/datacore/PlainJson_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstring>

namespace {

constexpr int MAX_DEPTH = 128;
constexpr int MAX_DIGITS = 9; // always fits an int

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

// Each of these functions takes the position where an item begins and returns the position after
// it, or null if the text up to `end` does not hold the item.

const char* pastString(const char* at, const char* end)
{
    if (at == end || *at != '"') {
        return nullptr;
    }
    at = pastPlainCharacters(at + 1, end);
    return at != end && *at == '"' ? at + 1 : nullptr;
}

/// True if `a` comes before `b` in the order of their bytes; both are printable.
bool isBefore(QLatin1String a, QLatin1String b)
{
    if (!a.isEmpty() && !b.isEmpty() && *a.data() != *b.data()) {
        return *a.data() < *b.data();
    }
    return a < b;
}

const char* pastNumber(const char* at, const char* end)
{
    const bool isNegative = *at == '-';
    const char* digits = isNegative ? at + 1 : at;
    const char* past = std::find_if_not(digits, end, isDigit);
    const auto count = past - digits;
    const bool isZero = count > 0 && *digits == '0';
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

const char* pastValue(const char* at, const char* end, int depth);

/// Calls onMember(key, past key, value, past value) for each.
template <typename OnMember>
const char* pastObject(const char* at, const char* end, int depth, const OnMember& onMember)
{
    QLatin1String previous;
    while (++at != end) { // past "{" or ","
        const char* key = at + 1;
        const char* pastKey = pastString(at, end);
        if (pastKey == nullptr) {
            return *at == '}' && previous.data() == nullptr ? at + 1 : nullptr;
        }
        const QLatin1String name(key, static_cast<int>(pastKey - 1 - key));
        const bool isAscending = previous.data() == nullptr || isBefore(previous, name);
        if (!isAscending || pastKey == end || *pastKey != ':') {
            return nullptr;
        }
        const char* value = pastKey + 1;
        at = pastValue(value, end, depth);
        if (at == nullptr || at == end) {
            return nullptr;
        }
        onMember(key, pastKey - 1, value, at);
        if (*at != ',') {
            return *at == '}' ? at + 1 : nullptr;
        }
        previous = name;
    }
    return nullptr;
}

const char* pastArray(const char* at, const char* end, int depth)
{
    ++at;
    if (at != end && *at == ']') {
        return at + 1;
    }
    while ((at = pastValue(at, end, depth)) != nullptr && at != end) {
        if (*at != ',') {
            return *at == ']' ? at + 1 : nullptr;
        }
        ++at;
    }
    return nullptr;
}

const char* pastValue(const char* at, const char* end, int depth)
{
    if (at == end || depth == MAX_DEPTH) {
        return nullptr;
    }
    switch (*at) {
    case '"':
        return pastString(at, end);
    case '{':
        return pastObject(at, end, depth + 1,
                          [](const char*, const char*, const char*, const char*) {});
    case '[':
        return pastArray(at, end, depth + 1);
    case 'n':
        return pastWord(at, end, "null");
    case 't':
        return pastWord(at, end, "true");
    case 'f':
        return pastWord(at, end, "false");
    default:
        return pastNumber(at, end);
    }
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
        const char* pastKey = pastString(at, end);
        key = QLatin1String(at + 1, static_cast<int>(pastKey - at - 2));
        at = pastKey + 1;
    }
    value = PlainJsonValue(at, static_cast<int>(pastValue(at, end, 0) - at));
}

bool PlainJsonIndex::read(const char* text, int size)
{
    const char* end = text + size;
    int found = 0;
    const char* past =
        size > 0 && *text == '{'
            ? pastObject(text, end, 1,
                         [&](const char* key, const char* pastKey, const char* value,
                             const char* pastValue) {
                             if (found < MAX_MEMBERS) {
                                 members[static_cast<std::size_t>(found)] = {
                                     static_cast<int>(key - text), static_cast<int>(pastKey - key),
                                     static_cast<int>(value - text),
                                     static_cast<int>(pastValue - value)};
                             }
                             ++found;
                         })
            : nullptr;
    const bool isPlain = past != nullptr && past == end && found <= MAX_MEMBERS;
    count = isPlain ? found : 0;
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
