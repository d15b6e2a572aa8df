// One teletext packet (ETSI EN 300 706, clauses 7 and 9.3) of an OP-47 ancillary packet. A value
// that refers to bytes it does not own.
#pragma once

#include <QString>

#include <cstdint>
#include <tuple>

/// A row or page header. The page fields are set for packet 0, and are 0 or false for all others.
struct TeletextPacket
{
    uint8_t magazine = 0;     ///< 0 to 7 as transmitted; magazine 8 is sent as 0
    uint8_t packetNumber = 0; ///< row number, 0 to 31
    bool hasPageHeader = false;
    uint8_t displayDataLength = 0; ///< 32 for packet 0, 40 for 1 to 25, 0 for 26 to 31

    /// The display bytes, including odd parity, within the bytes that were decoded; null if the
    /// length is 0.
    const uint8_t* displayData = nullptr;

    uint8_t pageDecimal = 0;     ///< page units + 10 * page tens
    uint8_t pageBcd = 0;         ///< page units in the low nibble, page tens in the high
    uint16_t subcode = 0;        ///< 13 bits
    bool erasePage = false;      ///< control bit C4
    bool subtitle = false;       ///< control bit C6
    bool magazineSerial = false; ///< control bit C11
    uint8_t nationalOption = 0;  ///< control bits C12 (bit 0) to C14 (bit 2)

    /// All fields except the pointer.
    auto values() const
    {
        return std::tie(magazine, packetNumber, hasPageHeader, displayDataLength, pageDecimal,
                        pageBcd, subcode, erasePage, subtitle, magazineSerial, nationalOption);
    }

    /// The display bytes without parity, with a blank for each control character.
    QString displayText() const;
    /// "magazine 8 row 20: Hello", and for packet 0 "magazine 8 row 0 page 88 subcode 0: ...".
    QString toString() const;
};

/// Equal fields and the same display bytes in memory: the pointers are compared, not what they
/// point to. To compare records of different containers, use TeletextPacketContainer.
inline bool operator==(const TeletextPacket& a, const TeletextPacket& b)
{
    return a.values() == b.values() && a.displayData == b.displayData;
}
inline bool operator!=(const TeletextPacket& a, const TeletextPacket& b)
{
    return !(a == b);
}
