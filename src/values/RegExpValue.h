// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Variant.h>

// What values do with regular expressions.
namespace Tavrin::detail {

// A heap copy, or null without memory.
RegExp *copyRegExp(const RegExp &expression) noexcept;
void deleteRegExp(RegExp *expression) noexcept;
// The pattern; empty for null.
const String &patternOf(const RegExp *expression) noexcept;

} // namespace Tavrin::detail
