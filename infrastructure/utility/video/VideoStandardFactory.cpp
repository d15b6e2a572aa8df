#include "infrastructure/utility/video/VideoStandardFactory.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

#include <algorithm>

namespace {

using Identifiers = StandardFromPayloadIdentifier::Identifiers;

constexpr std::size_t QUADRANTS = 4;

/// The identifiers of all links of the interface.
Identifiers identifiersOfLinks(const PayloadIdentifierFacts& facts, quint32 rawValue)
{
    const PayloadIdentifierField channel = facts.fields.get(PayloadIdentifierKey_ChannelAssignment);
    const quint32 linkOfGiven = channel.read(rawValue) / facts.channelsPerLink;
    const quint32 given = linkOfGiven < facts.links ? linkOfGiven : 0;
    Identifiers identifiers;
    identifiers.reserve(facts.links);
    identifiers.push_back(createPayloadIdentifier(rawValue));
    for (quint32 link = 0; link < facts.links; ++link) {
        if (link != given) {
            identifiers.push_back(
                createPayloadIdentifier(channel.write(rawValue, link * facts.channelsPerLink)));
        }
    }
    return identifiers;
}

bool isQuadrant(const StandardFromPayloadIdentifier::Identifier& identifier)
{
    return identifier->getNumberOfLinks() == 1 && identifier->getPictureHeight() == 1080;
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
createVideoStandardFromLinks(const std::vector<quint32>& rawValues)
{
    Identifiers identifiers;
    for (const quint32 rawValue : rawValues) {
        identifiers.push_back(createPayloadIdentifier(rawValue));
        if (identifiers.back() == nullptr) {
            return nullptr;
        }
    }
    if (identifiers.empty()) {
        return nullptr;
    }
    const bool squareDivision = identifiers.size() == QUADRANTS &&
                                std::all_of(identifiers.begin(), identifiers.end(), isQuadrant);
    return std::make_shared<StandardFromPayloadIdentifier>(std::move(identifiers), squareDivision);
}
