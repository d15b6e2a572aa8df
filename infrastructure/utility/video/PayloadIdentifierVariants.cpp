#include "infrastructure/utility/video/PayloadIdentifierVariants.h"

using namespace Tessorn::Sdi;

namespace {

// Field addresses.

using Field = PayloadIdentifierField;
using FieldMap = PayloadIdentifierFieldMap;

constexpr Field NONE;
constexpr Field TRANSPORT{1, {7}};
constexpr Field DEPTH_1_BIT{3, {0}};
constexpr Field DEPTH{3, {0, 1}};
constexpr Field ASPECT_5{2, {5}};
constexpr Field ASPECT_7{2, {7}};
constexpr Field ARRAY{2, {6}};
constexpr Field COLOUR_4_5{2, {4, 5}};
constexpr Field COLOUR_4_7{2, {4, 7}}; ///< split around array and aspect: high bit in bit 7
constexpr Field TRANSFER{1, {4, 5}};
constexpr Field LUMINANCE{3, {4}};
constexpr Field CHANNEL_6{3, {6}};
constexpr Field CHANNEL_67{3, {6, 7}};
constexpr Field CHANNEL_567{3, {5, 6, 7}};
constexpr Field AUDIO_COPY{3, {2}};

/// The fields that all interfaces have, and these.
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
constexpr FieldMap FIELDS_720_1G5 =
    fields(NONE,      DEPTH_1_BIT, NONE,     NONE,  COLOUR_4_5, TRANSFER, LUMINANCE, NONE,        NONE);
constexpr FieldMap FIELDS_3G = // both 720 and 1080
    fields(TRANSPORT, DEPTH,       ASPECT_7, ARRAY, COLOUR_4_5, TRANSFER, LUMINANCE, NONE,        NONE);
constexpr FieldMap FIELDS_1080_1G5 =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, COLOUR_4_7, TRANSFER, LUMINANCE, NONE,        NONE);
constexpr FieldMap FIELDS_1080_DUAL_LINK_1G5 =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, NONE,       NONE,     NONE,      CHANNEL_6,   NONE);
constexpr FieldMap FIELDS_1080_LEVELB_3G =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, COLOUR_4_7, TRANSFER, LUMINANCE, CHANNEL_6,   NONE);
constexpr FieldMap FIELDS_2160_QUAD_LINK_3G =
    fields(TRANSPORT, DEPTH,       ASPECT_7, ARRAY, COLOUR_4_5, TRANSFER, LUMINANCE, CHANNEL_67,  AUDIO_COPY);
constexpr FieldMap FIELDS_2160_QUAD_LINK_LEVELB_3G =
    fields(TRANSPORT, DEPTH,       ASPECT_5, ARRAY, COLOUR_4_7, TRANSFER, LUMINANCE, CHANNEL_567, AUDIO_COPY);
constexpr FieldMap FIELDS_2160_6G_12G =
    fields(TRANSPORT, DEPTH,       ASPECT_7, ARRAY, COLOUR_4_5, TRANSFER, LUMINANCE, CHANNEL_567, AUDIO_COPY);
// clang-format on

// Geometry: picture width and height; field width, and whether it counts samples; field height and
// when it applies.

using Geometry = PayloadIdentifierGeometry;
constexpr auto WHOLE = PayloadIdentifierFieldHeight_Whole;
constexpr auto BOTH_BITS = PayloadIdentifierFieldHeight_BothBits;
constexpr auto PICTURE_BIT = PayloadIdentifierFieldHeight_PictureBit;

// clang-format off
constexpr Geometry SIZE_720_1G5    {{1280, 1280},  720, {1280, 1280}, false,  720, WHOLE};
constexpr Geometry SIZE_720_3G     {{1280, 1280},  720, {1280, 1280}, true,   720, WHOLE};
constexpr Geometry SIZE_1080_PIXELS{{1920, 2048}, 1080, {1920, 2048}, false, 1080, BOTH_BITS};
constexpr Geometry SIZE_1080_3G    {{1920, 2048}, 1080, {1920, 2048}, true,  1080, BOTH_BITS};
constexpr Geometry SIZE_2160       {{3840, 4096}, 2160, {1920, 2048}, true,  1080, PICTURE_BIT};
constexpr Geometry SIZE_2160_LEVELB{{3840, 4096}, 2160, {1920, 2048}, false, 1080, BOTH_BITS};

// Lines and first active line: for a frame in one piece, and for two fields. SMPTE ST 296 for 750
// lines, SMPTE ST 274 for 1125.
constexpr PayloadIdentifierLines LINES_750 { 750, 26, false, {0, 0},     {0, 0}};
constexpr PayloadIdentifierLines LINES_1125{1125, 42, true,  {563, 562}, {21, 584}};
// clang-format on

