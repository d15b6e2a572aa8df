#include "infrastructure/utility/video/SupportedVideoStandards.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/PayloadIdentifierVariants.h"

#include <QHash>

#include <algorithm>
#include <deque>

using namespace PayloadIdentifierSets;
using namespace Tessorn::Sdi::PayloadId;

namespace {

using Set = PayloadIdentifierValues;

constexpr Set FILM_TO_30 =
    only(FrameRate_23_98, FrameRate_24, FrameRate_25, FrameRate_29_97, FrameRate_30);
constexpr Set FIELDS_50_TO_60 = only(FrameRate_25, FrameRate_29_97, FrameRate_30);
constexpr Set FRAMES_50_TO_60 = only(FrameRate_50, FrameRate_59_94, FrameRate_60);
constexpr Set FRAMES_48_TO_60 = FRAMES_50_TO_60 | only(FrameRate_47_95, FrameRate_48);

constexpr Set S422 = only(SampleStructure_422YCbCr);
constexpr Set S422_420 = only(SampleStructure_422YCbCr, SampleStructure_420YCbCr);
constexpr Set S444 = only(SampleStructure_444YCbCr, SampleStructure_444Rgb);
constexpr Set S4444 = only(SampleStructure_4444YCbCrA, SampleStructure_4444RgbA,
                           SampleStructure_4444YCbCrD, SampleStructure_4444RgbD);
constexpr Set S4224 = only(SampleStructure_4224YCbCrA, SampleStructure_4224YCbCrD);

constexpr Set NARROW = only(0); ///< 1920, or 3840
constexpr Set WIDE = only(1);   ///< 2048, or 4096

/// How a picture is scanned and carried: its picture and transport bits.
enum Scan : quint32 {
    Scan_Progressive,
    Scan_Segmented,
    Scan_Interlaced,
    Scan_LineInterleaved, ///< odd lines of a progressive picture on one link, even ones on the
                          ///< other
};

struct ScanBits
{
    quint32 picture;
    quint32 transport;
};

constexpr ScanBits SCAN_BITS[] = {{1, 1}, {1, 0}, {0, 0}, {1, 0}};

constexpr Set P = only(Scan_Progressive);
constexpr Set PSF = only(Scan_Segmented);
constexpr Set I = only(Scan_Interlaced);
constexpr Set LI = only(Scan_LineInterleaved);

/// Whether it is also a quadrant of a square division.
enum Quadrant : bool {
    Quadrant_No = false,
    Quadrant_Yes = true,
};
constexpr Quadrant NO = Quadrant_No;
constexpr Quadrant SQ = Quadrant_Yes;

/// What one interface carries: all combinations that a row allows.
struct Carriage
{
    quint32 payloadByte;
    Set arraySizes;
    Set scans;
    Set rates;
    Set structures;
    BitDepth depth;
    Quadrant quadrant;
};

// clang-format off
constexpr quint32 HD_720     = PayloadIdentifier720_1g5::FACTS.payloadByte;
constexpr quint32 HD_1080    = PayloadIdentifier1080_1g5::FACTS.payloadByte;
constexpr quint32 DUAL_LINK  = PayloadIdentifier1080_DualLink1g5::FACTS.payloadByte;
constexpr quint32 A_720      = PayloadIdentifier720_3g::FACTS.payloadByte;
constexpr quint32 A_1080     = PayloadIdentifier1080_3g::FACTS.payloadByte;
constexpr quint32 B_1080     = PayloadIdentifier1080_Levelb3g::FACTS.payloadByte;
constexpr quint32 QUAD_A     = PayloadIdentifier2160_QuadLink3g::FACTS.payloadByte;
constexpr quint32 QUAD_B     = PayloadIdentifier2160_QuadLinkLevelb3g::FACTS.payloadByte;
constexpr quint32 SINGLE_6G  = PayloadIdentifier2160_6g::FACTS.payloadByte;
constexpr quint32 DUAL_6G    = PayloadIdentifier2160_DualLink6g::FACTS.payloadByte;
constexpr quint32 SINGLE_12G = PayloadIdentifier2160_12g::FACTS.payloadByte;

constexpr Carriage CARRIAGES[] = {
    // SMPTE ST 292-1
    {HD_720,     NARROW,        P,       FILM_TO_30 | FRAMES_50_TO_60, S422, BitDepth_10, NO},
    {HD_1080,    NARROW,        I,       FIELDS_50_TO_60, S422,         BitDepth_10, NO},
    {HD_1080,    NARROW | WIDE, P | PSF, FILM_TO_30,      S422,         BitDepth_10, SQ},

    // SMPTE ST 372
    {DUAL_LINK,  NARROW,        LI,      FRAMES_50_TO_60, S422,         BitDepth_10, NO},
    {DUAL_LINK,  WIDE,          LI,      FRAMES_48_TO_60, S422,         BitDepth_10, NO},
    {DUAL_LINK,  NARROW,        I,       FIELDS_50_TO_60, S444 | S4444, BitDepth_10, NO},
    {DUAL_LINK,  NARROW,        I,       FIELDS_50_TO_60, S444,         BitDepth_12, NO},
    {DUAL_LINK,  NARROW | WIDE, P | PSF, FILM_TO_30,      S444 | S4444, BitDepth_10, NO},
    {DUAL_LINK,  NARROW | WIDE, P | PSF, FILM_TO_30,      S444,         BitDepth_12, NO},

    // SMPTE ST 425-1, level A: mapping structures 1 to 4
    {A_1080,     NARROW,        P,       FRAMES_50_TO_60, S422,         BitDepth_10, SQ},
    {A_1080,     WIDE,          P,       FRAMES_48_TO_60, S422,         BitDepth_10, SQ},
    {A_720,      NARROW,        P,       FILM_TO_30 | FRAMES_50_TO_60, S444 | S4444, BitDepth_10, NO},
    {A_1080,     NARROW,        I,       FIELDS_50_TO_60, S444 | S4444, BitDepth_10, NO},
    {A_1080,     NARROW | WIDE, P | PSF, FILM_TO_30,      S444 | S4444, BitDepth_10, SQ},
    {A_1080,     NARROW,        I,       FIELDS_50_TO_60, S444,         BitDepth_12, NO},
    {A_1080,     NARROW | WIDE, P | PSF, FILM_TO_30,      S444,         BitDepth_12, SQ},
    {A_1080,     NARROW,        I,       FIELDS_50_TO_60, S422 | S4224, BitDepth_12, NO},
    {A_1080,     NARROW | WIDE, P | PSF, FILM_TO_30,      S422 | S4224, BitDepth_12, SQ},

    // SMPTE ST 425-1, level B: the dual link of ST 372 on one
    {B_1080,     NARROW,        LI,      FRAMES_50_TO_60, S422,         BitDepth_10, SQ},
    {B_1080,     WIDE,          LI,      FRAMES_48_TO_60, S422,         BitDepth_10, SQ},
    {B_1080,     NARROW | WIDE, P,       FILM_TO_30,      S444 | S4444, BitDepth_10, SQ},
    {B_1080,     NARROW | WIDE, P,       FILM_TO_30,      S444,         BitDepth_12, SQ},
    {B_1080,     NARROW,        I,       FIELDS_50_TO_60, S444 | S4444, BitDepth_10, NO},
    {B_1080,     NARROW,        I,       FIELDS_50_TO_60, S444,         BitDepth_12, NO},
    {B_1080,     NARROW | WIDE, PSF,     FILM_TO_30,      S444 | S4444, BitDepth_10, NO},
    {B_1080,     NARROW | WIDE, PSF,     FILM_TO_30,      S444,         BitDepth_12, NO},

    // SMPTE ST 2081-10
    {SINGLE_6G,  NARROW | WIDE, P,       FILM_TO_30,      S422_420,     BitDepth_10, NO},

    // SMPTE ST 425-5, level A
    {QUAD_A,     NARROW,        P,       FRAMES_50_TO_60, S422_420,     BitDepth_10, NO},
    {QUAD_A,     WIDE,          P,       FRAMES_48_TO_60, S422_420,     BitDepth_10, NO},
    {QUAD_A,     NARROW | WIDE, P,       FILM_TO_30,      S444 | S4444, BitDepth_10, NO},
    {QUAD_A,     NARROW | WIDE, P,       FILM_TO_30,      S444,         BitDepth_12, NO},
    {QUAD_A,     NARROW | WIDE, P,       FILM_TO_30,      S422 | S4224, BitDepth_12, NO},

    // SMPTE ST 425-5, level B
    {QUAD_B,     NARROW,        LI,      FRAMES_50_TO_60, S422,         BitDepth_10, NO},
    {QUAD_B,     WIDE,          LI,      FRAMES_48_TO_60, S422,         BitDepth_10, NO},
    {QUAD_B,     NARROW | WIDE, P,       FILM_TO_30,      S444 | S4444, BitDepth_10, NO},
    {QUAD_B,     NARROW | WIDE, P,       FILM_TO_30,      S444,         BitDepth_12, NO},
    {QUAD_B,     NARROW | WIDE, P,       FILM_TO_30,      S422,         BitDepth_12, NO},

    // SMPTE ST 2081-11
    {DUAL_6G,    NARROW,        P,       FRAMES_50_TO_60, S422_420,     BitDepth_10, NO},
    {DUAL_6G,    WIDE,          P,       FRAMES_48_TO_60, S422_420,     BitDepth_10, NO},
    {DUAL_6G,    NARROW | WIDE, P,       FILM_TO_30,      S444 | S4444, BitDepth_10, NO},
    {DUAL_6G,    NARROW | WIDE, P,       FILM_TO_30,      S444,         BitDepth_12, NO},
    {DUAL_6G,    NARROW | WIDE, P,       FILM_TO_30,      S422 | S4224, BitDepth_12, NO},

    // SMPTE ST 2082-10
    {SINGLE_12G, NARROW,        P,       FRAMES_50_TO_60, S422_420,     BitDepth_10, NO},
    {SINGLE_12G, WIDE,          P,       FRAMES_48_TO_60, S422_420,     BitDepth_10, NO},
    {SINGLE_12G, NARROW | WIDE, P,       FILM_TO_30,      S444 | S4444, BitDepth_10, NO},
    {SINGLE_12G, NARROW | WIDE, P,       FILM_TO_30,      S444,         BitDepth_12, NO},
    {SINGLE_12G, NARROW | WIDE, P,       FILM_TO_30,      S422 | S4224, BitDepth_12, NO},
};

/// The meaning of the samples. Except in Rec.709, pictures with a key or data are not listed.
struct Signal
{
    Colourimetry colourimetry;
    TransferCurve transfer;
    LuminanceAndColourDifferenceSignal luminance;
    Set structures;
};

constexpr auto YCBCR = LuminanceAndColourDifferenceSignal_YCbCr;
constexpr auto ICTCP = LuminanceAndColourDifferenceSignal_ICtCp;
constexpr Set PLAIN = S422_420 | S444;
constexpr Set PLAIN_NOT_RGB = S422_420 | only(SampleStructure_444YCbCr);

constexpr Signal SIGNALS[] = {
    {Colourimetry_Rec709, TransferCurve_SdrTv,       YCBCR, ANY},
    {Colourimetry_Uhdtv,  TransferCurve_SdrTv,       YCBCR, PLAIN},
    {Colourimetry_Uhdtv,  TransferCurve_Hlg,         YCBCR, PLAIN},
    {Colourimetry_Uhdtv,  TransferCurve_Pq,          YCBCR, PLAIN},
    {Colourimetry_Uhdtv,  TransferCurve_Unspecified, YCBCR, PLAIN},
    {Colourimetry_Uhdtv,  TransferCurve_Hlg,         ICTCP, PLAIN_NOT_RGB},
    {Colourimetry_Uhdtv,  TransferCurve_Pq,          ICTCP, PLAIN_NOT_RGB},
};
// clang-format on

/// Calls `use` with each value of the set, lowest first.
template <typename Use>
void forEach(Set values, Use use)
{
    for (quint32 value = 0; value < 31; ++value) {
        if (values.contains(value)) {
            use(value);
        }
    }
}

/// Calls `use` with the bytes of each identifier of the row.
template <typename Use>
void forEachIdentifier(const Carriage& row, Use use)
{
    const PayloadIdentifierFacts& facts = *PayloadIdentifierInterfaces::find(row.payloadByte);
    const bool hasColour = facts.fields.contains(PayloadIdentifierKey_Colourimetry);
    forEach(row.structures, [&](quint32 structure) {
        forEach(row.arraySizes, [&](quint32 arraySize) {
            forEach(row.scans, [&](quint32 scan) {
                forEach(row.rates, [&](quint32 rate) {
                    for (const Signal& signal : SIGNALS) {
                        const bool isUsual = &signal == SIGNALS;
                        if (!isUsual && (!hasColour || !signal.structures.contains(structure))) {
                            continue;
                        }
                        // Narrow pictures are those of 16:9.
                        use(facts.compose(
                            {{PayloadIdentifierKey_PictureRate, rate},
                             {PayloadIdentifierKey_PictureInterlaced, SCAN_BITS[scan].picture},
                             {PayloadIdentifierKey_TransportInterlaced, SCAN_BITS[scan].transport},
                             {PayloadIdentifierKey_SampleStructure, structure},
                             {PayloadIdentifierKey_BitDepth, row.depth},
                             {PayloadIdentifierKey_AspectRatio, arraySize == 0 ? 1u : 0u},
                             {PayloadIdentifierKey_HorizontalArraySize, arraySize},
                             {PayloadIdentifierKey_Colourimetry, signal.colourimetry},
                             {PayloadIdentifierKey_TransferCharacteristics, signal.transfer},
                             {PayloadIdentifierKey_LuminanceAndColourDifferenceSignal,
                              signal.luminance}}));
                    }
                });
            });
        });
    });
}

quint32 descriptionHash(const QString& description)
{
    return static_cast<quint32>(qHash(description, 0));
}

/// Equal for equal identifiers of one kind, but different for the two uses of each.
quint32 identifierHash(const PayloadIdentifierFieldMap& fields, quint32 rawValue,
                       bool squareDivision)
{
    const quint32 hash = rawValue & PayloadIdentifierBase::getComparedMask(fields);
    return squareDivision ? ~hash : hash;
}

} // namespace

