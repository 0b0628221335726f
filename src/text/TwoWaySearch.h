// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin::detail {

// The index of the first or last occurrence of a pattern of at least one unit, or -1. At most about
// 2 n + m comparisons and no storage, whatever text and pattern are.
[[nodiscard]] int twoWaySearch(const unsigned short *text, int n, const unsigned short *pattern,
                               int m) noexcept;
[[nodiscard]] int twoWaySearchReverse(const unsigned short *text, int n,
                                      const unsigned short *pattern, int m) noexcept;

} // namespace Tavrin::detail
