#include "infrastructure/utility/video/generation/SdiColourConverter.h"

#include "infrastructure/utility/video/generation/ColourKernels_p.h"

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
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
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
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
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

namespace {

using Matrix = SdiColourConverter::Matrix;

constexpr BitDepth DEPTHS[] = {BitDepth_10FullRange, BitDepth_10, BitDepth_12,
                               BitDepth_12FullRange};

/// Every matrix there is for the way back, and some with results beyond all limits.
std::vector<Matrix> matricesBack()
{
    using Converter = SdiColourConverter;
    return {Converter::getInverseMatrix(Colourimetry_Rec709),
            Converter::getInverseMatrix(Colourimetry_Uhdtv),
            Converter::getInverseMatrix(Colourimetry_Rec601),
            Converter::YCBCR_TO_RGB_REC709,
            Converter::YCBCR_TO_RGB_REC601,
            Converter::NO_CONVERSION,
            {9, -9, 9, 31, 0, 0, 0, 0, -1},
            {1e300, 1e308, 1e308, -1e300, 1e-300, 0, 1e9, 1, 1},
            {1, 0, 0, NAN, 0, 0, 0, 0, 1}};
}

/// The definition of the way back, in doubles alone.
PixelDataRGB backInDoubles(const PixelDataYCbCr& pixel, const Matrix& m, BitDepth depth,
                           RgbRange range)
{
    struct Rule
    {
        double lumaScale, lumaOffset, chromaScale, chromaOffset, highest, unit;
    };
    static constexpr Rule RULES[] = {{1023, 0, 1023, 512, 1023, 1},
                                     {876, 64, 896, 512, 1023, 1},
                                     {3504, 256, 3584, 2048, 4095, 4},
                                     {4095, 0, 4095, 2048, 4095, 4}};
    const Rule& rule = RULES[depth];
    const double y = (pixel.y - rule.lumaOffset) * (876 / rule.lumaScale);
    const double cb = (pixel.cb - rule.chromaOffset) * (896 / rule.chromaScale);
    const double cr = (pixel.cr - rule.chromaOffset) * (896 / rule.chromaScale);
    const bool isFull = range == RgbRange_Full;
    const auto result = [&](std::size_t row) {
        const double rgb = y * m[row] + cb * m[row + 1] + cr * m[row + 2];
        const double scaled = isFull ? rgb * (rule.highest / 1023) + 0.5
                                     : rgb * (876 * rule.unit / 1023) + (64 * rule.unit + 0.5);
        const double low = isFull ? 0 : 4 * rule.unit;
        const double high = isFull ? rule.highest : rule.highest - 4 * rule.unit;
        return static_cast<quint16>(scaled > low ? std::min(std::trunc(scaled), high) : low);
    };
    return {result(0), result(3), result(6)};
}

/// The words as Y'CbCr, and what they are converted to in place.
std::vector<PixelDataRGB> convertedBack(std::vector<PixelDataRGB> words, const Matrix& matrix,
                                        BitDepth depth, RgbRange range)
{
    PictureBuffer picture{PixelFormat_YCbCr, quint32(words.size()), 1, &words[0].r};
    SdiColourConverter::convertYCbCrToRgb(picture, matrix, depth, range);
    CHECK(picture.format == PixelFormat_RGB);
    return words;
}

std::size_t countDifferencesBack(const std::vector<PixelDataRGB>& words, const Matrix& matrix,
                                 BitDepth depth, RgbRange range)
{
    const std::vector<PixelDataRGB> result = convertedBack(words, matrix, depth, range);
    std::size_t differences = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const PixelDataYCbCr pixel{words[i].r, words[i].g, words[i].b};
        differences += result[i] != backInDoubles(pixel, matrix, depth, range) ? 1 : 0;
    }
    return differences;
}

} // namespace

