// The software that drives one IP core.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageBase.h"
#include "infrastructure/ipcore/IpCoreMessageSink.h"
#include "infrastructure/ipcore/IpCoreRegisterableInterface.h"

#include <memory>

/// Takes the messages for its IP core and makes messages of its own. An IpCoreSupervisor calls it,
/// always on the supervisor's thread. A std::exception that escapes it is logged there and ends
/// nothing else.
class IpCoreMessageProcessorBase : public IpCoreRegisterableInterface
{
public:
    /// Sends what it has to say without being asked. Called once in each pass, after the waiting
    /// messages have been handed out, or many of them.
    virtual void generateMessages(IpCoreMessageSink& sink) { static_cast<void>(sink); }
    /// Acts on a message, which is never empty; answers go to the sink. The processor may move the
    /// message away; otherwise it is destroyed afterwards.
    virtual void processMessage(IpCoreMessageSink& sink,
                                std::unique_ptr<IpCoreMessageBase>& message) = 0;
};
