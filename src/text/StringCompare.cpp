// SPDX-License-Identifier: MIT
// Comparison. All forms reduce to runs of units with a limit; bytes are compared as they stand, or
// widened in pieces where their case is folded. Pinned by tests/text/StringCompareTest.cpp.
#include <tavrin/String.h>

#include <algorithm>

#include "text/StringAccess.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

constexpr int noLimit = std::numeric_limits<int>::max();

// What ends a comparison without a difference in the units that both texts have.
int compareEnds(int length, int otherLength, int limit)
{
    if (length == otherLength || std::min(length, otherLength) >= limit)
        return 0;
    return length < otherLength ? -1 : 1;
}

// The length of a byte text as far as it matters: one byte behind `most` decides like all others.
int lengthUpTo(const char *bytes, int most)
{
    if (bytes == nullptr)
        return 0;
    const std::size_t reach = std::min(static_cast<std::size_t>(most) + 1, std::size_t{noLimit});
    if (const void *end = std::memchr(bytes, 0, reach))
        return static_cast<int>(static_cast<const char *>(end) - bytes);
    return static_cast<int>(reach);
}

int compare(UnitView text, UnitView other, int limit)
{
    return detail::compareUnits(text.units, text.length, other.units, other.length, limit);
}

int compare(UnitView text, const unsigned short *other, int limit)
{
    if (limit > 0 && text.length > 0 && other != nullptr && *other != 0 && *other != *text.units)
        return *text.units - *other;
    return compare(text, {other, detail::lengthOrZero(other)}, limit);
}

int compare(UnitView text, const char *other, int limit)
{
    const int otherLength = lengthUpTo(other, text.length);
    const int common = std::clamp(limit, 0, std::min(text.length, otherLength));
    const int at = detail::firstNarrowDifference(text.units, other, common);
    if (at < common)
        return text.units[at] - static_cast<unsigned char>(other[at]);
    return compareEnds(text.length, otherLength, limit);
}

int compareFolded(UnitView text, UnitView other, int limit)
{
    return detail::compareFolded(text.units, text.length, other.units, other.length, limit);
}

int compareFolded(UnitView text, const char *other, int limit)
{
    constexpr int pieceLength = 128;
    unsigned short piece[pieceLength];
    const int otherLength = lengthUpTo(other, text.length);
    const int common = std::clamp(limit, 0, std::min(text.length, otherLength));
    for (int done = 0; done < common; done += pieceLength) {
        const int count = std::min(pieceLength, common - done);
        detail::widen(other + done, piece, count);
        if (const int difference =
                detail::compareFolded(text.units + done, count, piece, count, count))
            return difference;
    }
    return compareEnds(text.length, otherLength, limit);
}

} // namespace

int String::cmp(const String &x) const noexcept
{
    return ncmp(x, noLimit);
}

int String::cmp(const char *x) const noexcept
{
    return ncmp(x, noLimit);
}

int String::cmp(const unsigned short *x) const noexcept
{
    return ncmp(x, noLimit);
}

int String::ncmp(const String &x, int n) const noexcept
{
    if (buffer == x.buffer)
        return 0;
    return compare(StringAccess::view(*this), StringAccess::view(x), n);
}

int String::ncmp(const char *x, int n) const noexcept
{
    return compare(StringAccess::view(*this), x, n);
}

int String::ncmp(const unsigned short *x, int n) const noexcept
{
    return compare(StringAccess::view(*this), x, n);
}

int String::ucmp(const String &x) const noexcept
{
    return nucmp(x, noLimit);
}

int String::ucmp(const char *x) const noexcept
{
    return nucmp(x, noLimit);
}

int String::ucmp(const unsigned short *x) const noexcept
{
    return nucmp(x, noLimit);
}

int String::nucmp(const String &x, int n) const noexcept
{
    if (buffer == x.buffer)
        return 0;
    return compareFolded(StringAccess::view(*this), StringAccess::view(x), n);
}

int String::nucmp(const char *x, int n) const noexcept
{
    return compareFolded(StringAccess::view(*this), x, n);
}

int String::nucmp(const unsigned short *x, int n) const noexcept
{
    return compareFolded(StringAccess::view(*this), {x, detail::lengthOrZero(x)}, n);
}

} // namespace Tavrin
