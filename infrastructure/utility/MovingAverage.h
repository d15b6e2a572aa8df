// The average of the latest samples of one channel, and of a group of channels. Values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <vector>

/// The mean of the latest `windowSize` samples. The window starts empty: the first sample is its
/// own average. Integers are divided towards zero (8, 8, 9 => 8); the sum is kept in `T` and wraps
/// around if it does not fit. Floating-point sums drift, since they are only updated and never
/// summed afresh.
template <typename T>
class MovingAverage
{
public:
    /// A window of 0 is taken as 1.
    explicit MovingAverage(std::size_t window)
        : windowSize(std::max<std::size_t>(window, 1))
    {
    }

    /// The average so far, 0 before the first sample.
    T getCurrentAverage() const { return currentAverage; }

    /// Takes a sample, which replaces the oldest once the window is full, and returns the average.
    T addSample(T value)
    {
        if (samples.size() == windowSize) {
            sum = wrappingSubtract(sum, samples[oldestIndex]);
            samples[oldestIndex] = value;
            oldestIndex = oldestIndex + 1 == windowSize ? 0 : oldestIndex + 1;
        } else {
            samples.push_back(value);
        }
        sum = wrappingAdd(sum, value);
        return updateAverage();
    }

    /// Changes the window; 0 is taken as 1. If it becomes smaller than the number of samples held,
    /// the newest are kept and averaged afresh.
    void setWindowSize(std::size_t newSize)
    {
        newSize = std::max<std::size_t>(newSize, 1);
        if (newSize == windowSize) {
            return;
        }
        const auto oldest = samples.begin() + static_cast<std::ptrdiff_t>(oldestIndex);
        std::rotate(samples.begin(), oldest, samples.end());
        oldestIndex = 0;
        windowSize = newSize;
        if (samples.size() > newSize) {
            samples.erase(samples.begin(), samples.end() - static_cast<std::ptrdiff_t>(newSize));
            sum = T(0);
            for (const T sample : samples) {
                sum = wrappingAdd(sum, sample);
            }
            updateAverage();
        }
    }

private:
    // Signed sums go through the unsigned type, where overflow is defined.
    static T wrappingAdd(T a, T b)
    {
        if constexpr (std::is_integral_v<T>) {
            using Unsigned = std::make_unsigned_t<T>;
            return static_cast<T>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b));
        } else {
            return a + b;
        }
    }

    static T wrappingSubtract(T a, T b)
    {
        if constexpr (std::is_integral_v<T>) {
            using Unsigned = std::make_unsigned_t<T>;
            return static_cast<T>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
        } else {
            return a - b;
        }
    }

    T updateAverage()
    {
        currentAverage = sum / static_cast<T>(samples.size());
        return currentAverage;
    }

    T sum = T(0);
    T currentAverage = T(0);
    std::size_t oldestIndex = 0; ///< the next sample to be replaced once the window is full
    std::size_t windowSize;
    std::vector<T> samples; ///< grows up to windowSize, then a ring
};

/// One moving average for each channel.
template <typename T>
class MovingAverages
{
public:
    MovingAverages(std::size_t channelCount, std::size_t windowSize)
        : channels(channelCount, MovingAverage<T>(windowSize))
        , currentAverages(channelCount, T(0))
    {
    }

    /// The latest average of each channel.
    const std::vector<T>& getCurrentAverages() const { return currentAverages; }

    /// Gives each channel its sample, in order. Extra samples are ignored; channels without a
    /// sample stay as they are.
    void addSamples(const std::vector<T>& samples)
    {
        const std::size_t count = std::min(samples.size(), channels.size());
        for (std::size_t i = 0; i < count; ++i) {
            currentAverages[i] = channels[i].addSample(samples[i]);
        }
    }

private:
    std::vector<MovingAverage<T>> channels;
    std::vector<T> currentAverages;
};
