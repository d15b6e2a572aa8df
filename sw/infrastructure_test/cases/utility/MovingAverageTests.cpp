#include "infrastructure/utility/MovingAverage.h"
#include "sw/infrastructure_test/Catch.h"

#include <cstdint>
#include <deque>
#include <limits>
#include <numeric>
#include <random>

TEMPLATE_TEST_CASE("A moving average is the mean of the latest samples", "[utility]", int32_t,
                   int64_t, uint32_t, uint64_t, float, double)
{
    // Small whole numbers, so that sums are exact in every type; checked against a plain window.
    std::mt19937 random(7);
    std::uniform_int_distribution<int> sample(0, 100);
    std::uniform_int_distribution<int> size(0, 9);

    MovingAverage<TestType> average(5);
    std::size_t window = 5;
    std::deque<TestType> held;
    CHECK(average.getCurrentAverage() == TestType(0));
    for (int i = 0; i < 2000; ++i) {
        if (i % 7 == 6) {
            const auto newSize = static_cast<std::size_t>(size(random));
            average.setWindowSize(newSize);
            window = std::max<std::size_t>(newSize, 1);
        } else {
            const auto value = static_cast<TestType>(sample(random));
            average.addSample(value);
            held.push_back(value);
        }
        while (held.size() > window) {
            held.pop_front();
        }
        const TestType sum = std::accumulate(held.begin(), held.end(), TestType(0));
        REQUIRE(average.getCurrentAverage() == sum / static_cast<TestType>(held.size()));
    }
}

TEST_CASE("Integer averages truncate towards zero and survive a sum that wraps on its way",
          "[utility]")
{
    MovingAverage<int32_t> average(3);
    for (const int value : {8, 8, 8}) {
        CHECK(average.addSample(value) == 8);
    }
    CHECK(average.addSample(9) == 8);
    CHECK(average.addSample(0) == 5);

    MovingAverage<int32_t> negative(2);
    negative.addSample(-1);
    CHECK(negative.addSample(-2) == -1);

    constexpr int32_t largest = std::numeric_limits<int32_t>::max();
    MovingAverage<int32_t> wrapping(2);
    wrapping.addSample(largest);
    wrapping.addSample(largest); // the sum is beyond the type here
    wrapping.addSample(-largest);
    CHECK(wrapping.getCurrentAverage() == 0);
}

TEST_CASE("Averages of channels take samples in order and stop at the shortest", "[utility]")
{
    MovingAverages<int32_t> averages(6, 2);
    CHECK(averages.getCurrentAverages() == std::vector<int32_t>{0, 0, 0, 0, 0, 0});
    averages.addSamples({0, 1, 2, 3, 4, 5});
    CHECK(averages.getCurrentAverages() == std::vector<int32_t>{0, 1, 2, 3, 4, 5});
    averages.addSamples({2, 3});
    CHECK(averages.getCurrentAverages() == std::vector<int32_t>{1, 2, 2, 3, 4, 5});
    averages.addSamples({4, 5, 6, 7, 8, 9, 1000});
    CHECK(averages.getCurrentAverages() == std::vector<int32_t>{3, 4, 4, 5, 6, 7});
}
