#include "infrastructure/utility/video/generation/SdiColourConverter.h"

#include "infrastructure/utility/video/generation/ColourEstimate_p.h"

#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

namespace {

struct KnownAnswer
{
    Colourimetry colourimetry;
    BitDepth depth;
    PixelDataRGB rgb;
    PixelDataYCbCr expected;
};

/// Calculated in exact fractions, apart from this code, from the decimal figures.
constexpr KnownAnswer KNOWN_ANSWERS[] = {
    {Colourimetry_Rec709, BitDepth_10, {940, 940, 64}, {877, 64, 553}},
    {Colourimetry_Rec709, BitDepth_10, {0, 0, 0}, {64, 512, 512}},
    {Colourimetry_Rec709, BitDepth_10, {1023, 0, 0}, {217, 392, 960}},
    {Colourimetry_Rec709, BitDepth_10, {300, 500, 700}, {472, 638, 400}},
    {Colourimetry_Rec709, BitDepth_10FullRange, {1023, 1023, 0}, {1019, 4, 567}},
    {Colourimetry_Rec709, BitDepth_12, {4095, 0, 4095}, {1166, 3662, 3840}},
    {Colourimetry_Rec709, BitDepth_12FullRange, {4095, 4095, 0}, {4141, 0, 2267}},
    {Colourimetry_Rec709, BitDepth_12FullRange, {0, 4095, 0}, {3124, 203, 0}},
    {Colourimetry_Rec709, BitDepth_12FullRange, {65535, 65535, 65535}, {65535, 2048, 2048}},
    {Colourimetry_Uhdtv, BitDepth_10, {64, 940, 64}, {658, 189, 100}},
    {Colourimetry_Uhdtv, BitDepth_10, {700, 500, 300}, {541, 381, 623}},
    {Colourimetry_Uhdtv, BitDepth_12, {1000, 2000, 3000}, {1797, 2702, 1495}},
    {Colourimetry_Rec601, BitDepth_10, {940, 64, 940}, {426, 805, 895}},
    {Colourimetry_Rec601, BitDepth_10, {123, 456, 789}, {394, 736, 310}},
    {Colourimetry_Rec601, BitDepth_12, {3760, 3760, 256}, {3361, 256, 2345}},
    {Colourimetry_Rec601, BitDepth_10FullRange, {64, 64, 64}, {4, 512, 512}},
};

/// The definition, a pixel at a time, in doubles alone.
PixelDataYCbCr inDoubles(const PixelDataRGB& rgb, Colourimetry colourimetry, BitDepth depth)
{
    struct Rule
    {
        double inputScale, lumaScale, lumaOffset, chromaScale, chromaOffset;
        double lumaLow, lumaHigh, chromaLow, chromaHigh;
    };
    static constexpr Rule RULES[] = {
        {0.25, 1023, 0.5, 1023, 512, 4, 1019, 4, 1019},
        {0.25, 876, 64.5, 896, 512, 64, 940, 64, 960},
        {0.0625, 3504, 256.5, 3584, 2048, 256, 3760, 256, 3840},
        {0.0625, 4095, 0.5, 4095, 2048, 0, 65535, 0, 65535},
    };
    const Rule& rule = RULES[depth];
    const auto& m = SdiColourConverter::getRgbToYCbCrMatrix(colourimetry);
    const auto normalised = [&rule](quint16 word) {
        return (word * rule.inputScale - 16.0) * 0.0045662100456621;
    };
    const double r = normalised(rgb.r);
    const double g = normalised(rgb.g);
    const double b = normalised(rgb.b);
    const auto clamped = [](double value, double low, double high) {
        return static_cast<quint16>(std::min(std::max(std::trunc(value), low), high));
    };
    const auto chroma = [&](double value) {
        return clamped(value >= 0 ? value * rule.chromaScale + (rule.chromaOffset + 0.5)
                                  : std::ceil(value * rule.chromaScale - 0.5) + rule.chromaOffset,
                       rule.chromaLow, rule.chromaHigh);
    };
    return {clamped((r * m[0] + g * m[1] + b * m[2]) * rule.lumaScale + rule.lumaOffset,
                    rule.lumaLow, rule.lumaHigh),
            chroma(r * m[3] + g * m[4] + b * m[5]), chroma(r * m[6] + g * m[7] + b * m[8])};
}

std::vector<PixelDataRGB> randomPixels(std::size_t count, unsigned highest)
{
    std::mt19937 random(highest);
    std::uniform_int_distribution<unsigned> word(0, highest);
    std::vector<PixelDataRGB> pixels(count);
    for (PixelDataRGB& pixel : pixels) {
        pixel = {quint16(word(random)), quint16(word(random)), quint16(word(random))};
    }
    return pixels;
}

std::vector<PixelDataARGB> withAlpha(const std::vector<PixelDataRGB>& pixels)
{
    std::vector<PixelDataARGB> result;
    for (const PixelDataRGB& pixel : pixels) {
        result.push_back({pixel.r, pixel.g, pixel.b, quint16(result.size() * 7919)});
    }
    return result;
}

std::vector<PixelDataYCbCr> converted(const std::vector<PixelDataRGB>& pixels,
                                      Colourimetry colourimetry, BitDepth depth)
{
    std::vector<PixelDataYCbCr> result(5); // what was in it goes
    SdiColourConverter::convertRgbToYCbCr(pixels.data(), pixels.size(), colourimetry, depth,
                                          result);
    return result;
}

/// Counts the pixels that are not as the doubles have them.
std::size_t countDifferences(const std::vector<PixelDataRGB>& pixels, Colourimetry colourimetry,
                             BitDepth depth)
{
    const std::vector<PixelDataYCbCr> result = converted(pixels, colourimetry, depth);
    REQUIRE(result.size() == pixels.size());
    std::size_t differences = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        differences += result[i] != inDoubles(pixels[i], colourimetry, depth) ? 1 : 0;
    }
    return differences;
}

} // namespace

