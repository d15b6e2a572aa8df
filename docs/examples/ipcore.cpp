#include "infrastructure/ipcore/IpCoreMessageExchange.h"
#include "infrastructure/ipcore/IpCoreSupervisor.h"

#include <cstdio>
#include <thread>

struct GainMessage : IpCoreMessageBase
{
    GainMessage(uint32_t instance, int gainDb)
        : IpCoreMessageBase(7, instance) // kind 7: this example's audio cores
        , gain(gainDb)
    {
    }
    std::string toString() const override { return "gain " + std::to_string(gain) + " dB"; }
    int gain;
};

/// Serves one core; runs on the supervisor's thread.
struct AudioCore : IpCoreMessageProcessorBase
{
    uint32_t getIpCoreId() const override { return 7; }
    uint32_t getIpCoreInstance() const override { return 0; }
    void processMessage(IpCoreMessageSink& sink,
                        std::unique_ptr<IpCoreMessageBase>& message) override
    {
        const int wanted = static_cast<const GainMessage&>(*message).gain;
        sink.acceptMessage(std::make_unique<GainMessage>(0, wanted > 20 ? 20 : wanted));
    }
};

int main()
{
    IpCoreMessageExchange toCores("toCores", 16, 100), fromCores("fromCores", 16, 100);
    AudioCore core;
    IpCoreSupervisor supervisor(fromCores, toCores, {&core}, "audio", 1000);
    supervisor.startThread();

    toCores.acceptMessage(std::make_unique<GainMessage>(1, 3)); // no such core: dropped
    toCores.acceptMessage(std::make_unique<GainMessage>(0, 30));
    std::unique_ptr<IpCoreMessageBase> answer;
    while (!(answer = fromCores.takeMessage())) {
        std::this_thread::yield();
    }
    std::printf("core %u/%u: %s\n", answer->getIpCoreId(), answer->getIpCoreInstance(),
                answer->toString().c_str());
}
