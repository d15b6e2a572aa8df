// Records as text, such as "96,239.1.2.3,5004". A class lists its fields once, in the order of the
// text; writing, reading and comparing all walk that list.
//
//   using Fields = FieldList<Field<&Clock::priority>, Field<&Clock::locked, FlagCodec<TrueFalse>>>;
//   Fields::write(text, u',', clock);        => "128,true"
//   Fields::read(u"128,true", u',', clock)   => true
//   Fields::read(u"128,yes", u',', clock)    => false
//
// Readers are strict: the exact number of fields, each consumed to its end and in the range of its
// type. If a read returns false, fields before the bad one are already set.
#pragma once

#include <QString>
#include <QStringView>
#include <QVarLengthArray>

#include <algorithm>
#include <limits>
#include <type_traits>
#include <vector>

namespace Tessorn {

/// A record's text while it is being built; short ones take no heap memory.
using FieldText = QVarLengthArray<QChar, 256>;

/// The text as it leaves this layer.
inline QString toQString(const FieldText& text)
{
    return QString(text.constData(), text.size());
}

/// How a type is written, read and compared. All codecs, and Field, have the same three operations:
/// `write` appends a value's text, `read` takes a whole text and leaves the value alone if it
/// returns false, and `same` compares two values.
template <typename Type, typename = void>
struct FieldCodec;

/// Integers in base 10: only digits, after a "-" for a signed type. No blanks, no "+", no grouping.
template <typename Integer>
struct FieldCodec<Integer,
                  std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>>>
{
    static void write(FieldText& text, Integer value)
    {
        QChar digits[std::numeric_limits<quint64>::digits10 + 1];
        QChar* const end = digits + std::size(digits);
        QChar* first = end;
        auto rest = static_cast<quint64>(value);
        if (std::is_signed_v<Integer> && value < 0) {
            text.append(u'-');
            rest = 0 - rest;
        }
        // 64-bit division is a function call on a 32-bit target: only numbers that need it take
        // this path.
        for (; rest > std::numeric_limits<quint32>::max(); rest /= 10) {
            *--first = QChar(static_cast<char16_t>(u'0' + rest % 10));
        }
        auto low = static_cast<quint32>(rest);
        do {
            *--first = QChar(static_cast<char16_t>(u'0' + low % 10));
            low /= 10;
        } while (low != 0);
        text.append(first, static_cast<int>(end - first));
    }

    static bool read(QStringView text, Integer& value)
    {
        const bool negative =
            std::is_signed_v<Integer> && !text.isEmpty() && text.front() == QLatin1Char('-');
        if (negative) {
            text = text.mid(1);
        }
        const quint64 limit =
            static_cast<quint64>(std::numeric_limits<Integer>::max()) + (negative ? 1 : 0);
        quint64 number = 0;
        if (text.isEmpty() || !readDigits(text, limit, number)) {
            return false;
        }
        value = static_cast<Integer>(negative ? 0 - number : number);
        return true;
    }

    static bool same(Integer a, Integer b) { return a == b; }

private:
    static bool readDigits(QStringView text, quint64 limit, quint64& number)
    {
        for (const QChar character : text) {
            const auto digit = static_cast<quint32>(character.unicode()) - u'0';
            if (digit > 9 || __builtin_mul_overflow(number, quint64{10}, &number) ||
                __builtin_add_overflow(number, quint64{digit}, &number) || number > limit) {
                return false;
            }
        }
        return true;
    }
};

/// Enumerations whose values run from 0 to `Last` without a gap, as numbers; other numbers are
/// refused.
template <auto Last>
struct EnumCodec
{
    using Enum = decltype(Last); ///< the enumeration
    /// The number type its values are sent as.
    using Number = FieldCodec<std::underlying_type_t<Enum>>;
    static_assert(std::is_unsigned_v<std::underlying_type_t<Enum>>);

