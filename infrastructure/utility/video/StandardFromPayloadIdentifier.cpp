#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/PayloadIdentifierText_p.h"
#include "infrastructure/utility/video/PayloadIdentifierValues.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>

using namespace PayloadIdentifierSets;
using namespace Tessorn;
using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

namespace {

struct AggregateRow
{
    quint32 links;
    SdiDataRate rate;
    SdiDataRate aggregate;
};

/// Anything not listed is no faster than one link.
constexpr AggregateRow AGGREGATE_RATES[] = {
    {2, SdiDataRate_6G, SdiDataRate_12G}, {2, SdiDataRate_3G, SdiDataRate_6G},
    {2, SdiDataRate_1G5, SdiDataRate_3G}, {4, SdiDataRate_3G, SdiDataRate_12G},
    {4, SdiDataRate_1G5, SdiDataRate_6G}, {8, SdiDataRate_1G5, SdiDataRate_12G},
};

/// Of a square division. They count as as many links, however many each takes.
constexpr quint32 QUADRANTS = 4;

constexpr quint32 LINES_OF_UNKNOWN_RASTER = 1125;
constexpr quint32 RATE_OF_UNKNOWN_CODE_HZ = 30;

struct BlankingRow
{
    bool is720;
    FrameRate rate;
    quint32 levelB;
    quint32 otherLevels;
};

constexpr BlankingRow HORIZONTAL_BLANKING[] = {
    {true, FrameRate_23_98, 5170, 2585}, {true, FrameRate_24, 5170, 2585},
    {true, FrameRate_25, 4840, 2420},    {true, FrameRate_29_97, 3520, 1760},
    {true, FrameRate_30, 3520, 1760},    {true, FrameRate_50, 880, 440},
    {true, FrameRate_59_94, 220, 110},   {true, FrameRate_60, 220, 110},
    {false, FrameRate_23_98, 1276, 638}, {false, FrameRate_24, 1276, 638},
    {false, FrameRate_47_95, 1276, 638}, {false, FrameRate_48, 1276, 638},
    {false, FrameRate_25, 1056, 528},    {false, FrameRate_50, 1056, 528},
    {false, FrameRate_29_97, 176, 88},   {false, FrameRate_30, 176, 88},
    {false, FrameRate_59_94, 176, 88},   {false, FrameRate_60, 176, 88},
};

struct MappingRow
{
    bool is12Bit;
    SampleStructure structure;
    quint32 mode;
};

constexpr MappingRow MAPPING_MODES[] = {
    {false, SampleStructure_422YCbCr, 0},  {false, SampleStructure_444YCbCr, 1},
    {false, SampleStructure_444Rgb, 1},    {false, SampleStructure_4444YCbCrA, 1},
    {false, SampleStructure_4444RgbA, 1},  {false, SampleStructure_4444YCbCrD, 1},
    {false, SampleStructure_4444RgbD, 1},  {true, SampleStructure_444YCbCr, 2},
    {true, SampleStructure_444Rgb, 2},     {true, SampleStructure_444Xyz, 2},
    {true, SampleStructure_422YCbCr, 3},   {true, SampleStructure_4224YCbCrA, 3},
    {true, SampleStructure_4224YCbCrD, 3},
};

constexpr quint32 LEVEL_B_MAPPING_MODES = 4; ///< the first of them
constexpr quint32 NO_MAPPING_MODE = 31;

/// Why there is no layout.
struct NoMetrics
{
    const char* logged;
    std::string_view reason;
};

constexpr char COULD_NOT_CREATE[] = "Couldn't create metrics.";
constexpr std::string_view LINE_INTERLEAVE_ALONE =
    "Metrics of two 1.5G links are known for line interleave alone";
constexpr NoMetrics NO_DUAL_LINK{"Only support DualLink 1.5G line interlieve.",
                                 LINE_INTERLEAVE_ALONE};
constexpr NoMetrics NO_FIELDS_ON_DUAL_LINK{COULD_NOT_CREATE, LINE_INTERLEAVE_ALONE};
constexpr NoMetrics NO_LEVEL_B{COULD_NOT_CREATE,
                               "Metrics of level B are known for progressive pictures alone"};
constexpr NoMetrics NO_LEVEL{"Don't support level C", "Metrics are known for levels A and B alone"};
constexpr NoMetrics NO_RASTER{COULD_NOT_CREATE, "No raster is known for this interface"};

/// How a field lies in the store: lines of S samples, or 2 S for two streams together, each with W
/// or 2 W samples of the picture at its end.
struct StoreLayout
{
    std::size_t fields;
    quint32 lineStreams;
    quint32 pictureStreams;
    bool copyForEachLink;           ///< of each field's metrics; otherwise for each sub-image
    const NoMetrics& withoutFields; ///< if the identifier has lines for fewer fields
};

constexpr StoreLayout ONE_FIELD{1, 1, 1, false, NO_RASTER};
constexpr StoreLayout TWO_FIELDS{2, 1, 1, false, NO_RASTER};
constexpr StoreLayout FIELDS_OF_TWO_LINKS{2, 1, 1, true, NO_FIELDS_ON_DUAL_LINK};
constexpr StoreLayout FIELDS_OF_TWO_STREAMS{2, 2, 2, false, NO_RASTER};
constexpr StoreLayout WIDE_PICTURE{1, 1, 2, false, NO_RASTER};

using Values = PayloadIdentifierValues;
constexpr Values PROGRESSIVE = only(PictureFormat_Progressive);
constexpr Values IN_FIELDS = only(PictureFormat_Interlaced, PictureFormat_Psf);
constexpr Values R1G5 = only(SdiDataRate_1G5);
constexpr Values NOT_6G = noneOf(SdiDataRate_6G);
constexpr Values A = only(Level_A);
constexpr Values B = only(Level_B);
constexpr Values FIRST_OF_B = only(LEVEL_B_MAPPING_MODES);

/// A kind of signal, and its layout or why it has none.
struct LayoutRow
{
    Values links;
    Values rates;
    Values levels;
    Values formats;
    Values mappingModes;
    const StoreLayout* layout;
    const NoMetrics* none = nullptr;
};

// clang-format off
/// The first row that fits counts; the last one fits all.
constexpr LayoutRow LAYOUTS[] = {
    {only(2),         R1G5,   A,   PROGRESSIVE, ANY,        &FIELDS_OF_TWO_LINKS},
    {only(2),         NOT_6G, ANY, ANY,         ANY,        nullptr, &NO_DUAL_LINK},
    {noneOf(1, 2, 4), ANY,    ANY, ANY,         ANY,        nullptr, &NO_RASTER},
    {ANY,             ANY,    A,   PROGRESSIVE, ANY,        &ONE_FIELD},
    {ANY,             ANY,    A,   IN_FIELDS,   ANY,        &TWO_FIELDS},
    {ANY,             ANY,    A,   ANY,         ANY,        nullptr, &NO_RASTER},
    {ANY,             ANY,    B,   PROGRESSIVE, FIRST_OF_B, &FIELDS_OF_TWO_STREAMS},
    {ANY,             ANY,    B,   PROGRESSIVE, ANY,        &WIDE_PICTURE},
    {ANY,             ANY,    B,   ANY,         ANY,        nullptr, &NO_LEVEL_B},
    {ANY,             ANY,    ANY, ANY,         ANY,        nullptr, &NO_LEVEL},
};
// clang-format on

/// The identifiers of all links, this one first.
StandardFromPayloadIdentifier::Identifiers
identifiersOfLinks(const StandardFromPayloadIdentifier::Identifier& identifier)
{
    const auto& facts = static_cast<const PayloadIdentifierVariant&>(*identifier).getFacts();
    const PayloadIdentifierField channel = facts.fields.get(PayloadIdentifierKey_ChannelAssignment);
    const quint32 linkOfGiven = channel.read(identifier->getRawValue()) / facts.channelsPerLink;
    const quint32 given = linkOfGiven < facts.links ? linkOfGiven : 0;
    // The others are built from fields alone, so that a reserved bit is logged only once.
    const quint32 ofOthers = identifier->getRawValue() & facts.fields.getMask();
    StandardFromPayloadIdentifier::Identifiers identifiers{identifier};
    identifiers.reserve(facts.links);
    for (quint32 link = 0; link < facts.links; ++link) {
        if (link != given) {
            identifiers.push_back(
                createPayloadIdentifier(channel.write(ofOthers, link * facts.channelsPerLink)));
        }
    }
    return identifiers;
}

constexpr char LOG_ORIGIN[] = "StandardFromPayloadIdentifier::getTransmissionMetrics: ";

const LayoutRow& findRow(const StandardFromPayloadIdentifier& standard)
{
    const PayloadIdentifierBase& identifier = *standard.getPrimaryIdentifier();
    const quint32 links = identifier.getNumberOfLinks();
    const SdiDataRate rate = identifier.getSdiDataRate();
    const Level level = standard.getLevel();
    const PictureFormat format = standard.getPicutreInterlacedProgressivePsf();
    const auto isMapped = [&standard](Values modes) {
        return modes.isAny() ||
               modes.contains(standard.findMappingMode().value_or(NO_MAPPING_MODE));
    };
    return *std::find_if(std::begin(LAYOUTS), std::prev(std::end(LAYOUTS)),
                         [&](const LayoutRow& row) {
                             return row.links.contains(links) && row.rates.contains(rate) &&
                                    row.levels.contains(level) && row.formats.contains(format) &&
                                    isMapped(row.mappingModes);
                         });
}

/// A layout with the line numbers of one standard, or why there is none.
struct FoundLayout
{
    explicit FoundLayout(const StandardFromPayloadIdentifier& standard)
    {
        const LayoutRow& row = findRow(standard);
        layout = row.layout;
        none = row.none;
        if (layout == nullptr) {
            return;
        }
        const PayloadIdentifierBase& identifier = *standard.getPrimaryIdentifier();
        lines = identifier.getLinesPerField();
        firstActiveLines = identifier.getFirstActivePictureLines();
        if (std::min(lines.size(), firstActiveLines.size()) < layout->fields) {
            none = &layout->withoutFields;
        }
    }

