#include "infrastructure/utility/QueueMaxSizeThreadSafe.h"
#include "sw/infrastructure_test/Catch.h"

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

TEST_CASE("A full queue blocks its producer until a consumer makes room", "[utility]")
{
    QueueMaxSizeThreadSafe<int> queue("full", 2, 1);
    queue.push(1);
    queue.push(2);
    std::promise<void> started;
    std::atomic<bool> pushed{false};
    std::thread producer([&] {
        started.set_value();
        queue.push(3); // looks again after each timed wait, and stays
        pushed = true;
    });
    started.get_future().wait();
    CHECK_FALSE(pushed);
    CHECK(queue.getSize() == 2);
    CHECK(queue.pop() == 1);
    producer.join();
    CHECK(pushed);
    CHECK(queue.pop() == 2);
    CHECK(queue.pop() == 3);
    CHECK(queue.isEmpty());
    CHECK_FALSE(queue.tryPop().has_value());
}

TEST_CASE("An empty queue blocks its consumer until there is an item", "[utility]")
{
    QueueMaxSizeThreadSafe<std::unique_ptr<int>> queue("empty", 1, 1000000);
    auto consumed = std::async(std::launch::async, [&] { return *queue.pop(); });
    queue.push(std::make_unique<int>(5));
    CHECK(consumed.get() == 5);
    CHECK(queue.getName() == "empty");
}

TEST_CASE("Nothing is lost or changes order between many producers and consumers", "[utility]")
{
    constexpr int producers = 3;
    constexpr int consumers = 3;
    constexpr int each = 5000;
    QueueMaxSizeThreadSafe<int> queue("busy", 4, 1000000);
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&queue, p] {
            for (int i = 0; i < each; ++i) {
                queue.push(p * each + i);
            }
        });
    }
    std::vector<std::vector<int>> taken(consumers);
    std::atomic<bool> overfull{false};
    for (auto& mine : taken) {
        threads.emplace_back([&queue, &mine, &overfull] {
            for (int i = 0; i < producers * each / consumers; ++i) {
                overfull = overfull || queue.getSize() > 4;
                mine.push_back(queue.pop());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<int> seen(producers * each, 0);
    for (const auto& mine : taken) {
        std::vector<int> latest(producers, -1);
        for (const int item : mine) {
            ++seen[static_cast<std::size_t>(item)];
            int& before = latest[static_cast<std::size_t>(item / each)];
            REQUIRE(item > before); // one producer's items come in its order
            before = item;
        }
    }
    CHECK(seen == std::vector<int>(producers * each, 1));
    CHECK_FALSE(overfull);
}
