#include "infrastructure/ipcore/IpCoreMessageExchange.h"
#include "infrastructure/ipcore/TestIpCoreRoundJourneyTestMessage.h"
#include "infrastructure/utility/NotificationReceiverInterface.h"
#include "sw/infrastructure_test/Catch.h"

#include <QFile>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <thread>

namespace {

std::unique_ptr<IpCoreMessageBase> message(uint32_t instance)
{
    return std::make_unique<TestIpCoreRoundJourneyTestMessage>(7, instance);
}

template <typename Base>
struct Unaddressed : Base
{
    using Base::Base;
    std::string toString() const override { return std::string(); }
};

/// True if a thread of this process lies in a system call that waits.
bool isAsleep(long thread)
{
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(thread));
    return thread != 0 && file.open(QIODevice::ReadOnly) &&
           file.readAll().split(')').last().startsWith(" S");
}

} // namespace

TEST_CASE("A message without an address is for core 0, instance 0", "[ipcore]")
{
    const Unaddressed<IpCoreMessageBase> plain;
    const Unaddressed<TestIpCoreMessage> typed(
        TestIpCoreMessage::MessageTypeRoundJourneyTestMessage);
    const TestIpCoreRoundJourneyTestMessage journey;
    for (const IpCoreMessageBase* message :
         std::initializer_list<const IpCoreMessageBase*>{&plain, &typed, &journey}) {
        CHECK(message->getIpCoreId() == 0);
        CHECK(message->getIpCoreInstance() == 0);
    }
}

TEST_CASE("An exchange gives messages out in order and counts its space", "[ipcore]")
{
    IpCoreMessageExchange exchange("messagesFromScheduler", 3, 100);
    CHECK(exchange.getName() == "messagesFromScheduler");
    CHECK(exchange.capacity() == 3);
    CHECK_FALSE(exchange.hasMessage());
    CHECK(exchange.takeMessage() == nullptr);

    for (uint32_t i = 0; i < 3; ++i) {
        CHECK(exchange.spaceAvailable() == 3 - i);
        exchange.acceptMessage(message(i));
        CHECK(exchange.hasMessage());
    }
    CHECK(exchange.spaceAvailable() == 0);
    CHECK(exchange.capacity() == 3);
    for (uint32_t i = 0; i < 3; ++i) {
        const std::unique_ptr<IpCoreMessageBase> taken = exchange.takeMessage();
        REQUIRE(taken);
        CHECK(taken->getIpCoreId() == 7);
        CHECK(taken->getIpCoreInstance() == i);
    }
    CHECK(exchange.takeMessage() == nullptr);
    exchange.acceptMessage(nullptr);
    CHECK_FALSE(exchange.hasMessage());
}

TEST_CASE("A receiver is told of each message once it can be taken", "[ipcore]")
{
    struct Taker : NotificationReceiverInterface
    {
        void notify() override
        {
            ++calls;
            taken = source->takeMessage(); // under no lock of the exchange
        }
        IpCoreMessageSource* source = nullptr;
        int calls = 0;
        std::unique_ptr<IpCoreMessageBase> taken;
    };
    Taker first;
    Taker second;
    IpCoreMessageExchange exchange("exchange", 2, 100, &first);
    first.source = second.source = &exchange;

    exchange.acceptMessage(message(1));
    CHECK(first.calls == 1);
    REQUIRE(first.taken);
    CHECK(first.taken->getIpCoreInstance() == 1);

    exchange.setNotificationReceiver(&second);
    exchange.acceptMessage(message(2));
    exchange.clearNotificationReceiver(&first); // is not the receiver
    exchange.acceptMessage(message(3));
    CHECK((first.calls == 1 && second.calls == 2));
    exchange.clearNotificationReceiver(&second);
    exchange.acceptMessage(message(4));
    CHECK(exchange.takeMessage()->getIpCoreInstance() == 4);
    exchange.setNotificationReceiver(&second);
    exchange.setNotificationReceiver(nullptr);
    exchange.acceptMessage(message(5));
    CHECK((first.calls == 1 && second.calls == 2));
}

TEST_CASE("An offered message stays with its sender when there is no room in time", "[ipcore]")
{
    struct Counter : NotificationReceiverInterface
    {
        void notify() override { ++count; }
        int count = 0;
    };
    Counter receiver;
    IpCoreMessageExchange exchange("exchange", 1, 1000000, &receiver);
    std::unique_ptr<IpCoreMessageBase> offered = message(1);
    CHECK(exchange.offerMessage(offered, 0));
    CHECK_FALSE(offered);
    CHECK(exchange.offerMessage(offered, 0)); // nothing
    offered = message(2);
    CHECK_FALSE(exchange.offerMessage(offered, 1));
    REQUIRE(offered);
    CHECK(receiver.count == 1);
    auto waiting =
        std::async(std::launch::async, [&] { return exchange.offerMessage(offered, 1000000); });
    CHECK(exchange.takeMessage()->getIpCoreInstance() == 1);
    CHECK(waiting.get());
    CHECK(exchange.takeMessage()->getIpCoreInstance() == 2);
    CHECK(receiver.count == 2);
}

TEST_CASE("Senders that wait are released, and nobody waits after that", "[ipcore]")
{
    IpCoreMessageExchange exchange("exchange", 1, 1000000);
    exchange.acceptMessage(message(1));
    std::unique_ptr<IpCoreMessageBase> offered = message(3);
    std::atomic<long> sender{0};
    auto sending = std::async(std::launch::async, [&] {
        sender = ::syscall(SYS_gettid);
        exchange.acceptMessage(message(2));
    });
    auto offering =
        std::async(std::launch::async, [&] { return exchange.offerMessage(offered, 1000000); });
    while (!isAsleep(sender)) {
        std::this_thread::yield();
    }
    exchange.releaseSenders();
    sending.get();
    CHECK_FALSE(offering.get());
    CHECK(offered);
    exchange.acceptMessage(message(4));
    CHECK(exchange.takeMessage()->getIpCoreInstance() == 1);
    CHECK_FALSE(exchange.hasMessage()); // what found no room is lost
    exchange.acceptMessage(message(5));
    CHECK(exchange.takeMessage()->getIpCoreInstance() == 5);
}
