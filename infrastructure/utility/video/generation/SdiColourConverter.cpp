// Fast where it is certain: a result is estimated in float, which is within a small distance of
// what the doubles give. Where the estimate is further than that from the edge between two
// integers, both round alike. The few pixels that are closer are done again in doubles.
#include "infrastructure/utility/video/generation/SdiColourConverter.h"

#include "infrastructure/utility/Log.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

namespace {

using Matrix = SdiColourConverter::Matrix;

constexpr quint16 ALPHA_OF_PIXELS_WITHOUT = 64;

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
    float guard; ///< how far a float estimate of a result can be off, and more
};

// A result is below 6000, and an estimate collects five roundings of 2^-24 of that: 0.0018.
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

/// Where the components of a result stand among the words of its pixel.
struct ThreeWords
{
    static constexpr std::size_t WORDS = 3;
    static constexpr std::size_t PLACES[] = {0, 1, 2}; ///< Y, Cb, Cr
};
struct FourWords
{
    static constexpr std::size_t WORDS = 4;
    static constexpr std::size_t PLACES[] = {1, 2, 0};
    static constexpr std::size_t ALPHA = 3;
};

// In doubles, one pixel at a time: what the results are.

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

template <typename Form>
void convertPixel(const quint16* rgb, const Matrix& matrix, const DepthRule& rule, quint16* result)
{
    double in[3];
    for (std::size_t i = 0; i < 3; ++i) {
        in[i] = (rgb[i] * rule.inputScale - INPUT_BLACK) * INPUT_RANGE_INVERSE;
    }
    const auto out = [&](std::size_t row) {
        const double* m = &matrix[3 * row];
        return in[0] * m[0] + in[1] * m[1] + in[2] * m[2];
    };
    result[Form::PLACES[0]] = lumaWord(out(0), rule);
    result[Form::PLACES[1]] = chromaWord(out(1), rule);
    result[Form::PLACES[2]] = chromaWord(out(2), rule);
}

// In floats, many at a time.

/// Pixels that are worked on at a time.
constexpr std::size_t BLOCK = 128;

/// One result as a linear function of the three components, and its clamping limits. Half a step is
/// added to all of them: what is left is to drop the fraction.
struct EstimateRow
{
    float factors[3];
    float offset;
    float low;
    float high;
};

struct Estimate
{
    EstimateRow rows[3]; ///< Y, Cb, Cr
    float certain;       ///< distance from the middle between two edges, up to which all is well
};

Estimate estimateFor(const Matrix& matrix, const DepthRule& rule)
{
    Estimate estimate{};
    estimate.certain = 0.5f - rule.guard;
    for (std::size_t i = 0; i < 3; ++i) {
        const bool isLuma = i == 0;
        const Limits limits = isLuma ? rule.luma : rule.chroma;
        const double scale = (isLuma ? rule.lumaScale : rule.chromaScale) * INPUT_RANGE_INVERSE;
        double offset = (isLuma ? rule.lumaOffset : rule.chromaOffset) + 0.5;
        EstimateRow& row = estimate.rows[i];
        for (std::size_t source = 0; source < 3; ++source) {
            const double factor = matrix[3 * i + source] * scale;
            row.factors[source] = static_cast<float>(factor * rule.inputScale);
            offset -= factor * INPUT_BLACK;
        }
        row.offset = static_cast<float>(offset);
        row.low = limits.low + 0.5f;
        row.high = limits.high + 0.5f;
    }
    return estimate;
}

/// A block's pixels, component by component.
struct Planes
{
    quint16 components[3][BLOCK];
    qint32 results[3][BLOCK];
    qint32 doubts[BLOCK]; ///< not 0: a result is too close to the edge between two integers
};

/// Estimates one result of each pixel. What is clamped lies in the middle of its step, so that it
/// is certain.
void estimatePlane(Planes& planes, std::size_t pixels, const EstimateRow& row, float certain,
                   qint32* results)
{
    const EstimateRow e = row;
    for (std::size_t i = 0; i < pixels; ++i) {
        float sum = e.offset + e.factors[0] * planes.components[0][i] +
                    e.factors[1] * planes.components[1][i] + e.factors[2] * planes.components[2][i];
        sum = sum < e.low ? e.low : sum;
        sum = sum > e.high ? e.high : sum;
        const auto whole = static_cast<qint32>(sum);
        const float fromMiddle = std::fabs(sum - static_cast<float>(whole) - 0.5f);
        results[i] = whole;
        planes.doubts[i] |= fromMiddle > certain ? 1 : 0;
    }
}

/// Estimates the results of a block, into planes and as words.
template <typename Form>
void estimateBlock(const quint16* words, std::size_t pixels, const Estimate& estimate,
                   Planes& planes, quint16* results)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        planes.components[0][i] = words[i * Form::WORDS];
        planes.components[1][i] = words[i * Form::WORDS + 1];
        planes.components[2][i] = words[i * Form::WORDS + 2];
    }
    std::fill_n(planes.doubts, pixels, 0);
    for (std::size_t i = 0; i < 3; ++i) {
        estimatePlane(planes, pixels, estimate.rows[i], estimate.certain, planes.results[i]);
    }
    for (std::size_t i = 0; i < pixels; ++i) {
        quint16* result = results + i * Form::WORDS;
        result[Form::PLACES[0]] = static_cast<quint16>(planes.results[0][i]);
        result[Form::PLACES[1]] = static_cast<quint16>(planes.results[1][i]);
        result[Form::PLACES[2]] = static_cast<quint16>(planes.results[2][i]);
        if constexpr (Form::WORDS == FourWords::WORDS) {
            result[FourWords::ALPHA] = ALPHA_OF_PIXELS_WITHOUT;
        }
    }
}

