// One ancillary data packet (SMPTE ST 291-1) as the hardware collector delivers it: 8-bit words in
// a buffer of fixed size. A value.
//
//   index   0      8     9      10   11                10 + DC   11 + DC
//           header | DID | SDID | DC | user data words ...     | 0xFF
#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>

/// The kind of an ancillary packet: data identifier and secondary data identifier.
struct AncillaryDidSdid
{
    uint8_t did = 0;
    uint8_t sdid = 0;
};

constexpr bool operator==(AncillaryDidSdid a, AncillaryDidSdid b)
{
    return a.did == b.did && a.sdid == b.sdid;
}
constexpr bool operator!=(AncillaryDidSdid a, AncillaryDidSdid b)
{
    return !(a == b);
}

/// The collector's buffer, read as the words of the SDI stream. The collector's header, the first
/// eight bytes, is kept but ignored.
struct AncillaryCollectorPacket
{
    static constexpr std::size_t SIZE_BYTES = 4096;
    static constexpr std::size_t PAYLOAD_START_INDEX = 8; ///< where the DID is
    static constexpr std::size_t DID_OFFSET = 0; ///< this and the next two count from the DID
    static constexpr std::size_t SDID_OFFSET = 1;
    static constexpr std::size_t DC_OFFSET = 2;
    static constexpr uint8_t END_MARKER = 0xFF; ///< closes the user data words

    /// The first 4096 bytes of the view; a shorter view is filled up with 0.
    static AncillaryCollectorPacket fromBytes(const uint8_t* bytes, std::size_t size);

    /// A word as it stood in the SDI stream, counted from the ancillary data flag.
    ///     0 => 0x00    1, 2 => 0xFF    3 => DID    6 => first user data word
    ///     beyond the buffer => 0
    uint8_t getAncWord(std::size_t index) const;
    AncillaryDidSdid getDidSdid() const;
    /// The number of user data words, as the packet states it.
    uint8_t getDataCount() const;

    /// The DID and everything after it, to the end of the buffer.
    const uint8_t* payloadIndex() const { return buffer.data() + PAYLOAD_START_INDEX; }
    /// The first of the user data words.
    const uint8_t* firstUserDataWord() const { return payloadIndex() + DC_OFFSET + 1; }

    /// True if the end marker follows the user data words: then the collector and the data count
    /// agree on where the packet ends. Neither checksum nor parity is checked.
    bool verifyPacketDataCount() const;

    /// "DID 0x43 SDID 0x02 DC 2: 51 15", followed by " (no end marker)" if that is missing.
    QString toString() const;

    std::array<uint8_t, SIZE_BYTES> buffer{}; ///< the collector's reader writes here
};

inline bool operator==(const AncillaryCollectorPacket& a, const AncillaryCollectorPacket& b)
{
    return a.buffer == b.buffer;
}
inline bool operator!=(const AncillaryCollectorPacket& a, const AncillaryCollectorPacket& b)
{
    return !(a == b);
}
