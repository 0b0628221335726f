// SPDX-License-Identifier: MIT
// Searching: where a search begins and what an empty pattern answers; text/UnitScan does the work.
// Pinned by tests/text/StringSearchTest.cpp.
#include <tavrin/String.h>

#include <algorithm>

#include "text/WideText.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;
using detail::WideText;

namespace detail {

int findForward(UnitView text, UnitView pattern, int start) noexcept
{
    if (start > text.length - pattern.length)
        return -1;
    const int from = std::max(start, 0);
    if (pattern.length == 0)
        return from;
    const int at = findUnits(text.units + from, text.length - from, pattern.units, pattern.length);
    return at < 0 ? -1 : from + at;
}

int findBackward(UnitView text, UnitView pattern, int start) noexcept
{
    const int last = text.length - pattern.length;
    const int from = start < 0 || start > last ? last : start;
    if (from < 0 || pattern.length == 0)
        return std::max(from, -1);
    return findUnitsReverse(text.units, from + pattern.length, pattern.units, pattern.length);
}

} // namespace detail

namespace {

enum class Direction
{
    forward,
    backward
};

Direction directionOf(bool reverse)
{
    return reverse ? Direction::backward : Direction::forward;
}

int find(UnitView text, UnitView pattern, int start, Direction direction)
{
    return direction == Direction::forward ? detail::findForward(text, pattern, start)
                                           : detail::findBackward(text, pattern, start);
}

int findAny(UnitView text, UnitView set, int start)
{
    // D-036: the set is looked at before the range.
    if (set.length == 0)
        return start;
    if (start < 0 || start > text.length)
        return -1;
    const int at =
        detail::findAnyUnit(text.units + start, text.length - start, set.units, set.length);
    return at < 0 ? -1 : start + at;
}

} // namespace

int String::find(const String &x, int start, bool reverse) const noexcept
{
    return Tavrin::find(StringAccess::view(*this), StringAccess::view(x), start,
                        directionOf(reverse));
}

int String::find(unsigned short unit, int start, bool reverse) const noexcept
{
    return Tavrin::find(StringAccess::view(*this), {&unit, 1}, start, directionOf(reverse));
}

int String::find(const char *x, int start, bool reverse) const
{
    return Tavrin::find(StringAccess::view(*this), WideText(x).view(), start, directionOf(reverse));
}

int String::find(const unsigned short *x, int start, bool reverse) const noexcept
{
    const UnitView pattern{x, detail::lengthOrZero(x)};
    const int at = Tavrin::find(StringAccess::view(*this), pattern, start, directionOf(reverse));
    // D-035: this form alone does not answer start.
    return pattern.length == 0 && !reverse ? std::min(at, 0) : at;
}

int String::findAny(const String &set, int start) const noexcept
{
    return Tavrin::findAny(StringAccess::view(*this), StringAccess::view(set), start);
}

int String::findAny(const char *set, int start) const
{
    return Tavrin::findAny(StringAccess::view(*this), WideText(set).view(), start);
}

int String::findAny(const unsigned short *set, int start) const noexcept
{
    return Tavrin::findAny(StringAccess::view(*this), {set, detail::lengthOrZero(set)}, start);
}

} // namespace Tavrin
