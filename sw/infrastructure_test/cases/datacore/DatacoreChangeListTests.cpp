#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/DatacoreChangeList.h"
#include "sw/infrastructure_test/Catch.h"

#include <algorithm>
#include <deque>
#include <random>
#include <utility>

TEST_CASE("A change list holds each node once, in the order of arrival", "[datacore]")
{
    using Nodes = std::vector<DatacoreBase*>;
    std::deque<DatacoreBase> nodes;
    for (int i = 0; i < 200; ++i) {
        nodes.emplace_back(QString::number(i), nullptr);
    }
    DatacoreChangeList lists[4];
    Nodes expected[4];
    // The plain form of the same: a search for each entry.
    const auto merge = [](Nodes& list, Nodes& other) {
        for (DatacoreBase* node : std::exchange(other, {})) {
            if (node != nullptr && std::find(list.begin(), list.end(), node) == list.end()) {
                list.push_back(node);
            }
        }
    };
    std::mt19937 random(3);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int step = 0; step < 20000; ++step) {
        const std::size_t to = below(4), from = below(4), action = below(40);
        if (action == 0) {
            REQUIRE(lists[to].take() == std::exchange(expected[to], {}));
        } else if (action == 1) { // of a list with itself, too
            lists[to].mergeFrom(lists[from]);
            merge(expected[to], expected[from]);
            REQUIRE(lists[from].isEmpty() == expected[from].empty());
        } else { // few different nodes at some times, many at others
            Nodes one{below(20) == 0 ? nullptr : &nodes[below(step % 200 + 1)]};
            DatacoreChangeList list(one[0]);
            lists[to].mergeFrom(list);
            merge(expected[to], one);
        }
        REQUIRE(lists[to].isEmpty() == expected[to].empty());
    }
    for (int i = 0; i < 4; ++i) {
        REQUIRE(lists[i].take() == expected[i]);
        REQUIRE(lists[i].take().empty());
    }
}
