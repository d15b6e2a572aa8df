#include "infrastructure/utility/video/analysis/SdiSampleToPixelConverter.h"

#include "infrastructure/utility/video/generation/WordVector_p.h"

#include <algorithm>

using namespace Tessorn::Types;
using namespace WordVector;

namespace {

/// Alpha for the modes without it.
constexpr quint16 NO_ALPHA = 64;

constexpr std::size_t PIXELS_OF_STEP = COUNT;

/// Eight pixels in the order of their words, two in each vector. Behind three words is any fourth.
using Pixels = std::array<Words, 4>;

/// Eight pixels, component by component. G counts as Y, R as Cr, B as Cb.
struct Components
{
    Words y;
    Words cb;
    Words cr;
    Words a;
};

template <PixelFormat format>
Pixels mergePixels(const Components& c)
{
    if constexpr (format == PixelFormat_YCbCr) {
        return merge(c.y, c.cb, c.cr, c.cr);
    } else {
        return merge(c.cr, c.y, c.cb, c.a);
    }
}

// The modes. A step of each makes eight pixels of a form from the samples of one link or two.

Words tenBits(Words words)
{
    return words & 0x3FF;
}

const quint16* wordsOf(const Sdi20BitSample* samples)
{
    return reinterpret_cast<const quint16*>(samples);
}

/// What the even ones hold, for both pixels of a pair.
Words ofEven(Words words)
{
    return pick<0, 0, 2, 2, 4, 4, 6, 6>(words);
}

Words ofOdd(Words words)
{
    return pick<1, 1, 3, 3, 5, 5, 7, 7>(words);
}

struct Mode1
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 1;
    static constexpr bool TAKES_RGB = false;
    static constexpr bool IN_PAIRS = true;
    template <PixelFormat format>
    static Pixels step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        Pixels pixels;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            // The four words of a pair for each of its pixels: Y0, Cb, Y1, Cr.
            const quint16* pair = wordsOf(samples) + 4 * i;
            const Words words = tenBits(loadHalves(pair, pair));
            if constexpr (format == PixelFormat_YCbCr) {
                pixels[i] = pick<0, 1, 3, 2, 6, 5, 7, 4>(words);
            } else {
                pixels[i] = opaque(pick<3, 0, 1, 2, 7, 6, 5, 4>(words));
            }
        }
        return pixels;
    }

    static Words opaque(Words pixels)
    {
        constexpr Words ALPHA = {0, 0, 0, 0xFFFF, 0, 0, 0, 0xFFFF};
        return (pixels & ~ALPHA) | (all(NO_ALPHA) & ALPHA);
    }
};

struct Mode2
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 2;
    static constexpr bool TAKES_RGB = true;
    static constexpr bool IN_PAIRS = false;
    template <PixelFormat format>
    static Pixels step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        Pixels pixels;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const Words words = tenBits(load(wordsOf(samples) + i * COUNT));
            if constexpr (format == PixelFormat_YCbCr) {
                pixels[i] = pick<0, 3, 2, 1, 4, 7, 6, 5>(words);
            } else {
                pixels[i] = pick<2, 0, 3, 1, 6, 4, 7, 5>(words);
            }
        }
        return pixels;
    }
};

struct ModeII
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 1;
    static constexpr bool TAKES_RGB = true;
    static constexpr bool IN_PAIRS = true;
    template <PixelFormat format>
    static Pixels step(const Sdi20BitSample* linkA, const Sdi20BitSample* linkB)
    {
        const Channels a(linkA);
        const Channels b(linkB);
        return mergePixels<format>({a.one, pick<0, 8, 2, 10, 4, 12, 6, 14>(a.two, b.two),
                                    pick<1, 9, 3, 11, 5, 13, 7, 15>(a.two, b.two), b.one});
    }

    /// The first channel of eight samples, and the second.
    struct Channels
    {
        explicit Channels(const Sdi20BitSample* samples)
        {
            const Words first = load(wordsOf(samples));
            const Words second = load(wordsOf(samples) + COUNT);
            one = tenBits(pick<0, 2, 4, 6, 8, 10, 12, 14>(first, second));
            two = tenBits(pick<1, 3, 5, 7, 9, 11, 13, 15>(first, second));
        }

        Words one;
        Words two;
    };
};

/// Twelve bits of three in each of four words, from bits 8 to 6, upper ones first.
Words fromUpperGroups(const std::array<Words, 4>& words)
{
    return (words[0] & 0x1C0) << 3 | (words[1] & 0x1C0) | (words[2] & 0x1C0) >> 3 |
           (words[3] & 0x1C0) >> 6;
}

struct Mode3
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 2;
    static constexpr bool TAKES_RGB = true;
    static constexpr bool IN_PAIRS = false;
    template <PixelFormat format>
    static Pixels step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        const std::array<Words, 4> words = split<4>(wordsOf(samples));
        const Words y = (words[0] & 0x38) << 6 | (words[1] & 0x38) << 3 | (words[2] & 0x38) |
                        (words[3] & 0x38) >> 3;
        const Words cb =
            (words[0] & 7) << 9 | (words[1] & 7) << 6 | (words[2] & 7) << 3 | (words[3] & 7);
        return mergePixels<format>({y, cb, fromUpperGroups(words), all(NO_ALPHA)});
    }
};

