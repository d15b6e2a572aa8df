#include "infrastructure/ip/2110/VideoStandard2110Params.h"

#include "infrastructure/utility/FieldList.h"

#include <algorithm>
#include <iterator>

namespace Tessorn {
namespace IpTypes {

namespace {

/// A frame rate as one field: "25/1000".
struct FrameRateCodec
{
    using Numbers = FieldList<Field<&FrameRate2110::rate>, Field<&FrameRate2110::denominator>>;

    static void write(FieldText& text, const FrameRate2110& value)
    {
        Numbers::write(text, u'/', value);
    }
    static bool read(QStringView text, FrameRate2110& value)
    {
        return Numbers::read(text, u'/', value);
    }
    static bool same(const FrameRate2110& a, const FrameRate2110& b) { return a == b; }
};

/// A picture size, and how its pictures may be scanned other than progressively.
struct SizeRow
{
    quint32 width;
    quint32 height;
    bool interlaced;
    bool segmented;
};

constexpr SizeRow SIZES[] = {
    {1280, 720, false, false},  {1920, 1080, true, true},   {2048, 1080, false, true},
    {3840, 2160, false, false}, {4096, 2160, false, false},
};

constexpr quint32 LOWEST_INTERLACED_RATE = 25; ///< frames a second, for all of the sizes
constexpr quint32 HIGHEST_INTERLACED_RATE = 30;
constexpr quint32 HIGHEST_SEGMENTED_RATE = 30;

struct PixelGroup
{
    quint32 octets;
    quint32 pixels;
};

/// The pixel groups of a chroma format, by the value of the depth: 10, 12, 8, 16 bits, 16 float.
using PixelGroups = PixelGroup[5];

constexpr PixelGroups GROUPS_422 = {{5, 2}, {6, 2}, {4, 2}, {8, 2}, {8, 2}};
constexpr PixelGroups GROUPS_444 = {{15, 4}, {9, 2}, {3, 1}, {6, 1}, {6, 1}};
constexpr PixelGroups GROUPS_420 = {{15, 8}, {9, 4}, {6, 4}, {0, 0}, {0, 0}};
constexpr PixelGroups GROUPS_KEY = {{5, 4}, {3, 2}, {1, 1}, {2, 1}, {2, 1}};

struct SamplingRow
{
    Sampling2110 value;
    const PixelGroups& groups;
};

constexpr SamplingRow SAMPLINGS[] = {
    {Sampling2110_422YCbCr, GROUPS_422},   {Sampling2110_444YCbCr, GROUPS_444},
    {Sampling2110_420YCbCr, GROUPS_420},   {Sampling2110_444ClYCbCr, GROUPS_444},
    {Sampling2110_422ClYCbCr, GROUPS_422}, {Sampling2110_420ClYCbCr, GROUPS_420},
    {Sampling2110_444ICtCp, GROUPS_444},   {Sampling2110_422ICtCp, GROUPS_422},
    {Sampling2110_420ICtCp, GROUPS_420},   {Sampling2110_Rgb, GROUPS_444},
    {Sampling2110_Xyz, GROUPS_444},        {Sampling2110_Key, GROUPS_KEY},
};

PixelGroup findPixelGroup(Sampling2110 sampling, BitDepth2110 depth)
{
    const SamplingRow* row = Vocabulary::find(SAMPLINGS, sampling);
    if (row == nullptr || depth >= std::size(row->groups)) {
        return {0, 0};
    }
    return row->groups[depth];
}

} // namespace

/// All but paramsValid, which follows from the others.
struct VideoStandard2110Params::Fields
{
    using Params = VideoStandard2110Params;
    using Flag = FlagCodec<TrueFalse>;
    using List = FieldList<Field<&Params::width>, Field<&Params::height>,
                           Field<&Params::sampling, EnumCodec<Sampling2110_Key>>,
                           Field<&Params::bitDepth, EnumCodec<BitDepth2110_16Float>>,
                           Field<&Params::colourimetry, EnumCodec<Colourimetry2110_Xyz>>,
                           Field<&Params::frameRate, FrameRateCodec>,
                           Field<&Params::transferCurve, EnumCodec<TransferCurve2110_Density>>,
                           Field<&Params::interlaced, Flag>, Field<&Params::segmented, Flag>>;
};

VideoStandard2110Params::VideoStandard2110Params(quint32 widthPixels, quint32 heightLines,
                                                 Sampling2110 samplingOf, BitDepth2110 depth,
                                                 Colourimetry2110 colourimetryOf,
                                                 const FrameRate2110& rate, TransferCurve2110 curve,
                                                 bool isInterlaced, bool isSegmented)
    : width(widthPixels)
    , height(heightLines)
    , sampling(samplingOf)
    , bitDepth(depth)
    , colourimetry(colourimetryOf)
    , frameRate(rate)
    , transferCurve(curve)
    , interlaced(isInterlaced)
    , segmented(isSegmented)
    , paramsValid(areParamsValid())
{
}

bool VideoStandard2110Params::areParamsValid() const
{
    const auto size = std::find_if(std::begin(SIZES), std::end(SIZES), [this](const SizeRow& row) {
        return row.width == width && row.height == height;
    });
    if (size == std::end(SIZES) || !frameRate.isValid()) {
        return false;
    }
    if (!interlaced) {
        return !segmented;
    }
    if (segmented) {
        return size->segmented && frameRate.rate <= HIGHEST_SEGMENTED_RATE;
    }
    return size->interlaced && frameRate.rate >= LOWEST_INTERLACED_RATE &&
           frameRate.rate <= HIGHEST_INTERLACED_RATE;
}

quint32 VideoStandard2110Params::pgroupOctets() const
{
    return findPixelGroup(sampling, bitDepth).octets;
}

quint32 VideoStandard2110Params::pgroupPixels() const
{
    return findPixelGroup(sampling, bitDepth).pixels;
}

QString VideoStandard2110Params::toString() const
{
    return QStringLiteral("%1x%2 %3 %4 %5:%6 %7 %8")
        .arg(QString::number(width), QString::number(height),
             getPictureFormatText(interlaced, segmented),
             frameRate.toString(interlaced && !segmented), IpTypes::toString(sampling),
             IpTypes::toString(bitDepth), IpTypes::toString(colourimetry),
             IpTypes::toString(transferCurve));
}

QString VideoStandard2110Params::serialise() const
{
    FieldText text;
    Fields::List::write(text, u',', *this);
    return toQString(text);
}

VideoStandard2110Params VideoStandard2110Params::deserialise(QStringView text, bool& ok)
{
    VideoStandard2110Params params;
    ok = Fields::List::read(text, u',', params);
    if (!ok) {
        return {};
    }
    params.paramsValid = params.areParamsValid();
    return params;
}

bool operator==(const VideoStandard2110Params& a, const VideoStandard2110Params& b)
{
    return VideoStandard2110Params::Fields::List::same(a, b);
}

} // namespace IpTypes
} // namespace Tessorn
