// SPDX-License-Identifier: MIT
#pragma once

#include "containers/Growing.h"

namespace Tavrin::detail {

// CycleWatch: notices that the choices of an atom have come back to where they were, in constant
// memory. The search is deterministic, so it would go round for ever.
//
// Brent's way: an anchor is moved to the present state after 1, 2, 4, ... retries, and a state that
// equals it closes a circle, whose length is known then. By that time the search may be some rounds
// past the first state that came twice. Where that can be seen, because captures differ along the
// circle, the search goes back to its first state and runs once more as two, taking turns, one the
// length of the circle ahead of the other: they meet in the state that is the first to come twice.
// Pinned by tests/regexp/CycleWatchTest.cpp and CycleTest.cpp.
class CycleWatch
{
public:
    // A state is a run of words. The watches of the atoms of a sequence share one list for theirs.
    using Memory = Growing<int, 64>;

    enum class Answer
    {
        goOn,
        goOnFromOther, // the state was exchanged
        cameBack,
    };

    CycleWatch() = default;
    // Begins with the present state.
    CycleWatch(Memory &memory, const int *state, int itsSize);

    // Takes the state after one more retry.
    Answer follow(Memory &memory, int *state, bool isExactStateNeeded);

    // Gives its words back; the last watch first.
    void end(Memory &memory) const { memory.cut(offset); }

private:
    enum class Phase
    {
        watching,
        runningAhead,
        follower, // whose turn it is
        leader,
    };

    Answer watch(Memory &memory, int *state, bool isExactStateNeeded);
    Answer compareAndGoOn(Memory &memory, int *state);
    int *follower(Memory &memory) const { return memory.data() + offset; }
    int *leader(Memory &memory) const { return memory.data() + offset + size; }

    int size = 0;
    int offset = 0; // of the first state, or the follower's, and of the anchor, or the leader's
    Phase phase = Phase::watching;
    long long taken = 0;
    long long untilNextAnchor = 1;
    long long circleLength = 0;
};

} // namespace Tavrin::detail
