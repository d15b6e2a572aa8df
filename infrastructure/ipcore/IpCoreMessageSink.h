// Where messages for the other side are put.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageBase.h"

#include <cstdint>
#include <memory>

/// The end of an exchange that takes messages in.
class IpCoreMessageSink
{
public:
    virtual ~IpCoreMessageSink() = default;

    /// Takes the message; blocks while there is no room.
    virtual void acceptMessage(std::unique_ptr<IpCoreMessageBase> message) = 0;
    /// The number of messages that there is room for at the moment.
    virtual uint32_t spaceAvailable() const = 0;
    /// The number of messages that there is room for when none is waiting.
    virtual uint32_t capacity() const = 0;
    /// Takes the message if there is room within that time. Otherwise false, and the message stays
    /// with the caller. An empty pointer is not a message and is ignored: true.
    virtual bool offerMessage(std::unique_ptr<IpCoreMessageBase>& message, uint32_t mostMs) = 0;
};
