#include "infrastructure/utility/video/LinkSet.h"

#include "infrastructure/utility/video/NearestPayloadIdentifiers.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"

#include <QStringList>

#include <algorithm>
#include <numeric>

using namespace Tessorn;
using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

namespace {

constexpr std::size_t MOST_INPUTS = 8;
constexpr std::size_t QUADRANTS = 4;
constexpr quint32 QUADRANT_HEIGHT = 1080;

constexpr auto INTERFACE = PayloadIdentifierKey_PayloadAndDigitalInterface;
constexpr auto CHANNEL = PayloadIdentifierKey_ChannelAssignment;

struct OtherRow
{
    PayloadIdentifierKey key;
    FindingCode code;
};

/// What a link is in which such a field differs.
constexpr OtherRow OTHERS[] = {
    {PayloadIdentifierKey_SampleStructure, FindingCode::LinkOtherStructure},
    {PayloadIdentifierKey_PictureRate, FindingCode::LinkOtherRate},
    {PayloadIdentifierKey_PictureInterlaced, FindingCode::LinkOtherScan},
    {PayloadIdentifierKey_TransportInterlaced, FindingCode::LinkOtherScan},
    {PayloadIdentifierKey_BitDepth, FindingCode::LinkOtherDepth},
    {PayloadIdentifierKey_HorizontalArraySize, FindingCode::LinkOtherWidth},
    {PayloadIdentifierKey_Colourimetry, FindingCode::LinkOtherColour},
    {PayloadIdentifierKey_TransferCharacteristics, FindingCode::LinkOtherCurve},
    {PayloadIdentifierKey_LuminanceAndColourDifferenceSignal, FindingCode::LinkOtherSignal},
};

constexpr Vocabulary::Row<LinkSetForm> FORMS[] = {
    {LinkSetForm::None, "nothing"},
    {LinkSetForm::SingleLink, "single link"},
    {LinkSetForm::LevelB, "both streams of level B"},
    {LinkSetForm::DualLink, "dual link"},
    {LinkSetForm::TwoSampleInterleave, "two-sample interleave"},
    {LinkSetForm::SquareDivision, "square division"},
};

constexpr FindingPlace placeOf(std::size_t input)
{
    return {static_cast<int>(input), -1, -1, -1};
}

/// True for 1080 lines on one link.
bool canBeQuadrant(quint32 word)
{
    const PayloadIdentifierFacts* facts = findPayloadIdentifierFacts(word >> 24);
    return facts != nullptr && facts->links == 1 &&
           facts->geometry.pictureHeight == QUADRANT_HEIGHT;
}

QString nearestText(const std::vector<quint32>& words)
{
    QStringList texts;
    for (const quint32 word : words) {
        texts << QStringLiteral("%1").arg(word, 8, 16, QLatin1Char('0')).toUpper();
    }
    return texts.isEmpty() ? QString()
                           : QLatin1String("nearest lawful: ") + texts.join(QLatin1String(", "));
}

QString join(const QString& text, const QString& more)
{
    return text.isEmpty() || more.isEmpty() ? text + more : text + QLatin1String("; ") + more;
}

/// An identifier of a known kind.
struct Entry
{
    std::size_t input;
    std::size_t stream;
    const PayloadIdentifierFacts* facts;
    std::shared_ptr<const PayloadIdentifierBase> identifier; ///< without reserved bits

    quint32 word() const { return identifier->getRawValue(); }
    quint32 channel() const { return identifier->getChannelAssignment(); }
};

/// One run over the inputs.
class Analysis
{
public:
    explicit Analysis(const std::vector<LinkInput>& given)
        : inputs(given)
    {
        isSilent.resize(inputs.size());
        for (std::size_t input = 0; input < inputs.size(); ++input) {
            isSilent[input] = inputs[input].words.empty();
            if (input < MOST_INPUTS) {
                readWords(input);
            }
        }
        if (!entries.empty()) {
            chooseReference();
            settle();
            compareFields();
            comparePlaces();
            judgeReference();
            compareRasters();
        } else if (std::all_of(isSilent.begin(), isSilent.end(),
                               [](bool silent) { return silent; })) {
            add(FindingCode::LinksSilent, {});
        }
    }

    LinkSet result;

private:
    void add(FindingCode code, FindingPlace place, qint64 expected = 0, qint64 found = 0,
             const QString& detail = {})
    {
        result.findings.add({code, place, expected, found, detail});
    }

    void readWords(std::size_t input);
    void readWord(std::size_t input, quint32 word);
    void chooseReference();
    void settle();
    void compareFields();
    void comparePlaces();
    void compareChannels(const std::vector<const Entry*>& group, std::size_t links,
                         std::vector<bool>& isTaken);
    void judgeReference();
    void compareRasters();

