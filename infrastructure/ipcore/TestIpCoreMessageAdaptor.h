// The reference processor, for trying out a scheduler without hardware.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageProcessorBase.h"

#include <atomic>

/// Counts the messages it gets and sends one round-journey message in each pass.
class TestIpCoreMessageAdaptor : public IpCoreMessageProcessorBase
{
public:
    explicit TestIpCoreMessageAdaptor(uint32_t coreInstance);

    uint32_t getIpCoreId() const override { return 0; }
    uint32_t getIpCoreInstance() const override { return ipCoreInstance; }
    /// The number of messages so far; any thread may ask.
    uint32_t getMessageCount() const { return messageCount; }

    void generateMessages(IpCoreMessageSink& sink) override;
    void processMessage(IpCoreMessageSink& sink,
                        std::unique_ptr<IpCoreMessageBase>& message) override;

private:
    uint32_t ipCoreInstance;
    std::atomic<uint32_t> messageCount{0};
};
