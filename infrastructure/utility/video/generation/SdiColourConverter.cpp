// Fast where it is certain: a result is estimated in float, which is within a small distance of
// what the doubles give. If the estimate is further than that from the edge between two integers,
// both round alike. The few pixels that are closer are done again in doubles.
#include "infrastructure/utility/video/generation/SdiColourConverter.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/generation/ColourEstimate_p.h"
#include "infrastructure/utility/video/generation/WordVector_p.h"

#include <algorithm>
#include <cmath>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using namespace WordVector;

namespace {

using Matrix = SdiColourConverter::Matrix;

constexpr quint16 ALPHA_OF_PIXELS_WITHOUT = 64;
/// No estimate comes close to it.
constexpr quint16 HIGHEST_LIMIT = 32767;

struct Limits
{
    quint16 low;
    quint16 high;
};

/// How components are read and written at one bit depth.
struct DepthRule
{
    BitDepth depth;
    quint16 unusedBits; ///< of a word that holds its component in the upper bits
    quint16 highest;    ///< component
    double inputScale;
    double lumaScale;
    double lumaOffset;
    double chromaScale;
    double chromaOffset;
    Limits luma;
    Limits chroma;
    float guard; ///< more than a float estimate of a result can be off
};

// A result is below 6000, and an estimate accumulates five roundings of 2^-24 of that: 0.0018.
constexpr DepthRule DEPTH_RULES[] = {
    {BitDepth_10FullRange, 6, 1023, 1.0 / 4, 1023, 0, 1023, 512, {4, 1019}, {4, 1019}, 0x1p-10f},
    {BitDepth_10, 6, 1023, 1.0 / 4, 876, 64, 896, 512, {64, 940}, {64, 960}, 0x1p-10f},
    {BitDepth_12, 4, 4095, 1.0 / 16, 3504, 256, 3584, 2048, {256, 3760}, {256, 3840}, 0x1p-8f},
    {BitDepth_12FullRange, 4, 4095, 1.0 / 16, 4095, 0, 4095, 2048, {0, 65535}, {0, 65535}, 0x1p-8f},
};

constexpr double INPUT_BLACK = 16.0;
constexpr double INPUT_RANGE_INVERSE = 0.0045662100456621;

struct Row
{
    Colourimetry colourimetry;
    const Matrix* toYCbCr;
    const Matrix* toRgb;
};

constexpr Row MATRICES[] = {
    {Colourimetry_Rec709, &SdiColourConverter::RGB_TO_YCRCB_REC709,
     &SdiColourConverter::YCBCR_TO_RGB_REC709},
    {Colourimetry_Uhdtv, &SdiColourConverter::RGB_TO_YCRCB_REC2020, nullptr},
    {Colourimetry_Rec601, &SdiColourConverter::RGB_TO_YCRCB_REC601,
     &SdiColourConverter::YCBCR_TO_RGB_REC601},
};

const Matrix& matrixFor(Colourimetry colourimetry, const Matrix* Row::*direction)
{
    for (const Row& row : MATRICES) {
        if (row.colourimetry == colourimetry && row.*direction != nullptr) {
            return *(row.*direction);
        }
    }
    VELLOG_ERR() << "Unsupported Colourimetry for colour conversion.";
    return SdiColourConverter::NO_CONVERSION;
}

const DepthRule* ruleFor(BitDepth depth)
{
    for (const DepthRule& rule : DEPTH_RULES) {
        if (rule.depth == depth) {
            return &rule;
        }
    }
    VELLOG_ERR() << "Unsupported bit depth for colour conversion: " << quint32(depth);
    return nullptr;
}

// The reference, in doubles, one pixel at a time.

quint16 saturate(double value, Limits limits)
{
    const auto word = static_cast<quint16>(std::clamp(value, 0.0, 65535.0));
    return std::clamp(word, limits.low, limits.high);
}

quint16 lumaWord(double value, const DepthRule& rule)
{
    return saturate(value * rule.lumaScale + (rule.lumaOffset + 0.5), rule.luma);
}

quint16 chromaWord(double value, const DepthRule& rule)
{
    const double scaled = value * rule.chromaScale;
    return saturate(value >= 0 ? scaled + (rule.chromaOffset + 0.5)
                               : std::ceil(scaled - 0.5) + rule.chromaOffset,
                    rule.chroma);
}

void convertPixel(const Matrix& matrix, const DepthRule& rule, ColourBlock& block,
                  std::size_t pixel)
{
    double in[3];
    for (std::size_t i = 0; i < 3; ++i) {
        in[i] = (block.components[i][pixel] * rule.inputScale - INPUT_BLACK) * INPUT_RANGE_INVERSE;
    }
    const auto out = [&](std::size_t row) {
        const double* m = &matrix[3 * row];
        return in[0] * m[0] + in[1] * m[1] + in[2] * m[2];
    };
    block.results[0][pixel] = lumaWord(out(0), rule);
    block.results[1][pixel] = chromaWord(out(1), rule);
    block.results[2][pixel] = chromaWord(out(2), rule);
}

ColourEstimate estimateFor(const Matrix& matrix, const DepthRule& rule)
{
    ColourEstimate estimate{};
    estimate.certain = 0.5f - rule.guard;
    for (std::size_t i = 0; i < 3; ++i) {
        const bool isLuma = i == 0;
        const Limits limits = isLuma ? rule.luma : rule.chroma;
        const double scale = (isLuma ? rule.lumaScale : rule.chromaScale) * INPUT_RANGE_INVERSE;
        double offset = isLuma ? rule.lumaOffset : rule.chromaOffset;
        ColourEstimate::Row& row = estimate.rows[i];
        for (std::size_t source = 0; source < 3; ++source) {
            const double factor = matrix[3 * i + source] * scale;
            row.factors[source] = static_cast<float>(factor * rule.inputScale);
            offset -= factor * INPUT_BLACK;
        }
        row.offset = static_cast<float>(offset);
        row.low = static_cast<qint16>(limits.low);
        row.high = static_cast<qint16>(std::min(limits.high, HIGHEST_LIMIT));
    }
    return estimate;
}

/// The bits of all eight words.
quint16 bitsOf(Words words)
{
    quint64 halves[2];
    store(words, halves);
    quint64 bits = halves[0] | halves[1];
    bits |= bits >> 32;
    return static_cast<quint16>(bits | bits >> 16);
}

// Moving the words of pixels into and out of a block, eight pixels at a time.

/// A perfect shuffle: the second half of the words goes between the words of the first.
void shuffle(std::array<Words, 3>& v)
{
    v = {pick<0, 12, 1, 13, 2, 14, 3, 15>(v[0], v[1]), pick<4, 8, 5, 9, 6, 10, 7, 11>(v[0], v[2]),
         pick<0, 12, 1, 13, 2, 14, 3, 15>(v[1], v[2])};
}

void shuffle(std::array<Words, 4>& v)
{
    v = {pick<0, 8, 1, 9, 2, 10, 3, 11>(v[0], v[2]), pick<4, 12, 5, 13, 6, 14, 7, 15>(v[0], v[2]),
         pick<0, 8, 1, 9, 2, 10, 3, 11>(v[1], v[3]), pick<4, 12, 5, 13, 6, 14, 7, 15>(v[1], v[3])};
}

/// Three shuffles bring eight pixels of three words, or of four, into the order of components.
template <std::size_t wordsOfPixel>
std::array<Words, wordsOfPixel> split(const quint16* words)
{
    std::array<Words, wordsOfPixel> v = {};
    for (std::size_t i = 0; i < wordsOfPixel; ++i) {
        v[i] = load(words + i * COUNT);
    }
    for (int round = 0; round < 3; ++round) {
        shuffle(v);
    }
    return v;
}

/// Two shuffles bring four components into the order of pixels.
std::array<Words, 4> merge(Words a, Words b, Words c, Words d)
{
    std::array<Words, 4> v = {a, b, c, d};
    shuffle(v);
    shuffle(v);
    return v;
}

/// The first three words of each pixel. Each is written with the word after it, which the next
/// pixel overwrites; the last pixel is written without it.
void storeThree(const std::array<Words, 4>& pixels, quint16* words)
{
    quint16 last[4];
    storeHalves(pixels[0], words, words + 3);
    storeHalves(pixels[1], words + 6, words + 9);
    storeHalves(pixels[2], words + 12, words + 15);
    storeHalves(pixels[3], words + 18, last);
    std::copy_n(last, 3, words + 21);
}

void storeFour(const std::array<Words, 4>& pixels, quint16* words)
{
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        store(pixels[i], words + i * COUNT);
    }
}