    const StoreLayout* layout;
    const NoMetrics* none;                 ///< null where there is a layout
    std::vector<quint32> lines;            ///< of each field; there may be more
    std::vector<quint32> firstActiveLines; ///< likewise
};

StandardFromPayloadIdentifier::TransmissionMetrics
makeMetrics(const StandardFromPayloadIdentifier& standard, const FoundLayout& found,
            std::size_t copies)
{
    const PayloadIdentifierBase& identifier = *standard.getPrimaryIdentifier();
    const quint32 lineWidth = found.layout->lineStreams * standard.getSamplesPerLine();
    const quint32 pictureWidth =
        found.layout->pictureStreams * identifier.getFieldActivePictureWidthInSamples();
    const quint32 pictureHeight = identifier.getFieldActivePictureHeight();
    StandardFromPayloadIdentifier::TransmissionMetrics metrics;
    metrics.reserve(found.layout->fields);
    quint32 firstLine = 0;
    for (std::size_t field = 0; field < found.layout->fields; ++field) {
        const FieldRegion whole(0, firstLine, lineWidth, found.lines[field]);
        const FieldRegion active(lineWidth - pictureWidth, found.firstActiveLines[field] - 1,
                                 pictureWidth, pictureHeight);
        metrics.emplace_back(copies, FieldMetrics(whole, active));
        firstLine += found.lines[field];
    }
    return metrics;
}

} // namespace

