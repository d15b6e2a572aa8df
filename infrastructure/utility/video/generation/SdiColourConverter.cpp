// Fast where it is certain: a result is estimated in float, which is within a small distance of
// what the doubles give. If the estimate is further than that from the edge between two integers,
// both round alike. The few pixels that are closer are done again in doubles.
#include "infrastructure/utility/video/generation/SdiColourConverter.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/generation/ColourKernels_p.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

namespace {

using Matrix = SdiColourConverter::Matrix;

constexpr quint16 ALPHA_OF_PIXELS_WITHOUT = 64;
constexpr quint16 OPAQUE = 65535;

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
};

constexpr DepthRule DEPTH_RULES[] = {
    {BitDepth_10FullRange, 6, 1023, 1.0 / 4, 1023, 0, 1023, 512, {4, 1019}, {4, 1019}},
    {BitDepth_10, 6, 1023, 1.0 / 4, 876, 64, 896, 512, {64, 940}, {64, 960}},
    {BitDepth_12, 4, 4095, 1.0 / 16, 3504, 256, 3584, 2048, {256, 3760}, {256, 3840}},
    {BitDepth_12FullRange, 4, 4095, 1.0 / 16, 4095, 0, 4095, 2048, {0, 65535}, {0, 65535}},
};

constexpr double INPUT_BLACK = 16.0;
constexpr double INPUT_RANGE_INVERSE = 0.0045662100456621;

// What the matrices to R'G'B' count in, whatever the depth.
constexpr double NARROW_BLACK = 64;
constexpr double NARROW_LUMA = 876;
constexpr double NARROW_CHROMA = 896;
constexpr double FULL_RANGE = 1023;

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
    // What is not a number is black.
    const auto word = static_cast<quint16>(value > 0 ? std::min(value, 65535.0) : 0);
    return std::clamp(word, limits.low, limits.high);
}

