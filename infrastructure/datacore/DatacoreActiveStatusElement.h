// The reasons why a node of the state tree is inactive.
#pragma once

#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreStatusElement.h"

/// Reasons for being inactive; none means active.
class DatacoreActiveStatusElement final : public DatacoreStatusElement<DatacoreActiveStatusMessage>
{
public:
    DatacoreActiveStatusElement(DatacoreElementPrivateInterface& elementOwner,
                                DatacoreElementState& elementState)
        : DatacoreStatusElement(elementOwner, elementState)
    {
    }

    QLatin1String getKey() const override { return QLatin1String("reasonsForBeingInactive"); }
};
