// Messages through an IpCoreMessageExchange to a running supervisor, beside a bare queue with a
// mutex, a condition variable and a bare thread: how many per second, and how long it takes to wake
// a sleeper.
#include "bench/Compare.h"
#include "infrastructure/ipcore/IpCoreMessageExchange.h"
#include "infrastructure/ipcore/IpCoreSupervisor.h"
#include "infrastructure/ipcore/TestIpCoreRoundJourneyTestMessage.h"

#include <sched.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Message = std::unique_ptr<IpCoreMessageBase>;

constexpr uint32_t QUEUE_SIZE = 256;
constexpr uint32_t WAIT_MS = 100;
constexpr uint32_t MESSAGES = 100000; ///< in one measurement
constexpr int WAKE_UPS = 2000;        ///< in one measurement
constexpr int64_t PERIOD_MS = 20;     ///< limits what a missed wake-up costs

/// What the far end has received, and when it received the latest.
struct Arrivals
{
    std::atomic<uint32_t> count{0};
    std::atomic<Clock::rep> latest{0};

    void add()
    {
        latest.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
        count.fetch_add(1, std::memory_order_release);
    }
    void waitFor(uint32_t wanted) const
    {
        while (count.load(std::memory_order_acquire) != wanted) {
            std::this_thread::yield();
        }
    }
};

class Ours
{
public:
    Ours()
        : exchange("bench", QUEUE_SIZE, WAIT_MS)
        , replies("unused", 1, WAIT_MS)
        , processor(arrivals)
        , supervisor(replies, exchange, {&processor}, "bench", PERIOD_MS)
    {
        supervisor.startThread();
    }
    void send(Message message) { exchange.acceptMessage(std::move(message)); }

    Arrivals arrivals;

private:
    struct Processor : IpCoreMessageProcessorBase
    {
        explicit Processor(Arrivals& messageArrivals)
            : arrivals(messageArrivals)
        {
        }
        uint32_t getIpCoreId() const override { return 0; }
        uint32_t getIpCoreInstance() const override { return 0; }
        void processMessage(IpCoreMessageSink&, Message&) override { arrivals.add(); }
        Arrivals& arrivals;
    };

    IpCoreMessageExchange exchange;
    IpCoreMessageExchange replies;
    Processor processor;
    IpCoreSupervisor supervisor;
};

class Bare
{
public:
    Bare()
        : thread([this] { run(); })
    {
    }
    ~Bare()
    {
        send(nullptr); // the end
        thread.join();
    }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    void send(Message message)
    {
        {
            std::unique_lock<std::mutex> lock(mutex);
            notFull.wait(lock, [this] { return queue.size() < QUEUE_SIZE; });
            queue.push_back(std::move(message));
        }
        notEmpty.notify_one();
    }

    Arrivals arrivals;

private:
    void run()
    {
        for (;;) {
            std::unique_lock<std::mutex> lock(mutex);
            notEmpty.wait(lock, [this] { return !queue.empty(); });
            const Message message = std::move(queue.front());
            queue.pop_front();
            lock.unlock();
            notFull.notify_one();
            if (!message) {
                return;
            }
            arrivals.add();
        }
    }

    std::mutex mutex;
    std::condition_variable notEmpty;
    std::condition_variable notFull;
    std::deque<Message> queue;
    std::thread thread;
};

template <typename End>
void sendMany(End& end)
{
    const uint32_t wanted = end.arrivals.count + MESSAGES;
    for (uint32_t i = 0; i < MESSAGES; ++i) {
        end.send(std::make_unique<TestIpCoreRoundJourneyTestMessage>());
    }
    end.arrivals.waitFor(wanted);
}

void throughput(benchmark::State& state)
{
    Ours ours;
    Bare bare;
    bench::compare(
        state, 1 / 1.3, 1, [&] { sendMany(ours); }, [&] { sendMany(bare); });
    state.SetItemsProcessed(state.iterations() * MESSAGES);
}

/// Microseconds from sending a message to its arrival at a sleeping thread.
template <typename End>
double wakeUp(End& end)
{
    std::this_thread::sleep_for(std::chrono::microseconds(200)); // until it sleeps
    const uint32_t wanted = end.arrivals.count + 1;
    const auto sent = Clock::now();
    end.send(std::make_unique<TestIpCoreRoundJourneyTestMessage>());
    end.arrivals.waitFor(wanted);
    const Clock::time_point arrived{Clock::duration(end.arrivals.latest.load())};
    return std::chrono::duration<double, std::micro>(arrived - sent).count();
}

/// Keeps this thread, and those that it starts, on one processor: where the system places two
/// threads matters more than what they run.
class OneProcessor
{
public:
    OneProcessor()
    {
        ::sched_getaffinity(0, sizeof before, &before);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(::sched_getcpu(), &one);
        ::sched_setaffinity(0, sizeof one, &one);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() { ::sched_setaffinity(0, sizeof before, &before); }

private:
    cpu_set_t before;
};

double percentile(std::vector<double>& values, int percent)
{
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(values.size()) * percent / 100;
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

void wakeUpLatency(benchmark::State& state)
{
    const OneProcessor pinned;
    Ours ours;
    Bare bare;
    std::vector<double> oursTook;
    std::vector<double> bareTook;
    for (auto _ : state) {
        double total = 0;
        for (int i = 0; i < WAKE_UPS; ++i) {
            oursTook.push_back(wakeUp(ours));
            bareTook.push_back(wakeUp(bare));
            total += oursTook.back();
        }
        state.SetIterationTime(total / WAKE_UPS / 1e6);
    }
    state.counters["p50 us"] = percentile(oursTook, 50);
    state.counters["p99 us"] = percentile(oursTook, 99);
    state.counters["bare p50 us"] = percentile(bareTook, 50);
    state.counters["bare p99 us"] = percentile(bareTook, 99);
    state.counters["ratio"] = percentile(bareTook, 50) / percentile(oursTook, 50);
    state.counters["ratio p99"] = percentile(bareTook, 99) / percentile(oursTook, 99);
    state.counters["must"] = 1 / 1.3;
    state.counters["aim"] = 1;
}

BENCHMARK(throughput)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(wakeUpLatency)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(5);

} // namespace

BENCHMARK_MAIN();