StandardFromPayloadIdentifier::StandardFromPayloadIdentifier(Identifiers identifiers,
                                                             bool isSquareDivision, quint32 links)
    : numberOfLinks(links)
    , squareDivision(isSquareDivision)
{
    identifiers.erase(std::remove(identifiers.begin(), identifiers.end(), nullptr),
                      identifiers.end());
    primaryIdentifier =
        identifiers.empty() ? std::make_shared<PayloadIdentifierBase>(0) : identifiers.front();
    givenIdentifiers = std::make_shared<const Identifiers>(std::move(identifiers));
}

StandardFromPayloadIdentifier::StandardFromPayloadIdentifier(
    Identifier primary, bool isSquareDivision, quint32 links,
    std::shared_ptr<const Identifiers> given)
    : primaryIdentifier(std::move(primary))
    , givenIdentifiers(std::move(given))
    , numberOfLinks(links)
    , squareDivision(isSquareDivision)
{
}

StandardFromPayloadIdentifier
StandardFromPayloadIdentifier::ofLink(std::shared_ptr<const PayloadIdentifierVariant> identifier,
                                      bool isSquareDivision)
{
    const quint32 links = identifier->getFacts().links;
    return {std::move(identifier), isSquareDivision, isSquareDivision ? QUADRANTS * links : links,
            nullptr};
}

StandardFromPayloadIdentifier::Identifiers
StandardFromPayloadIdentifier::getPayloadIdentifiers() const
{
    if (givenIdentifiers != nullptr) {
        return *givenIdentifiers;
    }
    return squareDivision ? Identifiers(QUADRANTS, primaryIdentifier)
                          : identifiersOfLinks(primaryIdentifier);
}

