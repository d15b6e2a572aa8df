// The 8 bytes in front of every packet on a link, and the vocabulary of raw packet types.
//
//   offset  0            2               4                            8
//           | packetType | packetSubType | payloadSize                | payload ...
//           integers are big-endian
#pragma once

#include <QtGlobal>

/// The raw packet types; the numbers are the wire values, one behind the other. Anything else is
/// not a packet. The class of each stands in records/RawDataPacketTable_p.h.
enum RawPacketType : quint16 {
    RawPacketType_SerialisableData = 0x1010, ///< every JSON packet
    RawPacketType_EyeVerticalHistogram = 0x1011,
    RawPacketType_EyeHorizontalHistogram = 0x1012,
    RawPacketType_PpmMeters = 0x1013,
    RawPacketType_PeakHoldMeters = 0x1014,
    RawPacketType_PhaseMeters = 0x1015,
    RawPacketType_InstantPeakDbMeters = 0x1016,
    RawPacketType_InstantPeakLinearMeters = 0x1017,
    RawPacketType_ST337DolbyDetect = 0x1018,
    RawPacketType_RawSdiSampleGrid = 0x1019,
    RawPacketType_RawSdiJitterSpectrum = 0x101A,
    RawPacketType_JitterVerticalHistogram = 0x101B,
    RawPacketType_VideoPitHistogram = 0x101C,
    RawPacketType_AudioPitHistogram = 0x101D,
    RawPacketType_AncPitHistogram = 0x101E,
    RawPacketType_AncillaryStatus = 0x101F,
    RawPacketType_AudioChannelStatus = 0x1020,
    RawPacketType_AesPresence = 0x1021,
    RawPacketType_TeletextRaw = 0x1022,
    RawPacketType_EyeWindowedVerticalHistogram = 0x1023,
    RawPacketType_VideoIp2110_21 = 0x1024,
    RawPacketType_PtpMediaLatency = 0x1025,
    RawPacketType_Captions608bytePairs = 0x1026,
    RawPacketType_RefVsPtp = 0x1027,
    RawPacketType_SCTE104Raw = 0x1028,
    RawPacketType_LoudnessEngineRaw = 0x1029,

    RawPacketType_End, ///< one behind the last of these
    RawPacketType_First = RawPacketType_SerialisableData,
    RawPacketType_Last = RawPacketType_End - 1,
};

/// The wire header, in host byte order.
struct RawDataPacketHeader
{
    /// Result of parsing instead of a type: no packet starts here.
    static constexpr quint16 NO_PACKET = 0;
    /// Result of parsing instead of a type: a packet starts here, but some of its bytes are
    /// missing.
    static constexpr quint16 INCOMPLETE_PACKET = 1;
    /// Size of the header on the wire, in bytes.
    static constexpr int SIZE_BYTES = 8;

    quint16 packetType = NO_PACKET;
    quint16 packetSubType = 0;
    quint32 payloadSize = 0; ///< bytes that follow the header

    /// True for a number in the vocabulary.
    static constexpr bool isPacketType(quint32 type)
    {
        return type >= RawPacketType_First && type <= RawPacketType_Last;
    }
};

constexpr bool operator==(const RawDataPacketHeader& a, const RawDataPacketHeader& b)
{
    return a.packetType == b.packetType && a.packetSubType == b.packetSubType &&
           a.payloadSize == b.payloadSize;
}
constexpr bool operator!=(const RawDataPacketHeader& a, const RawDataPacketHeader& b)
{
    return !(a == b);
}
