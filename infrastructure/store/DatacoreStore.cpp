#include "infrastructure/store/DatacoreStore.h"

#include "infrastructure/store/LeafDatabase_p.h"
#include "infrastructure/utility/Log.h"

#include <algorithm>
#include <chrono>
#include <utility>

DatacoreStore::DatacoreStore(const QString& file, int commitIntervalMs)
    : database(std::make_unique<LeafDatabase>(file))
    , interval(std::max(commitIntervalMs, 0))
{
    for (const QString& finding : database->getFindings()) {
        VELLOG_ERR() << finding;
    }
    thread = std::thread([this] { run(); });
}

DatacoreStore::~DatacoreStore()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isStopping = true;
    }
    wake.notify_one();
    thread.join();
}

const QStringList& DatacoreStore::getFindings() const
{
    return database->getFindings();
}

void DatacoreStore::readLeaves(const std::function<void(const Leaf&)>& take)
{
    database->read(take);
}

DatacoreStore::Ticket DatacoreStore::save(const std::vector<Leaf>& leaves)
{
    Ticket ticket = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        for (const Leaf& leaf : leaves) {
            waiting[leaf.path] = leaf.values;
        }
        ticket = ++issued;
    }
    wake.notify_one();
    return ticket;
}

void DatacoreStore::setListener(Listener newListener)
{
    const std::lock_guard<std::mutex> lock(listenerMutex);
    listener = std::move(newListener);
}

void DatacoreStore::forgetUnsaved()
{
    const std::lock_guard<std::mutex> lock(mutex);
    waiting.clear();
    isHalted = false;
}

void DatacoreStore::run()
{
    auto nextCommit = std::chrono::steady_clock::now();
    const auto hasWork = [this] { return !waiting.empty() && !isHalted; };
    std::unique_lock<std::mutex> lock(mutex);
    while (true) {
        wake.wait(lock, [&] { return isStopping || hasWork(); });
        wake.wait_until(lock, nextCommit, [this] { return isStopping; });
        if (!hasWork()) {
            if (isStopping) {
                return;
            }
            continue; // forgotten meanwhile
        }
        const std::map<QString, Values> batch = std::exchange(waiting, {});
        Outcome outcome{issued, true, QString()};
        lock.unlock();
        nextCommit = std::chrono::steady_clock::now() + interval;
        outcome.isDurable = database->write(batch, outcome.reason);
        lock.lock();
        isHalted = !outcome.isDurable; // before anybody hears of it
        lock.unlock();
        {
            const std::lock_guard<std::mutex> listenerLock(listenerMutex);
            if (listener) {
                listener(outcome);
            }
        }
        lock.lock();
    }
}
