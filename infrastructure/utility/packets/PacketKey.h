// The keys of a JSON packet, each with the type of its value:
//
//   static constexpr PacketKey<int> GAIN{"Gain"};         // 0 where absent
//   static constexpr PacketKey<int> PACKET_ID{"ID", -1};  // -1 where absent
#pragma once

#include <QString>

#include <cstddef>
#include <type_traits>

/// A key by its text alone, whatever its value is.
class PacketKeyText
{
public:
    /// `literal` is ASCII.
    template <int SIZE>
    constexpr explicit PacketKeyText(const char (&literal)[SIZE])
        : text(literal, SIZE - 1)
    {
    }

    constexpr QLatin1String getText() const { return text; }

private:
    QLatin1String text;
};

/// A key whose value is a T: int, qint64, bool, double, QString, QStringList, std::deque<QString>,
/// QJsonObject, a SerialisableDataPacket or a std::vector of them.
template <typename T>
class PacketKey : public PacketKeyText
{
public:
    /// How the value of an absent key is stated: a number or flag as it is, a text as a literal,
    /// null for a null QString. All others are empty.
    using Absent = std::conditional_t<
        std::is_arithmetic_v<T>, T,
        std::conditional_t<std::is_same_v<T, QString>, const char*, std::nullptr_t>>;

    template <int SIZE>
    constexpr PacketKey(const char (&literal)[SIZE], Absent absentValue = Absent())
        : PacketKeyText(literal)
        , absent(absentValue)
    {
    }

    constexpr Absent getAbsent() const { return absent; }

private:
    Absent absent;
};