const SupportedVideoStandards& SupportedVideoStandards::getInstance()
{
    static const SupportedVideoStandards instance;
    return instance;
}

SupportedVideoStandards::SupportedVideoStandards()
{
    // Two blocks of memory, each with one owner count for all that is in it. Identifiers stay where
    // they are made; a quadrant has the one of the same standard by itself.
    const auto identifiers = std::make_shared<std::deque<PayloadIdentifierVariant>>();
    std::vector<std::size_t> quadrants;
    for (const Carriage& row : CARRIAGES) {
        const PayloadIdentifierFacts& facts = *PayloadIdentifierInterfaces::find(row.payloadByte);
        const std::size_t before = identifiers->size();
        forEachIdentifier(row,
                          [&](quint32 rawValue) { identifiers->emplace_back(rawValue, facts); });
        for (std::size_t i = before; row.quadrant == Quadrant_Yes && i < identifiers->size(); ++i) {
            quadrants.push_back(i);
        }
    }

    const auto entries = std::make_shared<std::vector<StandardFromPayloadIdentifier>>();
    entries->reserve(identifiers->size() + quadrants.size());
    const auto add = [&](const PayloadIdentifierVariant& identifier, bool squareDivision) {
        entries->push_back(StandardFromPayloadIdentifier::ofLink(
            std::shared_ptr<const PayloadIdentifierVariant>(identifiers, &identifier),
            squareDivision));
    };
    for (const PayloadIdentifierVariant& identifier : *identifiers) {
        add(identifier, false);
    }
    for (const std::size_t quadrant : quadrants) {
        add((*identifiers)[quadrant], true);
    }

    standards.reserve(entries->size());
    for (const StandardFromPayloadIdentifier& entry : *entries) {
        standards.emplace_back(entries, &entry);
    }
    byDescription = makeIndex([](const StandardFromPayloadIdentifier& standard) {
        return descriptionHash(standard.getDescription());
    });
    byPayloadIdentifier = makeIndex([](const StandardFromPayloadIdentifier& standard) {
        const PayloadIdentifierBase& primary = *standard.getPrimaryIdentifier();
        return identifierHash(primary.getFieldMap(), primary.getRawValue(),
                              standard.isSquareDivision());
    });
}

