// SPDX-License-Identifier: MIT
// The hashes of the names that are not read at once, or have other units than those of ASCII.
// Pinned by tests/containers/NameHashTest.cpp.
#include "containers/NameHash.h"

#include <algorithm>

namespace Tavrin::detail {

#if defined(__SSE2__)

const bool hasWideRegisters = (__builtin_cpu_init(), __builtin_cpu_supports("avx"));

#endif

namespace {

// Mixes up to `mostUnitsOfRun` units. They are made caseless first, so that a name has one hash
// whether it is read at once or not: other units may have an ASCII unit for their upper case.
std::uint64_t mixUnits(const unsigned short *units, std::size_t length, std::uint64_t salt)
{
    unsigned short caseless[mostUnitsOfRun] = {};
    copyUpper(units, caseless, static_cast<int>(length));
    for (unsigned short &unit : caseless)
        if (unit < lowestNonAscii)
            unit &= caselessAsciiBits;
    // The empty name is read as one unit 0, and differs from that by the salt.
    const RunPlaces places(std::max(length, std::size_t{1}));
    return mixSums(NameRun(caseless, places).sums(), salt);
}

} // namespace

unsigned chainHashOfAny(const unsigned short *units)
{
    unsigned hash = 0;
    for (int left = 5; left > 0 && *units != 0; --left, ++units)
        hash = toUpperUnit(*units) + 2 * hash;
    return hash;
}

unsigned nameHashOfAny(const unsigned short *units, std::size_t length)
{
    std::uint64_t salt = length;
    for (; length > mostUnitsOfRun; units += mostUnitsOfRun, length -= mostUnitsOfRun)
        salt = mixUnits(units, mostUnitsOfRun, salt);
    return static_cast<unsigned>(mixUnits(units, length, salt));
}

} // namespace Tavrin::detail
