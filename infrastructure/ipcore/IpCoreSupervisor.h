// The thread that brings each message to the processor of its IP core.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageProcessorBase.h"
#include "infrastructure/ipcore/IpCoreMessageSource.h"
#include "infrastructure/utility/SupervisorThread.h"

#include <map>
#include <vector>

/// Runs all processors on its one thread. A pass hands out the waiting messages and then lets each
/// processor generate messages, in the order of core and instance. Then the thread sleeps until the
/// next message or the end of the period.
///
/// If messages keep coming, a pass hands out MOST_MESSAGES_IN_A_PASS and the next pass follows at
/// once. A stop takes effect after the current message; later ones stay in the source.
///
/// A message for a core without processor is dropped silently. One whose processor throws is
/// dropped too, with a log line that names core and message, and the thread goes on. While the sink
/// is full the pass blocks, and stopThread with it, until somebody takes a message.
class IpCoreSupervisor : public SupervisorThread
{
public:
    static constexpr int MOST_MESSAGES_IN_A_PASS = 256;

    /// Sink, source and processors are not owned and must outlive the supervisor. It registers with
    /// the source to be told of messages. A null processor is ignored; of two with the same address
    /// the later is used, with a log line. The thread does not run before startThread.
    IpCoreSupervisor(IpCoreMessageSink& sink, IpCoreMessageSource& source,
                     const std::vector<IpCoreMessageProcessorBase*>& processorList,
                     const std::string& supervisorThreadName, int64_t periodMs);
    /// Stops the thread. By then nobody may be sending to the source.
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
