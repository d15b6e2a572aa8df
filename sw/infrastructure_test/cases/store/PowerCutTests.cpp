// The promise of the store, held against a disk that loses power and fills up at any call.
#include "infrastructure/store/DatacoreStore.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/FaultyDisk.h"

#include <QTemporaryDir>

#include <condition_variable>
#include <mutex>
#include <random>

namespace {

constexpr int PAIRS = 6;

/// A store on the disk, and what it has told.
struct Watched
{
    explicit Watched(const QString& file)
        : store(file, 0)
    {
        store.readLeaves(
            [this](const DatacoreStoreInterface::Leaf& leaf) { values[leaf.path] = leaf.values; });
        store.setListener([this](const DatacoreStoreInterface::Outcome& outcome) {
            const std::lock_guard<std::mutex> lock(mutex);
            (outcome.isDurable ? durable : failed) = outcome.upTo;
            told.notify_one();
        });
    }
    ~Watched() { store.setListener(nullptr); }

    /// True once it is durable, false if it is not going to be.
    bool wait(DatacoreStoreInterface::Ticket ticket)
    {
        std::unique_lock<std::mutex> lock(mutex);
        REQUIRE(told.wait_for(lock, std::chrono::seconds(60),
                              [&] { return durable >= ticket || failed > 0; }));
        return durable >= ticket;
    }
    bool hasFailed()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return failed > 0;
    }

    DatacoreStore store;
    std::map<QString, DatacoreStoreInterface::Values> values;
    std::mutex mutex;
    std::condition_variable told;
    DatacoreStoreInterface::Ticket durable = 0;
    DatacoreStoreInterface::Ticket failed = 0;
};

/// A save is one pair of leaves with the same number, and some ballast that fills pages.
std::vector<DatacoreStoreInterface::Leaf> pairOf(int pair, int value, int ballast)
{
    return {{"a%1"_s.arg(pair), {QString::number(value), QString(ballast, QLatin1Char('x'))}},
            {"b%1"_s.arg(pair), {QString::number(value)}}};
}

/// Cuts the power that often, at random instants of saves of all sizes.
void cutPower(int cuts, unsigned seed)
{
    const QTemporaryDir folder; // stays empty
    const QString file = folder.filePath("store"_s);
    FaultyDisk disk(seed);
    std::mt19937 random(seed);
    const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
    std::array<int, PAIRS> durable{}; // what was acknowledged
    std::array<int, PAIRS> issued{};
    int acknowledged = 0;
    for (int cut = 0; cut < cuts; ++cut) {
        INFO("cut " << cut << " of seed " << seed);
        // Sometimes in the middle of opening, sometimes after the log was worked into the file.
        const int calls = below(4) == 0 ? below(30) : below(below(20) == 0 ? 4000 : 300);
        disk.cutAfter(calls);
        {
            Watched watched(file);
            while (!watched.hasFailed()) {
                const int pair = below(PAIRS);
                const int value = ++issued[std::size_t(pair)];
                const auto ticket =
                    watched.store.save(pairOf(pair, value, below(8) == 0 ? below(30'000) : 10));
                // Waiting for each would never put two into one transaction.
                if (below(3) != 0 && watched.wait(ticket)) {
                    durable[std::size_t(pair)] = value;
                    ++acknowledged;
                }
            }
        }
        disk.restart();
        Watched restored(file);
        REQUIRE(restored.store.getFindings().isEmpty());
        for (int pair = 0; pair < PAIRS; ++pair) {
            const int value = restored.values["a%1"_s.arg(pair)].value(0).toInt();
            REQUIRE(value >= durable[std::size_t(pair)]);
            REQUIRE(value <= issued[std::size_t(pair)]);
            REQUIRE(restored.values["b%1"_s.arg(pair)].value(0).toInt() == value);
            durable[std::size_t(pair)] = value; // it is not lost later either
        }
    }
    CHECK(acknowledged > cuts);
    CHECK(QDir(folder.path()).isEmpty());
}

} // namespace

TEST_CASE("A power cut at any instant leaves what was acknowledged", "[store]")
{
    cutPower(200, 1);
}

TEST_CASE("Thousands of power cuts leave what was acknowledged", "[store][.][long]")
{
    for (unsigned seed = 2; seed < 22; ++seed) {
        cutPower(300, seed);
    }
}

TEST_CASE("A disk that is full at any call costs saves, not values", "[store]")
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("store"_s);
    int failures = 0;
    for (int call = 0; call < 60; ++call) {
        INFO("full from call " << call);
        FaultyDisk disk(1);
        disk.fillUp(call, 1 + call % 7);
        int durable = 0;
        {
            Watched watched(file);
            for (int value = 1; value <= 20; ++value) {
                if (watched.wait(watched.store.save(pairOf(0, value, 5000)))) {
                    durable = value;
                } else {
                    ++failures;
                    watched.failed = 0;
                    watched.store.forgetUnsaved();
                }
            }
            CHECK(durable == 20); // there is space again
        }
        disk.restart();
        const Watched restored(file);
        CHECK(restored.store.getFindings().isEmpty());
        CHECK(restored.values.at("a0"_s).value(0).toInt() == durable);
    }
    CHECK(failures > 60);
}
