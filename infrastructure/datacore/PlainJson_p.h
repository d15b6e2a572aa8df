// JSON text (RFC 8259) read in place, without building an object. "Plain" is what programs write
// for each other: no white space, ASCII without escapes, whole numbers of up to nine
// digits, and the keys of an object in ascending order, so that none comes twice. All other text is
// left to QJsonDocument, which gives the same values for plain text.
#pragma once

#include "infrastructure/datacore/PlainJsonIndex.h"

#include <QJsonValue>
#include <QString>
#include <QtAlgorithms>
#include <QtEndian>

#include <cstring>

/// The first character from `at` on that does not stand for itself in a JSON string: a quote, a
/// backslash, a control character or one beyond ASCII; `end` if there is none.
inline const char* pastPlainCharacters(const char* at, const char* end)
{
    using Word = std::size_t; // what the machine works with at a time
    constexpr int size = sizeof(Word);
    constexpr Word each = ~Word(0) / 0xFF;
    for (; end - at >= size; at += size) {
        // Sets the top bit of each character that is looked for, and perhaps of some after the
        // first such.
        const Word word = qFromLittleEndian<Word>(at);
        const Word marks = (word | (word - each * 0x20) | ((word ^ each * '"') - each) |
                            ((word ^ each * '\\') - each)) &
                           each * 0x80;
        if (marks != 0) {
            return at + qCountTrailingZeroBits(marks) / 8;
        }
    }
    const auto isPlain = [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code >= 0x20 && code < 0x80 && code != '"' && code != '\\';
    };
    while (at != end && isPlain(*at)) {
        ++at;
    }
    return at;
}

/// A value in plain text. It is a view: the text must outlive it. By default, a missing value.
class PlainJsonValue
{
public:
    PlainJsonValue() = default;

    bool isMissing() const { return size == 0; }
    bool isNull() const { return startsWith('n'); }
    bool isString() const { return startsWith('"'); }
    bool isArray() const { return startsWith('['); }
    bool isObject() const { return startsWith('{'); }
    bool isEmptyArray() const { return isArray() && size == 2; }

    /// The value's own text, quotes and brackets included.
    QLatin1String getText() const { return QLatin1String(text, size); }
    /// The characters of a string; none for any other value.
    QLatin1String toLatin1() const
    {
        return isString() ? QLatin1String(text + 1, size - 2) : QLatin1String("", 0);
    }
    /// The same as a QString, which is empty but not null if there are none.
    QString toString() const { return toLatin1(); }
    /// A number's value; the default for any other value.
    int toInt(int defaultValue) const;
    /// The value as QJsonDocument gives it; undefined for a missing one.
    QJsonValue toJsonValue() const;

private:
    friend class JsonTextIndex;
    friend class PlainJsonIndex;
    friend class PlainJsonItems;

    PlainJsonValue(const char* valueText, int valueSize)
        : text(valueText)
        , size(valueSize)
    {
    }
    bool startsWith(char character) const { return size > 0 && *text == character; }

    const char* text = nullptr;
    int size = 0;
};

/// Walks the items of an object or an array, in the order of the text:
///     for (PlainJsonItems items(value); !items.isAtEnd(); items.next())
/// Any other value has no items.
class PlainJsonItems
{
public:
    explicit PlainJsonItems(const PlainJsonValue& container);

    bool isAtEnd() const { return value.isMissing(); }
    /// Goes on to the next item, or to the end.
    void next();

    QLatin1String getKey() const { return key; } ///< empty in an array
    const PlainJsonValue& getValue() const { return value; }

private:
    void read(const char* at);

    bool hasKeys = false;
    const char* end = nullptr; ///< the closing bracket
    QLatin1String key;
    PlainJsonValue value;
};
