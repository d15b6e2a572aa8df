// The video source format word of the high bit rate media payload header, which tells which serial
// digital interface an IP stream carries.
//
// Normative reference: SMPTE ST 2022-6:2012, clause 6.3.
#pragma once

#include "infrastructure/utility/video/SdiVocabulary.h"

namespace Tessorn {
namespace IpTypes {

/// What the format word says of the interface.
struct VideoFormat20226
{
    /// `formatWord` is the second word of the payload header, in host byte order.
    explicit VideoFormat20226(quint32 formatWord);

    /// SdiDataRate_Unknown if the rate depends on a reserved picture size or frame rate, and for an
    /// unknown picture size at 50, 59.94 or 60 Hz, which exist both at 1.5 and at 3 Gb/s.
    static Sdi::SdiDataRate getRateFromVideoSourceFormatUInt(quint32 formatWord);
    /// True for the rates divided by 1.001.
    static bool getIs1001FromVideoSourceFormatUInt(quint32 formatWord);
    /// Level_B for the two level B mappings, otherwise Level_A.
    static Sdi::Level getLevelFromVideoSourceFormatUInt(quint32 formatWord);

    Sdi::SdiDataRate rate;
    bool clockIs1001not1000;
    Sdi::Level level;
};

inline bool operator==(const VideoFormat20226& a, const VideoFormat20226& b)
{
    return a.rate == b.rate && a.clockIs1001not1000 == b.clockIs1001not1000 && a.level == b.level;
}
inline bool operator!=(const VideoFormat20226& a, const VideoFormat20226& b)
{
    return !(a == b);
}

} // namespace IpTypes
} // namespace Tessorn
