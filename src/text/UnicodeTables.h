// SPDX-License-Identifier: MIT
#pragma once

// Constant-time lookup of the properties of one 16-bit code unit: the high byte chooses a page of
// 256 entries, and pages that are alike are stored once. UnicodeUtils is the public face of this;
// String and the block routines call it directly. The tables are built from UnicodeModel.h, and
// tests/text/UnicodeUtilsTest.cpp holds them against it for all 65,536 units.

#include <cstddef>

namespace Tavrin::detail {

// The bits of a unit's byte.
inline constexpr unsigned caseClassMask = 0x0F;
inline constexpr unsigned whiteSpaceFlag = 0x10;
inline constexpr unsigned formatFlag = 0x20;
inline constexpr unsigned symbolStartFlag = 0x40;
inline constexpr unsigned symbolPartFlag = 0x80;

// Case classes: 0 is no letter, 1 to 7 are upper-case and 8 to 14 lower-case letters with one
// mapping each, and 15 is a letter that is listed for each mapping that it has, if any.
inline constexpr unsigned firstLowerClass = 8;
inline constexpr unsigned listedClass = 15;

template <class Entry, std::size_t pageCount>
struct UnitTable
{
    unsigned char pageOf[256];
    Entry pages[pageCount][256];

    [[nodiscard]] constexpr Entry operator[](unsigned short unit) const noexcept
    {
        return pages[pageOf[unit >> 8]][unit & 0xFF];
    }
};

using FlagTable = UnitTable<unsigned char, 44>;
using CaseTable = UnitTable<unsigned short, 12>;

// The case tables hold what to add, modulo 65,536, so that all pages without case are one page.
extern const FlagTable flagTable;
extern const CaseTable toUpperTable;
extern const CaseTable toLowerTable;

// All properties of the unit, as one byte.
[[nodiscard]] inline unsigned unitFlags(unsigned short unit) noexcept
{
    return flagTable[unit];
}

[[nodiscard]] inline unsigned short toUpperUnit(unsigned short unit) noexcept
{
    return static_cast<unsigned short>(unit + toUpperTable[unit]);
}

[[nodiscard]] inline unsigned short toLowerUnit(unsigned short unit) noexcept
{
    return static_cast<unsigned short>(unit + toLowerTable[unit]);
}

} // namespace Tavrin::detail
