#include "infrastructure/ipcore/IpCoreSupervisor.h"

#include "infrastructure/utility/Log.h"

#include <exception>
#include <utility>

IpCoreSupervisor::IpCoreSupervisor(IpCoreMessageSink& sink, IpCoreMessageSource& source,
                                   const std::vector<IpCoreMessageProcessorBase*>& processorList,
                                   const std::string& supervisorThreadName, int64_t periodMs)
    : SupervisorThread(supervisorThreadName)
    , waitPeriodMs(periodMs)
    , messagesOut(sink)
    , messagesIn(source)
{
    for (IpCoreMessageProcessorBase* processor : processorList) {
        if (!processor) {
            continue;
        }
        const unsigned id = processor->getIpCoreId();
        const unsigned instance = processor->getIpCoreInstance();
        if (!processors[id].insert_or_assign(instance, processor).second) {
            VELLOG_ERR() << "IP core " << id << " instance " << instance
                         << " has two processors, using the later";
        }
    }
    messagesIn.setNotificationReceiver(this);
}

IpCoreSupervisor::~IpCoreSupervisor()
{
    messagesIn.clearNotificationReceiver(this);
    stopThread();
}

void IpCoreSupervisor::supervisorLoopStep()
{
    for (int taken = 0; taken < MOST_MESSAGES_IN_A_PASS && !isStopRequested(); ++taken) {
        std::unique_ptr<IpCoreMessageBase> message = messagesIn.takeMessage();
        if (!message) {
            break;
        }
        route(std::move(message));
    }
    if (isStopRequested()) {
        return;
    }
    for (const auto& [id, instances] : processors) {
        for (const auto& [instance, processor] : instances) {
            try {
                processor->generateMessages(messagesOut);
            } catch (const std::exception& error) {
                VELLOG_ERR() << "IP core " << id << " instance " << instance
                             << " could not generate messages: " << error.what();
            }
        }
    }
    if (!messagesIn.hasMessage()) {
        sleepUntilNextPass(waitPeriodMs);
    }
}

void IpCoreSupervisor::route(std::unique_ptr<IpCoreMessageBase> message)
{
    const auto instances = processors.find(message->getIpCoreId());
    if (instances == processors.end()) {
        return;
    }
    const auto found = instances->second.find(message->getIpCoreInstance());
    if (found == instances->second.end()) {
        return;
    }
    try {
        found->second->processMessage(messagesOut, message);
    } catch (const std::exception& error) {
        VELLOG_ERR() << "IP core " << instances->first << " instance " << found->first
                     << " could not process a message ("
                     << (message ? message->toString() : "which it has taken")
                     << "): " << error.what();
    }
}
