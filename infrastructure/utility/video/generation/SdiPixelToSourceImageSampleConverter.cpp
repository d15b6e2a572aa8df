#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/generation/WordVector_p.h"

#include <algorithm>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using namespace WordVector;

using Converter = SdiPixelToSourceImageSampleConverter;
using Samples = Converter::Samples;
using DualLinkSamples = Converter::DualLinkSamples;

namespace {

/// Alpha for the forms without it.
constexpr quint16 NO_ALPHA = 64;

constexpr std::size_t SAMPLES_OF_STEP = COUNT / 2;
static_assert(sizeof(Sdi20BitSample) * SAMPLES_OF_STEP == sizeof(Words));

/// Two pixels in one vector, and which of its words is which. G counts as Y, R as Cr, B as Cb.
template <typename Pixel>
struct Pair
{
    static constexpr bool HAS_ALPHA = true;
    static constexpr int CR[2] = {0, 4};
    static constexpr int Y[2] = {1, 5};
    static constexpr int CB[2] = {2, 6};
    static constexpr int A[2] = {3, 7};
    static Words load(const quint16* words) { return WordVector::load(words); }
};

/// For pixels of three words the vector holds words 0 to 3 and 2 to 5.
Words loadSixWords(const quint16* words)
{
    return loadHalves(words, words + 2);
}

template <>
struct Pair<PixelDataRGB>
{
    static constexpr bool HAS_ALPHA = false;
    static constexpr int CR[2] = {0, 5};
    static constexpr int Y[2] = {1, 6};
    static constexpr int CB[2] = {2, 7};
    static constexpr int A[2] = {0, 5}; ///< something else is there
    static Words load(const quint16* words) { return loadSixWords(words); }
};

template <>
struct Pair<PixelDataYCbCr>
{
    static constexpr bool HAS_ALPHA = false;
    static constexpr int Y[2] = {0, 5};
    static constexpr int CB[2] = {1, 6};
    static constexpr int CR[2] = {2, 7};
    static constexpr int A[2] = {0, 5}; ///< something else is there
    static Words load(const quint16* words) { return loadSixWords(words); }
};

/// Puts the alpha of pixels without it into the words whose mask is all ones.
Words withoutAlpha(Words words, Words mask)
{
    return (words & ~mask) | (all(NO_ALPHA) & mask);
}

/// From a 12-bit value held in four words: its bits 11 to 9, 8 to 6, 5 to 3 and 2 to 0, in bits 11
/// to 9 of the first to the fourth word.
Words spread(Words values)
{
    constexpr Words FACTORS = {1, 8, 64, 512, 1, 8, 64, 512};
    return (values * FACTORS) & 0xE00;
}

/// Sets bit 9 of each word to the inverse of its bit 8.
Words withInverse(Words words)
{
    return words | ((~words & 0x100) << 1);
}

// One step of each mode: eight words, which are four samples, from a number of pixels.

/// Luma of each pixel, colour of the even ones.
struct ModeIILinkA
{
    static constexpr std::size_t PIXELS = 4;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        if constexpr (Pair<Pixel>::HAS_ALPHA) {
            return pick<1, 2, 5, 0, 9, 10, 13, 8>(load(words), load(words + 8));
        } else {
            return pick<0, 1, 3, 2, 4, 5, 7, 6>(loadHalves(words, words + 6));
        }
    }
};

/// Alpha of each pixel, colour of the odd ones.
struct ModeIILinkB
{
    static constexpr std::size_t PIXELS = 4;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        if constexpr (Pair<Pixel>::HAS_ALPHA) {
            return pick<3, 6, 7, 4, 11, 14, 15, 12>(load(words), load(words + 8));
        } else {
            return withoutAlpha(pick<0, 2, 1, 3, 4, 6, 5, 7>(loadHalves(words + 2, words + 8)),
                                Words{0xFFFF, 0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF, 0});
        }
    }
};

struct Mode1
{
    static constexpr std::size_t PIXELS = 4;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        return ModeIILinkA::step<Pixel>(words) & 0x3FF;
    }
};

struct Mode2
{
    static constexpr std::size_t PIXELS = 2;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        using P = Pair<Pixel>;
        const Words picked =
            pick<P::Y[0], P::A[0], P::CR[0], P::CB[0], P::Y[1], P::A[1], P::CR[1], P::CB[1]>(
                P::load(words));
        return P::HAS_ALPHA ? picked
                            : withoutAlpha(picked, Words{0, 0xFFFF, 0, 0, 0, 0xFFFF, 0, 0});
    }
};

/// Each value of the two pixels, repeated in four words.
template <int first, int second>
Words fourTimes(Words words)
{
    return pick<first, first, first, first, second, second, second, second>(words);
}

