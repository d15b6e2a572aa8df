// A bounded queue between threads. Any number of threads may use one object.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

/// A first-in first-out queue that blocks its producers while it is full, and drops nothing before
/// endWaiting.
template <typename T>
class QueueMaxSizeThreadSafe
{
public:
    /// `size` is the maximum number of items (0 is taken as 1). `waitMs` is the length of one timed
    /// wait (0 is taken as 1), after which a blocked caller looks again and goes on waiting.
    QueueMaxSizeThreadSafe(std::string queueName, uint32_t size, uint32_t waitMs)
        : capacityHint(size)
        , waitTimeoutMs(std::max<uint32_t>(waitMs, 1))
        , maxSize(std::max<uint32_t>(size, 1))
        , name(std::move(queueName))
    {
    }
    QueueMaxSizeThreadSafe(const QueueMaxSizeThreadSafe&) = delete;
    QueueMaxSizeThreadSafe& operator=(const QueueMaxSizeThreadSafe&) = delete;
    virtual ~QueueMaxSizeThreadSafe() = default;

    /// The name given at construction.
    const std::string& getName() const { return name; }
    /// The maximum number of items.
    uint32_t getMaxSize() const { return maxSize; }

    /// The number of items at the moment; other threads may change it at any time.
    uint32_t getSize() const
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return static_cast<uint32_t>(items.size());
    }
    /// True if there are no items at the moment.
    bool isEmpty() const { return getSize() == 0; }

    /// Appends an item; blocks while the queue is full.
    void push(const T& item) { pushItem(item); }
    /// Appends an item by moving it; blocks while the queue is full.
    void push(T&& item) { pushItem(std::move(item)); }

    /// Appends an item by moving it, waiting for room for at most `mostMs`. False if there is none,
    /// or if waiting has been ended; the item stays as it was.
    bool tryPush(T& item, uint32_t mostMs)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(mostMs);
        {
            std::unique_lock<std::mutex> lock(mutex);
            if (!notFull.wait_until(lock, deadline,
                                    [this] { return hasRoom() || isWaitingOver; }) ||
                !hasRoom()) {
                return false;
            }
            items.push_back(std::move(item));
        }
        notEmpty.notify_one();
        return true;
    }

    /// Ends the waits for room, now and from now on: a push that finds the queue full drops its
    /// item.
    void endWaiting()
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            isWaitingOver = true;
        }
        notFull.notify_all();
    }

    /// Removes and returns the first item; blocks while the queue is empty.
    T pop()
    {
        std::unique_lock<std::mutex> lock(mutex);
        waitUntil(lock, notEmpty, [this] { return !items.empty(); });
        return takeFront(lock);
    }

    /// Removes and returns the first item, or returns nothing at once if there is none.
    std::optional<T> tryPop()
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (items.empty()) {
            return std::nullopt;
        }
        return takeFront(lock);
    }

private:
    template <typename Item>
    void pushItem(Item&& item)
    {
        {
            std::unique_lock<std::mutex> lock(mutex);
            waitUntil(lock, notFull, [this] { return hasRoom() || isWaitingOver; });
            if (!hasRoom()) {
                return;
            }
            items.push_back(std::forward<Item>(item));
        }
        notEmpty.notify_one();
    }

    bool hasRoom() const { return items.size() < maxSize; }

    template <typename Condition>
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& signal,
                   Condition condition)
    {
        while (!condition()) {
            signal.wait_for(lock, std::chrono::milliseconds(waitTimeoutMs));
        }
    }

    T takeFront(std::unique_lock<std::mutex>& lock)
    {
        T item = std::move(items.front());
        items.pop_front();
        lock.unlock();
        notFull.notify_one();
        return item;
    }

    uint32_t capacityHint; ///< the size as it was given
    uint32_t waitTimeoutMs;
    uint32_t maxSize; ///< the bound that push tests
    std::deque<T> items;
    bool isWaitingOver = false;
    mutable std::mutex mutex; ///< guards these two
    std::condition_variable notEmpty;
    std::condition_variable notFull;
    std::string name;
};
