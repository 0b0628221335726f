// SPDX-License-Identifier: MIT
#include "encoders/CodePageNames.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

namespace Tavrin::detail {

namespace {

// D-108: the table is searched in this order, and its slips stay: 28591 has the names of the third
// part of ISO 8859, 437 those of 850, and the Ukrainian KOI8 has a number that no system knows.
constexpr CodePageName codePages[] = {
    {10000, 1, "MACINTOSH,MAC-ROMAN"},
    {65000, 0, "UTF-7,UTF7,UNICODE-1-1-UTF-7,UNICODE-2-0-UTF-7"},
    {28592, 0, "ISO-8859-2,ISO-8859-2,ISO-8859-2:1987,ISO-IR-101,LATIN2"},
    {28591, 0, "ISO-8859-3,ISO-8859-3,ISO-8859-3:1988,ISO-IR-109,LATIN3"},
    {28594, 0, "ISO-8859-4,ISO-8859-4,ISO-8859-4:1988,ISO-IR-110,LATIN4,BALTIC"},
    {28595, 0, "ISO-8859-5,ISO-8859-5,ISO-8859-5:1988,ISO-IR-144,CYRILLIC"},
    {28596, 0, "ISO-8859-6,ISO-8859-6,ISO-8859-6:1987,ISO-IR-127,ECMA-114,ASMO-708,ARABIC"},
    {28597, 0, "ISO-8859-7,ISO-8859-7,ISO-8859-7:1987,ISO-IR-126,ECMA-118,ELOT-928,GREEK8,GREEK"},
    {28598, 0, "ISO-8859-8,ISO-8859-8,ISO-8859-8:1988,ISO-IR-138,HEBREW"},
    {28599, 0, "ISO-8859-9,ISO-8859-9,ISO-8859-9:1989,ISO-IR-148,LATIN5,TURKISH"},
    {28600, 0, "ISO-8859-10,ISO-8859-10,ISO-8859-10:1992,ISO-IR-157,LATIN6"},
    {28603, 0, "ISO-8859-13,ISO-8859-13,ISO-IR-179,LATIN7"},
    {28604, 0, "ISO-8859-14,ISO-8859-14,ISO-8859-14,ISO-8859-14:1998,ISO-IR-199,LATIN8"},
    {28605, 0, "ISO-8859-15,ISO-8859-15,ISO-8859-15:1998,ISO-IR-203"},
    {28606, 0, "ISO-8859-16,ISO-885,ISO-885,MS-EE"},
    {850, 1, "IBM850"},
    {866, 0, "IBM866"},
    {932, 0, "SJIS,SHIFT-JIS,MS-SJIS,MS-KANJI"},
    {936, 0, "GBK,WINDOWS-936,GB2312,GB-2312-80,ISO-IR-58,CHINESE"},
    {949, 0, "UHC,KSC-5601,KS-C-5601-1987,KS-C-5601-1989,ISO-IR-149,KOREAN"},
    {950, 0, "BIG5,BIG-5,BIG-FIVE,BIGFIVE,CN-BIG5"},
    {1251, 0, "MS-CYRL"},
    {1252, 1, "MS-ANSI"},
    {1253, 0, "MS-GREEK"},
    {1254, 0, "MS-TURK"},
    {1255, 0, "MS-HEBR"},
    {1256, 0, "MS-ARAB"},
    {1257, 0, "WINBALTRIM"},
    {1361, 0, "JOHAB"},
    {51932, 0, "EUC-JP,EUCJP"},
    {51949, 0, "EUC-KR,EUCKR"},
    {52936, 0, "HZ,HZ-GB-2312"},
    {10001, 0, "MAC-JAPANESE"},
    {10006, 0, "MAC-GREEK"},
    {10007, 0, "MAC-CYRILLIC"},
    {10029, 0, "MAC-LATIN"},
    {10079, 0, "MAC-ICELANDIC"},
    {10081, 0, "MAC-TURKISH"},
    {437, 1, "IBM850"},
    {709, 0, "CP709,WINDOWS-709,ASMO-449,BCONV4"},
    {1026, 0, "EBCDIC"},
    {20866, 0, "KOI-8R"},
    {21886, 0, "KOI-8U"},
    {50220, 0, "ISO-2022-JP"},
    {50225, 0, "ISO-2022-KR"},
};
static_assert(std::size(codePages) == 45);

bool isDigit(unsigned unit)
{
    return unit >= '0' && unit <= '9';
}

// The number that begins there; whatever stands behind it is ignored. One that is too large becomes
// the largest, which is no code page.
unsigned numberAt(const unsigned short *text)
{
    constexpr std::uint64_t largest = std::numeric_limits<unsigned>::max();
    std::uint64_t number = 0;
    for (; isDigit(*text); ++text)
        number = std::min<std::uint64_t>(number * 10 + *text - '0', largest);
    return static_cast<unsigned>(number);
}

bool hasPrefix(const String &name, const char *prefix, int length)
{
    return name.length() > length && name.ncmp(prefix, length) == 0 && isDigit(name.wstr()[length]);
}

// The number that the name spells, or nothing.
std::optional<unsigned> numberIn(const String &name)
{
    constexpr int shortPrefix = 2;
    constexpr int longPrefix = 8;
    if (hasPrefix(name, "CP", shortPrefix))
        return numberAt(name.wstr() + shortPrefix);
    // D-109: one digit is not enough here.
    if (name.length() > longPrefix + 1 && hasPrefix(name, "WINDOWS-", longPrefix))
        return numberAt(name.wstr() + longPrefix);
    return std::nullopt;
}

CodePageName byNumber(unsigned number)
{
    const auto *row =
        std::find_if(std::begin(codePages), std::end(codePages),
                     [=](const CodePageName &page) { return page.codePage == number; });
    return row != std::end(codePages) ? *row : CodePageName{number, 0, ""};
}

String betweenCommas(const String &text)
{
    String result(",");
    result += text;
    result += ',';
    return result;
}

void appendNumber(String &text, unsigned number)
{
    char digits[std::numeric_limits<unsigned>::digits10 + 1];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number);
    text.append(digits, static_cast<int>(end.ptr - digits));
}

} // namespace

std::optional<CodePageName> findCodePage(const String &name)
{
    if (const std::optional<unsigned> number = numberIn(name))
        return *number == 0 ? std::nullopt : std::optional(byNumber(*number));
    const String wanted = betweenCommas(name);
    for (const CodePageName &page : codePages)
        if (betweenCommas(page.names).find(wanted) >= 0)
            return page;
    return std::nullopt;
}

String aliasesOf(const CodePageName &page)
{
    String aliases(page.names);
    aliases += aliases.length() == 0 ? "CP" : ",CP";
    appendNumber(aliases, page.codePage);
    aliases += ",WINDOWS-";
    appendNumber(aliases, page.codePage);
    return aliases;
}

} // namespace Tavrin::detail