TEST_CASE("Colours convert as exact fractions say", "[colour]")
{
    for (const KnownAnswer& row : KNOWN_ANSWERS) {
        CAPTURE(quint32(row.colourimetry), quint32(row.depth), row.rgb.r, row.rgb.g, row.rgb.b);
        const auto result = converted({row.rgb}, row.colourimetry, row.depth);
        CHECK(result == std::vector<PixelDataYCbCr>{row.expected});
    }
}

TEST_CASE("Every colour converts as the doubles do, to the last bit", "[colour]")
{
    std::vector<PixelDataRGB> edges; // greys, and all that only two components make
    for (unsigned a = 0; a < 4096; a += 3) {
        const auto v = static_cast<quint16>(a);
        edges.push_back({v, v, v});
        for (unsigned b = 0; b < 4096; b += 63) {
            const auto w = static_cast<quint16>(b);
            edges.insert(edges.end(), {{v, w, 64}, {64, v, w}, {w, 64, v}});
        }
    }
    for (const Colourimetry colourimetry :
         {Colourimetry_Rec709, Colourimetry_Uhdtv, Colourimetry_Rec601}) {
        for (const BitDepth depth :
             {BitDepth_10FullRange, BitDepth_10, BitDepth_12, BitDepth_12FullRange}) {
            CAPTURE(quint32(colourimetry), quint32(depth));
            CHECK(countDifferences(edges, colourimetry, depth) == 0);
            for (const unsigned highest : {1023u, 4095u, 65535u}) {
                CHECK(countDifferences(randomPixels(100001, highest), colourimetry, depth) == 0);
            }
        }
    }
}

TEST_CASE("Every number of pixels converts whole, with 64 as alpha", "[colour]")
{
    for (std::size_t count = 0; count < 200; ++count) {
        const auto pixels = randomPixels(count, 1023);
        const auto expected = converted(pixels, Colourimetry_Rec709, BitDepth_10);
        const auto source = withAlpha(pixels);
        std::vector<PixelDataAYCrCb> result(3);
        SdiColourConverter::convertRgbToYCbCr(source.data(), source.size(), Colourimetry_Rec709,
                                              BitDepth_10, result);
        REQUIRE(expected.size() == count);
        REQUIRE(result.size() == count);
        for (std::size_t i = 0; i < count; ++i) {
            const PixelDataYCbCr& pixel = expected[i];
            REQUIRE(result[i] == PixelDataAYCrCb{pixel.cr, pixel.y, pixel.cb, 64});
            REQUIRE(pixel == inDoubles(pixels[i], Colourimetry_Rec709, BitDepth_10));
        }
    }
}

TEST_CASE("A picture buffer converts in place from the upper bits of its words", "[colour]")
{
    const BitDepth depth =
        GENERATE(BitDepth_10FullRange, BitDepth_10, BitDepth_12, BitDepth_12FullRange);
    const unsigned shift = depth == BitDepth_10 || depth == BitDepth_10FullRange ? 6 : 4;
    const auto pixels = randomPixels(13 * 11, 65535);
    auto rgb = pixels;
    auto argb = withAlpha(pixels);
    PictureBuffer narrow{PixelFormat_RGB, 13, 11, &rgb[0].r};
    PictureBuffer wide{PixelFormat_ARGB, 13, 11, &argb[0].r};
    SdiColourConverter::convertRgbToYCbCr(narrow, Colourimetry_Uhdtv, depth);
    SdiColourConverter::convertRgbToYCbCr(wide, Colourimetry_Uhdtv, depth);

    CHECK(narrow.format == PixelFormat_YCbCr);
    CHECK(wide.format == PixelFormat_AYCrCb);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const PixelDataRGB shifted{quint16(pixels[i].r >> shift), quint16(pixels[i].g >> shift),
                                   quint16(pixels[i].b >> shift)};
        const PixelDataYCbCr pixel = inDoubles(shifted, Colourimetry_Uhdtv, depth);
        REQUIRE(rgb[i] == PixelDataRGB{pixel.y, pixel.cb, pixel.cr});
        REQUIRE(argb[i] == PixelDataARGB{pixel.cr, pixel.y, pixel.cb, quint16(i * 7919)});
    }

    const auto before = rgb; // it is YCbCr now
    SdiColourConverter::convertRgbToYCbCr(narrow, Colourimetry_Uhdtv, depth);
    CHECK(rgb == before);
    CHECK(narrow.format == PixelFormat_YCbCr);
}