double applyRow(const Matrix& matrix, std::size_t row, const double (&in)[3])
{
    const double* m = &matrix[3 * row];
    return in[0] * m[0] + in[1] * m[1] + in[2] * m[2];
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

/// R'G'B' to Y'CbCr: the definition in doubles, a pixel at a time, and its estimate.
class ToYCbCr
{
public:
    ToYCbCr(const Matrix& ofColours, const DepthRule& ofDepth)
        : matrix(ofColours)
        , rule(ofDepth)
    {
    }

    /// Up to the highest component, which is all ones, the estimate holds.
    quint16 getHighest() const { return rule.highest; }

    void convertPixel(ColourBlock& block, std::size_t pixel) const
    {
        double in[3];
        for (std::size_t i = 0; i < 3; ++i) {
            in[i] =
                (block.components[i][pixel] * rule.inputScale - INPUT_BLACK) * INPUT_RANGE_INVERSE;
        }
        block.results[0][pixel] = lumaWord(applyRow(matrix, 0, in), rule);
        block.results[1][pixel] = chromaWord(applyRow(matrix, 1, in), rule);
        block.results[2][pixel] = chromaWord(applyRow(matrix, 2, in), rule);
    }

    bool getEstimate(ColourEstimate& estimate) const
    {
        ColourEstimate::Exact rows[3];
        for (std::size_t i = 0; i < 3; ++i) {
            const bool isLuma = i == 0;
            const Limits limits = isLuma ? rule.luma : rule.chroma;
            const double scale = (isLuma ? rule.lumaScale : rule.chromaScale) * INPUT_RANGE_INVERSE;
            rows[i] = {{}, isLuma ? rule.lumaOffset : rule.chromaOffset, limits.low, limits.high};
            for (std::size_t source = 0; source < 3; ++source) {
                const double factor = matrix[3 * i + source] * scale;
                rows[i].factors[source] = factor * rule.inputScale;
                rows[i].offset -= factor * INPUT_BLACK;
            }
        }
        return estimate.set(rows, rule.highest);
    }

private:
    const Matrix& matrix;
    const DepthRule& rule;
};

/// Three components to R'G'B' of full or narrow range, likewise.
class ToRgb
{
public:
    /// `isRgb` says that all three components have the range of luma.
    ToRgb(const Matrix& ofColours, const DepthRule& ofDepth, RgbRange range, bool isRgb)
        : matrix(ofColours)
        , highest(ofDepth.highest)
    {
        const bool isFull = range == RgbRange_Full;
        const double unit = highest == FULL_RANGE ? 1 : 4;
        outScale = isFull ? highest / FULL_RANGE : unit * NARROW_LUMA / FULL_RANGE;
        outOffset = isFull ? 0 : unit * NARROW_BLACK;
        limits =
            isFull ? Limits{0, highest} : Limits{quint16(4 * unit), quint16(highest - 4 * unit)};
        for (std::size_t i = 0; i < 3; ++i) {
            const bool isLuma = isRgb || i == 0;
            inOffsets[i] = isLuma ? ofDepth.lumaOffset : ofDepth.chromaOffset;
            inScales[i] =
                isLuma ? NARROW_LUMA / ofDepth.lumaScale : NARROW_CHROMA / ofDepth.chromaScale;
        }
    }

    quint16 getHighest() const { return highest; }

    void convertPixel(ColourBlock& block, std::size_t pixel) const
    {
        double in[3];
        for (std::size_t i = 0; i < 3; ++i) {
            in[i] = (block.components[i][pixel] - inOffsets[i]) * inScales[i];
        }
        for (std::size_t i = 0; i < 3; ++i) {
            block.results[i][pixel] =
                saturate(applyRow(matrix, i, in) * outScale + (outOffset + 0.5), limits);
        }
    }

    /// Any matrix may be given; with one of large figures there is no estimate.
    bool getEstimate(ColourEstimate& estimate) const
    {
        ColourEstimate::Exact rows[3];
        for (std::size_t i = 0; i < 3; ++i) {
            rows[i] = {{}, outOffset, limits.low, limits.high};
            for (std::size_t source = 0; source < 3; ++source) {
                const double factor = matrix[3 * i + source] * inScales[source] * outScale;
                rows[i].factors[source] = factor;
                rows[i].offset -= factor * inOffsets[source];
            }
        }
        return estimate.set(rows, highest);
    }

private:
    const Matrix& matrix;
    quint16 highest;
    double inOffsets[3];
    double inScales[3];
    double outScale;
    double outOffset;
    Limits limits;
};

/// What happens to the words around the conversion.
struct Handling
{
    int unusedBits = 0; ///< below a component
    bool keepsFourth = false;
    quint16 fourth = ALPHA_OF_PIXELS_WITHOUT; ///< if it is not kept
    int bitsToWiden = 0;                      ///< results of so many bits are brought to 16
};

/// A conversion of runs of pixels of one form to another.
template <typename Colours, PixelFormat from, PixelFormat to>
class Conversion
{
public:
    Conversion(const Colours& colourConversion, const Handling& ofWords)
        : colours(colourConversion)
        , isEstimate(colourConversion.getEstimate(estimate))
        , handling(ofWords)
    {
    }

    /// `target` may be the same as `source` if their pixels are equally long.
    void convert(const quint16* source, std::size_t pixels, quint16* target) const
    {
        for (; pixels >= ColourBlock::PIXELS; pixels -= ColourBlock::PIXELS) {
            convertBlock(source, target);
            source += ColourBlock::PIXELS * FROM_WORDS;
            target += ColourBlock::PIXELS * TO_WORDS;
        }
        if (pixels > 0) {
            quint16 last[ColourBlock::PIXELS * std::max(FROM_WORDS, TO_WORDS)] = {};
            std::copy_n(source, pixels * FROM_WORDS, last);
            quint16 lastResults[ColourBlock::PIXELS * TO_WORDS];
            convertBlock(last, lastResults);
            std::copy_n(lastResults, pixels * TO_WORDS, target);
        }
    }

private:
    static constexpr std::size_t FROM_WORDS = getWordsOfPixel(from);
    static constexpr std::size_t TO_WORDS = getWordsOfPixel(to);

    void convertBlock(const quint16* source, quint16* target) const
    {
        ColourBlock block;
        const quint16 bits = kernels.take[from](source, handling.unusedBits, block);
        if (isEstimate && bits <= colours.getHighest()) {
            kernels.estimate(estimate, block);
            settleDoubts(block);
        } else {
            for (std::size_t pixel = 0; pixel < ColourBlock::PIXELS; ++pixel) {
                colours.convertPixel(block, pixel);
            }
        }
        if (TO_WORDS == 4 && (FROM_WORDS < 4 || !handling.keepsFourth)) {
            std::fill_n(block.fourth, ColourBlock::PIXELS, handling.fourth);
        }
        kernels.give[to](block, handling.bitsToWiden, target);
    }

    void settleDoubts(ColourBlock& block) const
    {
        constexpr std::size_t STEP = 8;
        quint64 doubts[2];
        static_assert(sizeof doubts == STEP * sizeof(quint16));
        for (std::size_t at = 0; at < ColourBlock::PIXELS; at += STEP) {
            std::memcpy(doubts, block.doubts + at, sizeof doubts);
            if ((doubts[0] | doubts[1]) == 0) {
                continue;
            }
            for (std::size_t pixel = at; pixel < at + STEP; ++pixel) {
                if (block.doubts[pixel] != 0) {
                    colours.convertPixel(block, pixel);
                }
            }
        }
    }

    const Colours& colours;
    ColourEstimate estimate = {};
    bool isEstimate;
    const ColourKernels& kernels = getKernels<ColourKernels>();
    Handling handling;
};

/// The same into a vector, which grows in stretches, so that what it is filled with is still in the
/// cache when the pixels replace it.
template <typename Pixel, typename Source>
void convertToVector(const Source* source, std::size_t pixelCount, const ToYCbCr& colours,
                     std::vector<Pixel>& converted)
{
    static constexpr std::array<Pixel, 4 * ColourBlock::PIXELS> STRETCH = {};
    const Conversion<ToYCbCr, Source::FORMAT, Pixel::FORMAT> conversion(colours, {});
    converted.clear();
    converted.reserve(pixelCount);
    for (std::size_t done = 0; done < pixelCount; done = converted.size()) {
        const std::size_t pixels = std::min(STRETCH.size(), pixelCount - done);
        // A copy is faster than resizing, which sets one pixel after the other.
        converted.insert(converted.end(), STRETCH.data(), STRETCH.data() + pixels);
        conversion.convert(reinterpret_cast<const quint16*>(source + done), pixels,
                           reinterpret_cast<quint16*>(converted.data() + done));
    }
}

/// In place, from one form to another of as many words; the format is updated.
template <PixelFormat from, PixelFormat to, typename Colours>
void convertInPlace(PictureBuffer& picture, const Colours& colours, const Handling& handling)
{
    static_assert(getWordsOfPixel(from) == getWordsOfPixel(to));
    const Conversion<Colours, from, to> conversion(colours, handling);
    conversion.convert(picture.words, picture.getPixelCount(), picture.words);
    picture.format = to;
}

// The inverses of the matrices.

constexpr double minorOf(const Matrix& m, std::size_t row, std::size_t column)
{
    const std::size_t r[2] = {(row + 1) % 3, (row + 2) % 3};
    const std::size_t c[2] = {(column + 1) % 3, (column + 2) % 3};
    return m[3 * r[0] + c[0]] * m[3 * r[1] + c[1]] - m[3 * r[0] + c[1]] * m[3 * r[1] + c[0]];
}

/// In the scale of the constants: from luma of 876 and colour of 896 steps to 1023.
constexpr Matrix inverseOf(const Matrix& m)
{
    const double determinant =
        m[0] * minorOf(m, 0, 0) + m[1] * minorOf(m, 0, 1) + m[2] * minorOf(m, 0, 2);
    Matrix result = {};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            result[3 * row + column] = minorOf(m, column, row) / determinant * FULL_RANGE /
                                       (column == 0 ? NARROW_LUMA : NARROW_CHROMA);
        }
    }
    return result;
}

