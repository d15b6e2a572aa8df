// The thread that brings each message to the processor of its IP core.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageProcessorBase.h"
#include "infrastructure/ipcore/IpCoreMessageSource.h"
#include "infrastructure/utility/SupervisorThread.h"

#include <map>
#include <vector>

/// Runs all processors on its one thread. A pass hands out the messages that are waiting, then lets
/// each processor generate messages, in the order of core and instance; then the thread sleeps
/// until the next message or the end of the period.
///
/// Where messages keep coming, a pass hands out MOST_MESSAGES_IN_A_PASS and the next one follows at
/// once. A stop takes effect behind the message at work; those behind it stay in the source.
///
/// A message for a core without processor is dropped, and so is one whose processor throws: a line
/// of the log names core and message, and the thread goes on. Where the sink is full the pass
/// blocks, and stopThread with it, until somebody takes a message.
class IpCoreSupervisor : public SupervisorThread
{
public:
    static constexpr int MOST_MESSAGES_IN_A_PASS = 256;

    /// Sink, source and processors are not owned and outlive the supervisor. It registers with the
    /// source to be told of messages. A null processor is ignored; of two with one address the
    /// later counts. The thread does not run before startThread.
    IpCoreSupervisor(IpCoreMessageSink& sink, IpCoreMessageSource& source,
                     const std::vector<IpCoreMessageProcessorBase*>& processorList,
                     const std::string& supervisorThreadName, int64_t periodMs);
    /// Stops the thread. Nobody may be sending to the source any more.
    ~IpCoreSupervisor() override;

protected:
    void supervisorLoopStep() override;

private:
    void route(std::unique_ptr<IpCoreMessageBase> message);

    int64_t waitPeriodMs;
    IpCoreMessageSink& messagesOut;
    IpCoreMessageSource& messagesIn;
    std::map<unsigned, std::map<unsigned, IpCoreMessageProcessorBase*>> processors;
};
