// SPDX-License-Identifier: MIT
#pragma once

#include "encoders/Utf8Steps.h"

namespace Tavrin::detail {

// Run a conversion to its end: runs of ASCII by vectors, everything else step by step. The sets
// for wider vectors end with these. The state comes by value, so that the compiler knows that no
// store goes to it.
Conversion finishDecoding(Utf8Decoding decoding) noexcept;
Conversion finishEncoding(Utf8Encoding encoding) noexcept;

} // namespace Tavrin::detail