constexpr Matrix INVERSE_REC709 = inverseOf(SdiColourConverter::RGB_TO_YCRCB_REC709);
constexpr Matrix INVERSE_REC2020 = inverseOf(SdiColourConverter::RGB_TO_YCRCB_REC2020);
constexpr Matrix INVERSE_REC601 = inverseOf(SdiColourConverter::RGB_TO_YCRCB_REC601);

/// From narrow to full range.
constexpr Matrix RANGE_ONLY = {FULL_RANGE / NARROW_LUMA, 0, 0, 0, FULL_RANGE / NARROW_LUMA, 0, 0, 0,
                               FULL_RANGE / NARROW_LUMA};

struct Row
{
    Colourimetry colourimetry;
    const Matrix* toYCbCr;
    const Matrix* toRgb;
    const Matrix* inverse;
};

constexpr Row MATRICES[] = {
    {Colourimetry_Rec709, &SdiColourConverter::RGB_TO_YCRCB_REC709,
     &SdiColourConverter::YCBCR_TO_RGB_REC709, &INVERSE_REC709},
    {Colourimetry_Uhdtv, &SdiColourConverter::RGB_TO_YCRCB_REC2020, nullptr, &INVERSE_REC2020},
    {Colourimetry_Rec601, &SdiColourConverter::RGB_TO_YCRCB_REC601,
     &SdiColourConverter::YCBCR_TO_RGB_REC601, &INVERSE_REC601},
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

} // namespace

