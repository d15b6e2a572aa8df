#include "infrastructure/utility/video/VideoStandardFactory.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

#include <algorithm>

namespace {

using Identifiers = StandardFromPayloadIdentifier::Identifiers;

constexpr std::size_t QUADRANTS = 4;
constexpr std::size_t MOST_LINKS = 8;

/// The identifiers of all links of the interface.
Identifiers identifiersOfLinks(const PayloadIdentifierFacts& facts, quint32 rawValue)
{
    const PayloadIdentifierField channel = facts.fields.get(PayloadIdentifierKey_ChannelAssignment);
    const quint32 linkOfGiven = channel.read(rawValue) / facts.channelsPerLink;
    const quint32 given = linkOfGiven < facts.links ? linkOfGiven : 0;
    // The others are built from fields alone, so that a reserved bit is logged only once.
    const quint32 ofOthers = rawValue & facts.fields.getMask();
    Identifiers identifiers;
    identifiers.reserve(facts.links);
    identifiers.push_back(createPayloadIdentifier(rawValue));
    for (quint32 link = 0; link < facts.links; ++link) {
        if (link != given) {
            identifiers.push_back(
                createPayloadIdentifier(channel.write(ofOthers, link * facts.channelsPerLink)));
        }
    }
    return identifiers;
}

bool areQuadrants(const Identifiers& identifiers)
{
    return identifiers.size() == QUADRANTS && identifiers[0]->getNumberOfLinks() == 1 &&
           identifiers[0]->getPictureHeight() == 1080;
}

/// "Link 2: picture rate is not that of link 1: 10"
QString complaintOf(std::size_t index, QLatin1String what, quint32 value)
{
    return QStringLiteral("Link %1: %2: %3").arg(index + 1).arg(what).arg(value);
}

/// The identifiers of these bytes. Null, with a complaint, for one of an unknown kind.
Identifiers readLinks(const std::vector<quint32>& rawValues, QStringList& complaints)
{
    Identifiers identifiers;
    for (std::size_t i = 0; i < rawValues.size(); ++i) {
        // Equal bytes share one identifier, so that its reserved bits are logged only once.
        const auto same = std::find(rawValues.begin(), rawValues.end(), rawValues[i]);
        const auto first = static_cast<std::size_t>(same - rawValues.begin());
        identifiers.push_back(first < i ? identifiers[first]
                                        : createPayloadIdentifier(rawValues[i]));
        if (identifiers[i] == nullptr) {
            complaints << complaintOf(i, QLatin1String("unknown payload identifier"),
                                      rawValues[i] >> 24);
        }
    }
    return identifiers;
}

/// Fields that all links must have in common.
void compareFields(const Identifiers& identifiers, QStringList& complaints)
{
    const auto complain = [&](std::size_t index, PayloadIdentifierKey key) {
        complaints << QStringLiteral("Link %1: %2 is not that of link 1: %3")
                          .arg(index + 1)
                          .arg(toString(key))
                          .arg(identifiers[index]->getField(key));
    };
    for (std::size_t i = 1; i < identifiers.size(); ++i) {
        constexpr auto INTERFACE = PayloadIdentifierKey_PayloadAndDigitalInterface;
        if (identifiers[i]->getField(INTERFACE) != identifiers[0]->getField(INTERFACE)) {
            complain(i, INTERFACE); // its other fields are elsewhere
            continue;
        }
        for (const PayloadIdentifierKey key : identifiers[0]->getDifferences(*identifiers[i])) {
            complain(i, key);
        }
        if (areQuadrants(identifiers) &&
            identifiers[i]->getChannelAssignment() != identifiers[0]->getChannelAssignment()) {
            complain(i, PayloadIdentifierKey_ChannelAssignment);
        }
    }
}

/// Checks that the links of one interface are complete, each once. They come as one identifier per
/// link or per channel.
void countLinks(const Identifiers& identifiers, const PayloadIdentifierFacts& facts,
                QStringList& complaints)
{
    const std::size_t count = identifiers.size();
    if (count != facts.links && count != std::size_t(facts.links) * facts.channelsPerLink) {
        complaints << QStringLiteral("Wrong number of links: %1").arg(count);
        return;
    }
    if (count == 1) {
        return;
    }
    const quint32 channelsEach = count == facts.links ? facts.channelsPerLink : 1;
    std::vector<bool> isTaken(count);
    for (std::size_t i = 0; i < count; ++i) {
        const quint32 channel = identifiers[i]->getChannelAssignment();
        const std::size_t place = channel / channelsEach;
        if (place >= count) {
            complaints << complaintOf(i, QLatin1String("no such channel assignment"), channel);
        } else if (isTaken[place]) {
            complaints << complaintOf(i, QLatin1String("channel assignment of a link before"),
                                      channel);
        } else {
            isTaken[place] = true;
        }
    }
}

} // namespace

std::shared_ptr<const StandardFromPayloadIdentifier> createVideoStandard(quint32 rawValue,
                                                                         bool squareDivision)
{
    const PayloadIdentifierFacts* facts = findPayloadIdentifierFacts(rawValue >> 24);
    if (facts == nullptr) {
        return nullptr;
    }
    if (squareDivision) {
        return std::make_shared<StandardFromPayloadIdentifier>(
            Identifiers(QUADRANTS, createPayloadIdentifier(rawValue)), true,
            QUADRANTS * facts->links);
    }
    return std::make_shared<StandardFromPayloadIdentifier>(identifiersOfLinks(*facts, rawValue));
}

std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandardFromLinks(const std::vector<quint32>& rawValues, QStringList* complaints)
{
    QStringList ignored;
    QStringList& found = complaints != nullptr ? *complaints : ignored;
    found.clear();
    if (rawValues.empty() || rawValues.size() > MOST_LINKS) {
        found << QStringLiteral("Wrong number of links: %1").arg(rawValues.size());
        return nullptr;
    }
    Identifiers identifiers = readLinks(rawValues, found);
    if (found.isEmpty()) {
        compareFields(identifiers, found);
    }
    const bool squareDivision = found.isEmpty() && areQuadrants(identifiers);
    if (found.isEmpty() && !squareDivision) {
        countLinks(identifiers, *findPayloadIdentifierFacts(rawValues[0] >> 24), found);
    }
    return found.isEmpty() ? std::make_shared<StandardFromPayloadIdentifier>(std::move(identifiers),
                                                                             squareDivision)
                           : nullptr;
}
