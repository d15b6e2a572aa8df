// Frame rates and parameter sets of video on IP: which exist, their texts, their pixel groups.
#include "infrastructure/ip/2110/VideoStandard2110Params.h"
#include "sw/infrastructure_test/Catch.h"

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

bool isRateExpected(quint32 rate, quint32 denominator)
{
    const std::set<quint32> rates{24, 25, 30, 48, 50, 60, 96, 100, 120};
    return rates.count(rate) != 0 &&
           (denominator == 1000 || (denominator == 1001 && rate % 25 != 0));
}

/// One rule after the other, each of which can only take validity away.
bool isExpectedValid(quint32 width, quint32 height, quint32 rate, quint32 denominator,
                     bool interlaced, bool segmented)
{
    bool valid = true;
    switch (height) {
    case 720:
        valid = width == 1280;
        break;
    case 1080:
        valid = width == 1920 || width == 2048;
        break;
    case 2160:
        valid = width == 3840 || width == 4096;
        break;
    default:
        valid = false;
    }
    if (segmented && !interlaced) {
        valid = false;
    }
    if (!isRateExpected(rate, denominator)) {
        valid = false;
    }
    if (!interlaced) {
        return valid;
    }
    if (!segmented && height == 1080 && width == 2048) {
        valid = false;
    }
    if (height == 720 || height == 2160) {
        valid = false;
    }
    return valid && rate <= 30 && (segmented || rate >= 25);
}

} // namespace

TEST_CASE("A frame rate exists over 1000, and over 1001 where it is no multiple of 25", "[ip]")
{
    for (quint32 rate = 0; rate < 130; ++rate) {
        for (const quint32 denominator : {0u, 1u, 999u, 1000u, 1001u, 1002u}) {
            CAPTURE(rate, denominator);
            const FrameRate2110 frameRate{rate, denominator};
            CHECK(frameRate.isValid() == isRateExpected(rate, denominator));
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
    CHECK(FrameRate2110{60, 1001}.toString(true) == QStringLiteral("119.88"));
    CHECK(FrameRate2110{120, 1001}.toString() == QStringLiteral("120000/1001"));
    CHECK(FrameRate2110{25, 1000}.toString(true) == QStringLiteral("50"));
}

TEST_CASE("Parameters are valid where the instrument carries the standard", "[ip]")
{
    int validCount = 0;
    for (const quint32 width : {0u, 400u, 720u, 1280u, 1920u, 2048u, 3840u, 4096u}) {
        for (const quint32 height : {0u, 300u, 486u, 720u, 1080u, 2160u}) {
            for (const quint32 rate :
                 {0u, 23u, 24u, 25u, 29u, 30u, 48u, 50u, 60u, 96u, 100u, 120u}) {
                for (const quint32 denominator : {1000u, 1001u, 1u}) {
                    for (const int scan : {0, 1, 2, 3}) {
                        const bool interlaced = (scan & 1) != 0;
                        const bool segmented = (scan & 2) != 0;
                        const auto params =
                            makeParams(width, height, rate, interlaced, segmented, denominator);
                        CAPTURE(width, height, rate, denominator, interlaced, segmented);
                        REQUIRE(params.getParamsValid() == isExpectedValid(width, height, rate,
                                                                           denominator, interlaced,
                                                                           segmented));
                        validCount += params.getParamsValid() ? 1 : 0;
                    }
                }
            }
        }
    }
    // Progressive: 5 sizes at 9 rates over 1000 and 6 over 1001. Interlaced: one size at 25, 30 and
    // 29.97. Segmented: two sizes at 24, 25, 30, 23.98 and 29.97.
    CHECK(validCount == 5 * 15 + 3 + 2 * 5);

    // Standards that are on the air, and some that look like them.
    CHECK(makeParams(1280, 720, 60, false, false).getParamsValid());
    CHECK(makeParams(1920, 1080, 30, true, false).getParamsValid());
    CHECK(makeParams(1920, 1080, 30, true, true).getParamsValid());
    CHECK_FALSE(makeParams(2048, 1080, 30, true, false).getParamsValid());
    CHECK_FALSE(makeParams(1920, 1080, 24, true, false).getParamsValid());
    CHECK_FALSE(makeParams(4096, 2160, 30, true, true).getParamsValid());
    CHECK_FALSE(makeParams(1920, 1080, 60, true, true).getParamsValid());
    CHECK(VideoStandard2110Params().getParamsValid());
    CHECK(VideoStandard2110Params() == makeParams(1920, 1080, 25, true, false));
}

TEST_CASE("Parameters are shown with the field rate of an interlaced picture", "[ip]")
{
    CHECK(VideoStandard2110Params().toString() ==
          QStringLiteral("1920x1080 i 50 YCbCr:422:10 BT709 SDR"));
    CHECK(makeParams(1920, 1080, 30, true, true, 1001).toString() ==
          QStringLiteral("1920x1080 psf 29.97 YCbCr:422:10 BT709 SDR"));
    CHECK(VideoStandard2110Params(3840, 2160, Sampling2110_444ICtCp, BitDepth2110_16Float,
                                  Colourimetry2110_Bt2100, {60, 1001},
                                  TransferCurve2110_Bt2100LinearHlg, false, false)
              .toString() == QStringLiteral("3840x2160 p 59.94 ICtCp:444:16f BT2100 BT2100LINHLG"));
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
    CHECK(VideoStandard2110Params().serialise() ==
          QStringLiteral("1920,1080,0,0,0,25/1000,0,true,false"));
    const VideoStandard2110Params mixed(3840, 2161, Sampling2110_Key, BitDepth2110_16Float,
                                        Colourimetry2110_Xyz, {60, 1001}, TransferCurve2110_Density,
                                        false, true);
    const QString text = QStringLiteral("3840,2161,11,4,7,60/1001,9,false,true");
    CHECK(mixed.serialise() == text);
    CHECK(mixed.getWidth() == 3840);
    CHECK(mixed.getHeight() == 2161);
    CHECK(mixed.getSampling() == Sampling2110_Key);
    CHECK(mixed.getBitDepth() == BitDepth2110_16Float);
    CHECK(mixed.getColourimetry() == Colourimetry2110_Xyz);
    CHECK(mixed.getFrameRate() == FrameRate2110{60, 1001});
    CHECK(mixed.getTransferCurve() == TransferCurve2110_Density);
    CHECK_FALSE(mixed.getInterlaced());
    CHECK(mixed.getSegmented());
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