const Matrix& SdiColourConverter::getRgbToYCbCrMatrix(Colourimetry colourimetry)
{
    return matrixFor(colourimetry, &Row::toYCbCr);
}

const Matrix& SdiColourConverter::getYCbCrToRgbMatrix(Colourimetry colourimetry)
{
    return matrixFor(colourimetry, &Row::toRgb);
}

const Matrix& SdiColourConverter::getInverseMatrix(Colourimetry colourimetry)
{
    return matrixFor(colourimetry, &Row::inverse);
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
    const ToYCbCr colours(getRgbToYCbCrMatrix(colourimetry), *rule);
    Handling handling;
    handling.unusedBits = rule->unusedBits;
    handling.keepsFourth = true;
    if (hasAlpha) {
        convertInPlace<PixelFormat_ARGB, PixelFormat_AYCrCb>(picture, colours, handling);
    } else {
        convertInPlace<PixelFormat_RGB, PixelFormat_YCbCr>(picture, colours, handling);
    }
}

void SdiColourConverter::convertRgbToYCbCr(const PixelDataARGB* pixels, std::size_t pixelCount,
                                           Colourimetry colourimetry, BitDepth depth,
                                           std::vector<PixelDataAYCrCb>& converted)
{
    if (const DepthRule* rule = ruleFor(depth)) {
        convertToVector(pixels, pixelCount, {getRgbToYCbCrMatrix(colourimetry), *rule}, converted);
    }
}

void SdiColourConverter::convertRgbToYCbCr(const PixelDataRGB* pixels, std::size_t pixelCount,
                                           Colourimetry colourimetry, BitDepth depth,
                                           std::vector<PixelDataYCbCr>& converted)
{
    if (const DepthRule* rule = ruleFor(depth)) {
        convertToVector(pixels, pixelCount, {getRgbToYCbCrMatrix(colourimetry), *rule}, converted);
    }
}

void SdiColourConverter::convertYCbCrToRgb(PictureBuffer& picture, const Matrix& matrix,
                                           BitDepth depth, RgbRange range)
{
    if (!isYCbCr(picture.format)) {
        return;
    }
    const DepthRule* rule = ruleFor(depth);
    if (rule == nullptr) {
        return;
    }
    const ToRgb colours(matrix, *rule, range, false);
    Handling handling;
    handling.keepsFourth = true;
    if (picture.format == PixelFormat_AYCrCb) {
        convertInPlace<PixelFormat_AYCrCb, PixelFormat_ARGB>(picture, colours, handling);
    } else {
        convertInPlace<PixelFormat_YCbCr, PixelFormat_RGB>(picture, colours, handling);
    }
}

bool SdiColourConverter::convertToRgba64(PixelRun pixels, const Matrix& matrix, BitDepth depth,
                                         PixelDataARGB* converted)
{
    const DepthRule* rule = ruleFor(depth);
    if (rule == nullptr) {
        return false;
    }
    const bool isRgb = !isYCbCr(pixels.format);
    const ToRgb colours(isRgb ? RANGE_ONLY : matrix, *rule, RgbRange_Full, isRgb);
    Handling handling;
    handling.fourth = OPAQUE;
    handling.bitsToWiden = 16 - rule->unusedBits;
    const auto convertFrom = [&](auto format) {
        const Conversion<ToRgb, decltype(format)::value, PixelFormat_ARGB> conversion(colours,
                                                                                      handling);
        conversion.convert(pixels.words, pixels.count, reinterpret_cast<quint16*>(converted));
        return true;
    };
    switch (pixels.format) {
    case PixelFormat_ARGB:
        return convertFrom(std::integral_constant<PixelFormat, PixelFormat_ARGB>());
    case PixelFormat_RGB:
        return convertFrom(std::integral_constant<PixelFormat, PixelFormat_RGB>());
    case PixelFormat_AYCrCb:
        return convertFrom(std::integral_constant<PixelFormat, PixelFormat_AYCrCb>());
    case PixelFormat_YCbCr:
        return convertFrom(std::integral_constant<PixelFormat, PixelFormat_YCbCr>());
    }
    return false;
}