TEST_CASE("Colours convert back as exact fractions say", "[colour]")
{
    using Converter = SdiColourConverter;
    const LogCapture log;
    const Matrix& rec709 = Converter::getInverseMatrix(Colourimetry_Rec709);
    const Matrix& rec2020 = Converter::getInverseMatrix(Colourimetry_Uhdtv);
    const Matrix& rec601 = Converter::getInverseMatrix(Colourimetry_Rec601);
    // Calculated apart from this code, from the decimal figures, with the inverses in fractions.
    const Table<Matrix, BitDepth, RgbRange, PixelDataRGB, PixelDataRGB> rows{
        {Converter::YCBCR_TO_RGB_REC709,
         BitDepth_10,
         RgbRange_Full,
         {940, 512, 512},
         {1023, 1023, 1023}},
        {Converter::YCBCR_TO_RGB_REC709,
         BitDepth_10,
         RgbRange_Full,
         {500, 300, 700},
         {847, 454, 60}},
        {Converter::YCBCR_TO_RGB_REC709,
         BitDepth_10,
         RgbRange_Narrow,
         {500, 400, 600},
         {636, 480, 297}},
        {Converter::YCBCR_TO_RGB_REC601,
         BitDepth_10,
         RgbRange_Full,
         {400, 600, 450},
         {293, 415, 571}},
        {Converter::YCBCR_TO_RGB_REC601,
         BitDepth_12,
         RgbRange_Narrow,
         {1600, 2400, 1800},
         {1260, 1676, 2210}},
        {rec709, BitDepth_10, RgbRange_Narrow, {877, 64, 553}, {940, 940, 64}},
        {rec709, BitDepth_10FullRange, RgbRange_Full, {600, 500, 480}, {550, 617, 578}},
        {rec2020, BitDepth_10, RgbRange_Narrow, {541, 381, 623}, {701, 500, 300}},
        {rec2020, BitDepth_12, RgbRange_Full, {1797, 2702, 1495}, {869, 2039, 3207}},
        {rec2020, BitDepth_12FullRange, RgbRange_Full, {4095, 2048, 2048}, {4095, 4095, 4095}},
        {rec601, BitDepth_10, RgbRange_Narrow, {426, 805, 895}, {940, 65, 940}},
        {rec601, BitDepth_12FullRange, RgbRange_Narrow, {3000, 1500, 2500}, {3354, 2703, 2049}},
        {Converter::NO_CONVERSION, BitDepth_10, RgbRange_Full, {500, 612, 400}, {436, 100, 0}},
        {Converter::NO_CONVERSION, BitDepth_12, RgbRange_Narrow, {4095, 4095, 0}, {3543, 2009, 16}},
    };
    for (const auto& [matrix, depth, range, words, expected] : rows) {
        CAPTURE(quint32(depth), range, words.r, words.g, words.b);
        CHECK(convertedBack({words}, matrix, depth, range) == std::vector<PixelDataRGB>{expected});
    }
    CHECK(log.lines().isEmpty());
    CHECK(Converter::getInverseMatrix(Colourimetry_Vanc) == Converter::NO_CONVERSION);
    CHECK(log.lines() == lines({"error: Unsupported Colourimetry for colour conversion."}));
}

TEST_CASE("Every colour converts back as the doubles do, to the last bit", "[colour]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    std::vector<PixelDataRGB> edges(128); // black, and planes through the middle of the others
    for (unsigned a = 0; a < 4096; a += 3) {
        const auto v = static_cast<quint16>(a);
        for (unsigned b = 0; b < 4096; b += 63) {
            const auto w = static_cast<quint16>(b);
            edges.insert(edges.end(), {{v, w, 512}, {v, 2048, w}, {1000, v, w}});
        }
    }
    for (const Matrix& matrix : matricesBack()) {
        for (const BitDepth depth : DEPTHS) {
            for (const RgbRange range : {RgbRange_Narrow, RgbRange_Full}) {
                CAPTURE(matrix, quint32(depth), range);
                CHECK(countDifferencesBack(edges, matrix, depth, range) == 0);
                for (const unsigned highest : {1023u, 4095u, 65535u}) {
                    CHECK(countDifferencesBack(randomPixels(10007, highest), matrix, depth,
                                               range) == 0);
                }
            }
        }
    }
}

TEST_CASE("All 2^30 colours convert there and back as the doubles do", "[.][long][colour]")
{
    const Matrix& matrix = SdiColourConverter::getInverseMatrix(Colourimetry_Rec709);
    std::size_t differences = 0;
    std::vector<PixelDataRGB> plane(1024 * 1024);
    for (unsigned y = 0; y < 1024; ++y) {
        for (unsigned i = 0; i < plane.size(); ++i) {
            plane[i] = {quint16(y), quint16(i / 1024), quint16(i % 1024)};
        }
        differences += countDifferences(plane, Colourimetry_Rec709, BitDepth_10);
        differences += countDifferencesBack(plane, matrix, BitDepth_10, RgbRange_Full);
    }
    CHECK(differences == 0);
}

