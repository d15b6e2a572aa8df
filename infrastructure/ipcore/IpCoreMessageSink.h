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

    /// Takes the message; blocks while there is no room. Drops nothing.
    virtual void acceptMessage(std::unique_ptr<IpCoreMessageBase> message) = 0;
    /// The number of messages that there is room for at the moment.
    virtual uint32_t spaceAvailable() const = 0;
    /// The number of messages that there is room for when none is waiting.
    virtual uint32_t capacity() const = 0;
};
