// SPDX-License-Identifier: MIT
#pragma once

#include "regexp/PatternReader.h"
#include "regexp/Program.h"

namespace Tavrin::detail {

// Compiles a pattern into an empty program, with the flags set. False for a pattern with an error:
// the program has no atoms and a capture count of 0 then.
bool compilePattern(UnitView pattern, Program &program);

} // namespace Tavrin::detail
