#include "infrastructure/utility/video/generation/MappingKernels_p.h"

#include "infrastructure/utility/video/generation/PixelVectors_p.h"

using namespace PixelVectors;
using namespace Tessorn::Types;

namespace {
KERNELS_BEGIN

/// Alpha for the forms without it.
constexpr quint16 NO_ALPHA = 64;

/// As many pixels as fit a vector. G counts as Y, R as Cr, B as Cb.
struct Components
{
    Words y;
    Words cb;
    Words cr;
    Words a;
};

template <PixelFormat format>
Components splitComponents(const quint16* words)
{
    const auto v = split<getWordsOfPixel(format)>(words);
    if constexpr (format == PixelFormat_YCbCr) {
        return {v[0], v[1], v[2], Words{} + NO_ALPHA};
    } else if constexpr (format == PixelFormat_RGB) {
        return {v[1], v[2], v[0], Words{} + NO_ALPHA};
    } else {
        return {v[1], v[2], v[0], v[3]};
    }
}

/// Sets bit 9 of words of nine bits to the inverse of bit 8.
Words withInverse(Words words)
{
    return (words ^ 0x100) + 0x100;
}

/// Three bits of each component, which are bits 2 to 0 after a shift.
template <int shift>
Words groupOfEach(const Components& c)
{
    Words cr = c.cr;
    if constexpr (shift < 6) {
        cr = cr << (6 - shift);
    } else {
        cr = cr >> (shift - 6);
    }
    Words y = c.y;
    if constexpr (shift < 3) {
        y = y << (3 - shift);
    } else {
        y = y >> (shift - 3);
    }
    return withInverse((cr & 0x1C0) | (y & 0x38) | (c.cb >> shift & 7));
}

/// Six bits of the picture below three of alpha; others are dropped.
Words withAlpha(Words picture, Words alpha)
{
    return withInverse((picture & 0x3F) | (alpha & 0x1C0));
}

/// Makes the samples of a vector of pixels.
template <MappingMode mode, PixelFormat format>
void step(const quint16* words, quint16* samples)
{
    const Components c = splitComponents<format>(words);
    if constexpr (mode == Mapping_1) {
        storeTwo(c.y & 0x3FF, pairsOfEven(c.cb, c.cr) & 0x3FF, samples);
    } else if constexpr (mode == Mapping_2) {
        storeFour(c.y, c.a, c.cr, c.cb, samples);
    } else if constexpr (mode == Mapping_3) {
        storeFour(groupOfEach<9>(c), groupOfEach<6>(c), groupOfEach<3>(c), groupOfEach<0>(c),
                  samples);
    } else if constexpr (mode == Mapping_4) {
        const Words colour = pairsOfEven(c.cb, c.cr);
        storeFour(withAlpha(c.y >> 6, c.a >> 3), withAlpha(colour >> 6, c.a),
                  withAlpha(c.y, c.a << 3), withAlpha(colour, c.a << 6), samples);
    } else if constexpr (mode == Mapping_IILinkA) {
        storeTwo(c.y, pairsOfEven(c.cb, c.cr), samples);
    } else {
        storeTwo(c.a, pairsOfOdd(c.cb, c.cr), samples);
    }
}

template <MappingMode mode, PixelFormat format>
void map(const quint16* words, std::size_t pixels, quint16* samples)
{
    constexpr std::size_t WORDS = COUNT * getWordsOfPixel(format);
    constexpr std::size_t RESULTS = COUNT * 2 * getSamplesOfPixel(mode);
    for (; pixels >= COUNT; pixels -= COUNT) {
        step<mode, format>(words, samples);
        words += WORDS;
        samples += RESULTS;
    }
    if (pixels > 0) {
        quint16 last[WORDS] = {};
        std::memcpy(last, words, pixels * getWordsOfPixel(format) * sizeof *words);
        quint16 results[RESULTS];
        step<mode, format>(last, results);
        std::memcpy(samples, results, pixels * 2 * getSamplesOfPixel(mode) * sizeof *samples);
    }
}

template <MappingMode mode, PixelFormat format>
constexpr MappingKernels::Function kernelOf()
{
    if constexpr (isYCbCr(format) || takesRgb(mode)) {
        return map<mode, format>;
    } else {
        return nullptr;
    }
}

#define KERNELS_OF_MODE(mode)                                                                      \
    {                                                                                              \
        kernelOf<mode, PixelFormat_ARGB>(), kernelOf<mode, PixelFormat_RGB>(),                     \
            kernelOf<mode, PixelFormat_AYCrCb>(), kernelOf<mode, PixelFormat_YCbCr>()              \
    }

KERNELS_END
} // namespace

const MappingKernels& MappingKernels::of(KERNEL_TAG)
{
    static constexpr MappingKernels KERNELS{{KERNELS_OF_MODE(Mapping_1), KERNELS_OF_MODE(Mapping_2),
                                             KERNELS_OF_MODE(Mapping_3), KERNELS_OF_MODE(Mapping_4),
                                             KERNELS_OF_MODE(Mapping_IILinkA),
                                             KERNELS_OF_MODE(Mapping_IILinkB)}};
    return KERNELS;
}
