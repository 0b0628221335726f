// SPDX-License-Identifier: MIT
// Writing literals. A first pass adds up what the escapes take, by loops without branches that
// compilers turn into vector code; the second one fills a record of that size, and copies by runs.
// Pinned by tests/text/StringEscapeTest.cpp.
#include <tavrin/String.h>

#include <algorithm>

#include "text/HexDigits.h"
#include "text/StringBlocks.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

constexpr unsigned short quote = '"';
constexpr unsigned short del = 127;
constexpr unsigned short firstBeyondAscii = 128;

// The units behind the backslash: of a letter, of "x" with two digits, of "u" with four.
constexpr int letterExtra = 1;
constexpr int byteExtra = 3;
constexpr int unitExtra = 5;

// The letter of a two-unit escape, or 0.
constexpr unsigned short escapeLetter(unsigned short unit)
{
    switch (unit) {
    case '\b':
        return 'b';
    case '\t':
        return 't';
    case '\n':
        return 'n';
    case '\f':
        return 'f';
    case '\r':
        return 'r';
    case quote:
    case '\\':
        return unit;
    default:
        return 0;
    }
}

template <bool unicodeEscapes>
constexpr bool isPlain(unsigned short unit)
{
    return (unit >= 32) & (unit != quote) & (unit != '\\') & (unit != del) &
           (!unicodeEscapes | (unit < firstBeyondAscii));
}

template <bool unicodeEscapes>
constexpr unsigned short extraUnits(unsigned short unit)
{
    const bool isLetter =
        (unit == quote) | (unit == '\\') | ((unit >= '\b') & (unit <= '\r') & (unit != '\v'));
    const bool isByte = ((unit < 32) | (unit == del)) & !isLetter;
    const bool isUnit = unicodeEscapes & (unit >= firstBeyondAscii);
    return static_cast<unsigned short>(letterExtra * isLetter + byteExtra * isByte +
                                       unitExtra * isUnit);
}

template <bool unicodeEscapes>
std::int64_t countExtra(UnitView text)
{
    constexpr int blockSize = 8192; // whose sum fits 16 bits
    static_assert(blockSize * unitExtra <= 0xFFFF);
    std::int64_t sum = 0;
    for (int at = 0; at < text.length; at += blockSize) {
        const int end = std::min(text.length - at, blockSize) + at;
        unsigned short blockSum = 0;
        for (int index = at; index < end; ++index)
            blockSum = static_cast<unsigned short>(blockSum +
                                                   extraUnits<unicodeEscapes>(text.units[index]));
        sum += blockSum;
    }
    return sum;
}

unsigned short *writeEscape(unsigned short *to, unsigned short unit)
{
    *to++ = '\\';
    if (const unsigned short letter = escapeLetter(unit)) {
        *to++ = letter;
        return to;
    }
    const bool isByte = unit < firstBeyondAscii;
    *to++ = isByte ? u'x' : u'u';
    for (int shift = isByte ? 4 : 12; shift >= 0; shift -= 4)
        *to++ = detail::hexDigit(unsigned{unit} >> shift);
    return to;
}

template <bool unicodeEscapes>
unsigned short *writeEscaped(UnitView text, unsigned short *to)
{
    constexpr int blockSize = 8;
    const auto writeUnits = [&](int at, int end) {
        for (; at < end; ++at)
            if (isPlain<unicodeEscapes>(text.units[at]))
                *to++ = text.units[at];
            else
                to = writeEscape(to, text.units[at]);
    };
    int at = 0;
    for (; at <= text.length - blockSize; at += blockSize) {
        bool areAllPlain = true;
        for (int index = at; index < at + blockSize; ++index)
            areAllPlain &= isPlain<unicodeEscapes>(text.units[index]);
        if (areAllPlain) {
            std::copy_n(text.units + at, blockSize, to);
            to += blockSize;
        } else {
            writeUnits(at, at + blockSize);
        }
    }
    writeUnits(at, text.length);
    return to;
}

template <bool unicodeEscapes>
StringBuffer *escaped(UnitView text)
{
    constexpr int quotes = 2;
    const std::int64_t extra = countExtra<unicodeEscapes>(text);
    StringBuffer *record = detail::makeBuffer(detail::checkedLength(text.length + extra + quotes));
    unsigned short *const body = record->text + 1;
    record->text[0] = quote;
    if (extra == 0)
        detail::copyUnits(body, text.units, text.length);
    else
        writeEscaped<unicodeEscapes>(text, body);
    record->text[record->length - 1] = quote;
    return record;
}

} // namespace

String String::escape(bool unicodeEscapes) const
{
    const UnitView text = StringAccess::view(*this);
    return String(unicodeEscapes ? escaped<true>(text) : escaped<false>(text));
}

} // namespace Tavrin
