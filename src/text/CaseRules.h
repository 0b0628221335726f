// SPDX-License-Identifier: MIT
#pragma once

// What the block routines know about case without a lookup. Whatever is not said here is decided by
// UnicodeTables.h, so these rules may be incomplete but not wrong: tests/text/UnitScanTest.cpp maps
// and compares all 65,536 units through them.

#include "text/UnicodeTables.h"

namespace Tavrin::detail {

struct UnitRange
{
    unsigned short first;
    unsigned short last;
};

// The distance between the cases in ASCII, in Latin-1 and in the middle of the Greek and Cyrillic
// blocks, and that of the Cyrillic letters around them.
inline constexpr unsigned short nearShift = 0x20;
inline constexpr unsigned short farShift = 0x50;

// Lower-case letters that lie nearShift behind their upper-case form.
inline constexpr UnitRange nearPairs[] = {
    {0x00E0, 0x00F6}, {0x00F8, 0x00FE}, {0x03B1, 0x03C1}, {0x03C3, 0x03CB}, {0x0430, 0x044F}};

// A direction of mapping: the units that move by nearShift outside ASCII, those that move by
// farShift, and the spans that hold no other unit that moves.
struct UpperCase
{
    static constexpr UnitRange ascii = {'a', 'z'};
    static constexpr UnitRange near[] = {{0x00E0, 0x00F6}, {0x00F8, 0x00FE}, {0x0430, 0x044F}};
    static constexpr UnitRange far = {0x0450, 0x045F};
    static constexpr UnitRange covered[] = {
        {0x0000, 0x00B4}, {0x00B6, 0x00FE}, {0x0400, 0x045F}, {0x0590, 0x1DFF}, {0x24EA, 0xFF20}};

    static constexpr unsigned short shifted(unsigned short distance) noexcept
    {
        return static_cast<unsigned short>(-distance);
    }
    static unsigned short map(unsigned short unit) noexcept { return toUpperUnit(unit); }
};

struct LowerCase
{
    static constexpr UnitRange ascii = {'A', 'Z'};
    static constexpr UnitRange near[] = {{0x00C0, 0x00D6}, {0x00D8, 0x00DE}, {0x0410, 0x042F}};
    static constexpr UnitRange far = {0x0400, 0x040F};
    static constexpr UnitRange covered[] = {
        {0x0000, 0x00FF}, {0x0400, 0x045F}, {0x0590, 0x1DFF}, {0x24EA, 0xFF20}};

    static constexpr unsigned short shifted(unsigned short distance) noexcept { return distance; }
    static unsigned short map(unsigned short unit) noexcept { return toLowerUnit(unit); }
};

} // namespace Tavrin::detail
