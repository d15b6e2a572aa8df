// The words that all video code shares: data rates of a serial digital interface, mapping levels,
// sub-images, picture formats. The numbers are stored and sent, so they must not change.
//
// Normative references: SMPTE ST 259 (270 Mb/s), ST 292-1 (1.5 Gb/s), ST 424 and ST 425-1 (3 Gb/s
// and its levels), ST 2081-1 (6 Gb/s), ST 2082-1 (12 Gb/s), ST 425-5 (sub-images).
#pragma once

#include "infrastructure/utility/video/Vocabulary.h"

#include <QtGlobal>

namespace Tessorn {
namespace Sdi {

/// Data rate of one link, fastest first.
enum SdiDataRate : quint32 {
    SdiDataRate_12G = 0,
    SdiDataRate_6G = 1,
    SdiDataRate_3G = 2,
    SdiDataRate_1G5 = 3,
    SdiDataRate_270M = 4,
    SdiDataRate_NoSignal = 5,
    SdiDataRate_Unknown = 6,
};

/// Mapping of a 3 Gb/s interface: A carries one picture stream, B two multiplexed ones.
enum Level : quint32 {
    Level_A = 0,
    Level_B = 1,
};

/// The four quadrant or interleave images of a 2160-line picture. There is no enumerator for "no
/// sub-images": queries tell that with a flag.
enum SubImage : quint32 {
    SubImage1,
    SubImage2,
    SubImage3,
    SubImage4,
};

/// How a 2160-line picture is divided into sub-images.
enum SubImageDivision : quint32 {
    SubImageDivision_None = 0,
    SubImageDivision_TwoSampleInterleave = 1,
    SubImageDivision_SquareDivision = 2,
};

/// How the lines of a picture are sampled in time; 0 is not used.
enum PictureFormat : quint32 {
    PictureFormat_Psf = 1, ///< a progressive picture carried as two segments
    PictureFormat_Interlaced = 2,
    PictureFormat_Progressive = 3,
};

/// A data rate, what is shown for it, and its clock.
struct SdiDataRateRow
{
    SdiDataRate value;
    char text[12];
    quint32 sampleClockHz; ///< samples a second of the serial clock, at the rates without 1/1.001
};

inline constexpr SdiDataRateRow SDI_DATA_RATES[] = {
    {SdiDataRate_12G, "12G", 594000000},  {SdiDataRate_6G, "6G", 297000000},
    {SdiDataRate_3G, "3G", 148500000},    {SdiDataRate_1G5, "1.5G", 74250000},
    {SdiDataRate_270M, "270M", 27000000}, {SdiDataRate_NoSignal, "No Signal", 0},
    {SdiDataRate_Unknown, "Unknown", 0},
};

inline constexpr Vocabulary::Row<Level> LEVELS[] = {
    {Level_A, "A"},
    {Level_B, "B"},
};

inline constexpr Vocabulary::Row<SubImageDivision> SUB_IMAGE_DIVISIONS[] = {
    {SubImageDivision_None, ""},
    {SubImageDivision_TwoSampleInterleave, "2-SI"},
    {SubImageDivision_SquareDivision, "SqDv"},
};

inline constexpr Vocabulary::Row<PictureFormat> PICTURE_FORMATS[] = {
    {PictureFormat_Psf, "psf"},
    {PictureFormat_Interlaced, "i"},
    {PictureFormat_Progressive, "p"},
};

/// SdiDataRate_1G5 => "1.5G"; a number that is not a data rate => "Error".
constexpr QLatin1String toString(SdiDataRate rate)
{
    return Vocabulary::text(SDI_DATA_RATES, rate, "Error");
}

/// Samples a second of the serial clock; 0 if there is none.
constexpr quint32 getSampleClockHz(SdiDataRate rate)
{
    const SdiDataRateRow* row = Vocabulary::find(SDI_DATA_RATES, rate);
    return row != nullptr ? row->sampleClockHz : 0;
}

/// Level_A => "A"; a number that is not a level => "Error".
constexpr QLatin1String toString(Level level)
{
    return Vocabulary::text(LEVELS, level, "Error");
}

/// SubImageDivision_None => ""; a number that is not a division => "Error".
constexpr QLatin1String toString(SubImageDivision division)
{
    return Vocabulary::text(SUB_IMAGE_DIVISIONS, division, "Error");
}

/// PictureFormat_Psf => "psf"; a number that is not a format => "Error".
constexpr QLatin1String toString(PictureFormat format)
{
    return Vocabulary::text(PICTURE_FORMATS, format, "Error");
}

} // namespace Sdi
} // namespace Tessorn
