#include "infrastructure/ip/2110/SdiFrom2110.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using namespace Sdi::PayloadId;

template <typename IpValue, typename SdiValue>
struct SdiRow
{
    IpValue value;
    SdiValue sdi;
};

constexpr SdiRow<BitDepth2110, BitDepth> SDI_DEPTHS[] = {
    {BitDepth2110_10, BitDepth_10},
    {BitDepth2110_12, BitDepth_12},
};

constexpr SdiRow<Colourimetry2110, Colourimetry> SDI_COLOURIMETRIES[] = {
    {Colourimetry2110_Bt709, Colourimetry_Rec709},
    {Colourimetry2110_Bt2020, Colourimetry_Uhdtv},
    {Colourimetry2110_Bt601, Colourimetry_Rec601},
    {Colourimetry2110_Unspecified, Colourimetry_Unknown},
};

constexpr SdiRow<Sampling2110, SampleStructure> SDI_STRUCTURES[] = {
    {Sampling2110_422YCbCr, SampleStructure_422YCbCr},
    {Sampling2110_444YCbCr, SampleStructure_444YCbCr},
    {Sampling2110_420YCbCr, SampleStructure_420YCbCr},
};

constexpr SdiRow<TransferCurve2110, TransferCurve> SDI_CURVES[] = {
    {TransferCurve2110_Sdr, TransferCurve_SdrTv},
    {TransferCurve2110_Pq, TransferCurve_Pq},
    {TransferCurve2110_Hlg, TransferCurve_Hlg},
};

struct BitsRow
{
    BitDepth2110 value;
    quint32 bits;
};

constexpr BitsRow BITS[] = {
    {BitDepth2110_10, 10}, {BitDepth2110_12, 12},      {BitDepth2110_8, 8},
    {BitDepth2110_16, 16}, {BitDepth2110_16Float, 16},
};

template <typename IpValue, typename SdiValue, std::size_t count>
SdiValue convert(const SdiRow<IpValue, SdiValue> (&table)[count], IpValue value, SdiValue otherwise,
                 bool* ok)
{
    const auto* row = Vocabulary::find(table, value);
    if (ok != nullptr) {
        *ok = row != nullptr;
    }
    return row != nullptr ? row->sdi : otherwise;
}

} // namespace

BitDepth toSdi(BitDepth2110 depth, bool* ok)
{
    return convert(SDI_DEPTHS, depth, BitDepth_10, ok);
}

Colourimetry toSdi(Colourimetry2110 colourimetry, bool* ok)
{
    return convert(SDI_COLOURIMETRIES, colourimetry, Colourimetry(0), ok);
}

SampleStructure toSdi(Sampling2110 sampling, bool* ok)
{
    return convert(SDI_STRUCTURES, sampling, SampleStructure(0), ok);
}

TransferCurve toSdi(TransferCurve2110 curve)
{
    return convert(SDI_CURVES, curve, TransferCurve_Unspecified, nullptr);
}

quint32 toBits(BitDepth2110 depth)
{
    const BitsRow* row = Vocabulary::find(BITS, depth);
    return row != nullptr ? row->bits : 10;
}

} // namespace IpTypes
} // namespace Tessorn
