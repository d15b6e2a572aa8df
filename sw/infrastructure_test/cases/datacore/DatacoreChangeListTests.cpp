#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/DatacoreChangeList.h"
#include "sw/infrastructure_test/Catch.h"

#include <algorithm>
#include <random>

namespace {

/// The plain form of the same: a search for each entry.
void merge(std::vector<DatacoreBase*>& list, std::vector<DatacoreBase*>& other)
{
    for (DatacoreBase* node : other) {
        if (node != nullptr && std::find(list.begin(), list.end(), node) == list.end()) {
            list.push_back(node);
        }
    }
    other.clear();
}

} // namespace

TEST_CASE("A change list holds each node once, in the order of arrival", "[datacore]")
{
    constexpr int listCount = 4;
    std::vector<std::unique_ptr<DatacoreBase>> nodes;
    for (int i = 0; i < 200; ++i) {
        nodes.push_back(std::make_unique<DatacoreBase>(QString::number(i), nullptr));
    }
    DatacoreChangeList lists[listCount];
    std::vector<DatacoreBase*> expected[listCount];
    std::mt19937 random(3);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int step = 0; step < 20000; ++step) {
        const std::size_t to = below(listCount);
        switch (below(40)) {
        case 0:
            REQUIRE(lists[to].take() == expected[to]);
            expected[to].clear();
            break;
        case 1: {
            const std::size_t from = below(listCount);
            lists[to].mergeFrom(lists[from]);
            if (to != from) {
                merge(expected[to], expected[from]);
            }
            REQUIRE(lists[from].isEmpty() == expected[from].empty());
            break;
        }
        default: {
            // Few different nodes at some times, many at others.
            DatacoreBase* node = below(20) == 0 ? nullptr : nodes[below(step % 200 + 1)].get();
            DatacoreChangeList one(node);
            std::vector<DatacoreBase*> expectedOne{node};
            lists[to].mergeFrom(one);
            merge(expected[to], expectedOne);
            break;
        }
        }
        REQUIRE(lists[to].isEmpty() == expected[to].empty());
    }
    for (int i = 0; i < listCount; ++i) {
        REQUIRE(lists[i].take() == expected[i]);
        REQUIRE(lists[i].take().empty());
    }
}
