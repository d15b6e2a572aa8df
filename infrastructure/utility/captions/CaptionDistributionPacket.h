// Caption distribution packets (SMPTE ST 334-2): what carries the captions of one frame. A value.
//
//   96 69 | length | rate, F | flags | sequence      header
//   71    | time code                                 4 bytes
//   72    | 111, count | 11111, valid, type, data     3 bytes for each of up to 31
//   73    | 1, start, change, complete, count | ...   7 bytes for each of up to 15 services
//   74    | sequence | checksum                       footer
#pragma once

#include <QString>
#include <QtGlobal>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// What the two bytes of a caption triplet are.
enum CaptionTripletType : uint8_t {
    CaptionTripletType_Field1,         ///< CEA-608 pair of field 1
    CaptionTripletType_Field2,         ///< CEA-608 pair of field 2
    CaptionTripletType_Data708,        ///< CEA-708, continued
    CaptionTripletType_PacketStart708, ///< CEA-708, a packet begins
};

/// Two bytes of captions.
struct CaptionTriplet
{
    bool isValid = false; ///< false: padding
    CaptionTripletType type = CaptionTripletType_Data708;
    std::array<uint8_t, 2> bytes{}; ///< as received, parity of CEA-608 included

    bool operator==(const CaptionTriplet& other) const;
    bool operator!=(const CaptionTriplet& other) const { return !(*this == other); }
};

/// The time code of a packet, digit by digit as it stands.
struct CdpTimecode
{
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    bool isField2 = false;
    bool isDropFrame = false;

    bool operator==(const CdpTimecode& other) const;
    bool operator!=(const CdpTimecode& other) const { return !(*this == other); }
};

/// One caption service as announced, with its bytes as they stand.
struct CaptionServiceEntry
{
    std::array<uint8_t, 7> bytes{};

    /// 1 to 63 for a service of CEA-708; 0 as a rule for CEA-608.
    unsigned getNumber() const;
    /// The three letters of ISO 639-2, such as "eng"; other bytes are "?".
    QString getLanguage() const;
    bool isDigital() const { return (bytes[4] & 0x80) != 0; } ///< CEA-708, otherwise CEA-608
    bool isField2() const { return (bytes[4] & 0x01) != 0; }  ///< only for CEA-608
    bool isEasyReader() const { return (bytes[5] & 0x80) != 0; }
    bool isWide() const { return (bytes[5] & 0x40) != 0; } ///< formatted for 16:9

    bool operator==(const CaptionServiceEntry& other) const { return bytes == other.bytes; }
    bool operator!=(const CaptionServiceEntry& other) const { return bytes != other.bytes; }
};

/// The parts of a packet; entries beyond a count mean nothing. Allocates nothing but in toBytes and
/// the texts.
struct CaptionDistributionPacket
{
    static constexpr std::size_t MAX_TRIPLETS = 31;
    static constexpr std::size_t MAX_SERVICES = 15;

    /// The triplets of a frame for a frame rate code, 1 to 8: 25, 25, 24, 20, 20, 12, 10, 10. 0 for
    /// any other code.
    static unsigned getFullCount(unsigned frameRateCode);

    unsigned frameRateCode = 4; ///< 1 to 8: 23.976, 24, 25, 29.97, 30, 50, 59.94, 60
    uint16_t sequence = 0;
    bool isServiceActive = true; ///< there are captions, whether or not in this packet
    bool hasTimecode = false;
    CdpTimecode timecode;
    bool hasTriplets = false;
    std::size_t tripletCount = 0;
    std::array<CaptionTriplet, MAX_TRIPLETS> triplets{};
    bool hasServices = false;
    bool isServicesStart = false; ///< these services begin a list, or
    bool isServicesChange = false;
    bool isServicesComplete = false;
    std::size_t serviceCount = 0;
    std::array<CaptionServiceEntry, MAX_SERVICES> services{};

    /// Appends a triplet; false if there are 31.
    bool append(const CaptionTriplet& triplet);
    /// Appends padding up to the full count of the frame rate.
    void pad();
    /// The packet from 96 to its checksum, at most 218 bytes.
    std::vector<uint8_t> toBytes() const;
    /// "29.97 Hz, sequence 7, 01:02:03;04, 20 triplets (2 valid), services 1 eng": what is there.
    QString toString() const;
};
