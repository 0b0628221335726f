// SPDX-License-Identifier: MIT
// Sets of code units. Pinned by tests/regexp/ClassTest.cpp.
#include "regexp/UnitSet.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "text/UnicodeTables.h"

namespace Tavrin::detail {

namespace {

constexpr SetRange digits[] = {{'0', '9'}};
constexpr SetRange wordUnits[] = {{'0', '9'}, {'A', 'Z'}, {'_', '_'}, {'a', 'z'}};
// D-301: white space begins with the backspace, 8. D-345: and is neither the list of today's
// scripts nor the property of Unicode.
constexpr SetRange whiteSpace[] = {{8, 13},      {32, 32},      {160, 160},   {5760, 5760},
                                   {6158, 6158}, {8192, 8202},  {8232, 8233}, {8239, 8239},
                                   {8287, 8287}, {12288, 12288}};

constexpr unsigned short lastUnit = 0xFFFF;

std::span<const SetRange> shorthandMembers(unsigned short letter)
{
    switch (letter) {
    case 'd':
    case 'D':
        return digits;
    case 's':
    case 'S':
        return whiteSpace;
    default:
        return wordUnits;
    }
}

bool isInRanges(const SetRange *ranges, int count, unsigned short unit)
{
    const SetRange *end = ranges + count;
    const SetRange *range = std::partition_point(
        ranges, end, [unit](const SetRange &candidate) { return candidate.last < unit; });
    return range != end && range->first <= unit;
}

// D-302: the lower-case form is asked for first, then the upper-case form; the unit itself is not.
bool isMember(const UnitSet &set, unsigned short unit)
{
    if (!set.ignoresCase)
        return isInRanges(set.ranges, set.rangeCount, unit);
    return isInRanges(set.ranges, set.rangeCount, toLowerUnit(unit)) ||
           isInRanges(set.ranges, set.rangeCount, toUpperUnit(unit));
}

void fillTable(UnitSet &set)
{
    std::memset(set.accepts, set.isNegated, sizeof set.accepts);
    for (int row = 0; row < set.rangeCount && set.ranges[row].first < 256; ++row) {
        const unsigned last = std::min<unsigned>(set.ranges[row].last, 255);
        std::memset(set.accepts + set.ranges[row].first, !set.isNegated,
                    last - set.ranges[row].first + 1);
    }
}

void fillFoldedTable(UnitSet &set)
{
    for (unsigned unit = 0; unit < 256; ++unit)
        set.accepts[unit] = isMember(set, static_cast<unsigned short>(unit)) != set.isNegated;
}

} // namespace

bool UnitSet::hasHigh(unsigned short unit) const
{
    return isMember(*this, unit) != isNegated;
}

int normalizeRanges(SetRange *ranges, int count)
{
    if (count == 0)
        return 0;
    std::sort(ranges, ranges + count,
              [](const SetRange &a, const SetRange &b) { return a.first < b.first; });
    int kept = 0;
    for (int row = 1; row < count; ++row) {
        if (ranges[row].first <= ranges[kept].last + 1)
            ranges[kept].last = std::max(ranges[kept].last, ranges[row].last);
        else
            ranges[++kept] = ranges[row];
    }
    return kept + 1;
}

UnitSet makeUnitSet(const SetRange *ranges, int rangeCount, bool isNegated, bool ignoresCase)
{
    UnitSet set;
    set.ranges = ranges;
    set.rangeCount = rangeCount;
    set.isNegated = isNegated;
    set.ignoresCase = ignoresCase;
    if (ignoresCase)
        fillFoldedTable(set);
    else
        fillTable(set);
    return set;
}

void appendShorthand(unsigned short letter, RangeList &ranges)
{
    const std::span<const SetRange> members = shorthandMembers(letter);
    const bool isComplement = letter < 'a';
    if (!isComplement) {
        ranges.append(members.data(), static_cast<int>(members.size()));
        return;
    }
    unsigned short next = 0;
    for (const SetRange &member : members) {
        ranges.push({next, static_cast<unsigned short>(member.first - 1)});
        next = static_cast<unsigned short>(member.last + 1);
    }
    ranges.push({next, lastUnit});
}

} // namespace Tavrin::detail
