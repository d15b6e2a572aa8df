// Reads big-endian fields from bytes that may end early. A view of somebody else's bytes.
#pragma once

#include "infrastructure/utility/BigEndianRun.h"

#include <QtEndian>

#include <cstring>
#include <limits>
#include <type_traits>

/// Takes fields from bytes that are known to be there: the caller has counted them.
class WholeBigEndianReader
{
public:
    explicit WholeBigEndianReader(const char* bytes)
        : next(bytes)
    {
    }

    /// The next integer, `bool` (one byte, true unless 0) or `double` (IEEE 754, eight bytes).
    template <typename T>
    T take()
    {
        static_assert(!std::is_same_v<T, float>, "a float is a double on the wire");
        if constexpr (std::is_same_v<T, bool>) {
            return take<quint8>() != 0;
        } else if constexpr (std::is_same_v<T, double>) {
            static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);
            const quint64 bits = take<quint64>();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        } else {
            static_assert(std::is_integral_v<T>, "a plain number");
            const T value = qFromBigEndian<T>(next);
            next += sizeof(T);
            return value;
        }
    }

    /// The next `count` numbers.
    template <typename T>
    void takeRun(T* values, int count)
    {
        for (int i = 0; i < count; ++i) {
            values[i] = take<T>();
        }
    }

private:
    const char* next;
};

/// Takes fields from the front of a run of bytes, which must outlive it. A field that is not
/// complete is 0, and so is everything after it.
class BigEndianReader
{
public:
    BigEndianReader(const char* bytes, int sizeBytes)
        : next(bytes)
        , end(bytes + sizeBytes)
    {
    }

    /// The number of bytes left.
    int getRemaining() const { return static_cast<int>(end - next); }

    /// The next integer, `bool` (one byte, true unless 0) or `double` (IEEE 754, eight bytes).
    template <typename T>
    T take()
    {
        constexpr int size = std::is_same_v<T, bool> ? 1 : static_cast<int>(sizeof(T));
        if (getRemaining() < size) {
            next = end;
            return T(0);
        }
        return takeWhole(size).template take<T>();
    }

    /// A reader of the next `count` bytes, no more than are left; goes on after them.
    WholeBigEndianReader takeWhole(int count)
    {
        const WholeBigEndianReader whole(next);
        next += count;
        return whole;
    }

    /// Passes the next `count` numbers, as far as they are complete, to `use(index, number)`.
    /// Returns how many.
    template <typename T, typename Use>
    int takeEach(int count, Use use)
    {
        const int whole = qMin(count, getRemaining() / static_cast<int>(sizeof(T)));
        const char* const from = next;
        for (int i = 0; i < whole; ++i) {
            use(i, qFromBigEndian<T>(from + i * static_cast<int>(sizeof(T))));
        }
        next = whole < count ? end : from + whole * static_cast<int>(sizeof(T));
        return whole;
    }

    /// Reads the next `count` numbers into `values`; incomplete ones are left as they are. Returns
    /// how many were read.
    template <typename T>
    int takeRun(T* values, int count)
    {
        static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, float>, "as in take");
        const int whole = qBound(0, count, getRemaining() / static_cast<int>(sizeof(T)));
        copyBigEndianRun(next, values, static_cast<std::size_t>(whole), sizeof(T));
        next = whole < count ? end : next + whole * static_cast<int>(sizeof(T));
        return whole;
    }

private:
    const char* next;
    const char* end;
};
