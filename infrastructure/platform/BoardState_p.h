// What has been learnt about the board, or opened on it, and is kept between calls.
#pragma once

#include <array>
#include <atomic>

namespace Tessorn {

/// The state of the board of this process. Only tests put another in its place.
struct BoardState
{
    /// The state in use.
    static BoardState& current();
    /// Installs a test's state, or the real one again (null). Returns the previous one.
    static BoardState* replace(BoardState* state);

    /// The ids strapped on the boards' pins, by index; -1 if not known.
    std::array<std::atomic<int>, 4> hardwareIds{-1, -1, -1, -1};
    int watchdogDescriptor = -1;
};

} // namespace Tessorn
