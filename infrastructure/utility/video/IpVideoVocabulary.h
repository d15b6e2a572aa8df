// The parameters of video over IP and their texts: sampling, depth, colorimetry, transfer
// characteristic, frame rate, scan. The words are shared with the payload identifier.
//
// Normative reference: SMPTE ST 2110-20:2017, clause 7. The texts are the instrument's own.
#pragma once

#include "infrastructure/utility/video/Vocabulary.h"

#include <QString>
#include <QStringView>

namespace Tessorn {
namespace IpTypes {

/// CL stands for constant luminance.
enum Sampling2110 : quint32 {
    Sampling2110_422YCbCr = 0,
    Sampling2110_444YCbCr = 1,
    Sampling2110_420YCbCr = 2,
    Sampling2110_444ClYCbCr = 3,
    Sampling2110_422ClYCbCr = 4,
    Sampling2110_420ClYCbCr = 5,
    Sampling2110_444ICtCp = 6,
    Sampling2110_422ICtCp = 7,
    Sampling2110_420ICtCp = 8,
    Sampling2110_Rgb = 9,
    Sampling2110_Xyz = 10,
    Sampling2110_Key = 11,
};

/// The depth of a sample.
enum BitDepth2110 : quint32 {
    BitDepth2110_10 = 0,
    BitDepth2110_12 = 1,
    BitDepth2110_8 = 2,
    BitDepth2110_16 = 3,
    BitDepth2110_16Float = 4,
};

/// The standard that names primaries and matrix (ITU-R BT., SMPTE ST).
enum Colourimetry2110 : quint32 {
    Colourimetry2110_Bt709 = 0,
    Colourimetry2110_Bt2020 = 1,
    Colourimetry2110_Bt601 = 2,
    Colourimetry2110_Bt2100 = 3,
    Colourimetry2110_St2065_1 = 4,
    Colourimetry2110_St2065_3 = 5,
    Colourimetry2110_Unspecified = 6,
    Colourimetry2110_Xyz = 7,
};

/// The transfer characteristic system.
enum TransferCurve2110 : quint32 {
    TransferCurve2110_Sdr = 0,
    TransferCurve2110_Pq = 1,
    TransferCurve2110_Hlg = 2,
    TransferCurve2110_SLog3 = 3,
    TransferCurve2110_Linear = 4,
    TransferCurve2110_Bt2100LinearPq = 5,
    TransferCurve2110_Bt2100LinearHlg = 6,
    TransferCurve2110_St2065_1 = 7,
    TransferCurve2110_St428_1 = 8,
    TransferCurve2110_Density = 9,
};

/// A frame rate of `rate` * 1000 / `divisor` hertz.
struct IpFrameRate
{
    quint32 rate = 0;
    quint32 divisor = 1000; ///< 1000 or 1001
};

constexpr bool operator==(const IpFrameRate& a, const IpFrameRate& b)
{
    return a.rate == b.rate && a.divisor == b.divisor;
}
constexpr bool operator!=(const IpFrameRate& a, const IpFrameRate& b)
{
    return !(a == b);
}

/// Sampling2110_422YCbCr => "YCbCr:422". Any number that is not an enumerator => "Error", in all of
/// these.
QLatin1String toString(Sampling2110 sampling);
QLatin1String toString(BitDepth2110 depth);
QLatin1String toString(Colourimetry2110 colourimetry);
QLatin1String toString(TransferCurve2110 curve);

/// Reads only "YCbCr:422". Any other text gives the first enumerator and sets *ok to false, as in
/// all of these; the comparison is exact.
Sampling2110 parseSampling2110(QStringView text, bool* ok = nullptr);
/// Reads "10" and "12".
BitDepth2110 parseBitDepth2110(QStringView text, bool* ok = nullptr);
/// Reads "BT709" and "BT2020".
Colourimetry2110 parseColourimetry2110(QStringView text, bool* ok = nullptr);
/// Reads "SDR", "PQ", "HLG" and "S-Log3".
TransferCurve2110 parseTransferCurve2110(QStringView text, bool* ok = nullptr);

/// Reads both "59.94" and "60000/1001", and the other rates from 23.98 to 60 likewise. Any other
/// text gives 60 / 1000 and sets *ok to false.
IpFrameRate parseIpFrameRate(QStringView text, bool* ok = nullptr);

/// The rate, doubled for fields.
///
///   30, 1001        => "29.97"         30, 1001, interlaced => "59.94"
///   25, 1000        => "25"            25, 1000, interlaced => "50"
///   120, 1001       => "120000/1001"   for rates without a decimal text
QString toString(const IpFrameRate& rate, bool interlaced);

/// "psf" for both flags, "i" for interlaced alone, otherwise "p".
QLatin1String getPictureFormatText(bool interlaced, bool segmented);

} // namespace IpTypes
} // namespace Tessorn
