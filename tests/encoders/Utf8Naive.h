// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "encoders/Converted.h"
#include "encoders/Utf8.h"

namespace Tavrin::test {

// The UTF-8 rules once more, in the words of a table and without any haste.
Decoded decodeNaively(std::string_view bytes, int room);
Encoded encodeNaively(std::u16string_view units, int room);
detail::Measure countUnitsNaively(std::string_view bytes);
detail::Measure countBytesNaively(std::u16string_view units);

// The UTF-8 form of a scalar value, and its one or two units.
std::string utf8Of(char32_t scalar);
std::u16string unitsOf(char32_t scalar);

struct NamedRoutines
{
    const char *name;
    const detail::Utf8Routines *routines;
};

// The sets that this processor has, the best one last.
const std::vector<NamedRoutines> &utf8RoutineSets();

// Whether all sets convert as the naive rules do; where not, a test failure tells which.
bool decodesAlike(std::string_view bytes, int room);
bool encodesAlike(std::u16string_view units, int room);

} // namespace Tavrin::test
