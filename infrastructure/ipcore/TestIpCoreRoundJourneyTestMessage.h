// The reference message, which travels from the scheduler to a processor and back.
#pragma once

#include "infrastructure/ipcore/TestIpCoreMessage.h"

/// Carries nothing but its address.
class TestIpCoreRoundJourneyTestMessage : public TestIpCoreMessage
{
public:
    explicit TestIpCoreRoundJourneyTestMessage(uint32_t coreId = 0, uint32_t coreInstance = 0)
        : TestIpCoreMessage(MessageTypeRoundJourneyTestMessage, coreId, coreInstance)
    {
    }

    std::string toString() const override
    {
        return "round journey, core " + std::to_string(getIpCoreId()) + " instance " +
               std::to_string(getIpCoreInstance());
    }
};
