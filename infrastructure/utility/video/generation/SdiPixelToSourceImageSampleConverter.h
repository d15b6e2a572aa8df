// Converts pixels of a source image to the 20-bit samples of an interface, by the mapping of its
// standard. Pure functions except for log lines.
//
// Normative references: SMPTE ST 425-1:2017, mapping structures 1 to 4, and ST 372:2017 for two
// links.
#pragma once

#include "infrastructure/utility/video/generation/PixelData.h"
#include "infrastructure/utility/video/PayloadIdVocabulary.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

#include <map>
#include <type_traits>
#include <vector>

/// Mapping structures are numbered from 1 here, from 0 in StandardFromPayloadIdentifier.
///
/// Each operation takes a run of pixels, which may be a picture, or an array and its length.
///
/// A depth with the wrong number of bits is logged at level err, and the conversion goes on. Modes
/// 1, 4 and II take pixels in pairs: an odd last pixel is dropped, with a log line at level err. A
/// picture in a form that the mode does not accept gives no samples.
///
/// In modes 1, 3 and 4 bits above those of the mode are dropped; in modes 2 and II components must
/// be in range.
class SdiPixelToSourceImageSampleConverter
{
public:
    /// In the order of transmission, without blanking.
    using Samples = std::vector<Tessorn::Types::Sdi20BitSample>;
    /// The samples of each link.
    using DualLinkSamples = std::map<Tessorn::Types::DualLinkLink, Samples>;
    /// The result of an operation that takes no R'G'B' pixels.
    template <typename Pixel, typename Result>
    using IfYCbCr = std::enable_if_t<Tessorn::Types::isYCbCr(Pixel::FORMAT), Result>;

    /// Mode 1, 10-bit 4:2:2: (Y0, Cb0), (Y1, Cr0) for two pixels. The second pixel's colour is left
    /// out.
    static Samples convertToYCbCr422_10(Tessorn::Types::PixelRun pixels,
                                        Tessorn::Sdi::PayloadId::BitDepth depth);
    /// The same for an array.
    template <typename Pixel>
    static IfYCbCr<Pixel, Samples> convertToYCbCr422_10(const Pixel* pixels, std::size_t pixelCount,
                                                        Tessorn::Sdi::PayloadId::BitDepth depth)
    {
        return convertToYCbCr422_10({pixels, pixelCount}, depth);
    }

    /// Mode 2, 10-bit 4:4:4:4: (Y, A), (Cr, Cb) or (G, A), (R, B) for a pixel, where A is 64 in the
    /// forms without it.
    static Samples resampleTo444_4(Tessorn::Types::PixelRun pixels,
                                   Tessorn::Sdi::PayloadId::BitDepth depth);
    /// The same for an array.
    template <typename Pixel>
    static Samples resampleTo444_4(const Pixel* pixels, std::size_t pixelCount,
                                   Tessorn::Sdi::PayloadId::BitDepth depth)
    {
        return resampleTo444_4({pixels, pixelCount}, depth);
    }

    /// Mode 3, 12-bit 4:4:4: two samples per pixel. Each of their four words takes three bits of
    /// each component, the upper ones first.
    ///
    ///   bit  9            | 8 ... 6 | 5 ... 3 | 2 ... 0
    ///        inverse of 8 | Cr or R | Y or G  | Cb or B
    static Samples resampleToMappingMode3(Tessorn::Types::PixelRun pixels,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    /// The same for an array.
    template <typename Pixel>
    static Samples resampleToMappingMode3(const Pixel* pixels, std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth)
    {
        return resampleToMappingMode3({pixels, pixelCount}, depth);
    }

    /// Mode 4, 12-bit 4:2:2:4: four samples for two pixels. Each word takes six bits of the picture
    /// and three of alpha, the upper ones first; alpha is 64 for the form without it. The words of
    /// channel one are those of Y0 and Y1, the words of channel two those of Cb0 and Cr0.
    ///
    ///   bit  9            | 8 ... 6 | 5 ... 0
    ///        inverse of 8 | alpha   | Y, Cb or Cr
    static Samples resampleToMappingMode4(Tessorn::Types::PixelRun pixels,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    /// The same for an array.
    template <typename Pixel>
    static IfYCbCr<Pixel, Samples> resampleToMappingMode4(const Pixel* pixels,
                                                          std::size_t pixelCount,
                                                          Tessorn::Sdi::PayloadId::BitDepth depth)
    {
        return resampleToMappingMode4({pixels, pixelCount}, depth);
    }

    /// Mode II, 10-bit 4:4:4:4 on two links: (Y0, Cb0), (Y1, Cr0) on link A and (A0, Cb1), (A1,
    /// Cr1) on link B for two pixels, where A is 64 in the form without it. There is an entry for
    /// both links, even without samples.
    static DualLinkSamples resampleToMappingModeII(Tessorn::Types::PixelRun pixels,
                                                   Tessorn::Sdi::PayloadId::BitDepth depth);
    /// The same for an array.
    template <typename Pixel>
    static IfYCbCr<Pixel, DualLinkSamples>
    resampleToMappingModeII(const Pixel* pixels, std::size_t pixelCount,
                            Tessorn::Sdi::PayloadId::BitDepth depth)
    {
        return resampleToMappingModeII({pixels, pixelCount}, depth);
    }
};
