// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>

namespace Tavrin {

// UnicodeUtils: class, case and comparison of single 16-bit code units.
// Owns:    nothing; all data is constant.
// Threads: any thread may call anything.
// Cost:    O(1) for one unit; linear in the text otherwise.
// Units:   16-bit code units. Surrogates are not combined: they have no properties and no case. The
//          repertoire is that of Unicode 3.0; a unit outside it has no properties either and maps
//          to itself.
// Failure: none. Text arguments are zero-terminated and not null.
class TAVRIN_API UnicodeUtils
{
public:
    // White space, by the Unicode property of that name.
    static bool isWS(unsigned short unit) noexcept;
    // A format character, general category Cf.
    static bool isCf(unsigned short unit) noexcept;
    // One of 17 dashes.
    static bool isPd(unsigned short unit) noexcept;
    // May begin an identifier of a script, or stand in one behind its beginning.
    static bool isSymbolStart(unsigned short unit) noexcept;
    static bool isSymbolChar(unsigned short unit) noexcept;

    // A letter. Ideographs and Hangul syllables are none here.
    static bool iswalpha(unsigned short unit) noexcept;
    // A letter or one of "0" to "9".
    static bool iswalnum(unsigned short unit) noexcept;
    // A letter without case, or with a mapping of its own, is both lower and upper.
    static bool iswlower(unsigned short unit) noexcept;
    static bool iswupper(unsigned short unit) noexcept;

    // The simple case mapping: one unit for one unit, the same in every locale.
    static unsigned short towlower(unsigned short unit) noexcept;
    static unsigned short towupper(unsigned short unit) noexcept;

    // The decimal number at the start of the text, behind white space and one sign; 0 without a
    // digit. It wraps modulo 2^32.
    static int watol(const unsigned short *text) noexcept;

    // Compare with 8-bit text, each byte as the unit of the same value. The result is the first
    // difference, a minus b, or 0. The forms with an i compare the units mapped to upper case;
    // those with an n stop after that many units with 0, and give 0 for a count below 1.
    static int wcscmpmb(const unsigned short *a, const char *b) noexcept;
    static int wcsicmpmb(const unsigned short *a, const char *b) noexcept;
    static int wcsncmpmb(const unsigned short *a, const char *b, int count) noexcept;
    static int wcsnicmpmb(const unsigned short *a, const char *b, int count) noexcept;
};

} // namespace Tavrin

// The 16-bit twins of the standard functions on byte strings. Text is zero-terminated and not null.
// Comparisons give the difference of the first unequal units, a minus b. The forms with an i
// compare the units mapped to upper case, those with an n at most that many units: 0 for a count
// below 1.
extern "C" {
// Units before the terminator.
TAVRIN_API int strlen16(const unsigned short *text) noexcept;

// Copies with the terminator and returns the target, which may lie in front of the source and
// overlap it.
TAVRIN_API unsigned short *strcpy16(unsigned short *target, const unsigned short *source) noexcept;

TAVRIN_API int strcmp16(const unsigned short *a, const unsigned short *b) noexcept;
TAVRIN_API int strncmp16(const unsigned short *a, const unsigned short *b, int count) noexcept;
TAVRIN_API int stricmp16(const unsigned short *a, const unsigned short *b) noexcept;
TAVRIN_API int strnicmp16(const unsigned short *a, const unsigned short *b, int count) noexcept;

// The first unit of that value, or null; always null for the unit 0.
TAVRIN_API const unsigned short *strchr16(const unsigned short *text, unsigned short unit) noexcept;

// The first occurrence of the pattern, or null; the text itself for an empty pattern.
TAVRIN_API const unsigned short *strstr16(const unsigned short *text,
                                          const unsigned short *pattern) noexcept;
}

// As in <cstring>, a search of writable text gives a writable result.
inline unsigned short *strchr16(unsigned short *text, unsigned short unit) noexcept
{
    return const_cast<unsigned short *>(strchr16(static_cast<const unsigned short *>(text), unit));
}

inline unsigned short *strstr16(unsigned short *text, const unsigned short *pattern) noexcept
{
    return const_cast<unsigned short *>(
        strstr16(static_cast<const unsigned short *>(text), pattern));
}
