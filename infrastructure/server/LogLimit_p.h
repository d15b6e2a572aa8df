// Keeps the log short when a peer decides how often something happens. One thread.
#pragma once

#include <QtGlobal>

#include <chrono>
#include <optional>
#include <utility>

/// Lets one line a second pass and counts the others.
class LogLimit
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// The number of lines left out since the last one that passed; nothing if this one is to be
    /// left out too.
    std::optional<quint64> admit(Time now)
    {
        if (last && now - *last < std::chrono::seconds(1)) {
            ++leftOut;
            return std::nullopt;
        }
        last = now;
        return takeLeftOut();
    }

    /// The lines left out since the last one that passed, for a line at the end.
    quint64 takeLeftOut() { return std::exchange(leftOut, 0); }

private:
    std::optional<Time> last;
    quint64 leftOut = 0;
};
