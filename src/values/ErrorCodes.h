// SPDX-License-Identifier: MIT
#pragma once

// The error codes that values give.
namespace Tavrin::detail {

inline constexpr int errorNotAnObject = 21;  // "%1 is not an object"
inline constexpr int errorOutOfRange = 41;   // "%1 is out of range"
inline constexpr int errorTypeMismatch = 47; // "Data type mismatch"

} // namespace Tavrin::detail
