#include "infrastructure/utility/video/generation/ColourKernels_p.h"

#include "infrastructure/utility/video/generation/PixelVectors_p.h"

using namespace PixelVectors;
using namespace Tessorn::Types;

namespace {
KERNELS_BEGIN

/// The places of the three components in a pixel, in the order that they are converted in.
template <PixelFormat format>
constexpr std::array<std::size_t, 3> PLACES = {0, 1, 2};
template <>
constexpr std::array<std::size_t, 3> PLACES<PixelFormat_AYCrCb> = {1, 2, 0};

template <PixelFormat format>
quint16 takeBlock(const quint16* words, int unusedBits, ColourBlock& block)
{
    constexpr std::size_t WORDS = getWordsOfPixel(format);
    Words bits = {};
    for (std::size_t at = 0; at < ColourBlock::PIXELS; at += COUNT) {
        const auto v = split<WORDS>(words + at * WORDS);
        for (std::size_t i = 0; i < 3; ++i) {
            const Words component = v[PLACES<format>[i]] >> unusedBits;
            bits |= component;
            store(component, block.components[i] + at);
        }
        if constexpr (WORDS == 4) {
            store(v[3], block.fourth + at);
        }
    }
    quint16 all = 0;
    for (std::size_t i = 0; i < COUNT; ++i) {
        all = static_cast<quint16>(all | bits[i]);
    }
    return all;
}

template <PixelFormat format, bool widens>
void giveWords(const ColourBlock& block, int bitsToWiden, quint16* words)
{
    constexpr std::size_t WORDS = getWordsOfPixel(format);
    for (std::size_t at = 0; at < ColourBlock::PIXELS; at += COUNT) {
        Words v[3];
        for (std::size_t i = 0; i < 3; ++i) {
            const Words result = load(block.results[i] + at);
            v[PLACES<format>[i]] =
                widens ? result << (16 - bitsToWiden) | result >> (2 * bitsToWiden - 16) : result;
        }
        if constexpr (WORDS == 4) {
            storeFour(v[0], v[1], v[2], load(block.fourth + at), words + at * WORDS);
        } else {
            storeThree(v[0], v[1], v[2], words + at * WORDS);
        }
    }
}

template <PixelFormat format>
void giveBlock(const ColourBlock& block, int bitsToWiden, quint16* words)
{
    if (bitsToWiden == 0) {
        giveWords<format, false>(block, 0, words);
    } else {
        giveWords<format, true>(block, bitsToWiden, words);
    }
}

#if PIXELS_IN_AVX2 || PIXELS_IN_NEON

// Each vector of words is two of numbers, those at even places and those at odd ones.

using Numbers = qint32 __attribute__((vector_size(sizeof(Words))));
using Unsigned = quint32 __attribute__((vector_size(sizeof(Words))));
using Floats = float __attribute__((vector_size(sizeof(Words))));

#if PIXELS_IN_AVX2
Floats toFloats(Unsigned numbers)
{
    return Floats(_mm256_cvtepi32_ps(__m256i(numbers)));
}

Floats sumOf(const ColourEstimate::Row& row, const Floats (&in)[3])
{
    return in[0] * row.factors[0] + row.offset + in[1] * row.factors[1] + in[2] * row.factors[2];
}
#else
Floats toFloats(Unsigned numbers)
{
    return Floats(vcvtq_f32_u32(uint32x4_t(numbers)));
}

Floats sumOf(const ColourEstimate::Row& row, const Floats (&in)[3])
{
    const float32x2_t first = vld1_f32(row.factors);
    const float32x2_t last = {row.factors[2], row.offset};
    float32x4_t sum = vdupq_lane_f32(last, 1);
    sum = vmlaq_lane_f32(sum, float32x4_t(in[0]), first, 0); // rounds the product, then the sum
    sum = vmlaq_lane_f32(sum, float32x4_t(in[1]), first, 1);
    return Floats(vmlaq_lane_f32(sum, float32x4_t(in[2]), last, 0));
}
#endif

struct Halves
{
    Unsigned even;
    Unsigned odd;
};

/// The lower 16 bits of each.
Words join(Halves halves)
{
    return pairsOfEven(Words(halves.even), Words(halves.odd));
}

void estimateBlock(const ColourEstimate& estimate, ColourBlock& block)
{
    const ColourEstimate e = estimate;
    const Unsigned fraction = Unsigned{} + ((1u << e.fractionBits) - 1);
    const Numbers doubtful = Numbers{} + e.doubtful;
    using Signed = qint16 __attribute__((vector_size(sizeof(Words))));
    for (std::size_t at = 0; at < ColourBlock::PIXELS; at += COUNT) {
        Floats even[3];
        Floats odd[3];
#pragma GCC unroll 3
        for (std::size_t i = 0; i < 3; ++i) {
            const auto words = Unsigned(load(block.components[i] + at));
            even[i] = toFloats(words & 0xFFFF);
            odd[i] = toFloats(words >> 16);
        }
        Numbers leastEven = doubtful;
        Numbers leastOdd = doubtful;
#pragma GCC unroll 3
        for (std::size_t k = 0; k < 3; ++k) {
            const ColourEstimate::Row& row = e.rows[k];
            const Halves sums{Unsigned(sumOf(row, even)), Unsigned(sumOf(row, odd))};
            const auto evenFraction = Numbers(sums.even & fraction);
            const auto oddFraction = Numbers(sums.odd & fraction);
            leastEven = evenFraction < leastEven ? evenFraction : leastEven;
            leastOdd = oddFraction < leastOdd ? oddFraction : leastOdd;
            const Words whole = join({sums.even >> e.fractionBits, sums.odd >> e.fractionBits});
            const Signed low = Signed{} + row.low;
            const Signed high = Signed{} + row.high;
            auto result = Signed(whole + row.correction);
            result = result < low ? low : result;
            result = result > high ? high : result;
            store(Words(result), block.results[k] + at);
        }
        store(join({Unsigned(leastEven < doubtful), Unsigned(leastOdd < doubtful)}),
              block.doubts + at);
    }
}

#else

void estimateBlock(const ColourEstimate& estimate, ColourBlock& block)
{
    const ColourEstimate e = estimate;
    const quint32 fraction = (1u << e.fractionBits) - 1;
    for (std::size_t i = 0; i < ColourBlock::PIXELS; ++i) {
        qint32 least = e.doubtful;
        for (std::size_t k = 0; k < 3; ++k) {
            const ColourEstimate::Row& row = e.rows[k];
            const float sum = row.offset + row.factors[0] * float(block.components[0][i]) +
                              row.factors[1] * float(block.components[1][i]) +
                              row.factors[2] * float(block.components[2][i]);
            quint32 bits = 0;
            std::memcpy(&bits, &sum, sizeof bits);
            const auto behindPoint = static_cast<qint32>(bits & fraction);
            least = behindPoint < least ? behindPoint : least;
            auto result = static_cast<qint16>(
                static_cast<quint16>((bits >> e.fractionBits) + row.correction));
            result = result < row.low ? row.low : result;
            result = result > row.high ? row.high : result;
            block.results[k][i] = static_cast<quint16>(result);
        }
        block.doubts[i] = least < e.doubtful ? 0xFFFF : 0;
    }
}

#endif

KERNELS_END
} // namespace

const ColourKernels& ColourKernels::of(KERNEL_TAG)
{
    static constexpr ColourKernels KERNELS{
        {takeBlock<PixelFormat_ARGB>, takeBlock<PixelFormat_RGB>, takeBlock<PixelFormat_AYCrCb>,
         takeBlock<PixelFormat_YCbCr>},
        estimateBlock,
        {giveBlock<PixelFormat_ARGB>, giveBlock<PixelFormat_RGB>, giveBlock<PixelFormat_AYCrCb>,
         giveBlock<PixelFormat_YCbCr>}};
    return KERNELS;
}
