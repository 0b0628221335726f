// SPDX-License-Identifier: MIT
#pragma once

// Case mapping and case-blind comparison.
//
// Case is decided in steps, each for the lanes that the step before left open: ASCII first, then
// the arithmetic of CaseRules.h, and the lookup of UnicodeTables.h has the last word on the rest.

#include "text/CaseRules.h"
#include "text/UnitBlocks.h"

namespace Tavrin::detail::kernels {

template <class Lanes>
Vector<Lanes> inRange(Vector<Lanes> units, UnitRange range) noexcept
{
    const auto span = static_cast<unsigned short>(range.last - range.first);
    const Vector<Lanes> offsets = Lanes::minus(units, Lanes::fill(range.first));
    return Lanes::equal(Lanes::minusClamped(offsets, Lanes::fill(span)), Lanes::fill(0));
}

template <class Lanes, std::size_t count>
Vector<Lanes> inAnyRange(Vector<Lanes> units, const UnitRange (&ranges)[count]) noexcept
{
    Vector<Lanes> found = inRange<Lanes>(units, ranges[0]);
    for (std::size_t row = 1; row < count; ++row)
        found = Lanes::either(found, inRange<Lanes>(units, ranges[row]));
    return found;
}

// --- Comparison ----------------------------------------------------------------------------------

// Lanes that hold the two cases of one ASCII letter: these differ in one bit.
template <class Lanes>
Vector<Lanes> asciiPairs(Vector<Lanes> a, Vector<Lanes> b) noexcept
{
    const Vector<Lanes> bit = Lanes::fill(nearShift);
    return Lanes::both(Lanes::equal(Lanes::differing(a, b), bit),
                       inRange<Lanes>(Lanes::either(a, bit), UpperCase::ascii));
}

template <class Lanes>
Vector<Lanes> letterPairs(Vector<Lanes> a, Vector<Lanes> b) noexcept
{
    const Vector<Lanes> excess = Lanes::minusClamped(b, a);
    const Vector<Lanes> distance = Lanes::either(excess, Lanes::minusClamped(a, b));
    const Vector<Lanes> greater = Lanes::plus(a, excess);
    return Lanes::both(Lanes::equal(distance, Lanes::fill(nearShift)),
                       inAnyRange<Lanes>(greater, nearPairs));
}

// The lane of the first pair of a block that differs when mapped to upper case, or the width. Kept
// apart from the loops that call it, which then hold the vectors for ASCII and nothing else.
template <class Lanes>
[[gnu::noinline]] int firstUnlikeLane(const unsigned short *a, const unsigned short *b) noexcept
{
    const Vector<Lanes> left = Lanes::load(a);
    const Vector<Lanes> right = Lanes::load(b);
    const Vector<Lanes> ascii = asciiPairs<Lanes>(left, right);
    const Vector<Lanes> alike = Lanes::either(Lanes::equal(left, right), ascii);
    Mask open = unset<Lanes>(Lanes::either(alike, letterPairs<Lanes>(left, right)));
    while (open != 0) {
        const int lane = firstLane<Lanes>(open);
        if (toUpperUnit(a[lane]) != toUpperUnit(b[lane]))
            return lane;
        open = without<Lanes>(open, lane);
    }
    return Lanes::width;
}

template <class Lanes>
int firstFoldedDifference(const unsigned short *a, const unsigned short *b, int n) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            int at = 0;
            while (at < n && toUpperUnit(a[at]) == toUpperUnit(b[at]))
                ++at;
            return at;
        } else {
            return firstFoldedDifference<Shorter<Lanes>>(a, b, n);
        }
    }
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n)) {
        const Vector<Lanes> left = Lanes::load(a + at);
        const Vector<Lanes> right = Lanes::load(b + at);
        const Vector<Lanes> ascii = asciiPairs<Lanes>(left, right);
        if (Lanes::mask(Lanes::either(Lanes::equal(left, right), ascii)) == allLanes<Lanes>)
            continue;
        const int lane = firstUnlikeLane<Lanes>(a + at, b + at);
        if (lane < Lanes::width)
            return at + lane;
    }
    return n;
}

// --- Mapping -------------------------------------------------------------------------------------

template <class Lanes>
Vector<Lanes> shift(Vector<Lanes> units, Vector<Lanes> lanes, unsigned short distance) noexcept
{
    return Lanes::plus(units, Lanes::both(lanes, Lanes::fill(distance)));
}

