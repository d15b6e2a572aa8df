// Frame rates and parameter sets of video on IP: which exist, their texts, their pixel groups.
#include "infrastructure/ip/2110/VideoStandard2110Params.h"
#include "sw/infrastructure_test/Catch.h"

#include <array>
#include <set>

using namespace Tessorn::IpTypes;

namespace {

VideoStandard2110Params makeParams(quint32 width, quint32 height, quint32 rate, bool interlaced,
                                   bool segmented, quint32 denominator = 1000,
                                   Sampling2110 sampling = Sampling2110_422YCbCr,
                                   BitDepth2110 depth = BitDepth2110_10)
{
    return {width,
            height,
            sampling,
            depth,
            Colourimetry2110_Bt709,
            FrameRate2110{rate, denominator},
            TransferCurve2110_Sdr,
            interlaced,
            segmented};
}

const std::set<std::pair<quint32, quint32>> RATES{{24, 1000},  {25, 1000}, {30, 1000}, {48, 1000},
                                                  {50, 1000},  {60, 1000}, {96, 1000}, {100, 1000},
                                                  {120, 1000}, {24, 1001}, {30, 1001}, {48, 1001},
                                                  {60, 1001},  {96, 1001}, {120, 1001}};

/// Width, height, rate, denominator, interlaced, segmented.
using Standard = std::array<quint32, 6>;

std::set<Standard> allCarried()
{
    std::set<Standard> all;
    for (const auto& [rate, denominator] : RATES) {
        all.insert({1280, 720, rate, denominator, 0, 0});
        all.insert({1920, 1080, rate, denominator, 0, 0});
        all.insert({2048, 1080, rate, denominator, 0, 0});
        all.insert({3840, 2160, rate, denominator, 0, 0});
        all.insert({4096, 2160, rate, denominator, 0, 0});
        if (rate == 24 || rate == 25 || rate == 30) {
            all.insert({1920, 1080, rate, denominator, 1, 1});
            all.insert({2048, 1080, rate, denominator, 1, 1});
        }
        if (rate == 25 || rate == 30) {
            all.insert({1920, 1080, rate, denominator, 1, 0});
        }
    }
    return all;
}

} // namespace

TEST_CASE("A frame rate exists over 1000, and over 1001 where it is no multiple of 25", "[ip]")
{
    for (quint32 rate = 0; rate < 130; ++rate) {
        for (const quint32 denominator : {0u, 1u, 999u, 1000u, 1001u, 1002u}) {
            CAPTURE(rate, denominator);
            const FrameRate2110 frameRate{rate, denominator};
            CHECK(frameRate.isValid() == (RATES.count({rate, denominator}) != 0));
            CHECK(frameRate.is1001() == (denominator == 1001));
        }
    }
    CHECK(FrameRate2110() == FrameRate2110{25, 1000});
}

TEST_CASE("A frame rate's text is read back, and no other text", "[ip]")
{
    for (const FrameRate2110& rate :
         {FrameRate2110{24, 1001}, FrameRate2110{30, 1001}, FrameRate2110{48, 1001},
          FrameRate2110{60, 1001}, FrameRate2110{24, 1000}, FrameRate2110{25, 1000},
          FrameRate2110{60, 1000}}) {
        bool ok = false;
        CHECK(FrameRate2110::fromString(rate.toString(), &ok) == rate);
        CHECK(ok);
    }
    bool ok = true;
    CHECK(FrameRate2110::fromString(u"120", &ok) == FrameRate2110{60, 1000});
    CHECK_FALSE(ok);
    CHECK(FrameRate2110{60, 1001}.toString(true) == "119.88"_s);
    CHECK(FrameRate2110{120, 1001}.toString() == "120000/1001"_s);
    CHECK(FrameRate2110{25, 1000}.toString(true) == "50"_s);
}

TEST_CASE("Parameters are valid where the instrument carries the standard", "[ip]")
{
    const std::set<Standard> carried = allCarried();
    std::size_t validCount = 0;
    for (const quint32 width : {0u, 400u, 720u, 1280u, 1920u, 2048u, 3840u, 4096u}) {
        for (const quint32 height : {0u, 300u, 486u, 720u, 1080u, 2160u}) {
            for (quint32 rate = 0; rate <= 121; ++rate) {
                for (const quint32 denominator : {1000u, 1001u, 1u}) {
                    for (const quint32 scan : {0u, 1u, 2u, 3u}) {
                        const Standard standard{width,       height,   rate,
                                                denominator, scan & 1, scan >> 1};
                        const bool isValid = makeParams(width, height, rate, standard[4] != 0,
                                                        standard[5] != 0, denominator)
                                                 .getParamsValid();
                        CAPTURE(standard);
                        REQUIRE(isValid == (carried.count(standard) != 0));
                        validCount += isValid ? 1 : 0;
                    }
                }
            }
        }
    }
    CHECK(validCount == carried.size());
    CHECK(VideoStandard2110Params().getParamsValid());
    CHECK(VideoStandard2110Params() == makeParams(1920, 1080, 25, true, false));
}

