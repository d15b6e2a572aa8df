#include "infrastructure/ipcore/IpCoreMessageExchange.h"
#include "infrastructure/ipcore/IpCoreSupervisor.h"
#include "infrastructure/ipcore/TestIpCoreMessageAdaptor.h"
#include "infrastructure/ipcore/TestIpCoreRoundJourneyTestMessage.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <thread>

namespace {

constexpr int64_t PERIOD_MS = 5;

class NumberedMessage : public TestIpCoreRoundJourneyTestMessage
{
public:
    NumberedMessage(uint32_t coreId, uint32_t coreInstance, uint32_t messageNumber)
        : TestIpCoreRoundJourneyTestMessage(coreId, coreInstance)
        , number(messageNumber)
    {
    }
    const uint32_t number;
};

/// Sends each message back as it is.
class EchoProcessor : public IpCoreMessageProcessorBase
{
public:
    EchoProcessor(uint32_t coreId, uint32_t coreInstance)
        : id(coreId)
        , instance(coreInstance)
    {
    }
    uint32_t getIpCoreId() const override { return id; }
    uint32_t getIpCoreInstance() const override { return instance; }
    void processMessage(IpCoreMessageSink& sink,
                        std::unique_ptr<IpCoreMessageBase>& message) override
    {
        sink.acceptMessage(std::move(message));
    }

private:
    uint32_t id;
    uint32_t instance;
};

/// What a supervisor takes from and gives to.
struct Exchanges
{
    void send(uint32_t id, uint32_t instance)
    {
        in.acceptMessage(std::make_unique<TestIpCoreRoundJourneyTestMessage>(id, instance));
    }
    IpCoreMessageExchange in{"in", 1000, 100};
    IpCoreMessageExchange out{"out", 8, 100};
};

/// Makes its passes on the thread that asks for them.
struct OnePass : IpCoreSupervisor
{
    using IpCoreSupervisor::IpCoreSupervisor;
    using IpCoreSupervisor::supervisorLoopStep;
};

/// Waits for the next message; null where none comes for long.
std::unique_ptr<IpCoreMessageBase> waitForMessage(IpCoreMessageSource& source)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < deadline) {
        if (auto message = source.takeMessage()) {
            return message;
        }
        std::this_thread::yield();
    }
    return nullptr;
}

/// Sends messages from one thread and takes them back on this one, both exchanges being full when
/// the taking begins.
void makeRoundJourneys(uint32_t count)
{
    IpCoreMessageExchange fromScheduler("messagesFromScheduler", 4, 100);
    IpCoreMessageExchange toScheduler("messagesToScheduler", 3, 100);
    EchoProcessor first(1, 0);
    EchoProcessor second(1, 9);
    EchoProcessor third(4000000000u, 0);
    IpCoreMessageProcessorBase* const processors[] = {&first, &second, &third};
    const LogCapture log;
    IpCoreSupervisor supervisor(toScheduler, fromScheduler, {&first, &second, &third}, "supervisor",
                                PERIOD_MS);
    supervisor.startThread();
    std::thread scheduler([&] {
        for (uint32_t i = 0; i < count; ++i) {
            const auto* to = processors[i % 3];
            fromScheduler.acceptMessage(
                std::make_unique<NumberedMessage>(to->getIpCoreId(), to->getIpCoreInstance(), i));
        }
    });
    while (fromScheduler.spaceAvailable() > 0 || toScheduler.spaceAvailable() > 0) {
        std::this_thread::yield();
    }

    uint32_t wrong = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const auto message = waitForMessage(toScheduler);
        const auto* numbered = dynamic_cast<const NumberedMessage*>(message.get());
        if (!numbered) {
            INFO("message " << i << " did not come back");
            REQUIRE(numbered);
        }
        wrong += numbered->number != i ||
                 numbered->getIpCoreInstance() != processors[i % 3]->getIpCoreInstance();
    }
    scheduler.join();
    supervisor.stopThread();
    CHECK(wrong == 0);
    CHECK_FALSE(toScheduler.hasMessage());
    CHECK_FALSE(fromScheduler.hasMessage());
    CHECK(log.lines() == lines({"info: Supervisor Thread started [supervisor]"}));
}

} // namespace

TEST_CASE("Messages reach the processor of their core, and its own come out", "[ipcore]")
{
    Exchanges exchanges;
    TestIpCoreMessageAdaptor adaptor(3);
    EchoProcessor other(2, 3);
    const LogCapture log;
    OnePass supervisor(exchanges.out, exchanges.in, {&adaptor, nullptr, &other}, "supervisor", 0);
    for (const auto& [id, instance] : {std::pair(0u, 3u), {0u, 4u}, {1u, 3u}, {2u, 4u}, {0u, 3u}}) {
        exchanges.send(id, instance);
    }
    CHECK(exchanges.in.spaceAvailable() == 995); // idle until it is started
    supervisor.supervisorLoopStep();
    CHECK(adaptor.getMessageCount() == 2);
    CHECK_FALSE(exchanges.in.hasMessage());
    const auto message = exchanges.out.takeMessage();
    const auto* test = dynamic_cast<const TestIpCoreMessage*>(message.get());
    REQUIRE(test);
    CHECK(test->toString() == "round journey, core 0 instance 3");
    CHECK(test->messageType == TestIpCoreMessage::MessageTypeRoundJourneyTestMessage);
    CHECK_FALSE(exchanges.out.hasMessage());
    CHECK(log.lines().isEmpty());
}

