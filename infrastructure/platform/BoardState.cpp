#include "infrastructure/platform/BoardState_p.h"

namespace Tessorn {

static std::atomic<BoardState*> replacement{nullptr};

BoardState& BoardState::current()
{
    static BoardState real;
    BoardState* state = replacement;
    return state ? *state : real;
}

BoardState* BoardState::replace(BoardState* state)
{
    return replacement.exchange(state);
}

} // namespace Tessorn