// The rules of legality.

constexpr auto RATE = PayloadIdentifierKey_PictureRate;
constexpr auto STRUCTURE = PayloadIdentifierKey_SampleStructure;
constexpr auto PICTURE = PayloadIdentifierKey_PictureInterlaced;
constexpr auto TRANSPORT_BIT = PayloadIdentifierKey_TransportInterlaced;
constexpr auto BITS = PayloadIdentifierKey_BitDepth;
constexpr auto ARRAY_SIZE = PayloadIdentifierKey_HorizontalArraySize;
constexpr auto COLOURIMETRY = PayloadIdentifierKey_Colourimetry;
constexpr auto CURVE = PayloadIdentifierKey_TransferCharacteristics;
constexpr auto CHANNEL = PayloadIdentifierKey_ChannelAssignment;
constexpr auto COPY_STATUS = PayloadIdentifierKey_AudioCopyStatus;

template <typename... Value>
constexpr PayloadIdentifierValues only(Value... values)
{
    return ((1u << values) | ...);
}

template <typename... Value>
constexpr PayloadIdentifierValues allBut(Value... values)
{
    return ~only(values...);
}

/// Both ends included.
constexpr PayloadIdentifierValues range(quint32 first, quint32 last)
{
    return (2u << last) - (1u << first);
}

constexpr PayloadIdentifierValues NEVER = 0;

template <std::size_t size>
constexpr PayloadIdentifierRules rules(const PayloadIdentifierRule (&table)[size])
{
    return {table, size};
}

constexpr PayloadIdentifierRule RULES_720_1G5[] = {
    {PICTURE, only(1), "Invalid picture interlaced/progressive: "},
    {RATE, only(2, 3, 5, 6, 7, 9, 10, 11), "Invalid picture rate: "},
    {STRUCTURE, only(0), "Invalid sampling structure: "},
    {BITS, only(0, 1), "Invalid bit depth: "},
};

constexpr PayloadIdentifierRule RULES_3G[] = {
    {RATE, range(2, 11), "Invalid picture rate: "},
    {STRUCTURE, range(0, 10), "Invalid sampling structure: "},
};

constexpr PayloadIdentifierRule RULES_1080_1G5[] = {
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

/// An extended colour mode (any structure but 4:2:2) always gets one of the last three complaints;
/// array size and picture bit decide which.
constexpr PayloadIdentifierRule RULES_DUAL_LINK[] = {
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
     {{STRUCTURE, allBut(0)}, {PICTURE, only(1)}}},
    {PICTURE,
     only(1),
     "Invalid picture interlace format for 2048 Extended colour modes: ",
     {{STRUCTURE, allBut(0)}, {ARRAY_SIZE, only(1)}}},
    {RATE,
     NEVER,
     "Invalid picture rate for Interlaced 1920 pixel Extended colour modes: ",
     {{STRUCTURE, allBut(0)}, {ARRAY_SIZE, only(0)}, {PICTURE, only(0)}}},
};

/// From 47.95 on, every identifier gets the complaint about extended colour modes.
constexpr PayloadIdentifierRule RULES_2160_QUAD_LINK_3G[] = {
    {TRANSPORT_BIT, only(1), "Incorrect TransportFormat: "},
    {PICTURE, only(1), "Incorrect PictureFormat: "},
    {CURVE, only(0, 1, 2), "Incorrect TransferCurve: ", {{COLOURIMETRY, allBut(2)}}},
    {RATE,
     allBut(2, 3, 5, 6, 7),
     "Incorrect FrameRate for 422/420-10: ",
     {{BITS, only(0, 1)}, {STRUCTURE, only(0, 3)}}},
    {RATE, allBut(4, 8), "Incorrect FrameRate for 3840x2160: ", {{ARRAY_SIZE, allBut(1)}}},
    {RATE, allBut(4, 8, 9, 10, 11), "Incorrect FrameRate for extended colour mode: "},
    {RATE, range(2, 11), "Incorrect PictureRate: "},
    {COPY_STATUS,
     only(0),
     "Incorrect AudioCopyStatus for channel 1 or 2: ",
     {{CHANNEL, only(0, 1)}}},
};

constexpr PayloadIdentifierRules NO_RULES;

constexpr auto NO_DIVISION = SubImageDivision_None;
constexpr auto TWO_SAMPLE = SubImageDivision_TwoSampleInterleave;
constexpr auto PROGRESSIVE_ONLY = PayloadIdentifierScan_Progressive;
constexpr auto BY_BITS = PayloadIdentifierScan_Bits;
constexpr auto LINE_INTERLEAVE = PayloadIdentifierScan_LineInterleave;

} // namespace

// clang-format off
using Facts = PayloadIdentifierFacts;