TEST_CASE("Processors generate in the order of core and instance", "[ipcore]")
{
    struct Generator : EchoProcessor
    {
        using EchoProcessor::EchoProcessor;
        void generateMessages(IpCoreMessageSink& sink) override
        {
            sink.acceptMessage(std::make_unique<TestIpCoreRoundJourneyTestMessage>(
                getIpCoreId(), getIpCoreInstance()));
        }
    };
    Exchanges exchanges;
    Generator a(2, 0);
    Generator b(1, 5);
    Generator c(1, 0);
    Generator again(2, 0);
    EchoProcessor silent(1, 2);
    const LogCapture log;
    OnePass supervisor(exchanges.out, exchanges.in, {&a, &silent, &b, &c, &again}, "supervisor", 0);
    CHECK(log.lines() ==
          lines({"error: IP core 2 instance 0 has two processors, using the later"}));
    exchanges.send(1, 2);
    supervisor.supervisorLoopStep();
    std::vector<std::string> order;
    while (const auto message = exchanges.out.takeMessage()) {
        order.push_back(message->toString());
    }
    CHECK(order == std::vector<std::string>{
                       "round journey, core 1 instance 2", "round journey, core 1 instance 0",
                       "round journey, core 1 instance 5", "round journey, core 2 instance 0"});
}

TEST_CASE("A busy input keeps a supervisor neither from generating nor from its end", "[ipcore]")
{
    struct Processor : EchoProcessor
    {
        using EchoProcessor::EchoProcessor;
        void processMessage(IpCoreMessageSink&, std::unique_ptr<IpCoreMessageBase>&) override
        {
            ++processed;
            if (stopAt == processed) {
                supervisor->stopThread();
            }
        }
        void generateMessages(IpCoreMessageSink&) override { generatedAt.push_back(processed); }
        IpCoreSupervisor* supervisor = nullptr;
        int stopAt = 0;
        int processed = 0;
        std::vector<int> generatedAt;
    };
    Exchanges exchanges;
    Processor processor(1, 0);
    IpCoreSupervisor supervisor(exchanges.out, exchanges.in, {&processor}, "supervisor",
                                60 * 60 * 1000);
    processor.supervisor = &supervisor;
    processor.stopAt = 700;
    for (int i = 0; i < 1000; ++i) {
        exchanges.send(1, 0);
    }
    supervisor.startThread();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (exchanges.in.spaceAvailable() < 700 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield(); // no pass sleeps while messages wait
    }
    supervisor.stopThread();
    CHECK(processor.processed == 700);
    CHECK(processor.generatedAt == std::vector<int>{256, 512});
    CHECK(exchanges.in.spaceAvailable() == 700);
}

TEST_CASE("A processor that throws is named in the log and the pass goes on", "[ipcore]")
{
    struct Thrower : EchoProcessor
    {
        using EchoProcessor::EchoProcessor;
        void generateMessages(IpCoreMessageSink&) override { throw std::runtime_error("no idea"); }
        void processMessage(IpCoreMessageSink&,
                            std::unique_ptr<IpCoreMessageBase>& message) override
        {
            const auto taken = keeps ? nullptr : std::move(message);
            keeps = false;
            throw std::runtime_error("no register");
        }
        bool keeps = true;
    };
    Exchanges exchanges;
    Thrower thrower(1, 2);
    EchoProcessor echo(2, 0);
    OnePass supervisor(exchanges.out, exchanges.in, {&thrower, &echo}, "supervisor", 0);
    exchanges.send(1, 2);
    exchanges.send(1, 2);
    exchanges.send(2, 0);
    const LogCapture log;
    supervisor.supervisorLoopStep();
    CHECK(exchanges.out.hasMessage());
    CHECK(log.lines() ==
          lines({"error: IP core 1 instance 2 could not process a message (round journey, core 1 "
                 "instance 2): no register",
                 "error: IP core 1 instance 2 could not process a message (which it has taken): no "
                 "register",
                 "error: IP core 1 instance 2 could not generate messages: no idea"}));
}

TEST_CASE("A supervisor that goes leaves its successor on the source told", "[ipcore]")
{
    struct Counting : IpCoreSupervisor
    {
        using IpCoreSupervisor::IpCoreSupervisor;
        void notify() override { ++count; }
        int count = 0;
    };
    Exchanges exchanges;
    const std::vector<IpCoreMessageProcessorBase*> none;
    auto first = std::make_unique<Counting>(exchanges.out, exchanges.in, none, "first", PERIOD_MS);
    exchanges.send(1, 0);
    CHECK(first->count == 1);
    Counting second(exchanges.out, exchanges.in, none, "second", PERIOD_MS);
    first.reset();
    exchanges.send(1, 0);
    CHECK(second.count == 1);
    {
        const Counting third(exchanges.out, exchanges.in, none, "third", PERIOD_MS);
    }
    exchanges.send(1, 0); // to nobody
    CHECK(second.count == 1);
}

TEST_CASE("No message is lost between full exchanges", "[ipcore]")
{
    makeRoundJourneys(20000);
}

TEST_CASE("A million messages pass between full exchanges without loss", "[ipcore][.][long]")
{
    makeRoundJourneys(1000000);
}