Level StandardFromPayloadIdentifier::getLevel() const
{
    return primaryIdentifier->getLevel();
}

quint32 StandardFromPayloadIdentifier::getFrameRate() const
{
    return primaryIdentifier->getFrameRate();
}

quint32 StandardFromPayloadIdentifier::getSampleStructure() const
{
    return primaryIdentifier->getSampleStructure();
}

quint32 StandardFromPayloadIdentifier::getBitDepth() const
{
    return primaryIdentifier->getBitDepth();
}

quint32 StandardFromPayloadIdentifier::getPicutreInterlaced() const
{
    return primaryIdentifier->getPicutreInterlaced();
}

quint32 StandardFromPayloadIdentifier::getTransportInterlaced() const
{
    return primaryIdentifier->getTransportInterlaced();
}

quint32 StandardFromPayloadIdentifier::getTransferCharacteristics() const
{
    return primaryIdentifier->getTransferCharacteristics();
}

PictureFormat StandardFromPayloadIdentifier::getPicutreInterlacedProgressivePsf() const
{
    return primaryIdentifier->getPicutreInterlacedProgressivePsf();
}

quint32 StandardFromPayloadIdentifier::getNumberOfLinks() const
{
    return squareDivision ? numberOfLinks : primaryIdentifier->getNumberOfLinks();
}

quint32 StandardFromPayloadIdentifier::getNumberOfSubImages() const
{
    return squareDivision ? 4 : primaryIdentifier->getNumberOfSubImages();
}

SubImageDivision StandardFromPayloadIdentifier::getSubImageDivision() const
{
    return squareDivision ? SubImageDivision_SquareDivision
                          : primaryIdentifier->getSubImageDivision();
}

QSize StandardFromPayloadIdentifier::getPictureSize() const
{
    const QSize size(static_cast<int>(primaryIdentifier->getPictureWidth()),
                     static_cast<int>(primaryIdentifier->getPictureHeight()));
    return squareDivision ? 2 * size : size;
}

std::vector<SdiDataRate> StandardFromPayloadIdentifier::getSdiDataRates() const
{
    return std::vector<SdiDataRate>(getNumberOfLinks(), primaryIdentifier->getSdiDataRate());
}

SdiDataRate StandardFromPayloadIdentifier::getAggregateDataRate() const
{
    const SdiDataRate rate = primaryIdentifier->getSdiDataRate();
    const quint32 links = squareDivision ? QUADRANTS : primaryIdentifier->getNumberOfLinks();
    for (const AggregateRow& row : AGGREGATE_RATES) {
        if (row.links == links && row.rate == rate) {
            return row.aggregate;
        }
    }
    return rate;
}

double StandardFromPayloadIdentifier::getSamplePeriodMicroseconds() const
{
    const quint32 clockHz = getSampleClockHz(primaryIdentifier->getSdiDataRate());
    return clockHz != 0 ? 1000000.0 / clockHz : std::numeric_limits<double>::infinity();
}

quint32 StandardFromPayloadIdentifier::getMappingMode() const
{
    const std::optional<quint32> mode = findMappingMode();
    if (!mode) {
        VELLOG_INFO() << "Shouldn't reach this return statement";
    }
    return mode.value_or(0);
}

std::optional<quint32> StandardFromPayloadIdentifier::findMappingMode() const
{
    const auto structure = SampleStructure(getSampleStructure());
    const auto depth = BitDepth(getBitDepth());
    for (const MappingRow& row : MAPPING_MODES) {
        if (row.structure == structure && (row.is12Bit ? is12Bit(depth) : is10Bit(depth))) {
            return row.mode + (getLevel() == Level_A ? 0 : LEVEL_B_MAPPING_MODES);
        }
    }
    return std::nullopt;
}

quint32 StandardFromPayloadIdentifier::getHorizontalBlankingSamples() const
{
    const bool is720 = getPictureSize().height() == 720;
    const quint32 rate = getFrameRate();
    for (const BlankingRow& row : HORIZONTAL_BLANKING) {
        if (row.is720 == is720 && row.rate == rate) {
            return getLevel() == Level_B ? row.levelB : row.otherLevels;
        }
    }
    return 0;
}

