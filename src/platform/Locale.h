// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>

// The language and the country of the user's settings.
namespace Tavrin::platform {

// A code of two or three characters with a 0 behind it.
using LocaleCode = std::array<char, 8>;

// The ISO 639 language and the ISO 3166 country, in the case in which the system spells them;
// nothing when the system has none set. On POSIX they come from the first of the variables LC_ALL,
// LC_MESSAGES and LANG that is not empty, whatever locale the C library is in. Not while another
// thread changes the environment.
std::optional<LocaleCode> userLanguage();
std::optional<LocaleCode> userCountry();

} // namespace Tavrin::platform
