// Words of video on IP in the terms of a payload identifier.
#include "infrastructure/ip/2110/SdiFrom2110.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;
using namespace Tessorn::Sdi::PayloadId;

namespace {

/// The values of 0 to 20 that convert, and what all of them give.
template <typename IpValue, typename SdiValue>
void checkConversion(const std::vector<std::pair<IpValue, SdiValue>>& convertible,
                     SdiValue otherwise)
{
    for (quint32 number = 0; number < 20; ++number) {
        CAPTURE(number);
        const auto row = std::find_if(convertible.begin(), convertible.end(),
                                      [number](const auto& pair) { return pair.first == number; });
        const bool known = row != convertible.end();
        const auto value = static_cast<IpValue>(number);
        bool ok = !known;
        CHECK(toSdi(value, &ok) == (known ? row->second : otherwise));
        CHECK(ok == known);
        CHECK(toSdi(value) == (known ? row->second : otherwise));
    }
}

} // namespace

TEST_CASE("Parameters convert to a payload identifier's where it has them, depths to bits", "[ip]")
{
    checkConversion<BitDepth2110, BitDepth>(
        {{BitDepth2110_10, BitDepth_10}, {BitDepth2110_12, BitDepth_12}}, BitDepth_10);
    checkConversion<Colourimetry2110, Colourimetry>(
        {{Colourimetry2110_Bt709, Colourimetry_Rec709},
         {Colourimetry2110_Bt2020, Colourimetry_Uhdtv},
         {Colourimetry2110_Bt601, Colourimetry_Rec601},
         {Colourimetry2110_Unspecified, Colourimetry_Unknown}},
        Colourimetry_Rec709);
    checkConversion<Sampling2110, SampleStructure>(
        {{Sampling2110_422YCbCr, SampleStructure_422YCbCr},
         {Sampling2110_444YCbCr, SampleStructure_444YCbCr},
         {Sampling2110_420YCbCr, SampleStructure_420YCbCr}},
        SampleStructure_422YCbCr);

    const TransferCurve curves[] = {TransferCurve_SdrTv, TransferCurve_Pq, TransferCurve_Hlg};
    for (quint32 number = 0; number < 20; ++number) {
        CHECK(toSdi(TransferCurve2110(number)) ==
              (number < 3 ? curves[number] : TransferCurve_Unspecified));
    }

    const quint32 bits[] = {10, 12, 8, 16, 16, 10, 10};
    for (quint32 depth = 0; depth < std::size(bits); ++depth) {
        CHECK(toBits(BitDepth2110(depth)) == bits[depth]);
    }
}
