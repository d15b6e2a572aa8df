// How well an ancillary packet conforms to OP-47 (SMPTE RDD 8). A value.
#pragma once

#include <QString>

#include <cstdint>
#include <tuple>

/// One answer per question; they are independent of each other. The initial values are those before
/// any test; a packet of 15 words or fewer is not tested beyond `longEnough`.
struct Op47ErrorReport
{
    bool ancIsOp47 = true;                ///< ancillary data flag, DID 0x43, SDID 0x02
    bool payloadIdentifierCorrect = true; ///< 0x51 0x15
    bool packetDataCountCorrect = true;   ///< the data count is the packet's length less 7
    bool lengthCorrect = true;            ///< so is the format's own length
    bool formatCodeCorrect = true;        ///< 0x02
    uint32_t receivedLength = 0;          ///< the format's own length
    uint32_t expectedLength = 0;          ///< the packet's length less 7, modulo 2 to the 32
    bool longEnough = true;               ///< the packet holds the data its descriptors promise
    bool vbiPacketDescriptorsAreContiguous = true; ///< no used descriptor follows an unused one

    auto values() const
    {
        return std::tie(ancIsOp47, payloadIdentifierCorrect, packetDataCountCorrect, lengthCorrect,
                        formatCodeCorrect, receivedLength, expectedLength, longEnough,
                        vbiPacketDescriptorsAreContiguous);
    }

    /// True if every flag is.
    bool isConformant() const;
    /// "conformant", or what is wrong: "wrong data count, length 5 in place of 51".
    QString toString() const;
};

inline bool operator==(const Op47ErrorReport& a, const Op47ErrorReport& b)
{
    return a.values() == b.values();
}
inline bool operator!=(const Op47ErrorReport& a, const Op47ErrorReport& b)
{
    return !(a == b);
}
