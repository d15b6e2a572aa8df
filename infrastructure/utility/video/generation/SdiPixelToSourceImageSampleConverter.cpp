#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

#include "infrastructure/utility/Log.h"

#include <algorithm>
#include <cstring>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

namespace {

using Samples = SdiPixelToSourceImageSampleConverter::Samples;
using DualLinkSamples = SdiPixelToSourceImageSampleConverter::DualLinkSamples;

/// Alpha of the forms without it.
constexpr quint16 NO_ALPHA = 64;

// The components of all forms under one name: middle is Y or G, the others are Cr or R, Cb or B.

constexpr quint16 middle(const PixelDataARGB& pixel)
{
    return pixel.g;
}
constexpr quint16 middle(const PixelDataRGB& pixel)
{
    return pixel.g;
}
constexpr quint16 middle(const PixelDataAYCrCb& pixel)
{
    return pixel.y;
}
constexpr quint16 middle(const PixelDataYCbCr& pixel)
{
    return pixel.y;
}

constexpr quint16 crOrR(const PixelDataARGB& pixel)
{
    return pixel.r;
}
constexpr quint16 crOrR(const PixelDataRGB& pixel)
{
    return pixel.r;
}
constexpr quint16 crOrR(const PixelDataAYCrCb& pixel)
{
    return pixel.cr;
}
constexpr quint16 crOrR(const PixelDataYCbCr& pixel)
{
    return pixel.cr;
}

constexpr quint16 cbOrB(const PixelDataARGB& pixel)
{
    return pixel.b;
}
constexpr quint16 cbOrB(const PixelDataRGB& pixel)
{
    return pixel.b;
}
constexpr quint16 cbOrB(const PixelDataAYCrCb& pixel)
{
    return pixel.cb;
}
constexpr quint16 cbOrB(const PixelDataYCbCr& pixel)
{
    return pixel.cb;
}

constexpr quint16 alpha(const PixelDataARGB& pixel)
{
    return pixel.a;
}
constexpr quint16 alpha(const PixelDataRGB&)
{
    return NO_ALPHA;
}
constexpr quint16 alpha(const PixelDataAYCrCb& pixel)
{
    return pixel.a;
}
constexpr quint16 alpha(const PixelDataYCbCr&)
{
    return NO_ALPHA;
}

/// Four words of two samples, the first in the lowest 16 bits.
using FourWords = quint64;

void store(FourWords words, Sdi20BitSample* samples)
{
    samples[0].channelOne = static_cast<quint16>(words);
    samples[0].channelTwo = static_cast<quint16>(words >> 16);
    samples[1].channelOne = static_cast<quint16>(words >> 32);
    samples[1].channelTwo = static_cast<quint16>(words >> 48);
}

/// The four groups of three bits of a 12-bit value, the uppermost in the first word.
///
/// The factor puts copies of the value 19 bits apart, 16 for the next word and 3 for the next
/// group.
constexpr FourWords spread(quint16 value)
{
    constexpr FourWords COPIES = 1 | FourWords(1) << 19 | FourWords(1) << 38 | FourWords(1) << 57;
    return (value * COPIES >> 9) & 0x0007000700070007u;
}

/// Sets bit 9 of each word to the inverse of its bit 8.
constexpr FourWords withInverse(FourWords words)
{
    return words | (~words & 0x0100010001000100u) << 1;
}

/// The upper and lower halves of two 12-bit values, six bits to a word: one, two, one, two.
constexpr FourWords halves(quint16 channelOne, quint16 channelTwo)
{
    const FourWords one = channelOne;
    const FourWords two = channelTwo;
    return (one >> 6 | two << (16 - 6) | one << 32 | two << 48) & 0x003F003F003F003Fu;
}

// One step of each mode: the pixels that it takes and the samples that it gives.

struct Mode1
{
    static constexpr std::size_t PIXELS = 2;
    static constexpr std::size_t SAMPLES = 2;
    /// Y0, Cb0, Cr0, Y1 are neighbours: the first two as they are, the others turned.
    static void step(const PixelDataYCbCr* pixels, Sdi20BitSample* samples)
    {
        constexpr FourWords MASK = 0x03FF03FF03FF03FFu;
        constexpr int TURNED = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 32 : 0; ///< where Cr0 and Y1 lie
        FourWords words = 0;
        std::memcpy(&words, &pixels[0].y, sizeof words);
        const auto half = static_cast<quint32>(words >> TURNED);
        const quint32 turned = half << 16 | half >> 16;
        words &= FourWords(0xFFFFFFFFu) << (32 - TURNED);
        words = (words | FourWords(turned) << TURNED) & MASK;
        std::memcpy(&samples[0].channelOne, &words, sizeof words);
    }
    static void step(const PixelDataAYCrCb* pixels, Sdi20BitSample* samples)
    {
        constexpr quint16 MASK = 0x3FF;
        samples[0] = {quint16(pixels[0].y & MASK), quint16(pixels[0].cb & MASK)};
        samples[1] = {quint16(pixels[1].y & MASK), quint16(pixels[0].cr & MASK)};
    }
};

struct Mode2
{
    static constexpr std::size_t PIXELS = 1;
    static constexpr std::size_t SAMPLES = 2;
    template <typename Pixel>
    static void step(const Pixel* pixels, Sdi20BitSample* samples)
    {
        samples[0] = {middle(*pixels), alpha(*pixels)};
        samples[1] = {crOrR(*pixels), cbOrB(*pixels)};
    }
};

struct Mode3
{
    static constexpr std::size_t PIXELS = 1;
    static constexpr std::size_t SAMPLES = 2;
    template <typename Pixel>
    static void step(const Pixel* pixels, Sdi20BitSample* samples)
    {
        store(withInverse(spread(crOrR(*pixels)) << 6 | spread(middle(*pixels)) << 3 |
                          spread(cbOrB(*pixels))),
              samples);
    }
};

struct Mode4
{
    static constexpr std::size_t PIXELS = 2;
    static constexpr std::size_t SAMPLES = 4;
    template <typename Pixel>
    static void step(const Pixel* pixels, Sdi20BitSample* samples)
    {
        store(withInverse(halves(pixels[0].y, pixels[0].cb) | spread(alpha(pixels[0])) << 6),
              samples);
        store(withInverse(halves(pixels[1].y, pixels[0].cr) | spread(alpha(pixels[1])) << 6),
              samples + 2);
    }
};

struct ModeIILinkA
{
    static constexpr std::size_t PIXELS = 2;
    static constexpr std::size_t SAMPLES = 2;
    template <typename Pixel>
    static void step(const Pixel* pixels, Sdi20BitSample* samples)
    {
        samples[0] = {pixels[0].y, pixels[0].cb};
        samples[1] = {pixels[1].y, pixels[0].cr};
    }
};

struct ModeIILinkB
{
    static constexpr std::size_t PIXELS = 2;
    static constexpr std::size_t SAMPLES = 2;
    template <typename Pixel>
    static void step(const Pixel* pixels, Sdi20BitSample* samples)
    {
        samples[0] = {alpha(pixels[0]), pixels[1].cb};
        samples[1] = {alpha(pixels[1]), pixels[1].cr};
    }
};

/// All whole steps. Blocks are made beside and appended, so that no memory is filled twice.
template <typename Mode, typename Pixel>
Samples convert(const Pixel* pixels, std::size_t pixelCount)
{
    constexpr std::size_t BLOCK_STEPS = 1024;
    Sdi20BitSample block[BLOCK_STEPS * Mode::SAMPLES];
    std::size_t steps = pixelCount / Mode::PIXELS;
    Samples samples;
    samples.reserve(steps * Mode::SAMPLES);
    while (steps > 0) {
        const std::size_t count = std::min(steps, BLOCK_STEPS);
        for (std::size_t i = 0; i < count; ++i) {
            Mode::step(pixels + i * Mode::PIXELS, block + i * Mode::SAMPLES);
        }
        samples.insert(samples.end(), block, block + count * Mode::SAMPLES);
        pixels += count * Mode::PIXELS;
        steps -= count;
    }
    return samples;
}

void checkDepth(bool isRight, const char* operation)
{
    if (!isRight) {
        VELLOG_ERR() << "Error incorrect bit depth in " << operation;
    }
}

void checkPairs(std::size_t pixelCount, const char* operation)
{
    if (pixelCount % 2 != 0) {
        VELLOG_ERR() << "Odd number of pixels in " << operation
                     << ", the last one is dropped: " << pixelCount;
    }
}

/// Calls `take` with the picture's pixels where they are of one of these forms, and answers what it
/// answers.
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
    checkPairs(pixelCount, "convertToYCbCr422_10");
    return convert<Mode1>(pixels, pixelCount);
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
    checkPairs(pixelCount, "resampleToMappingMode4");
    return convert<Mode4>(pixels, pixelCount);
}

