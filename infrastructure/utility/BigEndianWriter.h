// Writes big-endian fields into a buffer whose size has been computed beforehand.
#pragma once

#include "infrastructure/utility/BigEndianRun.h"

#include <QByteArray>
#include <QtEndian>

#include <cstring>
#include <type_traits>

/// Puts one field after another. The caller must provide exactly the room for all of them: a writer
/// that has not reached the buffer's end when it is destroyed leaves a line in the log.
class BigEndianWriter
{
public:
    /// Overwrites the buffer's bytes, which nobody else may touch in the meantime.
    explicit BigEndianWriter(QByteArray& buffer)
        : next(beginOf(buffer))
        , begin(next)
        , end(next + buffer.size())
    {
    }
    /// A copy continues from the same position, but need not reach the end. Assigning it back moves
    /// the original there.
    BigEndianWriter(const BigEndianWriter& other)
        : next(other.next)
    {
    }
    BigEndianWriter& operator=(const BigEndianWriter& other)
    {
        next = other.next;
        return *this;
    }
    ~BigEndianWriter()
    {
        if (end && next != end) {
            reportSize(next - begin, end - begin);
        }
    }

    /// Where the next field will go.
    const char* getPosition() const { return next; }

    /// An integer, a `bool` (one byte) or a `double` (IEEE 754, eight bytes).
    template <typename T>
    void put(T value)
    {
        if constexpr (std::is_same_v<T, bool>) {
            put<quint8>(value ? 1 : 0);
        } else if constexpr (std::is_same_v<T, double>) {
            quint64 bits;
            static_assert(sizeof bits == sizeof value);
            std::memcpy(&bits, &value, sizeof bits);
            put(bits);
        } else {
            static_assert(std::is_integral_v<T>, "a plain number");
            qToBigEndian<T>(value, next);
            next += sizeof(T);
        }
    }

    /// Puts the `count` numbers that `make(index)` returns.
    template <typename T, typename Make>
    void putEach(int count, Make make)
    {
        char* const to = next;
        for (int i = 0; i < count; ++i) {
            qToBigEndian<T>(make(i), to + i * static_cast<int>(sizeof(T)));
        }
        next = to + count * static_cast<int>(sizeof(T));
    }

    /// Puts a run of numbers.
    template <typename T>
    void putRun(const T* values, int count)
    {
        static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, float>, "a double on the wire");
        copyBigEndianRun(values, next, static_cast<std::size_t>(count), sizeof(T));
        next += count * static_cast<int>(sizeof(T));
    }

private:
    static char* beginOf(QByteArray& buffer);
    static void reportSize(qint64 written, qint64 announced);

    char* next;
    const char* begin = nullptr;
    const char* end = nullptr; ///< null for a copy
};
