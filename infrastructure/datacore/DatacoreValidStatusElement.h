// The reasons why a node of the state tree is invalid.
#pragma once

#include "infrastructure/datacore/DatacoreStatusElement.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"

/// Reasons for being invalid; none means valid.
class DatacoreValidStatusElement final : public DatacoreStatusElement<DatacoreValidStatusMessage>
{
public:
    DatacoreValidStatusElement(DatacoreElementPrivateInterface& elementOwner,
                               DatacoreElementState& elementState)
        : DatacoreStatusElement(elementOwner, elementState)
    {
    }

    QLatin1String getKey() const override { return QLatin1String("reasonsForBeingInvalid"); }
};
