// What short ancillary packets say: payload identifier, time code, active format. Values and pure
// functions. Normative references: SMPTE ST 352:2013, ST 12-2:2014, ST 2016-3:2009.
//
// Each reader gives nothing for a packet of another kind, of another length, or without end marker.
#pragma once

#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"

#include <QString>
#include <QtGlobal>

#include <optional>

/// The packet for a kind and its user words, with its end marker. Words beyond 255 are left out.
AncillaryCollectorPacket makeAncillaryPacket(AncillaryDidSdid kind, const uint8_t* userWords,
                                             std::size_t count);
/// True for a packet of this kind whose end marker is where its data count says.
bool isAncillaryPacket(const AncillaryCollectorPacket& packet, AncillaryDidSdid kind);

constexpr AncillaryDidSdid ANCILLARY_PAYLOAD_IDENTIFIER{0x41, 0x01};
constexpr AncillaryDidSdid ANCILLARY_ACTIVE_FORMAT{0x41, 0x05};
constexpr AncillaryDidSdid ANCILLARY_TIMECODE{0x60, 0x60};

/// The payload word of a payload identifier packet, byte 0 the most significant:
///     DID 0x41 SDID 0x01 DC 4: 89 c9 80 01 => 0x89C98001
std::optional<quint32> readPayloadWord(const AncillaryCollectorPacket& packet);

/// Ancillary time code (SMPTE ST 12-2): 64 bits of time and user bits, and two distributed bytes.
struct AncillaryTimecode
{
    int hours = 0; ///< as the digits say, so up to 3 * 10 + 15 for digits that don't exist
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    bool isDropFrame = false;
    bool isColourFrame = false;
    bool flag27 = false; ///< flag bits by their number in the code: what they mean depends on the
    bool flag43 = false; ///< frame rate (SMPTE ST 12-1, table 2)
    bool flag58 = false;
    bool flag59 = false;
    quint32 userBits = 0;             ///< binary group 1 in the lowest four bits
    quint8 payloadType = 0;           ///< first distributed byte: 0 LTC, 1 and 2 VITC
    quint8 distributedBinaryBits = 0; ///< second distributed byte

    bool operator==(const AncillaryTimecode& other) const;
    bool operator!=(const AncillaryTimecode& other) const { return !(*this == other); }
    /// False if a digit or the time does not exist: more than 9, or beyond 23:59:59.
    bool isLawful = true;
    /// "LTC 01:02:03:04", "VITC 1 ..." and "VITC 2 ...", "type 0x06 ..." for other payloads; ";04"
    /// for drop frame.
    QString toString() const;
};

std::optional<AncillaryTimecode> readTimecode(const AncillaryCollectorPacket& packet);

/// Active format description and bar data (SMPTE ST 2016-3).
struct ActiveFormat
{
    quint8 code = 0;        ///< 0 to 15
    bool isWide = false;    ///< the coded frame is 16:9, otherwise 4:3
    quint8 barFlags = 0;    ///< bit 3 top, 2 bottom, 1 left, 0 right
    quint16 barValues[2]{}; ///< where a top or left bar ends; where a bottom or right one begins

    bool operator==(const ActiveFormat& other) const;
    bool operator!=(const ActiveFormat& other) const { return !(*this == other); }
    /// "AFD 1010 in 16:9: 16:9 (centre)", followed by ", bars top 131, bottom 949" if there are
    /// any.
    QString toString() const;
};

std::optional<ActiveFormat> readActiveFormat(const AncillaryCollectorPacket& packet);
