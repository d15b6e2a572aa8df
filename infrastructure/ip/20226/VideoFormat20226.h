// The video source format word of the high bit rate media payload header, which tells what
// serial digital interface an IP stream carries.
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

    /// SdiDataRate_Unknown where a reserved picture size or frame rate would have to tell, and for
    /// an unknown picture size at 50, 59.94 or 60 Hz, which pictures of 1.5 and of 3 Gb/s have.
    static Sdi::SdiDataRate getRateFromVideoSourceFormatUInt(quint32 formatWord);
    /// True for the rates that are a multiple of 1 / 1.001.
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
