// SPDX-License-Identifier: MIT
// The hashes of the names that are not read at once, or have other units than those of ASCII.
// Pinned by tests/containers/NameHashTest.cpp.
#include "containers/NameHash.h"

#include <algorithm>

namespace Tavrin::detail {

#if defined(__SSE2__) && !defined(__AVX__)

const bool hasWideRegisters = (__builtin_cpu_init(), __builtin_cpu_supports("avx"));

#endif

namespace {

std::uint64_t sumsOf(const unsigned short *units, std::size_t length)
{
    const NamePlaces places(length);
    return ShortName::fits(length) ? ShortName(units, places).sums()
                                   : NameRun(units, places).sums();
}

// Mixes up to `mostUnitsOfRun` units. They are made caseless first, so that a name has one hash
// whether it is read at once or not: other units may have an ASCII unit for their upper case. Upper
// bytes are mixed in where there are any.
std::uint64_t mixUnits(const unsigned short *units, std::size_t length, std::uint64_t salt)
{
    unsigned short low[mostUnitsOfRun] = {};
    unsigned short high[mostUnitsOfRun] = {};
    copyUpper(units, low, static_cast<int>(length));
    unsigned all = 0;
    for (std::size_t at = 0; at < length; ++at) {
        const unsigned unit = low[at];
        all |= unit;
        const unsigned kept = unit < lowestNonAscii ? caselessAsciiBits : 0xFF;
        low[at] = static_cast<unsigned short>(unit & kept);
        high[at] = static_cast<unsigned short>(unit >> 8);
    }
    // The empty name is read as one unit 0, and differs from that by the salt.
    const std::size_t read = std::max(length, std::size_t{1});
    const std::uint64_t mixed = mixSums(sumsOf(low, read), salt);
    return all > 0xFF ? mixSums(sumsOf(high, read), mixed) : mixed;
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