template <class Lanes>
bool isAscii(Vector<Lanes> units) noexcept
{
    constexpr unsigned short beyondAscii = 0xFF80;
    return Lanes::isZero(Lanes::both(units, Lanes::fill(beyondAscii)));
}

template <class Lanes, class Case>
Vector<Lanes> mapAscii(Vector<Lanes> units) noexcept
{
    return shift<Lanes>(units, inRange<Lanes>(units, Case::ascii), Case::shifted(nearShift));
}

template <class Lanes, class Case>
bool areCovered(Vector<Lanes> units) noexcept
{
    return Lanes::mask(inAnyRange<Lanes>(units, Case::covered)) == allLanes<Lanes>;
}

// For units that the rules cover.
template <class Lanes, class Case>
Vector<Lanes> mapCovered(Vector<Lanes> units) noexcept
{
    const Vector<Lanes> near = inAnyRange<Lanes>(units, Case::near);
    const Vector<Lanes> far = inRange<Lanes>(units, Case::far);
    return shift<Lanes>(shift<Lanes>(mapAscii<Lanes, Case>(units), near, Case::shifted(nearShift)),
                        far, Case::shifted(farShift));
}

template <class Lanes, class Case>
bool mapFew(const unsigned short *from, unsigned short *to, int n) noexcept
{
    int changes = 0;
    for (int at = 0; at < n; ++at) {
        const unsigned short unit = from[at];
        const unsigned short mapped = Case::map(unit);
        changes |= unit ^ mapped;
        to[at] = mapped;
    }
    return changes != 0;
}

// One block with more than ASCII in it; true if any unit changed.
template <class Lanes, class Case>
[[gnu::noinline]] bool mapBlock(const unsigned short *from, unsigned short *to) noexcept
{
    const Vector<Lanes> units = Lanes::load(from);
    if (!areCovered<Lanes, Case>(units))
        return mapFew<Lanes, Case>(from, to, Lanes::width);
    const Vector<Lanes> mapped = mapCovered<Lanes, Case>(units);
    Lanes::store(to, mapped);
    return !Lanes::isZero(Lanes::differing(units, mapped));
}

// The last block may map once more what the one before it wrote: a mapped unit maps to itself.
template <class Lanes, class Case>
bool copyCase(const unsigned short *from, unsigned short *to, int n) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>)
            return mapFew<Lanes, Case>(from, to, n);
        else
            return copyCase<Shorter<Lanes>, Case>(from, to, n);
    }
    Vector<Lanes> changes = Lanes::fill(0);
    bool otherChanged = false;
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n)) {
        const Vector<Lanes> units = Lanes::load(from + at);
        if (!isAscii<Lanes>(units)) {
            otherChanged |= mapBlock<Lanes, Case>(from + at, to + at);
            continue;
        }
        const Vector<Lanes> mapped = mapAscii<Lanes, Case>(units);
        Lanes::store(to + at, mapped);
        changes = Lanes::either(changes, Lanes::differing(units, mapped));
    }
    return otherChanged || !Lanes::isZero(changes);
}

template <class Lanes, class Case>
int firstOfFewChanged(const unsigned short *text, int n) noexcept
{
    int at = 0;
    while (at < n && Case::map(text[at]) == text[at])
        ++at;
    return at;
}

// In a block with more than ASCII in it: the first lane that changes, or the width.
template <class Lanes, class Case>
[[gnu::noinline]] int firstChangedLane(const unsigned short *text) noexcept
{
    const Vector<Lanes> units = Lanes::load(text);
    if (!areCovered<Lanes, Case>(units))
        return firstOfFewChanged<Lanes, Case>(text, Lanes::width);
    const Mask changed = unset<Lanes>(Lanes::equal(units, mapCovered<Lanes, Case>(units)));
    return changed != 0 ? firstLane<Lanes>(changed) : Lanes::width;
}

template <class Lanes, class Case>
int firstChanged(const unsigned short *text, int n) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>)
            return firstOfFewChanged<Lanes, Case>(text, n);
        else
            return firstChanged<Shorter<Lanes>, Case>(text, n);
    }
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n)) {
        const Vector<Lanes> units = Lanes::load(text + at);
        if (isAscii<Lanes>(units)) {
            const Mask changed = Lanes::mask(inRange<Lanes>(units, Case::ascii));
            if (changed != 0)
                return at + firstLane<Lanes>(changed);
            continue;
        }
        const int lane = firstChangedLane<Lanes, Case>(text + at);
        if (lane < Lanes::width)
            return at + lane;
    }
    return n;
}

} // namespace Tavrin::detail::kernels