/// A conversion of runs of pixels of three or four words. The fourth word stays as it is, or
/// becomes 64.
template <std::size_t wordsOfPixel>
class Conversion
{
public:
    Conversion(const Matrix& ofColours, const DepthRule& ofDepth, quint16 unusedBits,
               bool keepsFourth)
        : matrix(ofColours)
        , rule(ofDepth)
        , estimate(estimateFor(ofColours, ofDepth))
        , shift(unusedBits)
        , hasAlpha(keepsFourth)
    {
    }

    /// `to` may be the same as `from`.
    void convert(const quint16* from, std::size_t pixels, quint16* to) const
    {
        constexpr std::size_t BLOCK_WORDS = ColourBlock::PIXELS * wordsOfPixel;
        for (; pixels >= ColourBlock::PIXELS; pixels -= ColourBlock::PIXELS) {
            convertBlock(from, to);
            from += BLOCK_WORDS;
            to += BLOCK_WORDS;
        }
        if (pixels > 0) {
            quint16 last[BLOCK_WORDS] = {};
            std::copy_n(from, pixels * wordsOfPixel, last);
            convertBlock(last, last);
            std::copy_n(last, pixels * wordsOfPixel, to);
        }
    }

private:
    void convertBlock(const quint16* from, quint16* to) const
    {
        ColourBlock block;
        Words bits = {};
        for (std::size_t at = 0; at < ColourBlock::PIXELS; at += COUNT) {
            const auto v = split<wordsOfPixel>(from + at * wordsOfPixel);
            for (std::size_t i = 0; i < 3; ++i) {
                const Words component = v[i] >> shift;
                bits |= component;
                store(component, block.components[i] + at);
            }
        }
        // The estimate holds up to the highest component, which is all ones.
        if (bitsOf(bits) <= rule.highest) {
            run(estimate, block);
        } else {
            std::fill_n(block.doubts, ColourBlock::PIXELS, 1);
        }
        settleDoubts(block);
        for (std::size_t at = 0; at < ColourBlock::PIXELS; at += COUNT) {
            const Words y = load(block.results[0] + at);
            const Words cb = load(block.results[1] + at);
            const Words cr = load(block.results[2] + at);
            if constexpr (wordsOfPixel == 3) {
                storeThree(merge(y, cb, cr, cr), to + at * wordsOfPixel);
            } else {
                const Words alpha =
                    hasAlpha ? split<4>(from + at * wordsOfPixel)[3] : all(ALPHA_OF_PIXELS_WITHOUT);
                storeFour(merge(cr, y, cb, alpha), to + at * wordsOfPixel);
            }
        }
    }

