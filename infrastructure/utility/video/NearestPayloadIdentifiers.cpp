#include "infrastructure/utility/video/NearestPayloadIdentifiers.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/PayloadIdentifierInterfaces.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"

#include <algorithm>

using namespace PayloadIdentifierSets;
using namespace Tessorn::Sdi::PayloadId;

namespace {

constexpr PayloadIdentifierValues RESERVED_RATES = only(FrameRate_None, FrameRate_Reserved);
constexpr PayloadIdentifierValues RESERVED_STRUCTURES = only(7, 11, 12, 13, 15);

/// Fields that say nothing about the picture.
constexpr PayloadIdentifierValues FREE_KEYS =
    only(PayloadIdentifierKey_AspectRatio, PayloadIdentifierKey_ChannelAssignment,
         PayloadIdentifierKey_AudioCopyStatus);

/// What the samples mean; of the bit depth only the range.
constexpr PayloadIdentifierValues SIGNAL_KEYS =
    only(PayloadIdentifierKey_Colourimetry, PayloadIdentifierKey_TransferCharacteristics,
         PayloadIdentifierKey_LuminanceAndColourDifferenceSignal, PayloadIdentifierKey_BitDepth);

bool isListed(quint32 rawValue)
{
    return SupportedVideoStandards::getInstance().findByPayloadIdentifier(rawValue) != nullptr;
}

bool hasReservedValue(const PayloadIdentifierFieldMap& fields, quint32 rawValue)
{
    const auto isReserved = [&](PayloadIdentifierKey key) {
        return isReservedValue(key, fields.get(key).read(rawValue));
    };
    return isReserved(PayloadIdentifierKey_PictureRate) ||
           isReserved(PayloadIdentifierKey_SampleStructure);
}

/// The same picture in narrow range and Rec.709.
quint32 toUsualSignal(const PayloadIdentifierFacts& facts, quint32 rawValue)
{
    const auto depth =
        static_cast<BitDepth>(facts.fields.get(PayloadIdentifierKey_BitDepth).read(rawValue));
    return facts.fields.compose(
        {{PayloadIdentifierKey_Colourimetry, Colourimetry_Rec709},
         {PayloadIdentifierKey_TransferCharacteristics, TransferCurve_SdrTv},
         {PayloadIdentifierKey_LuminanceAndColourDifferenceSignal,
          LuminanceAndColourDifferenceSignal_YCbCr},
         {PayloadIdentifierKey_BitDepth, is12Bit(depth) ? BitDepth_12 : BitDepth_10}},
        rawValue);
}

/// The fields of an identifier in one of another kind, as far as it has them.
quint32 toInterface(const PayloadIdentifierFacts& from, const PayloadIdentifierFacts& to,
                    quint32 rawValue)
{
    quint32 result = to.payloadByte << 24;
    for (quint32 key = 1; key < PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
        const auto field = static_cast<PayloadIdentifierKey>(key);
        result = to.fields.get(field).write(result, from.fields.get(field).read(rawValue));
    }
    return result;
}

/// Everything that differs in one field, by key and value; other interfaces last.
std::vector<quint32> getNeighbours(const PayloadIdentifierFacts& facts, quint32 rawValue)
{
    std::vector<quint32> neighbours;
    for (quint32 key = 1; key < PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
        const PayloadIdentifierField field =
            facts.fields.get(static_cast<PayloadIdentifierKey>(key));
        for (quint32 value = 0; !FREE_KEYS.contains(key) && value <= field.getMaximum(); ++value) {
            neighbours.push_back(field.write(rawValue, value));
        }
    }
    for (const PayloadIdentifierFacts& other : PayloadIdentifierInterfaces::TABLE) {
        neighbours.push_back(toInterface(facts, other, rawValue));
    }
    return neighbours;
}

/// A picture of the list with these fields of another identifier, as far as that has them.
quint32 withFieldsOf(const PayloadIdentifierFacts& facts, quint32 listed,
                     const PayloadIdentifierFacts& other, quint32 rawValue,
                     PayloadIdentifierValues keys)
{
    for (quint32 number = 0; number < PAYLOAD_IDENTIFIER_KEY_COUNT; ++number) {
        const auto key = static_cast<PayloadIdentifierKey>(number);
        const quint32 value = other.fields.get(key).read(rawValue);
        const bool isOtherDepth =
            key == PayloadIdentifierKey_BitDepth &&
            is12Bit(BitDepth(value)) != is12Bit(BitDepth(facts.fields.get(key).read(listed)));
        if (keys.contains(number) && other.fields.contains(key) && !isOtherDepth) {
            listed = facts.fields.get(key).write(listed, value);
        }
    }
    return listed;
}

/// In how many fields the two pictures differ.
quint32 countDifferences(const PayloadIdentifierFacts& facts, quint32 a,
                         const PayloadIdentifierFacts& otherFacts, quint32 b)
{
    quint32 count = 0;
    for (quint32 number = 0; number < PAYLOAD_IDENTIFIER_KEY_COUNT; ++number) {
        const auto key = static_cast<PayloadIdentifierKey>(number);
        count += !FREE_KEYS.contains(key) &&
                         facts.fields.get(key).read(a) != otherFacts.fields.get(key).read(b)
                     ? 1
                     : 0;
    }
    return count;
}

/// The pictures of the list that differ in the fewest fields, those of the same interface first.
std::vector<quint32> findInList(const PayloadIdentifierFacts& facts, quint32 rawValue,
                                const std::function<bool(quint32)>& accepts)
{
    std::vector<quint32> nearest;
    quint32 fewest = PAYLOAD_IDENTIFIER_KEY_COUNT;
    for (const auto& standard : SupportedVideoStandards::getInstance().getStandards()) {
        const quint32 listed = standard->getPrimaryIdentifier()->getRawValue();
        const PayloadIdentifierFacts& listedFacts = *findPayloadIdentifierFacts(listed >> 24);
        if (standard->isSquareDivision() || toUsualSignal(listedFacts, listed) != listed) {
            continue;
        }
        const auto with = [&](PayloadIdentifierValues keys) {
            return withFieldsOf(listedFacts, listed, facts, rawValue, keys);
        };
        const quint32 sameSignal = with(FREE_KEYS | SIGNAL_KEYS);
        const quint32 candidate =
            isPayloadIdentifierLawful(sameSignal) ? sameSignal : with(FREE_KEYS);
        const quint32 differences = countDifferences(facts, rawValue, listedFacts, candidate);
        if (differences > fewest || (accepts && !accepts(candidate))) {
            continue;
        }
        if (differences < fewest) {
            nearest.clear();
            fewest = differences;
        }
        nearest.push_back(candidate);
    }
    std::stable_partition(nearest.begin(), nearest.end(), [rawValue](quint32 candidate) {
        return candidate >> 24 == rawValue >> 24;
    });
    return nearest;
}

} // namespace

