// The digital interfaces that the instrument knows, a row each: field addresses, sizes, lines and
// what is legal. An identifier of a known kind answers everything from its row;
// PayloadIdentifierVariants.h names the kinds.
//
// Normative references: SMPTE ST 352:2013, table 1 (byte 0), and the interface standards named
// beside the kinds.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierVariant.h"

#include <cstddef>

/// The rows and what they are made of.
namespace PayloadIdentifierInterfaces {

using namespace Tessorn::Sdi;
using namespace PayloadIdentifierSets;

// Field addresses.

/// Short names.
using Field = PayloadIdentifierField;
using FieldMap = PayloadIdentifierFieldMap;

inline constexpr Field NONE;
inline constexpr Field TRANSPORT{1, {7}};
inline constexpr Field DEPTH_1_BIT{3, {0}};
inline constexpr Field DEPTH{3, {0, 1}};
inline constexpr Field ASPECT_5{2, {5}};
inline constexpr Field ASPECT_7{2, {7}};
inline constexpr Field ARRAY{2, {6}};
inline constexpr Field COLOUR_4_5{2, {4, 5}};
inline constexpr Field COLOUR_4_7{2, {4, 7}}; ///< split around array and aspect: high bit in bit 7
inline constexpr Field TRANSFER{1, {4, 5}};
inline constexpr Field LUMINANCE{3, {4}};
inline constexpr Field CHANNEL_6{3, {6}};
inline constexpr Field CHANNEL_67{3, {6, 7}};
inline constexpr Field CHANNEL_567{3, {5, 6, 7}};
inline constexpr Field AUDIO_COPY{3, {2}};

/// These fields, and those that all interfaces share.
constexpr FieldMap fields(Field transport, Field depth, Field aspect, Field array, Field colour,
                          Field transfer, Field luminance, Field channel, Field audioCopy)
{
    return {{PayloadIdentifierKey_PayloadAndDigitalInterface, {0, {0, 1, 2, 3, 4, 5, 6, 7}}},
            {PayloadIdentifierKey_SampleStructure, {2, {0, 1, 2, 3}}},
            {PayloadIdentifierKey_PictureRate, {1, {0, 1, 2, 3}}},
            {PayloadIdentifierKey_PictureInterlaced, {1, {6}}},
            {PayloadIdentifierKey_TransportInterlaced, transport},
            {PayloadIdentifierKey_BitDepth, depth},
            {PayloadIdentifierKey_AspectRatio, aspect},
            {PayloadIdentifierKey_HorizontalArraySize, array},
            {PayloadIdentifierKey_Colourimetry, colour},
            {PayloadIdentifierKey_TransferCharacteristics, transfer},
            {PayloadIdentifierKey_LuminanceAndColourDifferenceSignal, luminance},
            {PayloadIdentifierKey_ChannelAssignment, channel},
            {PayloadIdentifierKey_AudioCopyStatus, audioCopy}};
}

// clang-format off
inline constexpr FieldMap FIELDS_720_1G5 =
    fields(NONE,      DEPTH_1_BIT, NONE,     NONE,  COLOUR_4_5, TRANSFER, LUMINANCE, NONE,        NONE);
inline constexpr FieldMap FIELDS_3G = // both 720 and 1080
    fields(TRANSPORT, DEPTH,       ASPECT_7, ARRAY, COLOUR_4_5, TRANSFER, LUMINANCE, NONE,        NONE);
inline constexpr FieldMap FIELDS_1080_1G5 =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, COLOUR_4_7, TRANSFER, LUMINANCE, NONE,        NONE);
inline constexpr FieldMap FIELDS_1080_DUAL_LINK_1G5 =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, NONE,       NONE,     NONE,      CHANNEL_6,   NONE);
inline constexpr FieldMap FIELDS_1080_LEVELB_3G =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, COLOUR_4_7, TRANSFER, LUMINANCE, CHANNEL_6,   NONE);
inline constexpr FieldMap FIELDS_2160_QUAD_LINK_3G =
    fields(TRANSPORT, DEPTH,       ASPECT_7, ARRAY, COLOUR_4_5, TRANSFER, LUMINANCE, CHANNEL_67,  AUDIO_COPY);
