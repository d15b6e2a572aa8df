// Two ways of doing the same work, measured alternately in one run.
#pragma once

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

/// Keeps freed memory in the process, as one that handles frame after frame would. Otherwise rows
/// with large results would measure how the system clears pages.
inline void keepFreedMemory()
{
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

/// The seconds that a call takes.
template <typename Work>
double seconds(Work&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values)
{
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs `ours` and `peer` alternately. The row's time is ours. Its counters are "ratio", our speed
/// over the peer's (median over the pairs; above 1 is faster), and the limits it is held to.
template <typename Ours, typename Peer>
void compare(benchmark::State& state, double must, double aim, Ours&& ours, Peer&& peer)
{
    std::vector<double> ratios;
    for (auto _ : state) {
        const double oursTook = seconds(ours);
        const double peerTook = seconds(peer);
        state.SetIterationTime(oursTook);
        ratios.push_back(peerTook / oursTook);
    }
    state.counters["ratio"] = median(std::move(ratios));
    state.counters["must"] = must;
    state.counters["aim"] = aim;
}

} // namespace bench
