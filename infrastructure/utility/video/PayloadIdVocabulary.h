// The field values of a video payload identifier and what is shown for each.
//
// Normative reference: SMPTE ST 352:2013, tables 1 to 3, with the later additions for colourimetry
// and transfer characteristics. The texts are the instrument's own.
#pragma once

#include "infrastructure/utility/video/Vocabulary.h"

#include <QtGlobal>

namespace Tessorn {
namespace Sdi {
namespace PayloadId {

/// Four bits.
enum SampleStructure : quint32 {
    SampleStructure_422YCbCr = 0,
    SampleStructure_444YCbCr = 1,
    SampleStructure_444Rgb = 2,
    SampleStructure_420YCbCr = 3,
    SampleStructure_4224YCbCrA = 4,
    SampleStructure_4444YCbCrA = 5,
    SampleStructure_4444RgbA = 6,
    SampleStructure_4224YCbCrD = 8,
    SampleStructure_4444YCbCrD = 9,
    SampleStructure_4444RgbD = 10,
    SampleStructure_444Xyz = 14,
};

/// Two bits. Zero is the full range, not the usual 10 bits.
enum BitDepth : quint32 {
    BitDepth_10FullRange = 0,
    BitDepth_10 = 1,
    BitDepth_12 = 2,
    BitDepth_12FullRange = 3,
};

/// Two bits, and one value that cannot come from a wire.
enum Colourimetry : quint32 {
    Colourimetry_Rec709 = 0,
    Colourimetry_Vanc = 1, ///< told by a packet in the vertical ancillary space
    Colourimetry_Uhdtv = 2,
    Colourimetry_Unknown = 3,
    Colourimetry_Rec601 = 999,
};

/// Two bits.
enum TransferCurve : quint32 {
    TransferCurve_SdrTv = 0,
    TransferCurve_Hlg = 1,
    TransferCurve_Pq = 2,
    TransferCurve_Unspecified = 3, ///< shown as "S-Log3"
};

/// One bit.
enum LuminanceAndColourDifferenceSignal : quint32 {
    LuminanceAndColourDifferenceSignal_YCbCr = 0,
    LuminanceAndColourDifferenceSignal_ICtCp = 1,
};

/// Four bits: frames a second of a progressive picture. With the picture bit of an interlaced one
/// the same code stands for twice as many fields.
enum FrameRate : quint32 {
    FrameRate_None = 0,
    FrameRate_Reserved = 1,
    FrameRate_23_98 = 2,
    FrameRate_24 = 3,
    FrameRate_47_95 = 4,
    FrameRate_25 = 5,
    FrameRate_29_97 = 6,
    FrameRate_30 = 7,
    FrameRate_48 = 8,
    FrameRate_50 = 9,
    FrameRate_59_94 = 10,
    FrameRate_60 = 11,
    FrameRate_96 = 12,
    FrameRate_100 = 13,
    FrameRate_119_88 = 14,
    FrameRate_120 = 15,
};

/// The value of the picture and transport bits.
enum : quint32 {
    INTERLACED = 0,
    PROGRESSIVE = 1,
};

inline constexpr Vocabulary::Row<SampleStructure> SAMPLE_STRUCTURES[] = {
    {SampleStructure_422YCbCr, "YCbCr:422"},     {SampleStructure_444YCbCr, "YCbCr:444"},
    {SampleStructure_444Rgb, "RGB:444"},         {SampleStructure_420YCbCr, "YCbCr:420"},
    {SampleStructure_4224YCbCrA, "YCbCrA:4224"}, {SampleStructure_4444YCbCrA, "YCbCrA:4444"},
    {SampleStructure_4444RgbA, "RGBA:4444"},     {SampleStructure(7), "RESERVED"},
    {SampleStructure_4224YCbCrD, "YCbCrD:4224"}, {SampleStructure_4444YCbCrD, "YCbCrD:4444"},
    {SampleStructure_4444RgbD, "RGBD:4444"},     {SampleStructure(11), "RESERVED"},
    {SampleStructure(12), "RESERVED"},           {SampleStructure(13), "RESERVED"},
    {SampleStructure_444Xyz, "X'Y'Z':444"},      {SampleStructure(15), "RESERVED"},
};

inline constexpr Vocabulary::Row<BitDepth> BIT_DEPTHS[] = {
    {BitDepth_10FullRange, "10FR"},
    {BitDepth_10, "10"},
    {BitDepth_12, "12"},
    {BitDepth_12FullRange, "12FR"},
};

inline constexpr Vocabulary::Row<Colourimetry> COLOURIMETRIES[] = {
    {Colourimetry_Rec709, "Rec.709"}, {Colourimetry_Vanc, "ColVancPacket"},
    {Colourimetry_Uhdtv, "Rec.2020"}, {Colourimetry_Unknown, "Unknown"},
    {Colourimetry_Rec601, "Rec.601"},
};

inline constexpr Vocabulary::Row<TransferCurve> TRANSFER_CURVES[] = {
    {TransferCurve_SdrTv, "SDR-TV"},
    {TransferCurve_Hlg, "HLG"},
    {TransferCurve_Pq, "PQ"},
    {TransferCurve_Unspecified, "S-Log3"},
};

inline constexpr Vocabulary::Row<LuminanceAndColourDifferenceSignal> LUMINANCE_SIGNALS[] = {
    {LuminanceAndColourDifferenceSignal_YCbCr, "YCbCr"},
    {LuminanceAndColourDifferenceSignal_ICtCp, "ICtCp"},
};

/// A code of the picture rate, what is shown for it, and the rate in numbers.
struct FrameRateRow
{
    FrameRate value;
    char text[8];           ///< frames a second
    char interlacedText[8]; ///< fields a second
    quint32 nominalHz;      ///< frames a second, a divisor of 1.001 left out; 0 for none
    bool is1001;            ///< true if the rate is nominalHz / 1.001
};

inline constexpr FrameRateRow FRAME_RATES[] = {
    {FrameRate_None, "NoRate", "NoRate", 0, false},
    {FrameRate_Reserved, "RsvRate", "RsvRate", 0, false},
    {FrameRate_23_98, "23.98", "47.95", 24, true},
    {FrameRate_24, "24", "48", 24, false},
    {FrameRate_47_95, "47.95", "95.90", 48, true},
    {FrameRate_25, "25", "50", 25, false},
    {FrameRate_29_97, "29.97", "59.94", 30, true},
    {FrameRate_30, "30", "60", 30, false},
    {FrameRate_48, "48", "96", 48, false},
    {FrameRate_50, "50", "100", 50, false},
    {FrameRate_59_94, "59.94", "119.88", 60, true},
    {FrameRate_60, "60", "120", 60, false},
    {FrameRate_96, "96", "192", 96, false},
    {FrameRate_100, "100", "200", 100, false},
    {FrameRate_119_88, "119.88", "239.76", 120, true},
    {FrameRate_120, "120", "240", 120, false},
};

/// The reserved codes of the field => "RESERVED"; above 15 => "".
constexpr QLatin1String toString(SampleStructure structure)
{
    return Vocabulary::text(SAMPLE_STRUCTURES, structure);
}

/// BitDepth_10 => "10"; above 3 => "".
constexpr QLatin1String toString(BitDepth depth)
{
    return Vocabulary::text(BIT_DEPTHS, depth);
}

/// Colourimetry_Uhdtv => "Rec.2020"; a number that is not a colourimetry => "".
constexpr QLatin1String toString(Colourimetry colourimetry)
{
    return Vocabulary::text(COLOURIMETRIES, colourimetry);
}

/// TransferCurve_Unspecified => "S-Log3"; above 3 => "".
constexpr QLatin1String toString(TransferCurve curve)
{
    return Vocabulary::text(TRANSFER_CURVES, curve);
}

/// LuminanceAndColourDifferenceSignal_ICtCp => "ICtCp"; above 1 => "".
constexpr QLatin1String toString(LuminanceAndColourDifferenceSignal signal)
{
    return Vocabulary::text(LUMINANCE_SIGNALS, signal);
}

/// Frames a second if `pictureBit` is 1, otherwise fields a second; above 15 => "".
/// FrameRate_25, 1 => "25"; FrameRate_25, 0 => "50".
constexpr QLatin1String toString(FrameRate rate, quint32 pictureBit)
{
    const FrameRateRow* row = Vocabulary::find(FRAME_RATES, rate);
    if (row == nullptr) {
        return QLatin1String();
    }
    return Vocabulary::latin1(pictureBit == PROGRESSIVE ? row->text : row->interlacedText);
}

/// True for the 4:2:2 family: 4:2:2 and 4:2:0 YCbCr without key.
constexpr bool isNarrow(SampleStructure structure)
{
    return structure == SampleStructure_422YCbCr || structure == SampleStructure_420YCbCr;
}

/// True for the two depths of 10 bits, full range or not.
constexpr bool is10Bit(BitDepth depth)
{
    return depth == BitDepth_10FullRange || depth == BitDepth_10;
}

/// True for the two depths of 12 bits, full range or not.
constexpr bool is12Bit(BitDepth depth)
{
    return depth == BitDepth_12 || depth == BitDepth_12FullRange;
}

} // namespace PayloadId
} // namespace Sdi
} // namespace Tessorn
