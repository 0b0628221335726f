// SPDX-License-Identifier: MIT
// Pinned by tests/reflection/TypeInfoTest.cpp.
#include "reflection/Description.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Tavrin::detail {

namespace {

UnitView from(UnitView text, int start)
{
    return {text.units + start, text.length - start};
}

UnitView firstHead(UnitView description)
{
    UnitView segment = cutAt(description, ',');
    return cutAt(segment, '\t');
}

} // namespace

bool cutIfAt(UnitView &rest, unsigned short delimiter, UnitView &front) noexcept
{
    const int at = findUnit(rest.units, rest.length, delimiter);
    if (at < 0)
        return false;
    front = {rest.units, at};
    rest = from(rest, at + 1);
    return true;
}

UnitView cutAt(UnitView &rest, unsigned short delimiter) noexcept
{
    UnitView front;
    if (cutIfAt(rest, delimiter, front))
        return front;
    front = rest;
    rest = from(rest, rest.length);
    return front;
}

UnitView stripped(UnitView text) noexcept
{
    constexpr unsigned short lastBlank = ' ';
    while (text.length > 0 && *text.units <= lastBlank)
        text = from(text, 1);
    while (text.length > 0 && text.units[text.length - 1] <= lastBlank)
        --text.length;
    return text;
}

bool isText(UnitView text, const char *bytes) noexcept
{
    const std::size_t length = std::strlen(bytes);
    return static_cast<std::size_t>(text.length) == length &&
           firstNarrowDifference(text.units, bytes, text.length) == text.length;
}

// D-281: a name is what stands before a colon, and is not empty.
bool hasResult(UnitView description) noexcept
{
    const UnitView head = firstHead(description);
    return findUnit(head.units, head.length, ':') <= 0;
}

int countParams(UnitView description) noexcept
{
    if (description.length == 0)
        return 0;
    const auto commas = std::count(description.units, description.units + description.length, ',');
    return static_cast<int>(commas) + (hasResult(description) ? 0 : 1);
}

DescriptionSegment segmentOf(UnitView description, int index) noexcept
{
    constexpr UnitView nothing{nullptr, 0};
    // How many segments stand before the one that is wanted.
    std::int64_t skipped = index;
    if (hasResult(description))
        ++skipped;
    if (skipped < 0)
        return {nothing, nothing, nothing, false};
    UnitView segment = description;
    UnitView front;
    for (; skipped > 0; --skipped)
        if (!cutIfAt(segment, ',', front))
            return {nothing, nothing, nothing, true};
    segment = cutAt(segment, ',');
    DescriptionSegment result{nothing, nothing, nothing, segment.length == 0};
    result.head = cutAt(segment, '\t');
    result.shortText = cutAt(segment, '\t');
    result.longText = segment;
    return result;
}

} // namespace Tavrin::detail