    bool isMember(std::size_t input) const
    {
        return std::find(members.begin(), members.end(), input) != members.end();
    }
    bool isReferenceKind(std::size_t input) const;
    std::vector<const Entry*> getEntries(std::size_t input) const;
    quint32 toAgreeing(const Entry& entry, quint32 channel) const;
    QString suggest(const Entry& entry) const;

    const std::vector<LinkInput>& inputs;
    std::vector<bool> isSilent;
    std::vector<Entry> entries;       ///< by input, then by stream
    const Entry* reference = nullptr; ///< what the others are held to
    bool isReferenceLawful = false;
    bool squareDivision = false;
    std::vector<std::size_t> members; ///< the inputs of the set; may go beyond those that there are
};

void Analysis::readWords(std::size_t input)
{
    const std::size_t before = entries.size();
    for (const quint32 word : inputs[input].words) {
        if (entries.size() == before) {
            readWord(input, word);
            continue;
        }
        const Entry& first = entries[before];
        const bool isSameKind = word >> 24 == first.word() >> 24;
        const std::size_t stream = entries.size() - before;
        if (isSameKind && stream < first.facts->channelsPerLink) {
            readWord(input, word);
            continue;
        }
        // Each stream of a single link may repeat the identifier with a channel of its own.
        const quint32 ignored =
            first.facts->links == 1 ? first.facts->fields.get(CHANNEL).getMask() : 0;
        const bool isRepeated = std::any_of(
            entries.begin() + static_cast<std::ptrdiff_t>(before), entries.end(),
            [&](const Entry& entry) {
                return ((entry.word() ^ word) & entry.facts->fields.getMask() & ~ignored) == 0;
            });
        if (!isRepeated) {
            add(FindingCode::LinkAmbiguous, placeOf(input), first.word(), word);
        }
    }
}

void Analysis::readWord(std::size_t input, quint32 word)
{
    const PayloadIdentifierFacts* facts = findPayloadIdentifierFacts(word >> 24);
    if (facts == nullptr) {
        add(FindingCode::LinkUnknownInterface, placeOf(input), 0, word >> 24,
            nearestText(findNearestPayloadIdentifiers(word)));
        return;
    }
    const quint32 fields = word & facts->fields.getMask();
    if (fields != word) {
        add(FindingCode::LinkReservedBits, placeOf(input), 0, word & ~fields,
            nearestText(findNearestPayloadIdentifiers(word)));
    }
    const auto sameInput = [input](const Entry& entry) { return entry.input == input; };
    const auto stream = std::count_if(entries.begin(), entries.end(), sameInput);
    entries.push_back(
        {input, static_cast<std::size_t>(stream), facts, createPayloadIdentifier(fields)});
}

/// The entry with the fewest differences from all others; of several a lawful one, then the first.
void Analysis::chooseReference()
{
    std::size_t fewest = 0;
    for (const Entry& entry : entries) {
        std::size_t differences = 0;
        for (const Entry& other : entries) {
            differences += entry.facts == other.facts
                               ? entry.identifier->getDifferences(*other.identifier).size()
                               : PAYLOAD_IDENTIFIER_KEY_COUNT;
        }
        if (reference != nullptr &&
            (differences > fewest || (differences == fewest && isReferenceLawful))) {
            continue;
        }
        const bool isLawful = isPayloadIdentifierLawful(entry.word());
        if (reference == nullptr || differences < fewest || isLawful) {
            reference = &entry;
            fewest = differences;
            isReferenceLawful = isLawful;
        }
    }
}

/// Decides on the form, and which inputs belong to it.
void Analysis::settle()
{
    const PayloadIdentifierFacts& facts = *reference->facts;
    std::size_t sameKind = 0;
    std::vector<std::size_t> order(std::min(inputs.size(), MOST_INPUTS));
    std::iota(order.begin(), order.end(), std::size_t(0));
    for (const std::size_t input : order) {
        sameKind += isReferenceKind(input) ? 1 : 0;
    }
    squareDivision = canBeQuadrant(reference->word()) &&
                     (sameKind >= QUADRANTS - 1 || (sameKind == 2 && inputs.size() == QUADRANTS));
    const std::size_t needed = squareDivision ? QUADRANTS : facts.links;

    // First those of the same interface, then others with an identifier, then silent ones.
    const auto rank = [this](std::size_t input) {
        return isReferenceKind(input) ? 0 : !isSilent[input] ? 1 : 2;
    };
    std::stable_sort(order.begin(), order.end(),
                     [&rank](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
    while (order.size() < needed) {
        order.push_back(order.size());
    }
    isSilent.resize(std::max(inputs.size(), order.size()), true);
    members.assign(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(needed));
    std::sort(members.begin(), members.end());
    for (std::size_t input = 0; input < inputs.size(); ++input) {
        if (!isSilent[input] && !isMember(input)) {
            add(FindingCode::LinkSurplus, placeOf(input), 0, inputs[input].words.front());
        }
    }

    const quint32 word = facts.fields.get(CHANNEL).write(reference->word(), 0);
    result.standard = createVideoStandard(word, squareDivision);
    result.form = squareDivision ? LinkSetForm::SquareDivision
                  : facts.subImageDivision != SubImageDivision_None
                      ? LinkSetForm::TwoSampleInterleave
                  : facts.links == 2       ? LinkSetForm::DualLink
                  : facts.level == Level_B ? LinkSetForm::LevelB
                                           : LinkSetForm::SingleLink;
}

bool Analysis::isReferenceKind(std::size_t input) const
{
    return std::any_of(entries.begin(), entries.end(), [this, input](const Entry& entry) {
        return entry.input == input && entry.facts == reference->facts;
    });
}

std::vector<const Entry*> Analysis::getEntries(std::size_t input) const
{
    std::vector<const Entry*> found;
    for (const Entry& entry : entries) {
        if (entry.input == input && entry.facts == reference->facts) {
            found.push_back(&entry);
        }
    }
    return found;
}

/// The reference's picture in this link's word.
quint32 Analysis::toAgreeing(const Entry& entry, quint32 channel) const
{
    const PayloadIdentifierFieldMap& fields = reference->facts->fields;
    quint32 word = fields.get(CHANNEL).write(reference->word(), channel);
    for (const PayloadIdentifierKey key :
         {PayloadIdentifierKey_AspectRatio, PayloadIdentifierKey_AudioCopyStatus}) {
        word = fields.get(key).write(word, entry.identifier->getField(key));
    }
    return word;
}

QString Analysis::suggest(const Entry& entry) const
{
    return nearestText(isReferenceLawful ? std::vector<quint32>{toAgreeing(entry, entry.channel())}
                                         : findNearestPayloadIdentifiers(entry.word()));
}

void Analysis::compareFields()
{
    const PayloadIdentifierBase& common = *reference->identifier;
    for (const Entry& entry : entries) {
        const PayloadIdentifierBase& identifier = *entry.identifier;
        const FindingPlace place = placeOf(entry.input);
        if (!isMember(entry.input)) {
            continue;
        }
        if (entry.facts != reference->facts) {
            add(FindingCode::LinkOtherInterface, place, common.getField(INTERFACE),
                identifier.getField(INTERFACE), suggest(entry));
            continue;
        }
        for (const OtherRow& row : OTHERS) {
            const quint32 expected = common.getField(row.key);
            const quint32 found = identifier.getField(row.key);
            const QString text = getPayloadIdentifierFieldText(identifier, row.key);
            if (isReservedValue(row.key, found)) {
                add(FindingCode::LinkReservedValue, place, 0, found,
                    join(toString(row.key) + QLatin1Char(' ') + text, suggest(entry)));
            } else if (expected != found) {
                add(row.code, place, expected, found,
                    join(QStringLiteral("%1 %2, not %3")
                             .arg(toString(row.key), text,
                                  getPayloadIdentifierFieldText(common, row.key)),
                         suggest(entry)));
            }
        }
    }
}

/// Checks that each link and stream comes once, in its place.
void Analysis::comparePlaces()
{
    const std::size_t links = reference->facts->links;
    std::vector<bool> isTaken(links);
    if (squareDivision) {
        for (const std::size_t input : members) {
            std::vector<const Entry*> streams = getEntries(input);
            compareChannels(streams, 1, isTaken);
            if (streams.size() == 1 && streams[0]->channel() != reference->channel() &&
                getEntries(reference->input).size() == 1) {
                add(FindingCode::LinkNoSuchChannel, placeOf(input), reference->channel(),
                    streams[0]->channel(), suggest(*reference));
            }
        }
    } else {
        std::vector<const Entry*> group;
        for (const std::size_t input : members) {
            const auto streams = getEntries(input);
            group.insert(group.end(), streams.begin(), streams.end());
        }
        compareChannels(group, links, isTaken);
    }
    for (const std::size_t input : members) {
        if (isSilent[input]) {
            const auto free = std::find(isTaken.begin(), isTaken.end(), false);
            const auto link = std::min(static_cast<std::size_t>(free - isTaken.begin()),
                                       reference->facts->links - std::size_t(1));
            add(FindingCode::LinkMissing, placeOf(input),
                static_cast<qint64>(squareDivision ? reference->channel()
                                                   : link * reference->facts->channelsPerLink));
            if (!squareDivision) {
                isTaken[link] = true;
            }
        }
    }
}

/// The group is complete with one word for each of so many links, or for each of their streams.
/// Says which links are taken.
void Analysis::compareChannels(const std::vector<const Entry*>& group, std::size_t links,
                               std::vector<bool>& isTaken)
{
    const std::size_t streams = reference->facts->channelsPerLink;
    if (links * streams == 1) {
        return;
    }
    const bool oneEach = std::none_of(group.begin(), group.end(),
                                      [](const Entry* entry) { return entry->stream != 0; });
    const std::size_t unit = oneEach ? streams : 1; // channels that one word stands for
    std::vector<bool> isOwned(links * streams / unit);
    const auto placeAt = [&](const Entry& entry) {
        // A word alone on its input may be of either stream.
        const std::size_t member =
            links == 1
                ? 0
                : static_cast<std::size_t>(std::find(members.begin(), members.end(), entry.input) -
                                           members.begin());
        const bool isAlone = getEntries(entry.input).size() == 1;
        return member * streams + (isAlone ? entry.channel() % streams : entry.stream);
    };
    const auto take = [&](const Entry& entry) {
        isOwned[entry.channel() / unit] = true;
        if (!squareDivision) {
            isTaken[entry.channel() / streams] = true;
        }
    };
    for (const Entry* entry : group) {
        if (placeAt(*entry) == entry->channel()) {
            take(*entry);
        }
    }
    for (const Entry* entry : group) {
        const std::size_t expected = placeAt(*entry);
        if (expected == entry->channel()) {
            continue;
        }
        const bool isKnown = entry->channel() / unit < isOwned.size();
        const FindingCode code = !isKnown                           ? FindingCode::LinkNoSuchChannel
                                 : isOwned[entry->channel() / unit] ? FindingCode::LinkDoubled
                                                                    : FindingCode::LinkSwapped;
        add(code, placeOf(entry->input), static_cast<qint64>(expected), entry->channel(),
            nearestText({toAgreeing(*entry, static_cast<quint32>(expected))}));
        if (code == FindingCode::LinkSwapped) {
            take(*entry);
        }
    }
}

/// Says whether what all agree on is lawful.
void Analysis::judgeReference()
{
    const FindingPlace place = members.size() == 1 ? placeOf(reference->input) : FindingPlace();
    const quint32 word = reference->word();
    const bool hasReserved =
        std::any_of(std::begin(OTHERS), std::end(OTHERS), [this](const OtherRow& row) {
            return isReservedValue(row.key, reference->identifier->getField(row.key));
        });
    if (isReferenceLawful) {
        if (!SupportedVideoStandards::getInstance().findByPayloadIdentifier(word, squareDivision)) {
            add(FindingCode::LinkNotListed, place, 0, word);
        }
    } else if (!hasReserved) {
        const std::vector<quint32> nearest = findNearestPayloadIdentifiers(word);
        add(FindingCode::LinkUnlawful, place, nearest.empty() ? 0 : nearest[0], word,
            join(reference->identifier->validate().join(QLatin1String(", ")),
                 nearestText(nearest)));
    }
}

bool fits(const LinkRaster& measured, const LinkRaster& raster)
{
    const auto agrees = [](quint32 found, quint32 expected) {
        return found == 0 || found == expected;
    };
    return agrees(measured.wordsPerLine, raster.wordsPerLine) &&
           agrees(measured.lines, raster.lines) && agrees(measured.fields, raster.fields);
}

/// "2640 words, 1125 lines, 2 fields": what is known of it.
QString toText(const LinkRaster& raster)
{
    QStringList texts;
    const auto append = [&texts](quint32 count, const char* what) {
        if (count != 0) {
            texts << QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(what),
                                                              QLatin1String(count == 1 ? "" : "s"));
        }
    };
    append(raster.wordsPerLine, "word");
    append(raster.lines, "line");
    append(raster.fields, "field");
    return texts.join(QLatin1String(", "));
}

void Analysis::compareRasters()
{
    // A quadrant has the raster of a whole picture on its link.
    const auto rasterOf = [](quint32 word) { return getLinkRaster(*createVideoStandard(word)); };
    for (const Entry& entry : entries) {
        const LinkRaster& measured = inputs[entry.input].measured;
        const FrameRateRow& rate = FRAME_RATES[entry.identifier->getFrameRate()];
        if (entry.stream != 0 || rate.nominalHz == 0 || !isMember(entry.input)) {
            continue;
        }
        const LinkRaster expected = rasterOf(entry.word());
        if (!fits(measured, expected)) {
            const auto isLike = [&](quint32 word) {
                return findPayloadIdentifierFacts(word >> 24)->links == entry.facts->links &&
                       fits(measured, rasterOf(word));
            };
            add(FindingCode::LinkRasterContradicts, placeOf(entry.input), expected.wordsPerLine,
                measured.wordsPerLine,
                join(QStringLiteral("%1 by the identifier; %2 measured")
                         .arg(toText(expected), toText(measured)),
                     nearestText(findNearestPayloadIdentifiers(entry.word(), 4, isLike))));
        }
    }
}

} // namespace

LinkRaster getLinkRaster(const StandardFromPayloadIdentifier& standard)
{
    LinkRaster raster;
    if (standard.getReasonWithoutMetrics().empty()) {
        for (const auto& field : standard.getTransmissionMetrics()) {
            raster.wordsPerLine = field.front().getWidth();
            raster.lines += field.front().getHeight();
            ++raster.fields;
        }
        return raster;
    }
    const PayloadIdentifierBase& identifier = *standard.getPrimaryIdentifier();
    const std::vector<quint32> lines = identifier.getLinesPerField();
    raster.lines = std::accumulate(lines.begin(), lines.end(), 0u);
    raster.fields = static_cast<quint32>(lines.size());
    const FrameRateRow* rate = Vocabulary::find(FRAME_RATES, FrameRate(identifier.getFrameRate()));
    const bool isDivided = standard.getNumberOfSubImages() > 1 && !standard.isSquareDivision();
    const quint32 clockHz = getSampleClockHz(identifier.getSdiDataRate()) /
                            (isDivided ? identifier.getNumberOfSubImages() : 1) *
                            (isDivided ? identifier.getNumberOfLinks() : 1);
    if (rate != nullptr && rate->nominalHz != 0 && raster.lines != 0) {
        raster.wordsPerLine = clockHz / rate->nominalHz / raster.lines;
    }
    return raster;
}

QLatin1String toString(LinkSetForm form)
{
    return Vocabulary::text(FORMS, form);
}

QString ExactRate::toString() const
{
    const QString text = QString::number(numerator);
    return denominator == 1 ? text : text + QLatin1Char('/') + QString::number(denominator);
}

bool LinkSet::isSound() const
{
    return standard != nullptr && std::none_of(std::begin(FINDING_KINDS), std::end(FINDING_KINDS),
                                               [this](const FindingKind& kind) {
                                                   return kind.severity == FindingSeverity::Error &&
                                                          findings.getCount(kind.code) != 0;
                                               });
}

namespace {

/// So many times a second, at the rates with a divisor of 1.001 less.
ExactRate toExactRate(quint64 nominal, const FrameRateRow& rate)
{
    if (rate.nominalHz == 0) {
        return {};
    }
    return rate.is1001 ? ExactRate{nominal * 1000, 1001} : ExactRate{nominal, 1};
}

} // namespace

ExactRate LinkSet::getFrameRate() const
{
    if (standard == nullptr) {
        return {};
    }
    const FrameRateRow& rate = FRAME_RATES[standard->getFrameRate()];
    return toExactRate(rate.nominalHz, rate);
}

ExactRate LinkSet::getSampleClock() const
{
    if (standard == nullptr) {
        return {};
    }
    return toExactRate(getSampleClockHz(standard->getPrimaryIdentifier()->getSdiDataRate()),
                       FRAME_RATES[standard->getFrameRate()]);
}

std::string_view LinkSet::getReasonWithoutMetrics() const
{
    return standard != nullptr ? standard->getReasonWithoutMetrics() : "There is no standard";
}

LinkSet analyseLinkSet(const std::vector<LinkInput>& inputs)
{
    return Analysis(inputs).result;
}

LinkSet analyseLinkWords(const std::vector<quint32>& words)
{
    const PayloadIdentifierFacts* facts =
        words.empty() ? nullptr : findPayloadIdentifierFacts(words[0] >> 24);
    const bool isStreamEach = facts != nullptr && facts->channelsPerLink == 2 &&
                              words.size() == std::size_t(facts->links) * 2;
    const std::size_t each = isStreamEach ? 2 : 1;
    std::vector<LinkInput> inputs;
    for (std::size_t first = 0; first < words.size(); first += each) {
        inputs.emplace_back();
        for (std::size_t stream = 0; stream < each; ++stream) {
            inputs.back().words.push_back(words[first + stream]);
        }
    }
    return analyseLinkSet(inputs);
}
