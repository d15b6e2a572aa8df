#include "infrastructure/utility/video/VideoStandardFactory.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

std::shared_ptr<const StandardFromPayloadIdentifier> createVideoStandard(quint32 rawValue,
                                                                         bool squareDivision)
{
    auto identifier = createPayloadIdentifier(rawValue);
    return identifier != nullptr
               ? std::make_shared<StandardFromPayloadIdentifier>(
                     StandardFromPayloadIdentifier::ofLink(std::move(identifier), squareDivision))
               : nullptr;
}
