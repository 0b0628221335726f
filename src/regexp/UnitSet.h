// SPDX-License-Identifier: MIT
#pragma once

#include "containers/Growing.h"

namespace Tavrin::detail {

// A range of code units, both ends included.
struct SetRange
{
    unsigned short first;
    unsigned short last;
};

using RangeList = Growing<SetRange, 8>;

// UnitSet: the code units that a class or a shorthand accepts, with its negation and the flag for
// case applied. Units below 256 are looked up in a table; the others in the ranges.
struct UnitSet
{
    bool accepts[256];
    const SetRange *ranges; // in order and apart, of the members before folding and negation
    int rangeCount;
    bool isNegated;
    bool ignoresCase;

    bool has(unsigned short unit) const { return unit < 256 ? accepts[unit] : hasHigh(unit); }
    bool hasHigh(unsigned short unit) const;
};

// Puts ranges in order and joins those that touch or overlap; returns how many are left.
int normalizeRanges(SetRange *ranges, int count);

// A set over ranges that normalizeRanges has put in order, which have to stay where they are.
UnitSet makeUnitSet(const SetRange *ranges, int rangeCount, bool isNegated, bool ignoresCase);

// The members of \d, \s and \w, or, for a letter in upper case, all the other units.
void appendShorthand(unsigned short letter, RangeList &ranges);

} // namespace Tavrin::detail
