// SPDX-License-Identifier: MIT
#pragma once

// Block routines over runs of 16-bit code units: the inner loops of String and of the strlen16
// family. Every run is a pointer and a length in units; a length below 1 is an empty run, whose
// pointer is never read. No routine reads or writes a unit outside its runs, but for lengthOf.
//
// Threads: pure functions of their arguments.
// Cost:    linear; the searches for a pattern too, whatever the pattern is.
// Failure: none.

#include "text/UnicodeTables.h"

namespace Tavrin::detail {

// One set of routines per instruction set. The functions behind the table are the inline ones
// below; callers use those.
struct UnitRoutines
{
    int (*firstDifference)(const unsigned short *a, const unsigned short *b, int n) noexcept;
    int (*firstNarrowDifference)(const unsigned short *a, const char *b, int n) noexcept;
    int (*findUnit)(const unsigned short *text, int n, unsigned short unit) noexcept;
    int (*findUnitReverse)(const unsigned short *text, int n, unsigned short unit) noexcept;
    int (*findUnits)(const unsigned short *text, int n, const unsigned short *pattern,
                     int m) noexcept;
    int (*findUnitsReverse)(const unsigned short *text, int n, const unsigned short *pattern,
                            int m) noexcept;
    int (*findAllUnits)(const unsigned short *text, int n, const unsigned short *pattern, int m,
                        int *positions, int room) noexcept;
    int (*findAnyUnit)(const unsigned short *text, int n, const unsigned short *set,
                       int m) noexcept;
    int (*firstFoldedDifference)(const unsigned short *a, const unsigned short *b, int n) noexcept;
    bool (*copyUpper)(const unsigned short *from, unsigned short *to, int n) noexcept;
    bool (*copyLower)(const unsigned short *from, unsigned short *to, int n) noexcept;
    int (*firstChangedByUpper)(const unsigned short *text, int n) noexcept;
    int (*firstChangedByLower)(const unsigned short *text, int n) noexcept;
    int (*lengthOf)(const unsigned short *zeroTerminated) noexcept;
    void (*widen)(const char *bytes, unsigned short *out, int n) noexcept;
};

// The set in use. It starts as the processor family's baseline, so that strings made by static
// initialisers may call it, and is exchanged once for the best set while the library is loaded.
extern UnitRoutines activeRoutines;

// The sets by name, for tests; null for a set that this processor or this build does not have.
const UnitRoutines *portableRoutines() noexcept;
const UnitRoutines *sse2Routines() noexcept;
const UnitRoutines *avx2Routines() noexcept;

// The index of the first unequal unit, or n.
[[nodiscard]] inline int firstDifference(const unsigned short *a, const unsigned short *b,
                                         int n) noexcept
{
    return activeRoutines.firstDifference(a, b, n);
}

// The same against bytes, each taken as the unit of the same value, without sign extension.
[[nodiscard]] inline int firstNarrowDifference(const unsigned short *a, const char *b,
                                               int n) noexcept
{
    return activeRoutines.firstNarrowDifference(a, b, n);
}

// The index of the first unit of that value, or -1.
[[nodiscard]] inline int findUnit(const unsigned short *text, int n, unsigned short unit) noexcept
{
    return activeRoutines.findUnit(text, n, unit);
}

// The index of the last unit of that value, or -1.
[[nodiscard]] inline int findUnitReverse(const unsigned short *text, int n,
                                         unsigned short unit) noexcept
{
    return activeRoutines.findUnitReverse(text, n, unit);
}

// The index of the first occurrence of the pattern, or -1. An empty pattern is found at 0.
[[nodiscard]] inline int findUnits(const unsigned short *text, int n, const unsigned short *pattern,
                                   int m) noexcept
{
    return activeRoutines.findUnits(text, n, pattern, m);
}

// The index of the last occurrence of the pattern, or -1. An empty pattern is found at n.
[[nodiscard]] inline int findUnitsReverse(const unsigned short *text, int n,
                                          const unsigned short *pattern, int m) noexcept
{
    return activeRoutines.findUnitsReverse(text, n, pattern, m);
}

// Writes the indices of the first `room` occurrences that do not overlap, and returns how many; an
// empty pattern is not found.
[[nodiscard]] inline int findAllUnits(const unsigned short *text, int n,
                                      const unsigned short *pattern, int m, int *positions,
                                      int room) noexcept
{
    return activeRoutines.findAllUnits(text, n, pattern, m, positions, room);
}

// The index of the first unit that occurs in the set, or -1; -1 for an empty set.
[[nodiscard]] inline int findAnyUnit(const unsigned short *text, int n, const unsigned short *set,
                                     int m) noexcept
{
    return activeRoutines.findAnyUnit(text, n, set, m);
}

// The index of the first pair that toUpperUnit leaves unequal, or n.
[[nodiscard]] inline int firstFoldedDifference(const unsigned short *a, const unsigned short *b,
                                               int n) noexcept
{
    return activeRoutines.firstFoldedDifference(a, b, n);
}

// How many pairs a comparison of up to `limit` units looks at, and what it says when they are
// equal.
[[nodiscard]] inline int commonLength(int na, int nb, int limit) noexcept
{
    const int shorter = na < nb ? na : nb;
    return shorter < limit ? shorter : limit;
}

[[nodiscard]] inline int orderOfEnds(int na, int nb, int limit) noexcept
{
    if (na == nb || (limit <= na && limit <= nb))
        return 0;
    return na < nb ? -1 : 1;
}

// Compares the first `limit` units of two texts. At the first unequal pair the result is the
// difference of the units, a minus b. When a text ends before that: 0 if the other ended too or
// `limit` units were equal, -1 if a ended first, 1 if b did. A limit below 1 gives 0; INT_MAX
// compares all.
[[nodiscard]] inline int compareUnits(const unsigned short *a, int na, const unsigned short *b,
                                      int nb, int limit) noexcept
{
    const int common = commonLength(na, nb, limit);
    const int at = firstDifference(a, b, common);
    return at < common ? a[at] - b[at] : orderOfEnds(na, nb, limit);
}

// The same with every unit folded through UnicodeUtils::towupper; the difference is that of the
// folded units.
[[nodiscard]] inline int compareFolded(const unsigned short *a, int na, const unsigned short *b,
                                       int nb, int limit) noexcept
{
    const int common = commonLength(na, nb, limit);
    const int at = firstFoldedDifference(a, b, common);
    return at < common ? toUpperUnit(a[at]) - toUpperUnit(b[at]) : orderOfEnds(na, nb, limit);
}

// Writes the upper-case form of each unit; true if any differs from what was read. `to` is `from`
// or does not overlap it.
inline bool copyUpper(const unsigned short *from, unsigned short *to, int n) noexcept
{
    return activeRoutines.copyUpper(from, to, n);
}

inline bool copyLower(const unsigned short *from, unsigned short *to, int n) noexcept
{
    return activeRoutines.copyLower(from, to, n);
}

// In place; true if any unit changed.
inline bool upperUnits(unsigned short *text, int n) noexcept
{
    return activeRoutines.copyUpper(text, text, n);
}

inline bool lowerUnits(unsigned short *text, int n) noexcept
{
    return activeRoutines.copyLower(text, text, n);
}

// The index of the first unit that the mapping changes, or n.
[[nodiscard]] inline int firstChangedByUpper(const unsigned short *text, int n) noexcept
{
    return activeRoutines.firstChangedByUpper(text, n);
}

[[nodiscard]] inline int firstChangedByLower(const unsigned short *text, int n) noexcept
{
    return activeRoutines.firstChangedByLower(text, n);
}

// The number of units before the first 0. It may read past that 0 within the same aligned block
// of 32 bytes, and so never touches a page that the text is not on.
[[nodiscard]] inline int lengthOf(const unsigned short *zeroTerminated) noexcept
{
    return activeRoutines.lengthOf(zeroTerminated);
}

// Zero-extends n bytes to n units; the runs do not overlap.
inline void widen(const char *bytes, unsigned short *out, int n) noexcept
{
    activeRoutines.widen(bytes, out, n);
}

} // namespace Tavrin::detail