    static void write(FieldText& text, Enum value)
    {
        Number::write(text, static_cast<std::underlying_type_t<Enum>>(value));
    }
    static bool read(QStringView text, Enum& value)
    {
        std::underlying_type_t<Enum> number = 0;
        if (!Number::read(text, number) || number > Last) {
            return false;
        }
        value = static_cast<Enum>(number);
        return true;
    }
    static bool same(Enum a, Enum b) { return a == b; }
};

/// The words of a flag on the wire, case included.
struct TrueFalse
{
    static constexpr QStringView YES = u"true";
    static constexpr QStringView NO = u"false";
};
/// The same as one letter each.
struct LetterTF
{
    static constexpr QStringView YES = u"T";
    static constexpr QStringView NO = u"F";
};

/// A flag as one of two words, TrueFalse or LetterTF; any other text is refused.
template <typename Words>
struct FlagCodec
{
    static void write(FieldText& text, bool value)
    {
        const QStringView word = value ? Words::YES : Words::NO;
        text.append(word.data(), static_cast<int>(word.size()));
    }
    static bool read(QStringView text, bool& value)
    {
        const bool yes = text == Words::YES;
        if (!yes && text != Words::NO) {
            return false;
        }
        value = yes;
        return true;
    }
    static bool same(bool a, bool b) { return a == b; }
};

/// A vector as one field, its elements joined by `Separator`; an empty text is an empty vector.
template <typename Element, char16_t Separator>
struct VectorCodec
{
    static void write(FieldText& text, const std::vector<Element>& values)
    {
        for (const Element& value : values) {
            if (&value != &values.front()) {
                text.append(QChar(Separator));
            }
            FieldCodec<Element>::write(text, value);
        }
    }
    static bool read(QStringView text, std::vector<Element>& values)
    {
        std::vector<Element> elements;
        while (!text.isEmpty()) {
            const qsizetype end = text.indexOf(QChar(Separator));
            Element element{};
            if (!FieldCodec<Element>::read(end < 0 ? text : text.left(end), element) ||
                end == text.size() - 1) {
                return false;
            }
            elements.push_back(element);
            text = end < 0 ? QStringView() : text.mid(end + 1);
        }
        values = std::move(elements);
        return true;
    }
    static bool same(const std::vector<Element>& a, const std::vector<Element>& b)
    {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), FieldCodec<Element>::same);
    }
};

/// The type of the member that a member pointer points to.
template <typename Member>
struct MemberTraits;
/// For data members; no others are fields.
template <typename Class, typename Type>
struct MemberTraits<Type Class::*>
{
    using type = Type; ///< the member's
};

/// One field: a data member, how it is written, and the bits that stand for it in a mask of fields.
template <auto Member, typename Codec = FieldCodec<typename MemberTraits<decltype(Member)>::type>,
          quint32 Bits = 0>
struct Field
{
    static constexpr auto MEMBER = Member;
    static constexpr quint32 BITS = Bits;

    template <typename Class>
    static void write(FieldText& text, const Class& object)
    {
        Codec::write(text, object.*Member);
    }
    template <typename Class>
    static bool read(QStringView text, Class& object)
    {
        return Codec::read(text, object.*Member);
    }
    template <typename Class>
    static bool same(const Class& a, const Class& b)
    {
        return Codec::same(a.*Member, b.*Member);
    }
};

/// The fields of a class, in the order of their text.
template <typename... Fields>
struct FieldList
{
    /// Appends the fields with `separator` between them.
    template <typename Class>
    static void write(FieldText& text, char16_t separator, const Class& object)
    {
        std::size_t left = sizeof...(Fields);
        ((Fields::write(text, object), --left > 0 ? text.append(QChar(separator)) : void()), ...);
    }

    /// Sets the fields from a text with exactly as many as this list has.
    template <typename Class>
    static bool read(QStringView text, char16_t separator, Class& object)
    {
        std::size_t left = sizeof...(Fields);
        return (readNext<Fields>(text, separator, --left == 0, object) && ...);
    }

    /// True when all fields are equal.
    template <typename Class>
    static bool same(const Class& a, const Class& b)
    {
        return (Fields::same(a, b) && ...);
    }

    /// True when the fields that `mask` names are equal.
    template <typename Class>
    static bool sameWhere(const Class& a, const Class& b, quint32 mask)
    {
        return (((mask & Fields::BITS) == 0 || Fields::same(a, b)) && ...);
    }

private:
    /// Reads the field at the front of `text` and cuts it off. The last field takes everything
    /// left, so that an extra separator ends up in it and its codec refuses it.
    template <typename Next, typename Class>
    static bool readNext(QStringView& text, char16_t separator, bool last, Class& object)
    {
        if (last) {
            return Next::read(text, object);
        }
        const qsizetype end = text.indexOf(QChar(separator));
        if (end < 0) {
            return false;
        }
        const QStringView field = text.left(end);
        text = text.mid(end + 1);
        return Next::read(field, object);
    }
};

} // namespace Tessorn