/// True when all components are in the range that the estimate holds for: its highest value is all
/// ones.
bool isInRange(const Planes& planes, std::size_t pixels, const DepthRule& rule)
{
    quint16 any = 0;
    for (const auto& plane : planes.components) {
        for (std::size_t i = 0; i < pixels; ++i) {
            any = static_cast<quint16>(any | plane[i]);
        }
    }
    return any <= rule.highest;
}

/// Converts a block of pixels. Of four words, the fourth result is 64.
template <typename Form>
void convertBlock(const quint16* words, std::size_t pixels, const Matrix& matrix,
                  const DepthRule& rule, const Estimate& estimate, quint16* results)
{
    Planes planes;
    estimateBlock<Form>(words, pixels, estimate, planes, results);
    const bool isAllDoubtful = !isInRange(planes, pixels, rule);
    for (std::size_t i = 0; i < pixels; ++i) {
        if (planes.doubts[i] != 0 || isAllDoubtful) {
            convertPixel<Form>(words + i * Form::WORDS, matrix, rule, results + i * Form::WORDS);
        }
    }
}

/// Calls `take` with the results of each block, its first pixel and the
/// number of its pixels. Each input word is shifted right.
template <typename Form, typename Take>
void convert(const quint16* words, std::size_t pixelCount, quint16 shift, const Matrix& matrix,
             const DepthRule& rule, Take take)
{
    const Estimate estimate = estimateFor(matrix, rule);
    quint16 shifted[BLOCK * Form::WORDS];
    quint16 results[BLOCK * Form::WORDS];
    for (std::size_t first = 0; first < pixelCount; first += BLOCK) {
        const std::size_t pixels = std::min(BLOCK, pixelCount - first);
        const quint16* block = words + first * Form::WORDS;
        if (shift != 0) {
            for (std::size_t i = 0; i < pixels * Form::WORDS; ++i) {
                shifted[i] = static_cast<quint16>(block[i] >> shift);
            }
            block = shifted;
        }
        convertBlock<Form>(block, pixels, matrix, rule, estimate, results);
        take(results, first, pixels);
    }
}

/// The same into a vector. Blocks are appended, so that no memory is filled twice.
template <typename Form, typename Pixel, typename Source>
void convertToVector(const Source* source, std::size_t pixelCount, const Matrix& matrix,
                     const DepthRule& rule, std::vector<Pixel>& converted)
{
    static_assert(sizeof(Pixel) == Form::WORDS * sizeof(quint16));
    static_assert(sizeof(Source) == sizeof(Pixel));
    converted.clear();
    converted.reserve(pixelCount);
    convert<Form>(reinterpret_cast<const quint16*>(source), pixelCount, 0, matrix, rule,
                  [&converted](const quint16* results, std::size_t, std::size_t pixels) {
                      const auto* first = reinterpret_cast<const Pixel*>(results);
                      converted.insert(converted.end(), first, first + pixels);
                  });
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
    quint16* const words = picture.words;
    if (hasAlpha) {
        convert<FourWords>(words, picture.getPixelCount(), rule->unusedBits, matrix, *rule,
                           [words](const quint16* results, std::size_t first, std::size_t pixels) {
                               for (std::size_t i = 0; i < pixels; ++i) {
                                   std::memcpy(words + 4 * (first + i), results + 4 * i,
                                               3 * sizeof *words);
                               }
                           });
        picture.format = PixelFormat_AYCrCb;
    } else {
        convert<ThreeWords>(words, picture.getPixelCount(), rule->unusedBits, matrix, *rule,
                            [words](const quint16* results, std::size_t first, std::size_t pixels) {
                                std::memcpy(words + 3 * first, results, 3 * pixels * sizeof *words);
                            });
        picture.format = PixelFormat_YCbCr;
    }
}

void SdiColourConverter::convertRgbToYCbCr(const PixelDataARGB* pixels, std::size_t pixelCount,
                                           Colourimetry colourimetry, BitDepth depth,
                                           std::vector<PixelDataAYCrCb>& converted)
{
    if (const DepthRule* rule = ruleFor(depth)) {
        convertToVector<FourWords>(pixels, pixelCount, getRgbToYCbCrMatrix(colourimetry), *rule,
                                   converted);
    }
}

void SdiColourConverter::convertRgbToYCbCr(const PixelDataRGB* pixels, std::size_t pixelCount,
                                           Colourimetry colourimetry, BitDepth depth,
                                           std::vector<PixelDataYCbCr>& converted)
{
    if (const DepthRule* rule = ruleFor(depth)) {
        convertToVector<ThreeWords>(pixels, pixelCount, getRgbToYCbCrMatrix(colourimetry), *rule,
                                    converted);
    }
}