TEST_CASE("There and back again is a step at most", "[colour]")
{
    const Colourimetry colourimetry =
        GENERATE(Colourimetry_Rec709, Colourimetry_Uhdtv, Colourimetry_Rec601);
    const BitDepth depth = GENERATE(BitDepth_10, BitDepth_12);
    const Matrix& back = SdiColourConverter::getInverseMatrix(colourimetry);
    const int unit = depth == BitDepth_10 ? 1 : 4;
    auto pixels = randomPixels(20000, unsigned(876 * unit));
    for (PixelDataRGB& pixel : pixels) {
        for (quint16* word : {&pixel.r, &pixel.g, &pixel.b}) {
            *word = static_cast<quint16>(*word + 64 * unit);
        }
    }
    std::vector<PixelDataRGB> words;
    for (const PixelDataYCbCr& pixel : converted(pixels, colourimetry, depth)) {
        words.push_back({pixel.y, pixel.cb, pixel.cr});
    }
    const auto result = convertedBack(words, back, depth, RgbRange_Narrow);
    int furthest = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        // Rec.601 has colours outside the limits of its words.
        if (std::min(words[i].g, words[i].b) > 64 * unit &&
            std::max(words[i].g, words[i].b) < 960 * unit) {
            furthest = std::max({furthest, std::abs(result[i].r - pixels[i].r),
                                 std::abs(result[i].g - pixels[i].g),
                                 std::abs(result[i].b - pixels[i].b)});
        }
    }
    CHECK(furthest > 0);
    CHECK(furthest <= 2);
}

TEST_CASE("Pixels of every form become opaque pixels of 16 bits", "[colour]")
{
    const BitDepth depth =
        GENERATE(BitDepth_10FullRange, BitDepth_10, BitDepth_12, BitDepth_12FullRange);
    const unsigned bits = is10Bit(depth) ? 10 : 12;
    const Matrix& matrix = SdiColourConverter::YCBCR_TO_RGB_REC601;
    const Matrix onlyRange{1023.0 / 876, 0, 0, 0, 1023.0 / 876, 0, 0, 0, 1023.0 / 876};
    for (std::size_t count = 1; count < 300; count += 7) {
        const auto words = randomPixels(count, (1u << bits) - 1);
        std::vector<PixelDataYCbCr> yCbCr;
        std::vector<PixelDataAYCrCb> ayCrCb;
        for (const PixelDataRGB& pixel : words) {
            yCbCr.push_back({pixel.r, pixel.g, pixel.b});
            ayCrCb.push_back({pixel.b, pixel.r, pixel.g, 77});
        }
        const auto argb = withAlpha(words);
        // R'G'B' has the range of luma in all three; the colour differences' offset makes up for
        // it.
        const auto expected = [&](std::size_t i, bool isRgb) {
            const quint16 in[] = {words[i].r, words[i].g, words[i].b};
            quint16 out[3];
            const PixelDataRGB viaMatrix = backInDoubles(yCbCr[i], matrix, depth, RgbRange_Full);
            const quint16 direct[] = {viaMatrix.r, viaMatrix.g, viaMatrix.b};
            for (int k = 0; k < 3; ++k) {
                const unsigned value =
                    isRgb ? backInDoubles({in[k], 0, 0}, onlyRange, depth, RgbRange_Full).r
                          : direct[k];
                out[k] = static_cast<quint16>(value << (16 - bits) | value >> (2 * bits - 16));
            }
            return PixelDataARGB{out[0], out[1], out[2], 65535};
        };
        const Table<PixelRun, bool> runs{{{words.data(), count}, true},
                                         {{argb.data(), count}, true},
                                         {{yCbCr.data(), count}, false},
                                         {{ayCrCb.data(), count}, false}};
        for (const auto& [run, isRgb] : runs) {
            CAPTURE(count, quint32(run.format));
            std::vector<PixelDataARGB> result(count + 1, PixelDataARGB{1, 2, 3, 4});
            REQUIRE(SdiColourConverter::convertToRgba64(run, matrix, depth, result.data()));
            for (std::size_t i = 0; i < count; ++i) {
                REQUIRE(result[i] == expected(i, isRgb));
            }
            REQUIRE(result[count] == PixelDataARGB{1, 2, 3, 4});
        }
    }
}

