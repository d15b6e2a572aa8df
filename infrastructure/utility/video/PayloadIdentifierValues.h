// Sets of numbers, of which the rules of payload identifiers and the lists of standards are made:
// any number, only these, all but these, none. Values, known in constants.
#pragma once

#include <QtGlobal>

/// A set of numbers from 0. Those from 31 on belong to it together or not at all.
class PayloadIdentifierValues
{
public:
    /// No number.
    constexpr PayloadIdentifierValues() = default;

    /// Bit n stands for the number n, bit 31 for all from 31 on.
    explicit constexpr PayloadIdentifierValues(quint32 numbers)
        : bits(numbers)
    {
    }

    /// True when the number belongs to it.
    constexpr bool contains(quint32 value) const
    {
        return value < 31 ? ((bits >> value) & 1u) != 0 : (bits >> 31) != 0;
    }

    /// The bit that stands for a number.
    static constexpr quint32 bitOf(quint32 value) { return 1u << (value < 31 ? value : 31); }

    /// True when no number is left out.
    constexpr bool isAny() const { return bits == 0xFFFFFFFF; }

    /// The numbers of both.
    friend constexpr PayloadIdentifierValues operator|(PayloadIdentifierValues a,
                                                       PayloadIdentifierValues b)
    {
        return PayloadIdentifierValues(a.bits | b.bits);
    }
    /// All other numbers.
    friend constexpr PayloadIdentifierValues operator~(PayloadIdentifierValues a)
    {
        return PayloadIdentifierValues(~a.bits);
    }

private:
    quint32 bits = 0;
};

/// The words of which rules are written: ANY, NEVER, `only`, `noneOf` and `range`.
namespace PayloadIdentifierSets {

/// Every number: a condition on it always holds.
inline constexpr PayloadIdentifierValues ANY{0xFFFFFFFF};

/// No number: what must be one of these is always wrong.
inline constexpr PayloadIdentifierValues NEVER;

/// These numbers.
template <typename... Value>
constexpr PayloadIdentifierValues only(Value... values)
{
    return PayloadIdentifierValues(
        (PayloadIdentifierValues::bitOf(static_cast<quint32>(values)) | ...));
}

/// Every number but these.
template <typename... Value>
constexpr PayloadIdentifierValues noneOf(Value... values)
{
    return ~only(values...);
}

/// Both ends, up to 30, belong to it.
constexpr PayloadIdentifierValues range(quint32 first, quint32 last)
{
    return PayloadIdentifierValues((2u << last) - (1u << first));
}

} // namespace PayloadIdentifierSets