template <typename Pixel>
DualLinkSamples toMappingModeII(const Pixel* pixels, std::size_t pixelCount, BitDepth depth)
{
    checkDepth(is10Bit(depth), "resampleToMappingModeII");
    checkPairs(pixelCount, "resampleToMappingModeII");
    DualLinkSamples links;
    links[DualLinkLink_A] = convert<ModeIILinkA>(pixels, pixelCount);
    links[DualLinkLink_B] = convert<ModeIILinkB>(pixels, pixelCount);
    return links;
}

} // namespace

Samples SdiPixelToSourceImageSampleConverter::convertToYCbCr422_10(const PixelDataAYCrCb* pixels,
                                                                   std::size_t pixelCount,
                                                                   BitDepth depth)
{
    return toYCbCr422_10(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::convertToYCbCr422_10(const PixelDataYCbCr* pixels,
                                                                   std::size_t pixelCount,
                                                                   BitDepth depth)
{
    return toYCbCr422_10(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::convertToYCbCr422_10(const PictureBuffer& picture,
                                                                   BitDepth depth)
{
    return forYCbCr(picture, [&](const auto* pixels) {
        return toYCbCr422_10(pixels, picture.getPixelCount(), depth);
    });
}

Samples SdiPixelToSourceImageSampleConverter::resampleTo444_4(const PixelDataARGB* pixels,
                                                              std::size_t pixelCount,
                                                              BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleTo444_4(const PixelDataRGB* pixels,
                                                              std::size_t pixelCount,
                                                              BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleTo444_4(const PixelDataAYCrCb* pixels,
                                                              std::size_t pixelCount,
                                                              BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleTo444_4(const PixelDataYCbCr* pixels,
                                                              std::size_t pixelCount,
                                                              BitDepth depth)
{
    return to444_4(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleTo444_4(const PictureBuffer& picture,
                                                              BitDepth depth)
{
    return forAllForms(picture, [&](const auto* pixels) {
        return to444_4(pixels, picture.getPixelCount(), depth);
    });
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode3(const PixelDataARGB* pixels,
                                                                     std::size_t pixelCount,
                                                                     BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode3(const PixelDataRGB* pixels,
                                                                     std::size_t pixelCount,
                                                                     BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode3(const PixelDataAYCrCb* pixels,
                                                                     std::size_t pixelCount,
                                                                     BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode3(const PixelDataYCbCr* pixels,
                                                                     std::size_t pixelCount,
                                                                     BitDepth depth)
{
    return toMappingMode3(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode3(const PictureBuffer& picture,
                                                                     BitDepth depth)
{
    return forAllForms(picture, [&](const auto* pixels) {
        return toMappingMode3(pixels, picture.getPixelCount(), depth);
    });
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode4(const PixelDataAYCrCb* pixels,
                                                                     std::size_t pixelCount,
                                                                     BitDepth depth)
{
    return toMappingMode4(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode4(const PixelDataYCbCr* pixels,
                                                                     std::size_t pixelCount,
                                                                     BitDepth depth)
{
    return toMappingMode4(pixels, pixelCount, depth);
}

Samples SdiPixelToSourceImageSampleConverter::resampleToMappingMode4(const PictureBuffer& picture,
                                                                     BitDepth depth)
{
    return forYCbCr(picture, [&](const auto* pixels) {
        return toMappingMode4(pixels, picture.getPixelCount(), depth);
    });
}

DualLinkSamples SdiPixelToSourceImageSampleConverter::resampleToMappingModeII(
    const PixelDataAYCrCb* pixels, std::size_t pixelCount, BitDepth depth)
{
    return toMappingModeII(pixels, pixelCount, depth);
}

DualLinkSamples SdiPixelToSourceImageSampleConverter::resampleToMappingModeII(
    const PixelDataYCbCr* pixels, std::size_t pixelCount, BitDepth depth)
{
    return toMappingModeII(pixels, pixelCount, depth);
}

DualLinkSamples
SdiPixelToSourceImageSampleConverter::resampleToMappingModeII(const PictureBuffer& picture,
                                                              BitDepth depth)
{
    DualLinkSamples links = forYCbCr(picture, [&](const auto* pixels) {
        return toMappingModeII(pixels, picture.getPixelCount(), depth);
    });
    links[DualLinkLink_A];
    links[DualLinkLink_B];
    return links;
}
