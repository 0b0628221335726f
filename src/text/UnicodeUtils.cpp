// SPDX-License-Identifier: MIT
#include <tavrin/UnicodeUtils.h>

#include <algorithm>
#include <limits>

#include "text/UnicodeModel.h"
#include "text/UnicodeTables.h"

namespace Tavrin {
namespace {

constexpr bool isDigit(unsigned short unit)
{
    return unit >= '0' && unit <= '9';
}

constexpr unsigned short asItIs(unsigned short unit) noexcept
{
    return unit;
}

using Fold = unsigned short (*)(unsigned short) noexcept;

// Compares up to `count` units, the byte text taken without sign extension.
template <Fold fold>
int compareNarrow(const unsigned short *a, const char *b, int count)
{
    for (; count > 0; --count, ++a, ++b) {
        const int unit = fold(*a);
        const int other = fold(static_cast<unsigned char>(*b));
        if (unit != other || unit == 0)
            return unit - other;
    }
    return 0;
}

constexpr int unbounded = std::numeric_limits<int>::max();

} // namespace

bool UnicodeUtils::isWS(unsigned short unit) noexcept
{
    return (detail::unitFlags(unit) & detail::whiteSpaceFlag) != 0;
}

bool UnicodeUtils::isCf(unsigned short unit) noexcept
{
    return (detail::unitFlags(unit) & detail::formatFlag) != 0;
}

bool UnicodeUtils::isPd(unsigned short unit) noexcept
{
    // D-051: a list of its own, not the category Pd of the data.
    return std::ranges::binary_search(detail::unicode::dashes, unit);
}

bool UnicodeUtils::isSymbolStart(unsigned short unit) noexcept
{
    // D-054: "@" may start an identifier, and may not stand in one.
    return (detail::unitFlags(unit) & detail::symbolStartFlag) != 0;
}

bool UnicodeUtils::isSymbolChar(unsigned short unit) noexcept
{
    return (detail::unitFlags(unit) & detail::symbolPartFlag) != 0;
}

bool UnicodeUtils::iswalpha(unsigned short unit) noexcept
{
    // D-052: ideographs and syllables are no letters, and numerals and symbols with case are.
    return (detail::unitFlags(unit) & detail::caseClassMask) != 0;
}

bool UnicodeUtils::iswalnum(unsigned short unit) noexcept
{
    return isDigit(unit) || iswalpha(unit);
}

bool UnicodeUtils::iswlower(unsigned short unit) noexcept
{
    return (detail::unitFlags(unit) & detail::caseClassMask) >= detail::firstLowerClass;
}

bool UnicodeUtils::iswupper(unsigned short unit) noexcept
{
    // D-053: class 15 counts as both cases, whatever the letter is.
    const unsigned caseClass = detail::unitFlags(unit) & detail::caseClassMask;
    return caseClass == detail::listedClass ||
           (caseClass != 0 && caseClass < detail::firstLowerClass);
}

unsigned short UnicodeUtils::towlower(unsigned short unit) noexcept
{
    return detail::toLowerUnit(unit);
}

unsigned short UnicodeUtils::towupper(unsigned short unit) noexcept
{
    return detail::toUpperUnit(unit);
}

int UnicodeUtils::watol(const unsigned short *text) noexcept
{
    while (isWS(*text))
        ++text;
    const bool isNegative = *text == '-';
    if (isNegative || *text == '+')
        ++text;
    // D-055: too many digits wrap.
    unsigned value = 0;
    for (; isDigit(*text); ++text)
        value = value * 10 + (*text - unsigned{'0'});
    return static_cast<int>(isNegative ? 0 - value : value);
}

int UnicodeUtils::wcscmpmb(const unsigned short *a, const char *b) noexcept
{
    return compareNarrow<asItIs>(a, b, unbounded);
}

int UnicodeUtils::wcsicmpmb(const unsigned short *a, const char *b) noexcept
{
    return compareNarrow<detail::toUpperUnit>(a, b, unbounded);
}

int UnicodeUtils::wcsncmpmb(const unsigned short *a, const char *b, int count) noexcept
{
    return compareNarrow<asItIs>(a, b, count);
}

int UnicodeUtils::wcsnicmpmb(const unsigned short *a, const char *b, int count) noexcept
{
    return compareNarrow<detail::toUpperUnit>(a, b, count);
}

} // namespace Tavrin