template <typename Hash>
SupportedVideoStandards::Index SupportedVideoStandards::makeIndex(Hash hashOf) const
{
    std::vector<std::pair<quint32, quint16>> entries;
    entries.reserve(standards.size());
    for (const Standard& standard : standards) {
        entries.emplace_back(hashOf(*standard), static_cast<quint16>(entries.size()));
    }
    std::sort(entries.begin(), entries.end());
    Index index;
    index.hashes.reserve(entries.size());
    index.places.reserve(entries.size());
    for (const auto& [hash, place] : entries) {
        index.hashes.push_back(hash);
        index.places.push_back(place);
    }
    return index;
}

template <typename Matches>
SupportedVideoStandards::Standard SupportedVideoStandards::find(const Index& index, quint32 hash,
                                                                Matches matches) const
{
    const auto& hashes = index.hashes;
    auto entry = std::lower_bound(hashes.begin(), hashes.end(), hash);
    for (; entry != hashes.end() && *entry == hash; ++entry) {
        const Standard& standard =
            standards[index.places[static_cast<std::size_t>(entry - hashes.begin())]];
        if (matches(*standard)) {
            return standard;
        }
    }
    return nullptr;
}

SupportedVideoStandards::Standard
SupportedVideoStandards::findByDescription(const QString& description) const
{
    return find(byDescription, descriptionHash(description),
                [&description](const StandardFromPayloadIdentifier& standard) {
                    return standard.getDescription() == description;
                });
}

SupportedVideoStandards::Standard
SupportedVideoStandards::findByPayloadIdentifier(quint32 rawValue, bool squareDivision) const
{
    const PayloadIdentifierFacts* facts = findPayloadIdentifierFacts(rawValue >> 24);
    if (facts == nullptr) {
        return nullptr;
    }
    return find(byPayloadIdentifier, identifierHash(facts->fields, rawValue, squareDivision),
                [&](const StandardFromPayloadIdentifier& standard) {
                    const quint32 payloadByte =
                        standard.getPrimaryIdentifier()->getPayloadAndDigitialInterface();
                    return payloadByte == facts->payloadByte &&
                           standard.isSquareDivision() == squareDivision;
                });
}
