// One pair of line 21 bytes (CEA-608) on its way from the receiver to the decoders. A value.
#pragma once

#include <cstdint>
#include <type_traits>

/// The two bytes of one field. The producer strips the parity; nothing here checks it.
struct Caption608BytePair
{
    uint8_t data1 = 0; ///< first byte without parity, 0 to 0x7F
    uint8_t data2 = 0;
    uint8_t rawData1 = 0; ///< first byte as received
    uint8_t rawData2 = 0;
    bool isField1 = false;
    uint8_t spare = 0; ///< always 0

    /// The pair for two bytes as received.
    static constexpr Caption608BytePair fromRaw(uint8_t raw1, uint8_t raw2, bool isField1)
    {
        return {static_cast<uint8_t>(raw1 & 0x7F),
                static_cast<uint8_t>(raw2 & 0x7F),
                raw1,
                raw2,
                isField1,
                0};
    }

    /// Both bytes without parity, the first in the high byte.
    constexpr uint16_t code() const { return static_cast<uint16_t>(data1 << 8 | data2); }
};

static_assert(sizeof(Caption608BytePair) == 6 && std::is_trivially_copyable_v<Caption608BytePair>,
              "goes over the wire and through queues as it stands");

constexpr bool operator==(const Caption608BytePair& a, const Caption608BytePair& b)
{
    return a.data1 == b.data1 && a.data2 == b.data2 && a.rawData1 == b.rawData1 &&
           a.rawData2 == b.rawData2 && a.isField1 == b.isField1 && a.spare == b.spare;
}
constexpr bool operator!=(const Caption608BytePair& a, const Caption608BytePair& b)
{
    return !(a == b);
}
