// Converts the 20-bit samples of an interface back to pixels: the inverse of
// SdiPixelToSourceImageSampleConverter. Pure functions over the caller's memory; any thread.
//
// Normative references: SMPTE ST 425-1:2017, mapping structures 1 to 4, and ST 372:2017 for two
// links.
#pragma once

#include "infrastructure/utility/video/generation/PixelData.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

#include <vector>

/// Samples in the order of transmission, without blanking, in memory that it does not own.
struct SampleRun
{
    SampleRun(const Tessorn::Types::Sdi20BitSample* first, std::size_t sampleCount)
        : samples(first)
        , count(sampleCount)
    {
    }
    SampleRun(const std::vector<Tessorn::Types::Sdi20BitSample>& all)
        : SampleRun(all.data(), all.size())
    {
    }

    const Tessorn::Types::Sdi20BitSample* samples;
    std::size_t count;
};

/// Each operation writes as many pixels as there are samples for and as fit, and returns how many.
/// Whole pairs of pixels are written in modes 1, 4 and II. A form that the mode does not carry
/// takes no pixels: modes 1 and 4 have no R'G'B'. In mode II it travels as on all links: G in the
/// place of Y, B of Cb, R of Cr.
///
/// Nothing is expected of the samples: bits above the 10 of a channel are dropped, and so is bit 9
/// in modes 3 and 4, which says nothing new. Where the form has no alpha, alpha is dropped; where
/// the mode has none, it becomes 64. In 4:2:2 the second pixel of a pair takes the colour of the
/// first, so that the samples that the pixels are converted to again are the same.
class SdiSampleToPixelConverter
{
public:
    /// Mode 1, 10-bit 4:2:2: a sample for a pixel.
    static std::size_t convertFromYCbCr422_10(SampleRun samples, Tessorn::Types::PixelSpan pixels);
    /// Mode 2, 10-bit 4:4:4:4: two samples for a pixel.
    static std::size_t convertFrom444_4(SampleRun samples, Tessorn::Types::PixelSpan pixels);
    /// Mode 3, 12-bit 4:4:4: two samples for a pixel.
    static std::size_t convertFromMappingMode3(SampleRun samples, Tessorn::Types::PixelSpan pixels);
    /// Mode 4, 12-bit 4:2:2:4: two samples for a pixel.
    static std::size_t convertFromMappingMode4(SampleRun samples, Tessorn::Types::PixelSpan pixels);
    /// Mode II, 10-bit 4:4:4:4 on two links: a sample of each for a pixel.
    static std::size_t convertFromMappingModeII(SampleRun linkA, SampleRun linkB,
                                                Tessorn::Types::PixelSpan pixels);

    /// Samples of modes 3 and 4 with a channel whose bit 9 is not the inverse of bit 8.
    static std::size_t countDamaged(SampleRun samples);
};
