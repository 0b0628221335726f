// SPDX-License-Identifier: MIT
// The single-byte routines for any processor, and the choice between the sets.
//
// The portable set is the rules of SingleByteRules.h, character by character, and is what the
// others are measured by. Pinned by tests/encoders/SingleByteTest.cpp.
#include "encoders/SingleByte.h"

#include "encoders/SingleByteLoops.h"

namespace Tavrin::detail {
namespace {

template <class Rules>
constexpr SingleByteRoutines routines = {decodeSingleBytes<Rules, NoBlocks>,
                                         encodeSingleBytes<Rules, NoBlocks>};

constexpr SingleByteSet portable = {routines<AsciiRules>, routines<BinaryRules>,
                                    routines<Cp1252Rules<false>>, routines<Cp1252Rules<true>>,
                                    routines<MacRomanRules>};

const SingleByteSet &bestSet() noexcept
{
    if (const SingleByteSet *set = avx2SingleByteSet())
        return *set;
    if (const SingleByteSet *set = sse2SingleByteSet())
        return *set;
    return portable;
}

} // namespace

const SingleByteSet *portableSingleByteSet() noexcept
{
    return &portable;
}

constinit SingleByteSet activeSingleByteSet = portable;

namespace {

[[maybe_unused]] const bool isChosen = (activeSingleByteSet = bestSet(), true);

} // namespace
} // namespace Tavrin::detail
