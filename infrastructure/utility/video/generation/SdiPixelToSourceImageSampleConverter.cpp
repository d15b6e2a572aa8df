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
    static constexpr int A[2] = {0, 5}; ///< holds something else
    static Words load(const quint16* words) { return loadSixWords(words); }
};

template <>
struct Pair<PixelDataYCbCr>
{
    static constexpr bool HAS_ALPHA = false;
    static constexpr int Y[2] = {0, 5};
    static constexpr int CB[2] = {1, 6};
    static constexpr int CR[2] = {2, 7};
    static constexpr int A[2] = {0, 5}; ///< holds something else
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

/// What an operation takes, and its name in the log.
struct Operation
{
    const char* name;
    bool (*takesDepth)(BitDepth);
    bool (*takesForm)(PixelFormat);
    bool inPairs; ///< of pixels
};

constexpr bool isAnyForm(PixelFormat format)
{
    return format <= PixelFormat_YCbCr;
}

// The modes. A step of each makes eight words, which are four samples, from so many pixels.

/// Luma of each pixel, colour of the even ones.
struct ModeIILinkA
{
    static constexpr Operation OPERATION{"resampleToMappingModeII", is10Bit, isYCbCr, true};
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
    static constexpr Operation OPERATION = ModeIILinkA::OPERATION;
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
    static constexpr Operation OPERATION{"convertToYCbCr422_10", is10Bit, isYCbCr, true};
    static constexpr std::size_t PIXELS = 4;
    template <typename Pixel>
    static Words step(const quint16* words)
    {
        return ModeIILinkA::step<Pixel>(words) & 0x3FF;
    }
};

struct Mode2
{
    static constexpr Operation OPERATION{"resampleTo444_4", is10Bit, isAnyForm, false};
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
    static constexpr Operation OPERATION{"resampleToMappingMode3", is12Bit, isAnyForm, false};
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
    static constexpr Operation OPERATION{"resampleToMappingMode4", is12Bit, isYCbCr, true};
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
        Sdi20BitSample* const to = samples.data() + done;
        for (std::size_t i = 0; i < count; ++i) {
            step(words + i * WORDS_OF_STEP, to + i * SAMPLES_OF_STEP);
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

template <typename Mode>
Samples convert(const PixelRun& run)
{
    const auto of = [&run](auto pixel) {
        using Pixel = decltype(pixel);
        if constexpr (Mode::OPERATION.takesForm(Pixel::FORMAT)) {
            return convert<Mode>(reinterpret_cast<const Pixel*>(run.words), run.count);
        } else {
            return Samples();
        }
    };
    switch (run.format) {
    case PixelFormat_ARGB:
        return of(PixelDataARGB());
    case PixelFormat_RGB:
        return of(PixelDataRGB());
    case PixelFormat_AYCrCb:
        return of(PixelDataAYCrCb());
    case PixelFormat_YCbCr:
        return of(PixelDataYCbCr());
    }
    return {};
}

/// The pixels that an operation converts; what is wrong with them is logged.
PixelRun check(PixelRun pixels, BitDepth depth, const Operation& operation)
{
    if (!operation.takesForm(pixels.format)) {
        pixels.count = 0;
        return pixels;
    }
    if (!operation.takesDepth(depth)) {
        VELLOG_ERR() << "Error incorrect bit depth in " << operation.name;
    }
    if (operation.inPairs && pixels.count % 2 != 0) {
        VELLOG_ERR() << "Odd number of pixels in " << operation.name
                     << ", the last one is dropped: " << pixels.count;
        --pixels.count;
    }
    return pixels;
}

template <typename Mode>
Samples checkAndConvert(const PixelRun& pixels, BitDepth depth)
{
    return convert<Mode>(check(pixels, depth, Mode::OPERATION));
}

} // namespace

Samples Converter::convertToYCbCr422_10(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert<Mode1>(pixels, depth);
}

Samples Converter::resampleTo444_4(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert<Mode2>(pixels, depth);
}

Samples Converter::resampleToMappingMode3(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert<Mode3>(pixels, depth);
}

Samples Converter::resampleToMappingMode4(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert<Mode4>(pixels, depth);
}

DualLinkSamples Converter::resampleToMappingModeII(PixelRun pixels, BitDepth depth)
{
    const PixelRun checked = check(pixels, depth, ModeIILinkA::OPERATION);
    DualLinkSamples links;
    links[DualLinkLink_A] = convert<ModeIILinkA>(checked);
    links[DualLinkLink_B] = convert<ModeIILinkB>(checked);
    return links;
}