TEST_CASE("Parameters are shown with the field rate of an interlaced picture", "[ip]")
{
    CHECK(VideoStandard2110Params().toString() == "1920x1080 i 50 YCbCr:422:10 BT709 SDR"_s);
    CHECK(makeParams(1920, 1080, 30, true, true, 1001).toString() ==
          "1920x1080 psf 29.97 YCbCr:422:10 BT709 SDR"_s);
    CHECK(VideoStandard2110Params(3840, 2160, Sampling2110_444ICtCp, BitDepth2110_16Float,
                                  Colourimetry2110_Bt2100, {60, 1001},
                                  TransferCurve2110_Bt2100LinearHlg, false, false)
              .toString() == "3840x2160 p 59.94 ICtCp:444:16f BT2100 BT2100LINHLG"_s);
}

TEST_CASE("A pixel group holds its pixels' samples exactly", "[ip]")
{
    // SMPTE ST 2110-20:2017, tables 1 to 3: octets and pixels by family, and by the depths 10, 12,
    // 8, 16 and 16 float.
    const std::pair<quint32, quint32> groups[4][5] = {
        {{5, 2}, {6, 2}, {4, 2}, {8, 2}, {8, 2}},
        {{15, 4}, {9, 2}, {3, 1}, {6, 1}, {6, 1}},
        {{15, 8}, {9, 4}, {6, 4}, {0, 0}, {0, 0}},
        {{5, 4}, {3, 2}, {1, 1}, {2, 1}, {2, 1}},
    };
    const quint32 families[] = {0, 1, 2, 1, 0, 2, 1, 0, 2, 1, 1, 3};
    for (quint32 sampling = 0; sampling < 14; ++sampling) {
        for (quint32 depth = 0; depth < 7; ++depth) {
            const auto params = makeParams(1920, 1080, 25, false, false, 1000,
                                           Sampling2110(sampling), BitDepth2110(depth));
            CAPTURE(sampling, depth);
            const auto expected = sampling < std::size(families) && depth < 5
                                      ? groups[families[sampling]][depth]
                                      : std::pair(0u, 0u);
            CHECK(std::pair(params.pgroupOctets(), params.pgroupPixels()) == expected);
        }
    }
}

TEST_CASE("Parameters survive their stored text, valid or not", "[ip]")
{
    CHECK(VideoStandard2110Params().serialise() == "1920,1080,0,0,0,25/1000,0,true,false"_s);
    const VideoStandard2110Params mixed(3840, 2161, Sampling2110_Key, BitDepth2110_16Float,
                                        Colourimetry2110_Xyz, {60, 1001}, TransferCurve2110_Density,
                                        false, true);
    const QString text = "3840,2161,11,4,7,60/1001,9,false,true"_s;
    CHECK(mixed.serialise() == text);
    CHECK(std::tuple(mixed.getWidth(), mixed.getHeight(), mixed.getSampling(), mixed.getBitDepth(),
                     mixed.getColourimetry(), mixed.getTransferCurve(), mixed.getInterlaced(),
                     mixed.getSegmented()) == std::tuple(3840u, 2161u, Sampling2110_Key,
                                                         BitDepth2110_16Float, Colourimetry2110_Xyz,
                                                         TransferCurve2110_Density, false, true));
    CHECK(mixed.getFrameRate() == FrameRate2110{60, 1001});
    bool read = false;
    CHECK(VideoStandard2110Params::deserialise(text, read) == mixed);
    CHECK(read);
    CHECK_FALSE(VideoStandard2110Params::deserialise(text, read).getParamsValid());
    CHECK(makeParams(1920, 1080, 30, true, false) != VideoStandard2110Params());
    CHECK(makeParams(1920, 1080, 25, true, false, 1001) != VideoStandard2110Params());
    for (const char16_t* bad :
         {u"", u"1920,1080,0,0,0,25/1000,0,true", u"1920,1080,0,0,0,25/1000,0,true,false,",
          u"1920,1080,12,0,0,25/1000,0,true,false", u"1920,1080,0,5,0,25/1000,0,true,false",
          u"1920,1080,0,0,8,25/1000,0,true,false", u"1920,1080,0,0,0,25/1000,10,true,false",
          u"1920,1080,0,0,0,25,0,true,false", u"1920,1080,0,0,0,25/1000/1,0,true,false",
          u"1920,1080,0,0,0,25/1000,0,T,false", u"1920x1080 i 50 YCbCr:422:10 BT709 SDR"}) {
        CAPTURE(QString::fromUtf16(bad));
        bool ok = true;
        CHECK(VideoStandard2110Params::deserialise(bad, ok) == VideoStandard2110Params());
        CHECK_FALSE(ok);
    }
}