TEST_CASE("Colourimetries choose their matrix, and what has none is logged", "[colour]")
{
    using Converter = SdiColourConverter;
    const QString complaint = "error: Unsupported Colourimetry for colour conversion."_s;
    const Table<Colourimetry, Converter::Matrix, Converter::Matrix, int> rows{
        {Colourimetry_Rec709, Converter::RGB_TO_YCRCB_REC709, Converter::YCBCR_TO_RGB_REC709, 0},
        {Colourimetry_Rec601, Converter::RGB_TO_YCRCB_REC601, Converter::YCBCR_TO_RGB_REC601, 0},
        {Colourimetry_Uhdtv, Converter::RGB_TO_YCRCB_REC2020, Converter::NO_CONVERSION, 1},
        {Colourimetry_Vanc, Converter::NO_CONVERSION, Converter::NO_CONVERSION, 2},
        {Colourimetry_Unknown, Converter::NO_CONVERSION, Converter::NO_CONVERSION, 2},
    };
    for (const auto& [colourimetry, toYCbCr, toRgb, complaints] : rows) {
        const LogCapture log;
        CAPTURE(quint32(colourimetry));
        CHECK(Converter::getRgbToYCbCrMatrix(colourimetry) == toYCbCr);
        CHECK(Converter::getYCbCrToRgbMatrix(colourimetry) == toRgb);
        CHECK(log.lines().count(complaint) == complaints);
    }
    // Of their figures, each with a blank behind it, taken with sha256sum.
    QByteArray figures;
    for (const Converter::Matrix* matrix :
         {&Converter::NO_CONVERSION, &Converter::RGB_TO_YCRCB_REC2020,
          &Converter::RGB_TO_YCRCB_REC709, &Converter::RGB_TO_YCRCB_REC601,
          &Converter::YCBCR_TO_RGB_REC709, &Converter::YCBCR_TO_RGB_REC601}) {
        for (const double figure : *matrix) {
            figures += QByteArray::number(figure, 'g', 12) + ' ';
        }
    }
    CHECK(QCryptographicHash::hash(figures, QCryptographicHash::Sha256).toHex() ==
          "34613241a905f4e6d892b653fa459bebf2567f16fc643abb29a26198bd6e054d");

    const LogCapture log;
    const auto pixels = randomPixels(1000, 1023);
    CHECK(countDifferences(pixels, Colourimetry_Unknown, BitDepth_10) == 0);
    CHECK(converted({{500, 64, 512}}, Colourimetry_Unknown, BitDepth_10) ==
          std::vector<PixelDataYCbCr>{{500, 512, 960}});
    CHECK(log.contains(complaint));
}

TEST_CASE("A number that is no bit depth leaves everything as it was", "[colour]")
{
    const LogCapture log;
    auto pixels = randomPixels(10, 1023);
    const auto before = pixels;
    std::vector<PixelDataYCbCr> result{{1, 2, 3}};
    SdiColourConverter::convertRgbToYCbCr(pixels.data(), pixels.size(), Colourimetry_Rec709,
                                          BitDepth(4), result);
    CHECK(result == std::vector<PixelDataYCbCr>{{1, 2, 3}});
    PictureBuffer picture{PixelFormat_RGB, 5, 2, &pixels[0].r};
    SdiColourConverter::convertRgbToYCbCr(picture, Colourimetry_Rec709, BitDepth(4));
    CHECK(pixels == before);
    CHECK(picture.format == PixelFormat_RGB);
    CHECK(log.lines().count("error: Unsupported bit depth for colour conversion: 4"_s) == 2);
}

TEST_CASE("Estimates are the same with the widest vectors of the machine and without", "[colour]")
{
    const ColourEstimate estimate = {{{{0.2126f, 0.7152f, 0.0722f}, 0.125f, 64, 940},
                                      {{-0.1172f, -0.3943f, 0.5115f}, 511.75f, 64, 960},
                                      {{0.5115f, -0.4646f, -0.0469f}, 511.875f, 4, 1019}},
                                     0.4375f};
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round) {
        ColourBlock block = {};
        for (auto& component : block.components) {
            std::generate(std::begin(component), std::end(component),
                          [&] { return static_cast<quint16>(random() & 0x3FF); });
        }
        ColourBlock other = block;
        ColourEstimate::run(estimate, block);
        ColourEstimate::fastest()(estimate, other);
        REQUIRE(std::memcmp(&block, &other, sizeof block) == 0);
        const auto certain = std::count(std::begin(block.doubts), std::end(block.doubts), 0);
        REQUIRE(certain > 0);
        REQUIRE(certain < qint64(ColourBlock::PIXELS));
    }
}