struct Mode4
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 2;
    static constexpr bool TAKES_RGB = false;
    static constexpr bool IN_PAIRS = true;
    template <PixelFormat format>
    static Pixels step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        const std::array<Words, 4> words = split<4>(wordsOf(samples));
        const Words y = (words[0] & 0x3F) << 6 | (words[2] & 0x3F);
        const Words colour = (words[1] & 0x3F) << 6 | (words[3] & 0x3F);
        return mergePixels<format>({y, ofEven(colour), ofOdd(colour), fromUpperGroups(words)});
    }
};

template <PixelFormat format>
void storePixels(const Pixels& pixels, quint16* words)
{
    if constexpr (getWordsOfPixel(format) == 3) {
        storeThree(pixels, words);
    } else {
        storeFour(pixels, words);
    }
}

template <typename Mode, PixelFormat format>
void convertRun(const Sdi20BitSample* linkA, const Sdi20BitSample* linkB, quint16* pixels,
                std::size_t count)
{
    constexpr std::size_t WORDS_OF_PIXEL = getWordsOfPixel(format);
    constexpr std::size_t SAMPLES_OF_STEP = PIXELS_OF_STEP * Mode::SAMPLES_OF_PIXEL;
    for (; count >= PIXELS_OF_STEP; count -= PIXELS_OF_STEP) {
        storePixels<format>(Mode::template step<format>(linkA, linkB), pixels);
        linkA += SAMPLES_OF_STEP;
        linkB += linkB != nullptr ? SAMPLES_OF_STEP : 0;
        pixels += PIXELS_OF_STEP * WORDS_OF_PIXEL;
    }
    if (count > 0) {
        Sdi20BitSample last[2][SAMPLES_OF_STEP];
        const std::size_t samples = count * Mode::SAMPLES_OF_PIXEL;
        std::copy_n(linkA, samples, last[0]);
        std::copy_n(linkB, linkB != nullptr ? samples : 0, last[1]);
        quint16 words[PIXELS_OF_STEP * WORDS_OF_PIXEL];
        storePixels<format>(Mode::template step<format>(last[0], last[1]), words);
        std::copy_n(words, count * WORDS_OF_PIXEL, pixels);
    }
}

/// `linkB` is null for the modes of one link.
template <typename Mode>
std::size_t convert(SampleRun linkA, const Sdi20BitSample* linkB, PixelSpan pixels)
{
    std::size_t count = std::min(linkA.count / Mode::SAMPLES_OF_PIXEL, pixels.count);
    count -= Mode::IN_PAIRS ? count % 2 : 0;
    const auto to = [&](auto convertTo) {
        convertTo(linkA.samples, linkB, pixels.words, count);
        return count;
    };
    switch (pixels.format) {
    case PixelFormat_ARGB:
        return Mode::TAKES_RGB ? to(convertRun<Mode, PixelFormat_ARGB>) : 0;
    case PixelFormat_RGB:
        return Mode::TAKES_RGB ? to(convertRun<Mode, PixelFormat_RGB>) : 0;
    case PixelFormat_AYCrCb:
        return to(convertRun<Mode, PixelFormat_AYCrCb>);
    case PixelFormat_YCbCr:
        return to(convertRun<Mode, PixelFormat_YCbCr>);
    }
    return 0;
}

} // namespace

std::size_t SdiSampleToPixelConverter::convertFromYCbCr422_10(SampleRun samples, PixelSpan pixels)
{
    return convert<Mode1>(samples, nullptr, pixels);
}

std::size_t SdiSampleToPixelConverter::convertFrom444_4(SampleRun samples, PixelSpan pixels)
{
    return convert<Mode2>(samples, nullptr, pixels);
}

std::size_t SdiSampleToPixelConverter::convertFromMappingMode3(SampleRun samples, PixelSpan pixels)
{
    return convert<Mode3>(samples, nullptr, pixels);
}

std::size_t SdiSampleToPixelConverter::convertFromMappingMode4(SampleRun samples, PixelSpan pixels)
{
    return convert<Mode4>(samples, nullptr, pixels);
}

std::size_t SdiSampleToPixelConverter::convertFromMappingModeII(SampleRun linkA, SampleRun linkB,
                                                                PixelSpan pixels)
{
    linkA.count = std::min(linkA.count, linkB.count);
    return convert<ModeII>(linkA, linkB.samples, pixels);
}

std::size_t SdiSampleToPixelConverter::countDamaged(SampleRun samples)
{
    // Bit 8 is set where bit 9 is not its inverse.
    const auto sameBits = [](unsigned word) { return ~(word ^ word >> 1); };
    return static_cast<std::size_t>(std::count_if(
        samples.samples, samples.samples + samples.count, [&](const Sdi20BitSample& sample) {
            return ((sameBits(sample.channelOne) | sameBits(sample.channelTwo)) & 0x100) != 0;
        }));
}
