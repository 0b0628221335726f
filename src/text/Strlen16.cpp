// SPDX-License-Identifier: MIT
#include <tavrin/UnicodeUtils.h>

#include <cstddef>
#include <cstring>
#include <limits>

#include "text/UnicodeTables.h"
#include "text/UnitScan.h"

namespace detail = Tavrin::detail;

namespace {

constexpr int unbounded = std::numeric_limits<int>::max();

int compare(const unsigned short *a, const unsigned short *b, int count) noexcept
{
    for (; count > 0; --count, ++a, ++b) {
        if (*a != *b || *a == 0)
            return *a - *b;
    }
    return 0;
}

int compareUpper(const unsigned short *a, const unsigned short *b, int count) noexcept
{
    for (; count > 0; --count, ++a, ++b) {
        if (*a == *b) {
            if (*a == 0)
                return 0;
            continue;
        }
        const int difference = detail::toUpperUnit(*a) - detail::toUpperUnit(*b);
        if (difference != 0)
            return difference;
    }
    return 0;
}

} // namespace

int strlen16(const unsigned short *text) noexcept
{
    return detail::lengthOf(text);
}

unsigned short *strcpy16(unsigned short *target, const unsigned short *source) noexcept
{
    const std::size_t units = static_cast<std::size_t>(detail::lengthOf(source)) + 1;
    std::memmove(target, source, units * sizeof(*source));
    return target;
}

int strcmp16(const unsigned short *a, const unsigned short *b) noexcept
{
    return compare(a, b, unbounded);
}

int strncmp16(const unsigned short *a, const unsigned short *b, int count) noexcept
{
    return compare(a, b, count);
}

int stricmp16(const unsigned short *a, const unsigned short *b) noexcept
{
    return compareUpper(a, b, unbounded);
}

int strnicmp16(const unsigned short *a, const unsigned short *b, int count) noexcept
{
    return compareUpper(a, b, count);
}

const unsigned short *strchr16(const unsigned short *text, unsigned short unit) noexcept
{
    // D-056: unlike strchr, a search for the terminator finds nothing.
    for (; *text != 0; ++text) {
        if (*text == unit)
            return text;
    }
    return nullptr;
}

const unsigned short *strstr16(const unsigned short *text, const unsigned short *pattern) noexcept
{
    const int at =
        detail::findUnits(text, detail::lengthOf(text), pattern, detail::lengthOf(pattern));
    return at < 0 ? nullptr : text + at;
}
