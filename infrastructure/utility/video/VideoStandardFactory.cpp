#include "infrastructure/utility/video/VideoStandardFactory.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

namespace {

using Identifiers = StandardFromPayloadIdentifier::Identifiers;

constexpr std::size_t QUADRANTS = 4;

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
