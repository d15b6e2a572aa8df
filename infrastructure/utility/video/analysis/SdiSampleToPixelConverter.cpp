#include "infrastructure/utility/video/analysis/SdiSampleToPixelConverter.h"

#include "infrastructure/utility/video/generation/WordVector_p.h"

#include <algorithm>

using namespace Tessorn::Types;
using namespace WordVector;

namespace {

/// Alpha for the modes without it.
constexpr quint16 NO_ALPHA = 64;

constexpr std::size_t PIXELS_OF_STEP = COUNT;

/// Eight pixels, component by component. G counts as Y, R as Cr, B as Cb.
struct Components
{
    Words y;
    Words cb;
    Words cr;
    Words a;
};

// The modes. A step of each makes eight pixels from so many samples of one link.

Words tenBits(Words words)
{
    return words & 0x3FF;
}

/// The first channel of eight samples, and the second.
struct Channels
{
    explicit Channels(const Sdi20BitSample* samples)
    {
        const Words first = load(reinterpret_cast<const quint16*>(samples));
        const Words second = load(reinterpret_cast<const quint16*>(samples + COUNT / 2));
        one = tenBits(pick<0, 2, 4, 6, 8, 10, 12, 14>(first, second));
        two = tenBits(pick<1, 3, 5, 7, 9, 11, 13, 15>(first, second));
    }

    Words one;
    Words two;
};

/// The four words of each of eight pixels: all first ones, all second ones, and so on.
std::array<Words, 4> fourWords(const Sdi20BitSample* samples)
{
    return split<4>(reinterpret_cast<const quint16*>(samples));
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
    static Components step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        const Channels channels(samples);
        return {channels.one, ofEven(channels.two), ofOdd(channels.two), all(NO_ALPHA)};
    }
};

struct ModeII
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 1;
    static constexpr bool TAKES_RGB = false;
    static constexpr bool IN_PAIRS = true;
    static Components step(const Sdi20BitSample* linkA, const Sdi20BitSample* linkB)
    {
        const Channels a(linkA);
        const Channels b(linkB);
        return {a.one, pick<0, 8, 2, 10, 4, 12, 6, 14>(a.two, b.two),
                pick<1, 9, 3, 11, 5, 13, 7, 15>(a.two, b.two), b.one};
    }
};

struct Mode2
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 2;
    static constexpr bool TAKES_RGB = true;
    static constexpr bool IN_PAIRS = false;
    static Components step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        const std::array<Words, 4> words = fourWords(samples);
        return {tenBits(words[0]), tenBits(words[3]), tenBits(words[2]), tenBits(words[1])};
    }
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
    static Components step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        const std::array<Words, 4> words = fourWords(samples);
        const Words y = (words[0] & 0x38) << 6 | (words[1] & 0x38) << 3 | (words[2] & 0x38) |
                        (words[3] & 0x38) >> 3;
        const Words cb =
            (words[0] & 7) << 9 | (words[1] & 7) << 6 | (words[2] & 7) << 3 | (words[3] & 7);
        return {y, cb, fromUpperGroups(words), all(NO_ALPHA)};
    }
};

struct Mode4
{
    static constexpr std::size_t SAMPLES_OF_PIXEL = 2;
    static constexpr bool TAKES_RGB = false;
    static constexpr bool IN_PAIRS = true;
    static Components step(const Sdi20BitSample* samples, const Sdi20BitSample* /*linkB*/)
    {
        const std::array<Words, 4> words = fourWords(samples);
        const Words y = (words[0] & 0x3F) << 6 | (words[2] & 0x3F);
        const Words colour = (words[1] & 0x3F) << 6 | (words[3] & 0x3F);
        return {y, ofEven(colour), ofOdd(colour), fromUpperGroups(words)};
    }
};

/// Eight pixels of a form to its words in memory.
template <PixelFormat format>
void storePixels(const Components& c, quint16* words)
{
    if constexpr (format == PixelFormat_YCbCr) {
        storeThree(merge(c.y, c.cb, c.cr, c.cr), words);
    } else if constexpr (format == PixelFormat_RGB) {
        storeThree(merge(c.cr, c.y, c.cb, c.cb), words);
    } else {
        storeFour(merge(c.cr, c.y, c.cb, c.a), words);
    }
}

template <typename Mode, PixelFormat format>
void convertRun(const Sdi20BitSample* linkA, const Sdi20BitSample* linkB, quint16* pixels,
                std::size_t count)
{
    constexpr std::size_t WORDS_OF_PIXEL = getWordsOfPixel(format);
    constexpr std::size_t SAMPLES_OF_STEP = PIXELS_OF_STEP * Mode::SAMPLES_OF_PIXEL;
    for (; count >= PIXELS_OF_STEP; count -= PIXELS_OF_STEP) {
        storePixels<format>(Mode::step(linkA, linkB), pixels);
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
        storePixels<format>(Mode::step(last[0], last[1]), words);
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
