// SPDX-License-Identifier: MIT
#pragma once

// What each single-byte encoding does with one byte and with one unit. Both set `code` where they
// replace.
#include <array>

#include "encoders/Conversion.h"

namespace Tavrin::detail {

inline constexpr unsigned char replacementByte = '?';
inline constexpr unsigned short noUnit = 0xFFFD;

struct AsciiRules
{
    static constexpr unsigned short decode(unsigned char byte, int &code)
    {
        if (byte < 0x80)
            return byte;
        code = badCharacter;
        return noUnit;
    }

    static constexpr unsigned char encode(unsigned short unit, int &code)
    {
        if (unit < 0x80)
            return static_cast<unsigned char>(unit);
        code = badCharacter;
        return replacementByte;
    }
};

// Bytes as they are.
struct BinaryRules
{
    static constexpr unsigned short decode(unsigned char byte, int &) { return byte; }

    // D-102: the high half is dropped without a word; this is how raw bytes travel in text.
    static constexpr unsigned char encode(unsigned short unit, int &)
    {
        return static_cast<unsigned char>(unit & 0xFF);
    }
};

// Windows code page 1252, as published by its vendor: bytes 128 to 159.
inline constexpr std::array<unsigned short, 32> cp1252Middle = {
    0x20AC, noUnit, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, noUnit, 0x017D, noUnit, noUnit, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, noUnit, 0x017E, 0x0178};
inline constexpr unsigned char cp1252MiddleBegin = 128;
inline constexpr unsigned char cp1252MiddleEnd = 160;

constexpr bool isInCp1252Middle(unsigned byte)
{
    return byte - cp1252MiddleBegin < unsigned{cp1252MiddleEnd - cp1252MiddleBegin};
}

// The bytes of a range of units; 0 where the code page has none.
template <unsigned short first, unsigned short last>
struct Cp1252Inverse
{
    std::array<unsigned char, last - first + 1> bytes{};

    constexpr Cp1252Inverse()
    {
        for (unsigned index = 0; index < cp1252Middle.size(); ++index)
            if (holds(cp1252Middle[index]))
                bytes[cp1252Middle[index] - first] =
                    static_cast<unsigned char>(cp1252MiddleBegin + index);
    }

    constexpr bool holds(unsigned short unit) const { return unit >= first && unit <= last; }
    constexpr unsigned char operator[](unsigned short unit) const { return bytes[unit - first]; }
};

inline constexpr Cp1252Inverse<336, 407> cp1252Letters;
inline constexpr Cp1252Inverse<704, 735> cp1252Accents;
inline constexpr Cp1252Inverse<8208, 8255> cp1252Punctuation;

// Windows code page 1252, and ISO 8859-1 as the strict part of it that both share.
template <bool isStrict>
struct Cp1252Rules
{
    static constexpr unsigned short decode(unsigned char byte, int &code)
    {
        if (!isInCp1252Middle(byte))
            return byte;
        if (!isStrict)
            return cp1252Middle[byte - cp1252MiddleBegin];
        code = cannotConvert;
        return noUnit;
    }

    static constexpr unsigned char encode(unsigned short unit, int &code)
    {
        const unsigned char byte = byteFor(unit);
        const bool isUnmapped = unit != 0 && byte == 0;
        if (!isUnmapped && !(isStrict && isInCp1252Middle(byte)))
            return byte;
        code = badCharacter;
        return replacementByte;
    }

private:
    // D-103: 0x80 to 0x9F pass through, although the code page puts other characters there.
    static constexpr unsigned char byteFor(unsigned short unit)
    {
        if (unit < 256)
            return static_cast<unsigned char>(unit);
        if (cp1252Letters.holds(unit))
            return cp1252Letters[unit];
        if (cp1252Accents.holds(unit))
            return cp1252Accents[unit];
        if (cp1252Punctuation.holds(unit))
            return cp1252Punctuation[unit];
        if (unit == 0x20AC)
            return 128;
        return unit == 0x2122 ? 153 : 0;
    }
};

// D-107: Mac OS Roman as published by its vendor, with the Euro sign at 0xDB: bytes from 128 on.
inline constexpr std::array<unsigned short, 128> macRomanUpper = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, // 80
    0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8, // 88
    0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, // 90
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, // 98
    0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF, // A0
    0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, // A8
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, // B0
    0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, // B8
    0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, // C0
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, // C8
    0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, // D0
    0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, // D8
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, // E0
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, // E8
    0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC, // F0
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7, // F8
};

// The way back in two steps: a page for the high byte of a unit, then a byte of that page; 0 for
// U+0000 and where the encoding has none. Page 0 is empty.
struct MacRomanInverse
{
    static constexpr int pageCount = 11;

    std::array<unsigned char, 256> pageOf{};
    std::array<std::array<unsigned char, 256>, pageCount> pages{};

    constexpr MacRomanInverse()
    {
        unsigned char pagesUsed = 0;
        for (unsigned byte = 0; byte < 256; ++byte) {
            const unsigned unit = byte < 128 ? byte : macRomanUpper[byte - 128];
            unsigned char &page = pageOf[unit >> 8];
            if (page == 0)
                page = ++pagesUsed;
            unsigned char &inverse = pages[page][unit & 0xFF];
            if (inverse == 0)
                inverse = static_cast<unsigned char>(byte);
        }
    }

    constexpr unsigned char operator[](unsigned short unit) const
    {
        return pages[pageOf[unit >> 8]][unit & 0xFF];
    }
};

inline constexpr MacRomanInverse macRomanInverse;

struct MacRomanRules
{
    static constexpr unsigned short decode(unsigned char byte, int &)
    {
        return byte < 128 ? byte : macRomanUpper[byte - 128];
    }

    static constexpr unsigned char encode(unsigned short unit, int &code)
    {
        const unsigned char byte = macRomanInverse[unit];
        const bool isMissing = byte == 0 && unit != 0;
        code = isMissing ? badCharacter : code;
        return isMissing ? replacementByte : byte;
    }
};

} // namespace Tavrin::detail
