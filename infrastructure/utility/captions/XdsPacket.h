// One packet of Extended Data Services (CEA-608, clause 9). A value.
#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>

/// The two bytes of one field, both without their parity bit and as received.
struct alignas(4) XdsBytePair
{
    uint8_t c1 = 0;
    uint8_t c2 = 0;
    uint8_t raw1 = 0;
    uint8_t raw2 = 0;
};

constexpr bool operator==(const XdsBytePair& a, const XdsBytePair& b)
{
    return a.c1 == b.c1 && a.c2 == b.c2 && a.raw1 == b.raw1 && a.raw2 == b.raw2;
}
constexpr bool operator!=(const XdsBytePair& a, const XdsBytePair& b)
{
    return !(a == b);
}

/// The state of a packet: it is open until its end pair.
enum XdsStatus : uint32_t {
    XdsStatus_Open,
    XdsStatus_ChecksumFailed,
    XdsStatus_ChecksumGood,
};

/// The pairs of a packet in the order of the stream: the start pair first and, in a finished
/// packet, the end pair last. Holds 33 pairs and allocates nothing.
class XdsPacket
{
public:
    static constexpr uint32_t MAX_PAIRS = 33;
    static constexpr uint8_t END_CODE = 15; ///< first byte of an end pair

    /// First byte of the start pair; 0xFF before there is one.
    uint8_t startCode() const { return packetStartCode; }
    /// Second byte of the start pair; 0xFF before there is one.
    uint8_t type() const { return packetType; }
    /// 0 to 6 for the start codes 1, 3, ... 13, 7 for any other, 8 before the start pair.
    uint32_t classIndex() const { return packetClassIndex; }
    XdsStatus status() const { return packetStatus; }

    std::size_t pairCount() const { return count; }
    /// The pair at an index. Past the end, false, and `out` stays as it was.
    bool pairAt(std::size_t index, XdsBytePair& out) const;

    /// The characters between the start pair and the end pair; other bytes are left out.
    QString text() const;
    /// "Current type 3: "Movie"", with the class's name.
    QString toString() const;
    /// "Current", "Future", "Channel", "Miscellaneous", "Public service", "Reserved",
    /// "Private data", and "Unknown" for any other index.
    static QString className(uint32_t classIndex);

    /// Returns to the state before the start pair.
    void clear()
    {
        packetType = 0xFF;
        packetStartCode = 0xFF;
        sum = 0;
        count = 0;
        packetClassIndex = 8;
        packetStatus = XdsStatus_Open;
    }
    /// Appends a pair; the first one sets start code, type and class. False, with nothing changed,
    /// if the packet is full or, after its first pair, no longer open.
    bool append(XdsBytePair pair);
    /// Sets the status from the sum of all bytes so far, whose low seven bits must be 0. True if
    /// they are.
    bool verifyChecksum()
    {
        const bool isGood = (sum & 0x7F) == 0;
        packetStatus = isGood ? XdsStatus_ChecksumGood : XdsStatus_ChecksumFailed;
        return isGood;
    }

    friend bool operator==(const XdsPacket& a, const XdsPacket& b);

private:
    friend class Cc608XdsDecoder; // knows that its packets are open and have room

    /// Appends a pair and returns the new count.
    uint32_t appendUnchecked(XdsBytePair pair)
    {
        const uint32_t newCount = count + 1;
        sum += uint32_t{pair.c1} + pair.c2;
        pairs[count] = pair;
        count = newCount;
        return newCount;
    }
    void setCount(uint32_t newCount) { count = newCount; }
    /// Starts again with a start pair.
    void begin(XdsBytePair pair)
    {
        const bool isKnownClass = pair.c1 % 2 == 1 && pair.c1 <= 13;
        packetStartCode = pair.c1;
        packetType = pair.c2;
        packetClassIndex = isKnownClass ? pair.c1 / 2u : 7u;
        packetStatus = XdsStatus_Open;
        sum = 0;
        count = 0;
        appendUnchecked(pair);
    }

    uint32_t count = 0;
    uint8_t packetType = 0xFF;
    uint8_t packetStartCode = 0xFF;
    uint32_t packetClassIndex = 8;
    XdsStatus packetStatus = XdsStatus_Open;
    uint32_t sum = 0; ///< of all bytes so far, without parity
    std::array<XdsBytePair, MAX_PAIRS> pairs{};
};

inline bool operator!=(const XdsPacket& a, const XdsPacket& b)
{
    return !(a == b);
}