inline constexpr FieldMap FIELDS_2160_QUAD_LINK_LEVELB_3G =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, COLOUR_4_7, TRANSFER, LUMINANCE, CHANNEL_567, AUDIO_COPY);
inline constexpr FieldMap FIELDS_2160_6G_12G =
    fields(TRANSPORT, DEPTH,       ASPECT_7, ARRAY, COLOUR_4_5, TRANSFER, LUMINANCE, CHANNEL_567, AUDIO_COPY);
// clang-format on

// Geometry: picture width and height; field width, whether it counts samples; field height and
// rule.

/// A short name.
using Geometry = PayloadIdentifierGeometry;
inline constexpr auto WHOLE = PayloadIdentifierFieldHeight_Whole;
inline constexpr auto BOTH_BITS = PayloadIdentifierFieldHeight_BothBits;
inline constexpr auto PICTURE_BIT = PayloadIdentifierFieldHeight_PictureBit;

// clang-format off
inline constexpr Geometry SIZE_720_1G5    {{1280, 1280},  720, {1280, 1280}, false,  720, WHOLE};
inline constexpr Geometry SIZE_720_3G     {{1280, 1280},  720, {1280, 1280}, true,   720, WHOLE};
inline constexpr Geometry SIZE_1080_PIXELS{{1920, 2048}, 1080, {1920, 2048}, false, 1080, BOTH_BITS};
inline constexpr Geometry SIZE_1080_3G    {{1920, 2048}, 1080, {1920, 2048}, true,  1080, BOTH_BITS};
inline constexpr Geometry SIZE_2160       {{3840, 4096}, 2160, {1920, 2048}, true,  1080, PICTURE_BIT};
inline constexpr Geometry SIZE_2160_LEVELB{{3840, 4096}, 2160, {1920, 2048}, false, 1080, BOTH_BITS};

// Lines and first active line: of a frame in one piece, and of two fields. SMPTE ST 296 for 750
// lines, SMPTE ST 274 for 1125.
inline constexpr PayloadIdentifierLines LINES_750 { 750, 26, false, {0, 0},     {0, 0}};
inline constexpr PayloadIdentifierLines LINES_1125{1125, 42, true,  {563, 562}, {21, 584}};
// clang-format on

// What is legal.

inline constexpr auto RATE = PayloadIdentifierKey_PictureRate;
inline constexpr auto STRUCTURE = PayloadIdentifierKey_SampleStructure;
inline constexpr auto PICTURE = PayloadIdentifierKey_PictureInterlaced;
inline constexpr auto TRANSPORT_BIT = PayloadIdentifierKey_TransportInterlaced;
inline constexpr auto BITS = PayloadIdentifierKey_BitDepth;
inline constexpr auto ARRAY_SIZE = PayloadIdentifierKey_HorizontalArraySize;
inline constexpr auto COLOURIMETRY = PayloadIdentifierKey_Colourimetry;
inline constexpr auto CURVE = PayloadIdentifierKey_TransferCharacteristics;
inline constexpr auto CHANNEL = PayloadIdentifierKey_ChannelAssignment;
inline constexpr auto COPY_STATUS = PayloadIdentifierKey_AudioCopyStatus;

/// All rules of a table.
template <std::size_t size>
constexpr PayloadIdentifierRules rules(const PayloadIdentifierRule (&table)[size])
{
    return {table, size};
}

inline constexpr PayloadIdentifierRule RULES_720_1G5[] = {
    {PICTURE, only(1), "Invalid picture interlaced/progressive: "},
    {RATE, only(2, 3, 5, 6, 7, 9, 10, 11), "Invalid picture rate: "},
    {STRUCTURE, only(0), "Invalid sampling structure: "},
    {BITS, only(0, 1), "Invalid bit depth: "},
};

