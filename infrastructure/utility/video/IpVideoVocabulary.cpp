#include "infrastructure/utility/video/IpVideoVocabulary.h"

namespace Tessorn {
namespace IpTypes {

namespace {

/// A word. Only those that the instrument can be set to are read from text.
template <typename Value>
struct IpRow
{
    Value value;
    char text[16];
    bool isRead;
};

constexpr IpRow<Sampling2110> SAMPLINGS[] = {
    {Sampling2110_422YCbCr, "YCbCr:422", true},
    {Sampling2110_444YCbCr, "YCbCr:444", false},
    {Sampling2110_420YCbCr, "YCbCr:420", false},
    {Sampling2110_444ClYCbCr, "CLYCbCr:444", false},
    {Sampling2110_422ClYCbCr, "CLYCbCr:422", false},
    {Sampling2110_420ClYCbCr, "CLYCbCr:420", false},
    {Sampling2110_444ICtCp, "ICtCp:444", false},
    {Sampling2110_422ICtCp, "ICtCp:422", false},
    {Sampling2110_420ICtCp, "ICtCp:420", false},
    {Sampling2110_Rgb, "RGB", false},
    {Sampling2110_Xyz, "XYZ", false},
    {Sampling2110_Key, "KEY", false},
};

constexpr IpRow<BitDepth2110> DEPTHS[] = {
    {BitDepth2110_10, "10", true},        {BitDepth2110_12, "12", true},
    {BitDepth2110_8, "8", false},         {BitDepth2110_16, "16", false},
    {BitDepth2110_16Float, "16f", false},
};

constexpr IpRow<Colourimetry2110> COLOURIMETRIES[] = {
    {Colourimetry2110_Bt709, "BT709", true},
    {Colourimetry2110_Bt2020, "BT2020", true},
    {Colourimetry2110_Bt601, "BT601", false},
    {Colourimetry2110_Bt2100, "BT2100", false},
    {Colourimetry2110_St2065_1, "ST2065-1", false},
    {Colourimetry2110_St2065_3, "ST2065-3", false},
    {Colourimetry2110_Unspecified, "Unspecified", false},
    {Colourimetry2110_Xyz, "XYZ", false},
};

constexpr IpRow<TransferCurve2110> TRANSFER_CURVES[] = {
    {TransferCurve2110_Sdr, "SDR", true},
    {TransferCurve2110_Pq, "PQ", true},
    {TransferCurve2110_Hlg, "HLG", true},
    {TransferCurve2110_SLog3, "S-Log3", true},
    {TransferCurve2110_Linear, "Linear", false},
    {TransferCurve2110_Bt2100LinearPq, "BT2100LINPQ", false},
    {TransferCurve2110_Bt2100LinearHlg, "BT2100LINHLG", false},
    {TransferCurve2110_St2065_1, "ST2065-1", false},
    {TransferCurve2110_St428_1, "ST428-1", false},
    {TransferCurve2110_Density, "Density", false},
};

struct IpFrameRateRow
{
    IpFrameRate value;
    char text[8];
    char rationalText[12]; ///< the other spelling; empty if there is none
    char fieldRateText[8]; ///< empty if the number itself is shown
};

constexpr IpFrameRateRow FRAME_RATES[] = {
    {{24, 1001}, "23.98", "24000/1001", "47.95"},
    {{24, 1000}, "24", "", ""},
    {{25, 1000}, "25", "", ""},
    {{30, 1001}, "29.97", "30000/1001", "59.94"},
    {{30, 1000}, "30", "", ""},
    {{48, 1001}, "47.95", "48000/1001", "95.90"},
    {{48, 1000}, "48", "", ""},
    {{50, 1000}, "50", "", ""},
    {{60, 1001}, "59.94", "60000/1001", "119.88"},
    {{60, 1000}, "60", "", ""},
};

void report(bool* ok, bool succeeded)
{
    if (ok != nullptr) {
        *ok = succeeded;
    }
}

template <typename Value, std::size_t count>
Value parse(const IpRow<Value> (&table)[count], QStringView text, bool* ok)
{
    const IpRow<Value>* row = Vocabulary::findText(table, text);
    const bool found = row != nullptr && row->isRead;
    report(ok, found);
    return found ? row->value : table[0].value;
}

} // namespace

QLatin1String toString(Sampling2110 sampling)
{
    return Vocabulary::text(SAMPLINGS, sampling, "Error");
}

QLatin1String toString(BitDepth2110 depth)
{
    return Vocabulary::text(DEPTHS, depth, "Error");
}

QLatin1String toString(Colourimetry2110 colourimetry)
{
    return Vocabulary::text(COLOURIMETRIES, colourimetry, "Error");
}

QLatin1String toString(TransferCurve2110 curve)
{
    return Vocabulary::text(TRANSFER_CURVES, curve, "Error");
}

Sampling2110 parseSampling2110(QStringView text, bool* ok)
{
    return parse(SAMPLINGS, text, ok);
}

BitDepth2110 parseBitDepth2110(QStringView text, bool* ok)
{
    return parse(DEPTHS, text, ok);
}

Colourimetry2110 parseColourimetry2110(QStringView text, bool* ok)
{
    return parse(COLOURIMETRIES, text, ok);
}

TransferCurve2110 parseTransferCurve2110(QStringView text, bool* ok)
{
    return parse(TRANSFER_CURVES, text, ok);
}

IpFrameRate parseIpFrameRate(QStringView text, bool* ok)
{
    for (const IpFrameRateRow& row : FRAME_RATES) {
        if (text == Vocabulary::latin1(row.text) ||
            (row.rationalText[0] != '\0' && text == Vocabulary::latin1(row.rationalText))) {
            report(ok, true);
            return row.value;
        }
    }
    report(ok, false);
    return {60, 1000};
}

QString toString(const IpFrameRate& rate, bool interlaced)
{
    const quint64 shown = quint64(rate.rate) * (interlaced ? 2 : 1);
    if (rate.divisor != 1001) {
        return QString::number(shown);
    }
    if (const IpFrameRateRow* row = Vocabulary::find(FRAME_RATES, rate)) {
        return Vocabulary::latin1(interlaced ? row->fieldRateText : row->text);
    }
    return QStringLiteral("%1/1001").arg(shown * 1000);
}

QLatin1String getPictureFormatText(bool interlaced, bool segmented)
{
    if (interlaced && segmented) {
        return QLatin1String("psf");
    }
    return QLatin1String(interlaced ? "i" : "p");
}

} // namespace IpTypes
} // namespace Tessorn
