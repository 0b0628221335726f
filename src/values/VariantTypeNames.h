// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin::detail {

// The names of the kinds of value, by VariantType; a null pointer ends the table.
extern const char *const variantTypeNames[14];

} // namespace Tavrin::detail
