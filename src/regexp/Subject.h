// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <bit>

#include <tavrin/RegExp.h>

#include "regexp/Program.h"
#include "text/UnicodeTables.h"
#include "text/UnitScan.h"

// What simple atoms say about places of a subject.
namespace Tavrin::detail {

struct Subject
{
    const unsigned short *units;
    int length;
};

inline bool isLineEnd(unsigned short unit)
{
    return unit == '\n' || unit == '\r' || unit == 0x2028 || unit == 0x2029;
}

inline constexpr std::array<bool, 128> wordUnits = [] {
    std::array<bool, 128> table{};
    for (unsigned unit = 0; unit < table.size(); ++unit)
        table[unit] = (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') ||
                      (unit >= 'a' && unit <= 'z') || unit == '_';
    return table;
}();

inline bool isWordUnit(unsigned short unit)
{
    return unit < wordUnits.size() && wordUnits[unit];
}

inline bool isLineStartAt(const Subject &subject, int position, bool isMultiLine)
{
    return position == 0 || (isMultiLine && isLineEnd(subject.units[position - 1]));
}

inline bool isLineEndAt(const Subject &subject, int position, bool isMultiLine)
{
    return position == subject.length || (isMultiLine && isLineEnd(subject.units[position]));
}

// D-320: at the subject's end there both is and is not a boundary, whatever stands before.
inline bool isBoundaryAt(const Subject &subject, int position, bool isNegated)
{
    if (position == subject.length)
        return true;
    const bool before = position > 0 && isWordUnit(subject.units[position - 1]);
    return (before != isWordUnit(subject.units[position])) != isNegated;
}

// Whether the units, which are folded if case is ignored, stand there.
inline bool hasTextAt(const Subject &subject, int position, const unsigned short *text, int length,
                      bool ignoresCase)
{
    if (length > subject.length - position)
        return false;
    const unsigned short *there = subject.units + position;
    if (ignoresCase) {
        for (int at = 0; at < length; ++at)
            if (toLowerUnit(there[at]) != text[at])
                return false;
        return true;
    }
    if (length < 16) {
        for (int at = 0; at < length; ++at)
            if (there[at] != text[at])
                return false;
        return true;
    }
    return firstDifference(there, text, length) == length;
}

// The same for the text of a capture, as it stands in the subject. D-321: what an unset group
// captured is the empty text.
inline bool hasCaptureAt(const Subject &subject, int position, Capture capture, bool ignoresCase)
{
    if (!capture.isSet())
        return true;
    const int length = capture.end - capture.start;
    const unsigned short *text = subject.units + capture.start;
    if (!ignoresCase)
        return hasTextAt(subject, position, text, length, false);
    if (length > subject.length - position)
        return false;
    for (int at = 0; at < length; ++at)
        if (toLowerUnit(subject.units[position + at]) != toLowerUnit(text[at]))
            return false;
    return true;
}

// How many of the units the set takes.
inline int lengthInSet(const UnitSet &set, const unsigned short *units, int count)
{
    constexpr int block = 8;
    int length = 0;
    // Eight at a time, whose answers become bits: the end of a short run costs no wrong guess.
    while (count - length >= block) {
        const unsigned short *unit = units + length;
        unsigned high = 0;
        for (int lane = 0; lane < block; ++lane)
            high |= unit[lane];
        if (high >= 256)
            break;
        unsigned accepted = 0;
        for (int lane = 0; lane < block; ++lane)
            accepted |= unsigned{set.accepts[unit[lane]]} << lane;
        const int taken = std::countr_one(accepted);
        length += taken;
        if (taken < block)
            return length;
    }
    while (length < count && set.has(units[length]))
        ++length;
    return length;
}

// How many units from `position` on the atom of a run takes, up to `most`.
int lengthOfRun(const Program &program, const Node &atom, const Subject &subject, int position,
                int most);
// How far back from `position` they reach, down to `least`: where they begin.
int beginOfRun(const Program &program, const Node &atom, const Subject &subject, int position,
               int least);

} // namespace Tavrin::detail
