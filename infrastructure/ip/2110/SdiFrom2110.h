// The terms of video on IP translated into those of a payload identifier, as far as it has them.
//
// Normative references: SMPTE ST 2110-20:2017, clause 7; SMPTE ST 352:2013, tables 1 to 3.
#pragma once

#include "infrastructure/utility/video/IpVideoVocabulary.h"
#include "infrastructure/utility/video/PayloadIdVocabulary.h"

namespace Tessorn {
namespace IpTypes {

/// 10 and 12 bits; others give BitDepth_10, and *ok is false.
Sdi::PayloadId::BitDepth toSdi(BitDepth2110 depth, bool* ok = nullptr);

/// BT.709, BT.2020, BT.601 and unspecified; others give the value 0, and *ok is false.
Sdi::PayloadId::Colourimetry toSdi(Colourimetry2110 colourimetry, bool* ok = nullptr);

/// YCbCr without constant luminance; others give the value 0, and *ok is false.
Sdi::PayloadId::SampleStructure toSdi(Sampling2110 sampling, bool* ok = nullptr);

/// SDR, PQ and HLG; all others are TransferCurve_Unspecified.
Sdi::PayloadId::TransferCurve toSdi(TransferCurve2110 curve);

/// BitDepth2110_16Float => 16; a number that is not a depth => 10.
quint32 toBits(BitDepth2110 depth);

} // namespace IpTypes
} // namespace Tessorn
