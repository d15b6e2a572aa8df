// Messages of the reference processor, TestIpCoreMessageAdaptor.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageBase.h"

/// A message that says what kind it is, so that its receiver knows what to cast it to.
class TestIpCoreMessage : public IpCoreMessageBase
{
public:
    /// The kinds of messages of the reference processor.
    enum MessageType {
        MessageTypeRoundJourneyTestMessage, ///< a TestIpCoreRoundJourneyTestMessage
    };

    explicit TestIpCoreMessage(MessageType type, uint32_t coreId = 0, uint32_t coreInstance = 0)
        : IpCoreMessageBase(coreId, coreInstance)
        , messageType(type)
    {
    }

    const MessageType messageType;
};
