#include "infrastructure/datacore/JsonTextIndex_p.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

constexpr int MAX_DEPTH = 128;
constexpr int MAX_DIGITS = 9; // always fits an int

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

const char* pastSpace(const char* at, const char* end)
{
    while (at != end && *at <= ' ' && (*at == ' ' || *at == '\n' || *at == '\t' || *at == '\r')) {
        ++at;
    }
    return at;
}

/// The only item of an array whose text this is.
QJsonValue parseItem(const char* text, int size)
{
    return QJsonDocument::fromJson('[' + QByteArray::fromRawData(text, size) + ']').array()[0];
}

} // namespace

/// Walks a text and enters what it finds in an index. Each function takes the position where
/// something begins and returns the position after it, or null if it is not of the kind that is
/// taken.
class JsonTextScanner
{
public:
    using Member = JsonTextIndex::Member;

    JsonTextScanner(JsonTextIndex& target, const char* textEnd)
        : index(target)
        , end(textEnd)
    {
    }

    const char* pastObject(const char* at, int depth, int& firstMember)
    {
        firstMember = JsonTextIndex::NONE;
        at = pastSpace(at + 1, end); // past "{"
        if (at != end && *at == '}') {
            return at + 1;
        }
        bool isAscending = true;
        for (int previous = JsonTextIndex::NONE;;) {
            const int place = index.members.size();
            at = pastMember(at, depth);
            if (at == nullptr) {
                return nullptr;
            }
            if (previous == JsonTextIndex::NONE) {
                firstMember = place;
            } else {
                index.members[previous].next = place;
                isAscending = isAscending && isBefore(previous, place);
            }
            previous = place;
            at = pastSpace(at, end);
            if (at == end || (*at != ',' && *at != '}')) {
                return nullptr;
            }
            if (*at++ == '}') {
                return isAscending || sort(firstMember) ? at : nullptr;
            }
            at = pastSpace(at, end);
        }
    }

private:
    const char* pastMember(const char* at, int depth)
    {
        if (at == end || *at != '"') {
            return nullptr;
        }
        const char* key = at + 1;
        const char* keyEnd = pastPlainCharacters(key, end);
        if (keyEnd == end || *keyEnd != '"') {
            return nullptr;
        }
        at = pastSpace(keyEnd + 1, end);
        if (at == end || *at != ':') {
            return nullptr;
        }
        const char* value = pastSpace(at + 1, end);
        const int place = index.members.size();
        index.members.append({positionOf(key), static_cast<int>(keyEnd - key), positionOf(value), 0,
                              JsonTextIndex::NONE, JsonTextIndex::NONE});
        int inside = JsonTextIndex::NONE;
        at = pastValue(value, depth, inside);
        if (at != nullptr) {
            index.members[place].valueSize = static_cast<int>(at - value);
            index.members[place].firstMember = inside;
        }
        return at;
    }

    const char* pastValue(const char* at, int depth, int& inside)
    {
        if (at == end || depth == MAX_DEPTH) {
            return nullptr;
        }
        switch (*at) {
        case '"':
            return pastString(at, inside);
        case '{':
            return pastObject(at, depth + 1, inside);
        case '[':
            return pastArray(at, depth + 1);
        case 'n':
            return pastWord(at, "null");
        case 't':
            return pastWord(at, "true");
        case 'f':
            return pastWord(at, "false");
        default:
            return pastNumber(at);
        }
    }

    const char* pastString(const char* at, int& inside)
    {
        const char* past = pastPlainCharacters(at + 1, end);
        const bool isEscaped = past != end && *past != '"';
        while (past != end && *past != '"') {
            past += *past == '\\' && end - past > 1 ? 2 : 1;
        }
        if (past == end) {
            return nullptr;
        }
        ++past;
        if (isEscaped) {
            inside = JsonTextIndex::ESCAPED;
            return parseItem(at, static_cast<int>(past - at)).isString() ? past : nullptr;
        }
        return past;
    }

    const char* pastArray(const char* at, int depth)
    {
        const int membersBefore = index.members.size();
        at = pastSpace(at + 1, end); // past "["
        if (at != end && *at == ']') {
            return at + 1;
        }
        for (;;) {
            int inside = JsonTextIndex::NONE;
            at = pastValue(at, depth, inside);
            if (at == nullptr) {
                return nullptr;
            }
            at = pastSpace(at, end);
            if (at == end || (*at != ',' && *at != ']')) {
                return nullptr;
            }
            if (*at++ == ']') {
                index.members.resize(membersBefore);
                return at;
            }
            at = pastSpace(at, end);
        }
    }

    template <int SIZE>
    const char* pastWord(const char* at, const char (&word)[SIZE]) const
    {
        constexpr int length = SIZE - 1;
        return end - at >= length && std::memcmp(at, word, length) == 0 ? at + length : nullptr;
    }

    const char* pastNumber(const char* at) const
    {
        const bool isNegative = *at == '-';
        const char* digits = isNegative ? at + 1 : at;
        const char* past = std::find_if_not(digits, end, isDigit);
        const auto count = past - digits;
        const bool isZero = count > 0 && *digits == '0';
        // A fraction or an exponent would go on with a character that no caller allows here.
        return count < 1 || count > MAX_DIGITS || (isZero && (count > 1 || isNegative)) ? nullptr
                                                                                        : past;
    }

    int positionOf(const char* at) const { return static_cast<int>(at - index.text); }
    std::string_view keyOf(int place) const
    {
        const Member& member = index.members[place];
        return {index.text + member.keyStart, static_cast<std::size_t>(member.keySize)};
    }
    bool isBefore(int one, int other) const { return keyOf(one) < keyOf(other); }

    /// Links the members of an object in the order of their keys. False if two are equal.
    bool sort(int& firstMember)
    {
        std::vector<int> places;
        for (int place = firstMember; place != JsonTextIndex::NONE;) {
            places.push_back(place);
            place = index.members[place].next;
        }
        std::sort(places.begin(), places.end(),
                  [this](int one, int other) { return isBefore(one, other); });
        firstMember = places.front();
        int last = firstMember;
        for (auto place = places.begin() + 1; place != places.end(); ++place) {
            if (!isBefore(last, *place)) {
                return false;
            }
            index.members[last].next = *place;
            last = *place;
        }
        index.members[last].next = JsonTextIndex::NONE;
        return true;
    }

    JsonTextIndex& index;
    const char* end;
};

bool JsonTextIndex::read(const char* jsonText, int size)
{
    text = jsonText;
    firstOfAll = NONE;
    members.clear();
    const char* end = text + size;
    const char* at = pastSpace(text, end);
    if (at != end && *at == '{') {
        at = JsonTextScanner(*this, end).pastObject(at, 1, firstOfAll);
        if (at != nullptr && pastSpace(at, end) == end) {
            return true;
        }
    }
    firstOfAll = NONE;
    return false;
}

QString JsonTextIndex::getString(const Member& member) const
{
    return isEscaped(member) ? parseItem(text + member.valueStart, member.valueSize).toString()
                             : getValue(member).toString();
}
