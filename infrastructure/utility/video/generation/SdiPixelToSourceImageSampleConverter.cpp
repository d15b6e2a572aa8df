#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/generation/MappingKernels_p.h"

#include <algorithm>
#include <array>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

using Converter = SdiPixelToSourceImageSampleConverter;
using Samples = Converter::Samples;
using DualLinkSamples = Converter::DualLinkSamples;

namespace {

/// What an operation takes, and its name in the log.
struct Operation
{
    const char* name;
    bool (*takesDepth)(BitDepth);
    bool inPairs; ///< of pixels
};

constexpr Operation MODE_1{"convertToYCbCr422_10", is10Bit, true};
constexpr Operation MODE_2{"resampleTo444_4", is10Bit, false};
constexpr Operation MODE_3{"resampleToMappingMode3", is12Bit, false};
constexpr Operation MODE_4{"resampleToMappingMode4", is12Bit, true};
constexpr Operation MODE_II{"resampleToMappingModeII", is10Bit, true};

/// The pixels that are to be converted; what is wrong with them is logged.
PixelRun check(PixelRun pixels, BitDepth depth, const Operation& operation)
{
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

/// Null for what the mode does not take.
MappingKernels::Function kernelFor(MappingMode mode, PixelFormat format)
{
    return format < MappingKernels::FORMATS ? getKernels<MappingKernels>().kernels[mode][format]
                                            : nullptr;
}

/// The samples of all pixels. The result grows in small blocks, so that what it is filled with is
/// still in the cache when the samples replace it.
Samples convert(const PixelRun& pixels, MappingMode mode)
{
    static constexpr std::array<Sdi20BitSample, 512> BLOCK = {};
    const MappingKernels::Function kernel = kernelFor(mode, pixels.format);
    const std::size_t wordsOfPixel = getWordsOfPixel(pixels.format);
    const std::size_t samplesOfPixel = getSamplesOfPixel(mode);
    Samples samples;
    samples.reserve(pixels.count * samplesOfPixel);
    for (std::size_t done = 0; done < pixels.count;) {
        const std::size_t count = std::min(BLOCK.size() / samplesOfPixel, pixels.count - done);
        const std::size_t before = samples.size();
        // A copy of a block is faster than resizing, which sets one sample after the other.
        samples.insert(samples.end(), BLOCK.data(), BLOCK.data() + count * samplesOfPixel);
        kernel(pixels.words + done * wordsOfPixel, count, &samples[before].channelOne);
        done += count;
    }
    return samples;
}

Samples checkAndConvert(const PixelRun& pixels, MappingMode mode, BitDepth depth,
                        const Operation& operation)
{
    return kernelFor(mode, pixels.format) != nullptr
               ? convert(check(pixels, depth, operation), mode)
               : Samples();
}

} // namespace

Samples Converter::convertToYCbCr422_10(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert(pixels, Mapping_1, depth, MODE_1);
}

Samples Converter::resampleTo444_4(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert(pixels, Mapping_2, depth, MODE_2);
}

Samples Converter::resampleToMappingMode3(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert(pixels, Mapping_3, depth, MODE_3);
}

Samples Converter::resampleToMappingMode4(PixelRun pixels, BitDepth depth)
{
    return checkAndConvert(pixels, Mapping_4, depth, MODE_4);
}

DualLinkSamples Converter::resampleToMappingModeII(PixelRun pixels, BitDepth depth)
{
    DualLinkSamples links;
    links[DualLinkLink_A];
    links[DualLinkLink_B];
    if (kernelFor(Mapping_IILinkA, pixels.format) != nullptr) {
        const PixelRun checked = check(pixels, depth, MODE_II);
        links[DualLinkLink_A] = convert(checked, Mapping_IILinkA);
        links[DualLinkLink_B] = convert(checked, Mapping_IILinkB);
    }
    return links;
}
