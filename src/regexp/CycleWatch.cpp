// SPDX-License-Identifier: MIT
#include "regexp/CycleWatch.h"

#include <algorithm>

namespace Tavrin::detail {

CycleWatch::CycleWatch(Memory &memory, const int *state, int itsSize)
    : size(itsSize), offset(memory.extend(2 * itsSize))
{
    std::copy_n(state, size, follower(memory));
    std::copy_n(state, size, leader(memory));
}

CycleWatch::Answer CycleWatch::follow(Memory &memory, int *state, bool isExactStateNeeded)
{
    switch (phase) {
    case Phase::watching:
        return watch(memory, state, isExactStateNeeded);
    case Phase::runningAhead:
        if (++taken < circleLength)
            return Answer::goOn;
        break;
    case Phase::follower:
        std::copy_n(state, size, follower(memory));
        std::copy_n(leader(memory), size, state);
        phase = Phase::leader;
        return Answer::goOnFromOther;
    case Phase::leader:
        break;
    }
    std::copy_n(state, size, leader(memory));
    return compareAndGoOn(memory, state);
}

CycleWatch::Answer CycleWatch::watch(Memory &memory, int *state, bool isExactStateNeeded)
{
    ++taken;
    if (std::equal(state, state + size, leader(memory))) {
        if (!isExactStateNeeded)
            return Answer::cameBack;
        circleLength = taken;
        taken = 0;
        phase = Phase::runningAhead;
        std::copy_n(follower(memory), size, state);
        return Answer::goOnFromOther;
    }
    if (taken == untilNextAnchor) {
        std::copy_n(state, size, leader(memory));
        untilNextAnchor *= 2;
        taken = 0;
    }
    return Answer::goOn;
}

CycleWatch::Answer CycleWatch::compareAndGoOn(Memory &memory, int *state)
{
    if (std::equal(state, state + size, follower(memory)))
        return Answer::cameBack;
    std::copy_n(follower(memory), size, state);
    phase = Phase::follower;
    return Answer::goOnFromOther;
}

} // namespace Tavrin::detail