TEST_CASE("Alpha stays on the way back, and so does a picture of another form", "[colour]")
{
    const Matrix& matrix = SdiColourConverter::getInverseMatrix(Colourimetry_Uhdtv);
    const auto words = randomPixels(13 * 11, 1023);
    auto argb = withAlpha(words); // taken as Cr, Y, Cb and alpha
    PictureBuffer picture{PixelFormat_AYCrCb, 13, 11, &argb[0].r};
    SdiColourConverter::convertYCbCrToRgb(picture, matrix, BitDepth_10, RgbRange_Full);
    CHECK(picture.format == PixelFormat_ARGB);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const PixelDataRGB pixel =
            backInDoubles({words[i].g, words[i].b, words[i].r}, matrix, BitDepth_10, RgbRange_Full);
        REQUIRE(argb[i] == PixelDataARGB{pixel.r, pixel.g, pixel.b, quint16(i * 7919)});
    }
    const auto before = argb; // it is R'G'B' now
    SdiColourConverter::convertYCbCrToRgb(picture, matrix, BitDepth_10, RgbRange_Full);
    CHECK(argb == before);
    CHECK(picture.format == PixelFormat_ARGB);
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
    CHECK(picture.format == PixelFormat_RGB);
    picture.format = PixelFormat_YCbCr;
    const Matrix& matrix = SdiColourConverter::NO_CONVERSION;
    SdiColourConverter::convertYCbCrToRgb(picture, matrix, BitDepth(4), RgbRange_Full);
    CHECK(picture.format == PixelFormat_YCbCr);
    CHECK(pixels == before);
    PixelDataARGB pixel{1, 2, 3, 4};
    CHECK_FALSE(SdiColourConverter::convertToRgba64(picture, matrix, BitDepth(4), &pixel));
    CHECK(log.lines().count("error: Unsupported bit depth for colour conversion: 4"_s) == 4);
    picture.format = PixelFormat(4);
    CHECK_FALSE(SdiColourConverter::convertToRgba64(picture, matrix, BitDepth_10, &pixel));
    CHECK(pixel == PixelDataARGB{1, 2, 3, 4});
}

TEST_CASE("Colour kernels give the same in both forms", "[colour][kernels]")
{
    if (!hasVectorKernels()) {
        return;
    }
    const ColourKernels* const forms[] = {&ColourKernels::of(PlainForm()),
                                          &ColourKernels::of(VectorForm())};
    std::mt19937 random(1);
    const auto fill = [&](quint16* words, std::size_t count, unsigned bits) {
        std::generate_n(words, count, [&] { return quint16(random() & ((1u << bits) - 1)); });
    };
    std::size_t doubts = 0;
    for (int round = 0; round < 1000; ++round) {
        const bool is10 = round % 2 == 0;
        ColourEstimate estimate = {};
        REQUIRE(estimate.set({{{0.2126, 0.7152, 0.0722}, round / 100.0, 64, 940},
                              {{-0.1172, -0.3943, 0.5115}, 511.7, 64, 960},
                              {{0.5115, -0.4646, -0.0469}, 2048, 0, 65535}},
                             is10 ? 1023 : 4095));
        std::vector<quint16> words(4 * ColourBlock::PIXELS + 1);
        fill(words.data(), words.size(), 16);
        for (std::size_t format = 0; format < ColourKernels::FORMATS; ++format) {
            CAPTURE(round, format);
            ColourBlock blocks[2] = {};
            std::vector<quint16> results[2] = {words, words};
            quint16 bits[2];
            for (std::size_t i = 0; i < 2; ++i) {
                bits[i] = forms[i]->take[format](words.data() + 1, is10 ? 6 : 4, blocks[i]);
                forms[i]->estimate(estimate, blocks[i]);
                forms[i]->give[format](blocks[i], is10 ? 10 : 0, results[i].data() + 1);
            }
            REQUIRE(bits[0] == bits[1]);
            REQUIRE(std::memcmp(&blocks[0], &blocks[1], sizeof blocks[0]) == 0);
            REQUIRE(results[0] == results[1]);
            doubts += std::size_t(ColourBlock::PIXELS) -
                      std::size_t(
                          std::count(std::begin(blocks[0].doubts), std::end(blocks[0].doubts), 0));
        }
    }
    // Half have doubts of 15 in 2^12, half of 15 in 2^10.
    CHECK(doubts > 4000);
    CHECK(doubts < 6000);
}