quint32 StandardFromPayloadIdentifier::getSamplesPerLine() const
{
    // For one sub-image: a rate above 3G counts as what each of its four gets.
    const SdiDataRate aggregate = getAggregateDataRate();
    const quint32 links = getNumberOfLinks();
    SdiDataRate clockRate = SdiDataRate_3G;
    if (aggregate == SdiDataRate_270M) {
        clockRate = SdiDataRate_270M;
    } else if (aggregate == SdiDataRate_1G5 ||
               (aggregate == SdiDataRate_6G && (links == 1 || links == 4))) {
        clockRate = SdiDataRate_1G5;
    }

    const FrameRateRow* rate = Vocabulary::find(FRAME_RATES, FrameRate(getFrameRate()));
    const quint32 rateHz =
        rate != nullptr && rate->nominalHz != 0 ? rate->nominalHz : RATE_OF_UNKNOWN_CODE_HZ;

    const std::vector<quint32> fields = primaryIdentifier->getLinesPerField();
    const quint32 lines = std::accumulate(fields.begin(), fields.end(), 0u);
    return getSampleClockHz(clockRate) / rateHz / (lines != 0 ? lines : LINES_OF_UNKNOWN_RASTER);
}

QString StandardFromPayloadIdentifier::getDescription() const
{
    if (!squareDivision) {
        return primaryIdentifier->getDescription(true);
    }
    QString text;
    appendPicture(text);
    PayloadIdentifierText::appendSampling(text, *primaryIdentifier);
    PayloadIdentifierText::appendInterface(text, getNumberOfLinks(), *primaryIdentifier,
                                           QLatin1String("SQ"));
    PayloadIdentifierText::appendSignal(text, *primaryIdentifier);
    PayloadIdentifierText::appendColourimetry(text, *primaryIdentifier);
    return text;
}

VideoStandardDescription StandardFromPayloadIdentifier::getDescriptionInPieces() const
{
    VideoStandardDescription pieces;
    appendPicture(pieces.picture);
    PayloadIdentifierText::appendSampling(pieces.sampling, *primaryIdentifier);
    PayloadIdentifierText::appendInterface(pieces.interfaceName, getNumberOfLinks(),
                                           *primaryIdentifier, toString(getSubImageDivision()));
    PayloadIdentifierText::appendSignal(pieces.signal, *primaryIdentifier);
    PayloadIdentifierText::appendColourimetry(pieces.colourimetry, *primaryIdentifier);
    return pieces;
}

void StandardFromPayloadIdentifier::appendPicture(QString& text) const
{
    const QSize size = getPictureSize();
    PayloadIdentifierText::appendPicture(text, static_cast<quint32>(size.width()),
                                         static_cast<quint32>(size.height()), *primaryIdentifier);
}

StandardFromPayloadIdentifier::TransmissionMetrics
StandardFromPayloadIdentifier::getTransmissionMetrics(bool* succeeded) const
{
    const FoundLayout found(*this);
    if (succeeded != nullptr) {
        *succeeded = found.none == nullptr;
    }
    if (found.none != nullptr) {
        VELLOG_ERR() << LOG_ORIGIN << found.none->logged;
        return {};
    }
    return makeMetrics(*this, found,
                       found.layout->copyForEachLink ? primaryIdentifier->getNumberOfLinks()
                                                     : getNumberOfSubImages());
}

std::string_view StandardFromPayloadIdentifier::getReasonWithoutMetrics() const
{
    const FoundLayout found(*this);
    if (found.none != nullptr) {
        return found.none->reason;
    }
    for (const std::vector<FieldMetrics>& field : makeMetrics(*this, found, 1)) {
        const FieldMetrics& metrics = field.front();
        if (metrics.getActiveWidth() > metrics.getWidth()) {
            return "The picture does not fit its lines";
        }
        if (!metrics.contains(metrics.getActivePictureRegion())) {
            return "The picture does not fit its field";
        }
    }
    return {};
}

bool operator==(const StandardFromPayloadIdentifier& a, const StandardFromPayloadIdentifier& b)
{
    if (a.squareDivision != b.squareDivision || a.getNumberOfLinks() != b.getNumberOfLinks() ||
        !a.primaryIdentifier->isEqual(*b.primaryIdentifier)) {
        return false;
    }
    if (a.givenIdentifiers == b.givenIdentifiers) {
        return true; // what is derived from equals differs only in channels, which do not count
    }
    const StandardFromPayloadIdentifier::Identifiers ofA = a.getPayloadIdentifiers();
    const StandardFromPayloadIdentifier::Identifiers ofB = b.getPayloadIdentifiers();
    return std::equal(ofA.begin(), ofA.end(), ofB.begin(), ofB.end(),
                      [](const auto& one, const auto& other) { return one->isEqual(*other); });
}