inline constexpr PayloadIdentifierRule RULES_3G[] = {
    {RATE, range(2, 11), "Invalid picture rate: "},
    {STRUCTURE, range(0, 10), "Invalid sampling structure: "},
};

inline constexpr PayloadIdentifierRule RULES_1080_1G5[] = {
    {RATE,
     only(2, 3, 5, 6, 7),
     "Invalid picture rate: ",
     {{ARRAY_SIZE, only(0)}, {PICTURE, only(1)}}},
    {RATE, only(5, 6, 7), "Invalid picture rate: ", {{ARRAY_SIZE, only(0)}, {PICTURE, only(0)}}},
    {PICTURE, only(1), "Invalid picture interlaced/progressive: ", {{ARRAY_SIZE, only(1)}}},
    {RATE, only(2, 3, 5, 6, 7), "Invalid picture rate: ", {{ARRAY_SIZE, only(1)}}},
    {ARRAY_SIZE, only(0, 1), "Invalid horizontal pixel array size: "},
    {STRUCTURE, only(0, 3), "Invalid sampling structure: "},
    {BITS, only(0, 1), "Invalid bit depth: "},
};

/// An extended colour mode (any structure but 4:2:2) always gets one of the last three complaints:
/// array size and picture bit alone decide which.
inline constexpr PayloadIdentifierRule RULES_DUAL_LINK[] = {
    {RATE, range(2, 11), "Invalid picture rate: "},
    {STRUCTURE, range(0, 10), "Invalid sampling structure: "},
    {BITS, only(1, 2), "Invalid bit depth: "},
    {BITS, only(1), "Invalid bit depth for 422: ", {{STRUCTURE, only(0)}}},
    {TRANSPORT_BIT,
     only(0),
     "Invalid transport interlace format for 422: ",
     {{STRUCTURE, only(0)}}},
    {PICTURE, only(1), "Invalid picture interlace format for 422: ", {{STRUCTURE, only(0)}}},
    {RATE,
     only(4, 8, 9, 10, 11),
     "Invalid picture rate for 2048 pixel 422: ",
     {{STRUCTURE, only(0)}, {ARRAY_SIZE, only(1)}}},
    {RATE,
     only(9, 10, 11),
     "Invalid picture rate for 1920 pixel 422: ",
     {{STRUCTURE, only(0)}, {ARRAY_SIZE, only(0)}}},
    {RATE,
     NEVER,
     "Invalid picture rate for Progressive 1920 pixel Extended colour modes: ",
     {{STRUCTURE, noneOf(0)}, {PICTURE, only(1)}}},
    {PICTURE,
     only(1),
     "Invalid picture interlace format for 2048 Extended colour modes: ",
     {{STRUCTURE, noneOf(0)}, {ARRAY_SIZE, only(1)}}},
    {RATE,
     NEVER,
     "Invalid picture rate for Interlaced 1920 pixel Extended colour modes: ",
     {{STRUCTURE, noneOf(0)}, {ARRAY_SIZE, only(0)}, {PICTURE, only(0)}}},
};

/// From 47.95 Hz up, every identifier gets the complaint about extended colour modes.
inline constexpr PayloadIdentifierRule RULES_2160_QUAD_LINK_3G[] = {
    {TRANSPORT_BIT, only(1), "Incorrect TransportFormat: "},
    {PICTURE, only(1), "Incorrect PictureFormat: "},
    {CURVE, only(0, 1, 2), "Incorrect TransferCurve: ", {{COLOURIMETRY, noneOf(2)}}},
    {RATE,
     noneOf(2, 3, 5, 6, 7),
     "Incorrect FrameRate for 422/420-10: ",
     {{BITS, only(0, 1)}, {STRUCTURE, only(0, 3)}}},
    {RATE, noneOf(4, 8), "Incorrect FrameRate for 3840x2160: ", {{ARRAY_SIZE, noneOf(1)}}},
    {RATE, noneOf(4, 8, 9, 10, 11), "Incorrect FrameRate for extended colour mode: "},
    {RATE, range(2, 11), "Incorrect PictureRate: "},
    {COPY_STATUS,
     only(0),
     "Incorrect AudioCopyStatus for channel 1 or 2: ",
     {{CHANNEL, only(0, 1)}}},
};

