// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/String.h>

namespace Tavrin::detail {

// The locale of the user's system, fitted to the language files that hosts ship. Never empty.
String fittedSystemLocale();

} // namespace Tavrin::detail
