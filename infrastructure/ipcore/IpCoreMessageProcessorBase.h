// The software that drives one IP core.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageBase.h"
#include "infrastructure/ipcore/IpCoreMessageSink.h"
#include "infrastructure/ipcore/IpCoreRegisterableInterface.h"

#include <memory>

/// Takes the messages for its IP core and makes messages of its own. An IpCoreSupervisor calls it,
/// always on the supervisor's thread. A std::exception that it lets out is logged there, and ends
/// nothing else.
class IpCoreMessageProcessorBase : public IpCoreRegisterableInterface
{
public:
    /// Sends what there is to say unasked. Called once in each pass, when no message is waiting
    /// or many have been handed out.
    virtual void generateMessages(IpCoreMessageSink& sink) { static_cast<void>(sink); }
    /// Acts on a message, which is never empty; answers go to the sink. The processor may move the
    /// message away; what it leaves is destroyed.
    virtual void processMessage(IpCoreMessageSink& sink,
                                std::unique_ptr<IpCoreMessageBase>& message) = 0;
};