// Byte 0, sub-image division, links, rate of a link, level, sub-images, channel assignments of a link;
// fields, scan, sizes, lines; the rules.
constexpr Facts PayloadIdentifier720_1g5::FACTS = {
    0x84, NO_DIVISION, 1, SdiDataRate_1G5, Level_A, 1, 1,
    FIELDS_720_1G5, PROGRESSIVE_ONLY, SIZE_720_1G5, LINES_750, rules(RULES_720_1G5)};
constexpr Facts PayloadIdentifier720_3g::FACTS = {
    0x88, NO_DIVISION, 1, SdiDataRate_3G, Level_A, 1, 1,
    FIELDS_3G, PROGRESSIVE_ONLY, SIZE_720_3G, LINES_750, rules(RULES_3G)};
constexpr Facts PayloadIdentifier1080_1g5::FACTS = {
    0x85, NO_DIVISION, 1, SdiDataRate_1G5, Level_A, 1, 1,
    FIELDS_1080_1G5, BY_BITS, SIZE_1080_PIXELS, LINES_1125, rules(RULES_1080_1G5)};
constexpr Facts PayloadIdentifier1080_DualLink1g5::FACTS = {
    0x87, NO_DIVISION, 2, SdiDataRate_1G5, Level_A, 1, 1,
    FIELDS_1080_DUAL_LINK_1G5, LINE_INTERLEAVE, SIZE_1080_PIXELS, LINES_1125, rules(RULES_DUAL_LINK)};
constexpr Facts PayloadIdentifier1080_3g::FACTS = {
    0x89, NO_DIVISION, 1, SdiDataRate_3G, Level_A, 1, 1,
    FIELDS_3G, BY_BITS, SIZE_1080_3G, LINES_1125, rules(RULES_3G)};
constexpr Facts PayloadIdentifier1080_Levelb3g::FACTS = {
    0x8A, NO_DIVISION, 1, SdiDataRate_3G, Level_B, 1, 2,
    FIELDS_1080_LEVELB_3G, LINE_INTERLEAVE, SIZE_1080_PIXELS, LINES_1125, rules(RULES_DUAL_LINK)};
constexpr Facts PayloadIdentifier2160_QuadLink3g::FACTS = {
    0x97, TWO_SAMPLE, 4, SdiDataRate_3G, Level_A, 4, 1,
    FIELDS_2160_QUAD_LINK_3G, BY_BITS, SIZE_2160, LINES_1125, rules(RULES_2160_QUAD_LINK_3G)};
constexpr Facts PayloadIdentifier2160_QuadLinkLevelb3g::FACTS = {
    0x98, TWO_SAMPLE, 4, SdiDataRate_3G, Level_B, 4, 2,
    FIELDS_2160_QUAD_LINK_LEVELB_3G, LINE_INTERLEAVE, SIZE_2160_LEVELB, LINES_1125, NO_RULES};
constexpr Facts PayloadIdentifier2160_DualLink6g::FACTS = {
    0xC2, TWO_SAMPLE, 2, SdiDataRate_6G, Level_A, 4, 1,
    FIELDS_2160_6G_12G, BY_BITS, SIZE_2160, LINES_1125, NO_RULES};
constexpr Facts PayloadIdentifier2160_6g::FACTS = {
    0xC0, TWO_SAMPLE, 1, SdiDataRate_6G, Level_A, 4, 1,
    FIELDS_2160_6G_12G, BY_BITS, SIZE_2160, LINES_1125, NO_RULES};
constexpr Facts PayloadIdentifier2160_12g::FACTS = {
    0xCE, TWO_SAMPLE, 1, SdiDataRate_12G, Level_A, 4, 1,
    FIELDS_2160_6G_12G, BY_BITS, SIZE_2160, LINES_1125, NO_RULES};
// clang-format on

PayloadIdentifier720_1g5::PayloadIdentifier720_1g5(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier720_3g::PayloadIdentifier720_3g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier1080_1g5::PayloadIdentifier1080_1g5(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier1080_DualLink1g5::PayloadIdentifier1080_DualLink1g5(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier1080_3g::PayloadIdentifier1080_3g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier1080_Levelb3g::PayloadIdentifier1080_Levelb3g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier2160_QuadLink3g::PayloadIdentifier2160_QuadLink3g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier2160_QuadLinkLevelb3g::PayloadIdentifier2160_QuadLinkLevelb3g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier2160_DualLink6g::PayloadIdentifier2160_DualLink6g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier2160_6g::PayloadIdentifier2160_6g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}

PayloadIdentifier2160_12g::PayloadIdentifier2160_12g(quint32 rawBytes)
    : PayloadIdentifierVariant(rawBytes, FACTS)
{
}