    void settleDoubts(ColourBlock& block) const
    {
        for (std::size_t at = 0; at < ColourBlock::PIXELS; at += COUNT) {
            if (bitsOf(load(block.doubts + at)) == 0) {
                continue;
            }
            for (std::size_t pixel = at; pixel < at + COUNT; ++pixel) {
                if (block.doubts[pixel] != 0) {
                    convertPixel(matrix, rule, block, pixel);
                }
            }
        }
    }

    const Matrix& matrix;
    const DepthRule& rule;
    ColourEstimate estimate;
    ColourEstimate::Function run = ColourEstimate::fastest();
    quint16 shift;
    bool hasAlpha;
};

/// The same into a vector, which grows in stretches, so that its initial filling is still in the
/// cache when the pixels replace it.
template <std::size_t wordsOfPixel, typename Pixel, typename Source>
void convertToVector(const Source* source, std::size_t pixelCount, const Matrix& matrix,
                     const DepthRule& rule, std::vector<Pixel>& converted)
{
    static_assert(sizeof(Pixel) == wordsOfPixel * sizeof(quint16));
    static_assert(sizeof(Source) == sizeof(Pixel));
    constexpr std::size_t STRETCH = 8 * ColourBlock::PIXELS;
    const Conversion<wordsOfPixel> conversion(matrix, rule, 0, false);
    converted.clear();
    converted.reserve(pixelCount);
    for (std::size_t done = 0; done < pixelCount; done = converted.size()) {
        const std::size_t pixels = std::min(STRETCH, pixelCount - done);
        converted.resize(done + pixels);
        conversion.convert(reinterpret_cast<const quint16*>(source + done), pixels,
                           reinterpret_cast<quint16*>(converted.data() + done));
    }
}

} // namespace

const Matrix& SdiColourConverter::getRgbToYCbCrMatrix(Colourimetry colourimetry)
{
    return matrixFor(colourimetry, &Row::toYCbCr);
}

const Matrix& SdiColourConverter::getYCbCrToRgbMatrix(Colourimetry colourimetry)
{
    return matrixFor(colourimetry, &Row::toRgb);
}

void SdiColourConverter::convertRgbToYCbCr(PictureBuffer& picture, Colourimetry colourimetry,
                                           BitDepth depth)
{
    const bool hasAlpha = picture.format == PixelFormat_ARGB;
    if (!hasAlpha && picture.format != PixelFormat_RGB) {
        return;
    }
    const DepthRule* rule = ruleFor(depth);
    if (rule == nullptr) {
        return;
    }
    const Matrix& matrix = getRgbToYCbCrMatrix(colourimetry);
    if (hasAlpha) {
        const Conversion<4> conversion(matrix, *rule, rule->unusedBits, true);
        conversion.convert(picture.words, picture.getPixelCount(), picture.words);
        picture.format = PixelFormat_AYCrCb;
    } else {
        const Conversion<3> conversion(matrix, *rule, rule->unusedBits, false);
        conversion.convert(picture.words, picture.getPixelCount(), picture.words);
        picture.format = PixelFormat_YCbCr;
    }
}

void SdiColourConverter::convertRgbToYCbCr(const PixelDataARGB* pixels, std::size_t pixelCount,
                                           Colourimetry colourimetry, BitDepth depth,
                                           std::vector<PixelDataAYCrCb>& converted)
{
    if (const DepthRule* rule = ruleFor(depth)) {
        convertToVector<4>(pixels, pixelCount, getRgbToYCbCrMatrix(colourimetry), *rule, converted);
    }
}

void SdiColourConverter::convertRgbToYCbCr(const PixelDataRGB* pixels, std::size_t pixelCount,
                                           Colourimetry colourimetry, BitDepth depth,
                                           std::vector<PixelDataYCbCr>& converted)
{
    if (const DepthRule* rule = ruleFor(depth)) {
        convertToVector<3>(pixels, pixelCount, getRgbToYCbCrMatrix(colourimetry), *rule, converted);
    }
}
