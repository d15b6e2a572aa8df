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
#include <vector>

/// Mapping structures count from 1 here, and from 0 in StandardFromPayloadIdentifier.
///
/// A depth of the wrong number of bits is logged at level err, and the conversion goes on. Modes 1,
/// 4 and II take pixels in pairs: an odd last pixel is dropped, with a log line at level err. A
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

    /// Mode 1, 10-bit 4:2:2: (Y0, Cb0), (Y1, Cr0) for two pixels. The second pixel's colour is
    /// dropped.
    static Samples convertToYCbCr422_10(const Tessorn::Types::PixelDataAYCrCb* pixels,
                                        std::size_t pixelCount,
                                        Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples convertToYCbCr422_10(const Tessorn::Types::PixelDataYCbCr* pixels,
                                        std::size_t pixelCount,
                                        Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples convertToYCbCr422_10(const Tessorn::Types::PictureBuffer& picture,
                                        Tessorn::Sdi::PayloadId::BitDepth depth);

    /// Mode 2, 10-bit 4:4:4:4: (Y, A), (Cr, Cb) or (G, A), (R, B) for a pixel. A is 64 for forms
    /// without it.
    static Samples resampleTo444_4(const Tessorn::Types::PixelDataARGB* pixels,
                                   std::size_t pixelCount, Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleTo444_4(const Tessorn::Types::PixelDataRGB* pixels,
                                   std::size_t pixelCount, Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleTo444_4(const Tessorn::Types::PixelDataAYCrCb* pixels,
                                   std::size_t pixelCount, Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleTo444_4(const Tessorn::Types::PixelDataYCbCr* pixels,
                                   std::size_t pixelCount, Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleTo444_4(const Tessorn::Types::PictureBuffer& picture,
                                   Tessorn::Sdi::PayloadId::BitDepth depth);

    /// Mode 3, 12-bit 4:4:4: two samples per pixel. Each of their four words takes three bits of
    /// each component, the upper ones first.
    ///
    ///   bit  9            | 8 ... 6 | 5 ... 3 | 2 ... 0
    ///        inverse of 8 | Cr or R | Y or G  | Cb or B
    static Samples resampleToMappingMode3(const Tessorn::Types::PixelDataARGB* pixels,
                                          std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleToMappingMode3(const Tessorn::Types::PixelDataRGB* pixels,
                                          std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleToMappingMode3(const Tessorn::Types::PixelDataAYCrCb* pixels,
                                          std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleToMappingMode3(const Tessorn::Types::PixelDataYCbCr* pixels,
                                          std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleToMappingMode3(const Tessorn::Types::PictureBuffer& picture,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);

    /// Mode 4, 12-bit 4:2:2:4: four samples for two pixels. Each word takes six bits of the picture
    /// and three of alpha, the upper ones first; alpha is 64 for the form without it. The words of
    /// channel one are those of Y0 and Y1, the words of channel two those of Cb0 and Cr0.
    ///
    ///   bit  9            | 8 ... 6 | 5 ... 0
    ///        inverse of 8 | alpha   | Y, Cb or Cr
    static Samples resampleToMappingMode4(const Tessorn::Types::PixelDataAYCrCb* pixels,
                                          std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleToMappingMode4(const Tessorn::Types::PixelDataYCbCr* pixels,
                                          std::size_t pixelCount,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);
    static Samples resampleToMappingMode4(const Tessorn::Types::PictureBuffer& picture,
                                          Tessorn::Sdi::PayloadId::BitDepth depth);

    /// Mode II, 10-bit 4:4:4:4 on two links: (Y0, Cb0), (Y1, Cr0) on link A and (A0, Cb1), (A1,
    /// Cr1) on link B for two pixels. A is 64 for the form without it. Both links have an entry,
    /// even without samples.
    static DualLinkSamples resampleToMappingModeII(const Tessorn::Types::PixelDataAYCrCb* pixels,
                                                   std::size_t pixelCount,
                                                   Tessorn::Sdi::PayloadId::BitDepth depth);
    static DualLinkSamples resampleToMappingModeII(const Tessorn::Types::PixelDataYCbCr* pixels,
                                                   std::size_t pixelCount,
                                                   Tessorn::Sdi::PayloadId::BitDepth depth);
    static DualLinkSamples resampleToMappingModeII(const Tessorn::Types::PictureBuffer& picture,
                                                   Tessorn::Sdi::PayloadId::BitDepth depth);
};
