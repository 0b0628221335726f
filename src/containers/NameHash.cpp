// SPDX-License-Identifier: MIT
// The hashes of the names that NameHash.h does not read at once: short ones, long ones, and names
// with other units than those of ASCII, which are mapped to upper case first.
// Pinned by tests/containers/NameHashTest.cpp.
#include "containers/NameHash.h"

#include <iterator>

namespace Tavrin::detail {

namespace {

using Words = std::uint64_t[6];

// What a run of up to `mostUnitsAtOnce` units in upper case is read as; the same words as in
// nameHashOf.
void readWords(const unsigned short *units, std::size_t length, Words &words)
{
    if (isReadAtOnce(length)) {
        const std::size_t places[] = {0, middleBlockOf(length), lastBlockOf(length)};
        for (std::size_t block = 0; block < std::size(places); ++block) {
            words[2 * block] = loadWord(units + places[block]);
            words[2 * block + 1] = loadWord(units + places[block] + 4);
        }
    } else if (length >= 4) {
        words[0] = loadWord(units);
        words[1] = loadWord(units + length - 4);
    } else {
        std::memcpy(words, units, length * sizeof *units);
    }
}

std::uint64_t mixRun(const unsigned short *units, std::size_t length, std::uint64_t salt)
{
    unsigned short upper[mostUnitsAtOnce];
    copyUpper(units, upper, static_cast<int>(length));
    Words words = {};
    readWords(upper, length, words);
    const auto &[a, b, c, d, e, f] = words;
    if (((a | b | c | d | e | f) & nonAsciiBits) == 0)
        return mixBlocks(packCaseless(a, b), packCaseless(c, d), packCaseless(e, f), salt);
    return mixBlocks(a, c, e, mixBlocks(b, d, f, salt));
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
    for (; length > mostUnitsAtOnce; units += mostUnitsAtOnce, length -= mostUnitsAtOnce)
        salt += mixRun(units, mostUnitsAtOnce, salt);
    return static_cast<unsigned>(mixRun(units, length, salt));
}

} // namespace Tavrin::detail
