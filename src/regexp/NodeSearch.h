// SPDX-License-Identifier: MIT
#pragma once

#include "regexp/Budget.h"
#include "regexp/Subject.h"

namespace Tavrin::detail {

// Searches by walking the tree of the program: any program, any subject. `start` lies in the
// subject, or is 0. The captures have to be unset; they are written as a match goes, and mean
// something after kMatch only.
template <class Budget>
MatchResult searchNodes(const Program &program, const Subject &subject, int start,
                        Capture *captures, Budget &budget);

} // namespace Tavrin::detail
