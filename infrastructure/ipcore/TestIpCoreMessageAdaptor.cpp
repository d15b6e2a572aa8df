#include "infrastructure/ipcore/TestIpCoreMessageAdaptor.h"

#include "infrastructure/ipcore/TestIpCoreRoundJourneyTestMessage.h"

TestIpCoreMessageAdaptor::TestIpCoreMessageAdaptor(uint32_t coreInstance)
    : ipCoreInstance(coreInstance)
{
}

void TestIpCoreMessageAdaptor::generateMessages(IpCoreMessageSink& sink)
{
    sink.acceptMessage(
        std::make_unique<TestIpCoreRoundJourneyTestMessage>(getIpCoreId(), getIpCoreInstance()));
}

void TestIpCoreMessageAdaptor::processMessage(IpCoreMessageSink&,
                                              std::unique_ptr<IpCoreMessageBase>&)
{
    ++messageCount;
}
