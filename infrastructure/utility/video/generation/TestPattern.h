// One pattern of the test pattern catalogue: what it is, where its image and thumbnail are, and how
// it is generated. A value.
#pragma once

#include "infrastructure/utility/video/PayloadIdVocabulary.h"

#include <QSize>
#include <QString>

/// What the three words of a pattern's pixels mean.
enum PatternColour : quint32 {
    PatternColour_CbYCr = 0,
    PatternColour_Rgb = 1,
    PatternColour_Unknown = 2,
};

/// What the catalogue says about a pattern. File names are relative to the catalogue's folder.
struct TestPattern
{
    QString title;
    QSize imageSize = QSize(-1, -1);
    Tessorn::Sdi::PayloadId::BitDepth depth = Tessorn::Sdi::PayloadId::BitDepth_10;
    PatternColour colour = PatternColour_Unknown;
    Tessorn::Sdi::PayloadId::Colourimetry matrix = Tessorn::Sdi::PayloadId::Colourimetry_Unknown;
    Tessorn::Sdi::PayloadId::TransferCurve curve = Tessorn::Sdi::PayloadId::TransferCurve_SdrTv;
    QString proxy;         ///< file name of the thumbnail
    QString image;         ///< file name of the image
    QString generate;      ///< file name of the generator's shader
    bool sampling = false; ///< true for 4:2:2
    bool alpha = false;
};

inline constexpr Tessorn::Vocabulary::Row<PatternColour> PATTERN_COLOURS[] = {
    {PatternColour_CbYCr, "CbYCr"},
    {PatternColour_Rgb, "RGB"},
};

/// The texts of the catalogue, which are not those of the payload identifier.
inline constexpr Tessorn::Vocabulary::Row<Tessorn::Sdi::PayloadId::TransferCurve> PATTERN_CURVES[] =
    {
        {Tessorn::Sdi::PayloadId::TransferCurve_SdrTv, "SDR_TV"},
        {Tessorn::Sdi::PayloadId::TransferCurve_Hlg, "HLG"},
        {Tessorn::Sdi::PayloadId::TransferCurve_Pq, "PQ"},
        {Tessorn::Sdi::PayloadId::TransferCurve_Unspecified, "S-Log3"},
};

inline constexpr Tessorn::Vocabulary::Row<Tessorn::Sdi::PayloadId::Colourimetry>
    PATTERN_MATRICES[] = {
        {Tessorn::Sdi::PayloadId::Colourimetry_Rec709, "709"},
        {Tessorn::Sdi::PayloadId::Colourimetry_Uhdtv, "2020"},
};

/// PatternColour_Rgb => "RGB"; a number that is neither => "unknown".
constexpr QLatin1String toString(PatternColour colour)
{
    return Tessorn::Vocabulary::text(PATTERN_COLOURS, colour, "unknown");
}

/// The catalogue's word: TransferCurve_SdrTv => "SDR_TV"; a number that is not a curve =>
/// "unknown".
constexpr QLatin1String getPatternCurveText(Tessorn::Sdi::PayloadId::TransferCurve curve)
{
    return Tessorn::Vocabulary::text(PATTERN_CURVES, curve, "unknown");
}

bool operator==(const TestPattern& a, const TestPattern& b);
inline bool operator!=(const TestPattern& a, const TestPattern& b)
{
    return !(a == b);
}