inline constexpr PayloadIdentifierRules NO_RULES;

inline constexpr auto NO_DIVISION = SubImageDivision_None;
inline constexpr auto TWO_SAMPLE = SubImageDivision_TwoSampleInterleave;
inline constexpr auto PROGRESSIVE_ONLY = PayloadIdentifierScan_Progressive;
inline constexpr auto BY_BITS = PayloadIdentifierScan_Bits;
inline constexpr auto LINE_INTERLEAVE = PayloadIdentifierScan_LineInterleave;

// clang-format off
/// Byte 0, sub-image division, links, rate of a link, level, sub-images, channel assignments of a link;
/// fields, scan, sizes, lines; what is legal.
inline constexpr PayloadIdentifierFacts TABLE[] = {
    {0x84, NO_DIVISION, 1, SdiDataRate_1G5, Level_A, 1, 1,
     FIELDS_720_1G5, PROGRESSIVE_ONLY, SIZE_720_1G5, LINES_750, rules(RULES_720_1G5)},
    {0x88, NO_DIVISION, 1, SdiDataRate_3G, Level_A, 1, 1,
     FIELDS_3G, PROGRESSIVE_ONLY, SIZE_720_3G, LINES_750, rules(RULES_3G)},
    {0x85, NO_DIVISION, 1, SdiDataRate_1G5, Level_A, 1, 1,
     FIELDS_1080_1G5, BY_BITS, SIZE_1080_PIXELS, LINES_1125, rules(RULES_1080_1G5)},
    {0x87, NO_DIVISION, 2, SdiDataRate_1G5, Level_A, 1, 1,
     FIELDS_1080_DUAL_LINK_1G5, LINE_INTERLEAVE, SIZE_1080_PIXELS, LINES_1125, rules(RULES_DUAL_LINK)},
    {0x89, NO_DIVISION, 1, SdiDataRate_3G, Level_A, 1, 1,
     FIELDS_3G, BY_BITS, SIZE_1080_3G, LINES_1125, rules(RULES_3G)},
    {0x8A, NO_DIVISION, 1, SdiDataRate_3G, Level_B, 1, 2,
     FIELDS_1080_LEVELB_3G, LINE_INTERLEAVE, SIZE_1080_PIXELS, LINES_1125, rules(RULES_DUAL_LINK)},
    {0x97, TWO_SAMPLE, 4, SdiDataRate_3G, Level_A, 4, 1,
     FIELDS_2160_QUAD_LINK_3G, BY_BITS, SIZE_2160, LINES_1125, rules(RULES_2160_QUAD_LINK_3G)},
    {0x98, TWO_SAMPLE, 4, SdiDataRate_3G, Level_B, 4, 2,
     FIELDS_2160_QUAD_LINK_LEVELB_3G, LINE_INTERLEAVE, SIZE_2160_LEVELB, LINES_1125, NO_RULES},
    {0xC2, TWO_SAMPLE, 2, SdiDataRate_6G, Level_A, 4, 1,
     FIELDS_2160_6G_12G, BY_BITS, SIZE_2160, LINES_1125, NO_RULES},
    {0xC0, TWO_SAMPLE, 1, SdiDataRate_6G, Level_A, 4, 1,
     FIELDS_2160_6G_12G, BY_BITS, SIZE_2160, LINES_1125, NO_RULES},
    {0xCE, TWO_SAMPLE, 1, SdiDataRate_12G, Level_A, 4, 1,
     FIELDS_2160_6G_12G, BY_BITS, SIZE_2160, LINES_1125, NO_RULES},
};
// clang-format on

/// The row for this byte 0, or null.
constexpr const PayloadIdentifierFacts* find(quint32 payloadByte)
{
    for (const PayloadIdentifierFacts& row : TABLE) {
        if (row.payloadByte == payloadByte) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace PayloadIdentifierInterfaces