bool isReservedValue(PayloadIdentifierKey key, quint32 value)
{
    return (key == PayloadIdentifierKey_PictureRate && RESERVED_RATES.contains(value)) ||
           (key == PayloadIdentifierKey_SampleStructure && RESERVED_STRUCTURES.contains(value));
}

bool isPayloadIdentifierLawful(quint32 rawValue)
{
    const PayloadIdentifierFacts* facts = findPayloadIdentifierFacts(rawValue >> 24);
    if (facts == nullptr || (rawValue & ~facts->fields.getMask()) != 0 ||
        hasReservedValue(facts->fields, rawValue)) {
        return false;
    }
    if (isListed(rawValue)) {
        return true;
    }
    const auto identifier = createPayloadIdentifier(rawValue);
    const QStringList complaints = identifier->validate();
    const quint32 usual = toUsualSignal(*facts, rawValue);
    if (isListed(usual)) {
        // The rules complain about some that are listed; only what they say beyond that counts.
        const QStringList known = createPayloadIdentifier(usual)->validate();
        return std::all_of(complaints.begin(), complaints.end(),
                           [&known](const QString& text) { return known.contains(text); });
    }
    const auto standard = createVideoStandard(rawValue);
    const bool isScanned = standard->getPicutreInterlaced() == PROGRESSIVE ||
                           standard->getTransportInterlaced() == INTERLACED;
    return complaints.isEmpty() && isScanned && standard->getReasonWithoutMetrics().empty() &&
           (isNarrow(SampleStructure(standard->getSampleStructure())) ||
            standard->findMappingMode().has_value());
}

std::vector<quint32> findNearestPayloadIdentifiers(quint32 rawValue, std::size_t most,
                                                   const std::function<bool(quint32)>& accepts)
{
    const PayloadIdentifierFacts* facts = findPayloadIdentifierFacts(rawValue >> 24);
    std::vector<quint32> candidates;
    if (facts != nullptr) {
        rawValue &= facts->fields.getMask();
        if (isPayloadIdentifierLawful(rawValue) && (!accepts || accepts(rawValue))) {
            return {rawValue};
        }
        candidates = getNeighbours(*facts, rawValue);
    } else {
        for (const PayloadIdentifierFacts& row : PayloadIdentifierInterfaces::TABLE) {
            candidates.push_back((row.payloadByte << 24) | (rawValue & 0xFFFFFF));
        }
    }
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(),
                                    [&accepts](quint32 candidate) {
                                        return !isPayloadIdentifierLawful(candidate) ||
                                               (accepts && !accepts(candidate));
                                    }),
                     candidates.end());
    const auto unlisted = std::stable_partition(candidates.begin(), candidates.end(), isListed);
    if (unlisted != candidates.begin()) {
        candidates.erase(unlisted, candidates.end());
    }
    if (candidates.empty() && facts != nullptr) {
        candidates = findInList(*facts, rawValue, accepts);
    }
    candidates.resize(std::min(candidates.size(), most));
    return candidates;
}