struct Mode3
{
    static constexpr std::size_t PIXELS = 2;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        using P = Pair<Pixel>;
        const Words pair = P::load(words);
        return withInverse(spread(fourTimes<P::CR[0], P::CR[1]>(pair)) >> 3 |
                           spread(fourTimes<P::Y[0], P::Y[1]>(pair)) >> 6 |
                           spread(fourTimes<P::CB[0], P::CB[1]>(pair)) >> 9);
    }
};

struct Mode4
{
    static constexpr std::size_t PIXELS = 2;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        using P = Pair<Pixel>;
        constexpr Words FACTORS = {1, 1, 64, 64, 1, 1, 64, 64}; // upper halves, lower halves
        const Words pair = P::load(words);
        const Words picture =
            pick<P::Y[0], P::CB[0], P::Y[0], P::CB[0], P::Y[1], P::CR[0], P::Y[1], P::CR[0]>(pair);
        const Words alpha = P::HAS_ALPHA ? fourTimes<P::A[0], P::A[1]>(pair) : all(NO_ALPHA);
        return withInverse(((picture * FACTORS) >> 6 & 0x3F) | spread(alpha) >> 3);
    }
};

/// The samples of all pixels. The result grows in blocks, so that its initial filling is still in
/// the cache when the samples replace it.
template <typename Mode, typename Pixel>
Samples convert(const Pixel* pixels, std::size_t pixelCount)
{
    constexpr std::size_t BLOCK_STEPS = 256;
    const auto* words = reinterpret_cast<const quint16*>(pixels);
    const auto step = [](const quint16* from, Sdi20BitSample* to) {
        store(Mode::template step<Pixel>(from), to);
    };
    constexpr std::size_t WORDS_OF_STEP = Mode::PIXELS * sizeof(Pixel) / sizeof *words;

    Samples samples;
    samples.reserve(pixelCount * SAMPLES_OF_STEP / Mode::PIXELS);
    for (std::size_t steps = pixelCount / Mode::PIXELS; steps > 0;) {
        const std::size_t count = std::min(steps, BLOCK_STEPS);
        const std::size_t done = samples.size();
        samples.resize(done + count * SAMPLES_OF_STEP);
        for (std::size_t i = 0; i < count; ++i) {
            step(words + i * WORDS_OF_STEP, samples.data() + done + i * SAMPLES_OF_STEP);
        }
        words += count * WORDS_OF_STEP;
        steps -= count;
    }
    if (const std::size_t left = pixelCount % Mode::PIXELS; left > 0) {
        Pixel last[Mode::PIXELS];
        std::copy_n(pixels + pixelCount - left, left, last);
        Sdi20BitSample lastSamples[SAMPLES_OF_STEP];
        step(reinterpret_cast<const quint16*>(last), lastSamples);
        samples.insert(samples.end(), lastSamples,
                       lastSamples + left * SAMPLES_OF_STEP / Mode::PIXELS);
    }
    return samples;
}

void checkDepth(bool isRight, const char* operation)
{
    if (!isRight) {
        VELLOG_ERR() << "Error incorrect bit depth in " << operation;
    }
}

/// The number of pixels that form pairs.
std::size_t inPairs(std::size_t pixelCount, const char* operation)
{
    if (pixelCount % 2 != 0) {
        VELLOG_ERR() << "Odd number of pixels in " << operation
                     << ", the last one is dropped: " << pixelCount;
    }
    return pixelCount / 2 * 2;
}

/// Calls `take` with the picture's pixels if they are of one of these forms, and returns its
/// result.
template <typename Take>
auto forYCbCr(const PictureBuffer& picture, Take take)
{
    switch (picture.format) {
    case PixelFormat_AYCrCb:
        return take(reinterpret_cast<const PixelDataAYCrCb*>(picture.words));
    case PixelFormat_YCbCr:
        return take(reinterpret_cast<const PixelDataYCbCr*>(picture.words));
    default:
        return decltype(take(static_cast<const PixelDataYCbCr*>(nullptr)))();
    }
}

template <typename Take>
auto forAllForms(const PictureBuffer& picture, Take take)
{
    switch (picture.format) {
    case PixelFormat_ARGB:
        return take(reinterpret_cast<const PixelDataARGB*>(picture.words));
    case PixelFormat_RGB:
        return take(reinterpret_cast<const PixelDataRGB*>(picture.words));
    default:
        return forYCbCr(picture, take);
    }
}

template <typename Pixel>
Samples toYCbCr422_10(const Pixel* pixels, std::size_t pixelCount, BitDepth depth)
{
    checkDepth(is10Bit(depth), "convertToYCbCr422_10");
    return convert<Mode1>(pixels, inPairs(pixelCount, "convertToYCbCr422_10"));
}

template <typename Pixel>
Samples to444_4(const Pixel* pixels, std::size_t pixelCount, BitDepth depth)
{
    checkDepth(is10Bit(depth), "resampleTo444_4");
    return convert<Mode2>(pixels, pixelCount);
}

