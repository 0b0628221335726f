// SPDX-License-Identifier: MIT
#pragma once

#include "regexp/Budget.h"
#include "regexp/Subject.h"

namespace Tavrin::detail {

// Finds out whether a complete program is a chain, and how its searches begin. A chain is a
// sequence of simple atoms, runs and choices of literals, within groups that always take part.
// There the search over the nodes tries the same in the same order as a plain backtracker does, and
// no capture of an earlier attempt can be seen.
void planChain(Program &program);

// What searchNodes gives, for a chain.
template <class Budget>
MatchResult searchChain(const Program &program, const Subject &subject, int start,
                        Capture *captures, Budget &budget);

} // namespace Tavrin::detail