template <typename Pixel>
Samples toMappingMode3(const Pixel* pixels, std::size_t pixelCount, BitDepth depth)
{
    checkDepth(is12Bit(depth), "resampleToMappingMode3");
    return convert<Mode3>(pixels, pixelCount);
}

template <typename Pixel>
Samples toMappingMode4(const Pixel* pixels, std::size_t pixelCount, BitDepth depth)
{
    checkDepth(is12Bit(depth), "resampleToMappingMode4");
    return convert<Mode4>(pixels, inPairs(pixelCount, "resampleToMappingMode4"));
}

template <typename Pixel>
DualLinkSamples toMappingModeII(const Pixel* pixels, std::size_t pixelCount, BitDepth depth)
{
    checkDepth(is10Bit(depth), "resampleToMappingModeII");
    const std::size_t paired = inPairs(pixelCount, "resampleToMappingModeII");
    DualLinkSamples links;
    links[DualLinkLink_A] = convert<ModeIILinkA>(pixels, paired);
    links[DualLinkLink_B] = convert<ModeIILinkB>(pixels, paired);
    return links;
}

} // namespace

Samples Converter::convertToYCbCr422_10(const PixelDataAYCrCb* pixels, std::size_t pixelCount,
                                        BitDepth depth)
{
    return toYCbCr422_10(pixels, pixelCount, depth);
}

Samples Converter::convertToYCbCr422_10(const PixelDataYCbCr* pixels, std::size_t pixelCount,
                                        BitDepth depth)
{
    return toYCbCr422_10(pixels, pixelCount, depth);
}

Samples Converter::convertToYCbCr422_10(const PictureBuffer& picture, BitDepth depth)
{
    return forYCbCr(picture, [&](const auto* pixels) {
        return toYCbCr422_10(pixels, picture.getPixelCount(), depth);
    });
}

Samples Converter::resampleTo444_4(const PixelDataARGB* pixels, std::size_t pixelCount,
                                   BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples Converter::resampleTo444_4(const PixelDataRGB* pixels, std::size_t pixelCount,
                                   BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples Converter::resampleTo444_4(const PixelDataAYCrCb* pixels, std::size_t pixelCount,
                                   BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples Converter::resampleTo444_4(const PixelDataYCbCr* pixels, std::size_t pixelCount,
                                   BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples Converter::resampleTo444_4(const PictureBuffer& picture, BitDepth depth)
{
    return forAllForms(picture, [&](const auto* pixels) {
        return to444_4(pixels, picture.getPixelCount(), depth);
    });
}

Samples Converter::resampleToMappingMode3(const PixelDataARGB* pixels, std::size_t pixelCount,
                                          BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples Converter::resampleToMappingMode3(const PixelDataRGB* pixels, std::size_t pixelCount,
                                          BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples Converter::resampleToMappingMode3(const PixelDataAYCrCb* pixels, std::size_t pixelCount,
                                          BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples Converter::resampleToMappingMode3(const PixelDataYCbCr* pixels, std::size_t pixelCount,
                                          BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples Converter::resampleToMappingMode3(const PictureBuffer& picture, BitDepth depth)
{
    return forAllForms(picture, [&](const auto* pixels) {
        return toMappingMode3(pixels, picture.getPixelCount(), depth);
    });
}

Samples Converter::resampleToMappingMode4(const PixelDataAYCrCb* pixels, std::size_t pixelCount,
                                          BitDepth depth)
{
    return toMappingMode4(pixels, pixelCount, depth);
}

Samples Converter::resampleToMappingMode4(const PixelDataYCbCr* pixels, std::size_t pixelCount,
                                          BitDepth depth)
{
    return toMappingMode4(pixels, pixelCount, depth);
}

Samples Converter::resampleToMappingMode4(const PictureBuffer& picture, BitDepth depth)
{
    return forYCbCr(picture, [&](const auto* pixels) {
        return toMappingMode4(pixels, picture.getPixelCount(), depth);
    });
}

DualLinkSamples Converter::resampleToMappingModeII(const PixelDataAYCrCb* pixels,
                                                   std::size_t pixelCount, BitDepth depth)
{
    return toMappingModeII(pixels, pixelCount, depth);
}

DualLinkSamples Converter::resampleToMappingModeII(const PixelDataYCbCr* pixels,
                                                   std::size_t pixelCount, BitDepth depth)
{
    return toMappingModeII(pixels, pixelCount, depth);
}

DualLinkSamples Converter::resampleToMappingModeII(const PictureBuffer& picture, BitDepth depth)
{
    DualLinkSamples links = forYCbCr(picture, [&](const auto* pixels) {
        return toMappingModeII(pixels, picture.getPixelCount(), depth);
    });
    links[DualLinkLink_A];
    links[DualLinkLink_B];
    return links;
}
