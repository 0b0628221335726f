// SPDX-License-Identifier: MIT
#include <tavrin/UnicodeUtils.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <initializer_list>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/UnicodeModel.h"
#include "text/UnicodeTables.h"

namespace {

using Tavrin::UnicodeUtils;
namespace detail = Tavrin::detail;
namespace unicode = Tavrin::detail::unicode;

constexpr int unitCount = 0x10000;

std::string nameOf(int unit)
{
    char text[8];
    std::snprintf(text, sizeof(text), "U+%04X", static_cast<unsigned>(unit));
    return text;
}

const unsigned short *units(const char16_t *text)
{
    return reinterpret_cast<const unsigned short *>(text);
}

// --- The model, read in the plainest way ---------------------------------------------------------

unsigned modelByte(int unit)
{
    for (const unicode::Range &range : unicode::ranges) {
        if (unit >= range.first && unit <= range.last)
            return range.bytes.empty() ? 0xC0u
                                       : range.bytes[static_cast<std::size_t>(unit - range.first)];
    }
    return 0;
}

template <std::size_t count>
int modelListed(const unicode::CaseException (&list)[count], int unit)
{
    for (const unicode::CaseException &row : list) {
        if (row.unit == unit)
            return unit + row.delta;
    }
    return unit;
}

int modelUpper(int unit)
{
    const unsigned caseClass = modelByte(unit) & 15;
    if (caseClass == 15)
        return modelListed(unicode::toUpperExceptions, unit);
    return caseClass >= 8 ? unit + unicode::caseDeltas[caseClass] : unit;
}

int modelLower(int unit)
{
    const unsigned caseClass = modelByte(unit) & 15;
    if (caseClass == 15)
        return modelListed(unicode::toLowerExceptions, unit);
    return caseClass >= 1 && caseClass <= 7 ? unit + unicode::caseDeltas[caseClass] : unit;
}

bool modelIsDash(int unit)
{
    return std::ranges::count(unicode::dashes, unit) != 0;
}

struct UnitPair
{
    unsigned short unit;
    int delta;
};

// --- The whole of the data -----------------------------------------------------------------------

TEST(UnicodeTables, HoldTheByteOfTheModelForEveryUnit)
{
    for (int unit = 0; unit < unitCount; ++unit)
        ASSERT_EQ(detail::unitFlags(static_cast<unsigned short>(unit)), modelByte(unit))
            << nameOf(unit);
}

TEST(UnicodeTables, MapEveryUnitAsTheModelDoes)
{
    for (int unit = 0; unit < unitCount; ++unit) {
        const auto narrow = static_cast<unsigned short>(unit);
        ASSERT_EQ(detail::toUpperUnit(narrow), modelUpper(unit)) << nameOf(unit);
        ASSERT_EQ(detail::toLowerUnit(narrow), modelLower(unit)) << nameOf(unit);
    }
}

TEST(UnicodeTables, StaySmall)
{
    EXPECT_LE(sizeof(detail::flagTable) + sizeof(detail::toUpperTable) +
                  sizeof(detail::toLowerTable),
              25u * 1024);
}

TEST(UnicodeUtils, AnswersForEveryUnitAsTheModelDoes)
{
    for (int unit = 0; unit < unitCount; ++unit) {
        const auto narrow = static_cast<unsigned short>(unit);
        const unsigned byte = modelByte(unit);
        const unsigned caseClass = byte & 15;
        const bool isDigit = unit >= 0x30 && unit <= 0x39;
        ASSERT_EQ(UnicodeUtils::isWS(narrow), (byte & 0x10) != 0) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::isCf(narrow), (byte & 0x20) != 0) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::isSymbolStart(narrow), (byte & 0x40) != 0) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::isSymbolChar(narrow), (byte & 0x80) != 0) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::isPd(narrow), modelIsDash(unit)) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::iswalpha(narrow), caseClass != 0) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::iswalnum(narrow), caseClass != 0 || isDigit) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::iswlower(narrow), caseClass >= 8) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::iswupper(narrow),
                  (caseClass >= 1 && caseClass <= 7) || caseClass == 15)
            << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::towupper(narrow), modelUpper(unit)) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::towlower(narrow), modelLower(unit)) << nameOf(unit);
    }
}

// --- The shape of the model ----------------------------------------------------------------------

TEST(UnicodeModel, HasTenRangesInOrderFourWithoutBytes)
{
    struct Row
    {
        int first;
        int last;
        bool hasBytes;
    };
    constexpr Row rows[] = {
        {0x0000, 0x07B1, true},  {0x0901, 0x1974, true},  {0x1D00, 0x2183, true},
        {0x24B6, 0x24E9, true},  {0x3000, 0x31FF, true},  {0x3400, 0x4DB5, false},
        {0x4E00, 0x9FA5, false}, {0xA000, 0xA48C, false}, {0xAC00, 0xD7A3, false},
        {0xF900, 0xFFFF, true},
    };
    ASSERT_EQ(std::size(unicode::ranges), std::size(rows));
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        EXPECT_EQ(unicode::ranges[row].first, rows[row].first);
        EXPECT_EQ(unicode::ranges[row].last, rows[row].last);
        EXPECT_EQ(!unicode::ranges[row].bytes.empty(), rows[row].hasBytes);
    }
}

TEST(UnicodeModel, HasTheSixteenCaseDeltas)
{
    constexpr short deltas[] = {0, 1, -8, 16, 26, 32, 48, 80, -1, 8, -16, -26, -32, -48, -80, 0};
    EXPECT_TRUE(std::ranges::equal(unicode::caseDeltas, deltas));
}

TEST(UnicodeModel, ListsSixtySevenExceptionsToUpperCase)
{
    EXPECT_EQ(std::size(unicode::toUpperExceptions), 67u);
    for (const unicode::CaseException &row : unicode::toUpperExceptions)
        EXPECT_EQ(modelByte(row.unit) & 15, 15u) << nameOf(row.unit);
}

TEST(UnicodeModel, ListsSixtyExceptionsToLowerCase)
{
    EXPECT_EQ(std::size(unicode::toLowerExceptions), 60u);
    for (const unicode::CaseException &row : unicode::toLowerExceptions)
        EXPECT_EQ(modelByte(row.unit) & 15, 15u) << nameOf(row.unit);
}

TEST(UnicodeModel, ListsExceptionsInOrderAndOnce)
{
    const auto isBefore = [](const unicode::CaseException &a, const unicode::CaseException &b) {
        return a.unit < b.unit;
    };
    const auto isOneStepDown = [&](const auto &a, const auto &b) { return !isBefore(a, b); };
    EXPECT_EQ(std::ranges::adjacent_find(unicode::toUpperExceptions, isOneStepDown),
              std::end(unicode::toUpperExceptions));
    EXPECT_EQ(std::ranges::adjacent_find(unicode::toLowerExceptions, isOneStepDown),
              std::end(unicode::toLowerExceptions));
}

TEST(UnicodeModel, ListsOnlyTheTitleCaseDigraphsTwice)
{
    std::vector<int> both;
    for (const unicode::CaseException &row : unicode::toUpperExceptions) {
        if (modelListed(unicode::toLowerExceptions, row.unit) != row.unit)
            both.push_back(row.unit);
    }
    EXPECT_EQ(both, (std::vector<int>{0x01C5, 0x01C8, 0x01CB, 0x01F2}));
}

TEST(UnicodeModel, ListsNothingThatTheDeltasOfItsDirectionExpress)
{
    for (const unicode::CaseException &row : unicode::toUpperExceptions) {
        const bool isTitle = modelListed(unicode::toLowerExceptions, row.unit) != row.unit;
        const auto *end = unicode::caseDeltas + 15;
        EXPECT_EQ(std::find(unicode::caseDeltas + 8, end, row.delta) == end, !isTitle)
            << nameOf(row.unit);
    }
    for (const unicode::CaseException &row : unicode::toLowerExceptions) {
        const bool isTitle = modelListed(unicode::toUpperExceptions, row.unit) != row.unit;
        const auto *end = unicode::caseDeltas + 8;
        EXPECT_EQ(std::find(unicode::caseDeltas + 1, end, row.delta) == end, !isTitle)
            << nameOf(row.unit);
    }
}

// --- Classes -------------------------------------------------------------------------------------

TEST(UnicodeUtils, KnowsALetterOfEachCaseClass)
{
    struct Row
    {
        unsigned short unit;
        unsigned caseClass;
    };
    constexpr Row rows[] = {
        {0x0030, 0},  {0x0100, 1},  {0x1F08, 2},  {0x2160, 3},  {0x24B6, 4},  {0x0041, 5},
        {0x0531, 6},  {0x0400, 7},  {0x0101, 8},  {0x1F00, 9},  {0x2170, 10}, {0x24D0, 11},
        {0x0061, 12}, {0x0561, 13}, {0x0450, 14}, {0x00DF, 15}, {0x05D0, 15}, {0x01C5, 15},
    };
    for (const Row &row : rows)
        EXPECT_EQ(detail::unitFlags(row.unit) & 15, row.caseClass) << nameOf(row.unit);
}

TEST(UnicodeUtils, TellsUpperAndLowerCaseOfOrdinaryLetters)
{
    EXPECT_TRUE(UnicodeUtils::iswupper('A') && !UnicodeUtils::iswlower('A'));
    EXPECT_TRUE(UnicodeUtils::iswlower('a') && !UnicodeUtils::iswupper('a'));
    EXPECT_TRUE(UnicodeUtils::iswupper(0x0416) && !UnicodeUtils::iswlower(0x0416));
    EXPECT_TRUE(UnicodeUtils::iswlower(0x0436) && !UnicodeUtils::iswupper(0x0436));
    EXPECT_FALSE(UnicodeUtils::iswlower('1') || UnicodeUtils::iswupper('1'));
}

TEST(UnicodeUtils, TakesALetterOfClass15ForBothCases)
{
    for (const unsigned short unit : std::initializer_list<unsigned short>{
             0x00AA, 0x00DF, 0x00FF, 0x0130, 0x01C5, 0x05D0, 0x0905})
        EXPECT_TRUE(UnicodeUtils::iswlower(unit) && UnicodeUtils::iswupper(unit)) << nameOf(unit);
}

TEST(UnicodeUtils, TakesIdeographsForIdentifiersButNotForLetters)
{
    for (const unsigned short unit : std::initializer_list<unsigned short>{
             0x3400, 0x4DB5, 0x4E00, 0x9FA5, 0xA000, 0xA48C, 0xAC00, 0xD7A3}) {
        EXPECT_TRUE(UnicodeUtils::isSymbolStart(unit) && UnicodeUtils::isSymbolChar(unit))
            << nameOf(unit);
        EXPECT_FALSE(UnicodeUtils::iswalpha(unit) || UnicodeUtils::iswalnum(unit)) << nameOf(unit);
        EXPECT_FALSE(UnicodeUtils::iswlower(unit) || UnicodeUtils::iswupper(unit)) << nameOf(unit);
        EXPECT_FALSE(UnicodeUtils::isWS(unit) || UnicodeUtils::isCf(unit)) << nameOf(unit);
        EXPECT_EQ(UnicodeUtils::towupper(unit), unit);
        EXPECT_EQ(UnicodeUtils::towlower(unit), unit);
    }
}

TEST(UnicodeUtils, KnowsNothingOfTheUnitsBetweenTheRanges)
{
    constexpr int gaps[][2] = {{0x07B2, 0x0900}, {0x1975, 0x1CFF}, {0x2184, 0x24B5},
                               {0x24EA, 0x2FFF}, {0x3200, 0x33FF}, {0x4DB6, 0x4DFF},
                               {0x9FA6, 0x9FFF}, {0xA48D, 0xABFF}, {0xD7A4, 0xF8FF}};
    for (const auto &[first, last] : gaps) {
        for (int unit = first; unit <= last; ++unit) {
            const auto narrow = static_cast<unsigned short>(unit);
            ASSERT_EQ(detail::unitFlags(narrow), 0u) << nameOf(unit);
            ASSERT_EQ(UnicodeUtils::towupper(narrow), unit);
            ASSERT_EQ(UnicodeUtils::towlower(narrow), unit);
        }
    }
}

TEST(UnicodeUtils, LeavesSurrogatesAlone)
{
    for (int unit = 0xD800; unit <= 0xDFFF; ++unit) {
        const auto narrow = static_cast<unsigned short>(unit);
        ASSERT_EQ(UnicodeUtils::towupper(narrow), unit);
        ASSERT_EQ(UnicodeUtils::towlower(narrow), unit);
        ASSERT_FALSE(UnicodeUtils::iswalpha(narrow) || UnicodeUtils::isSymbolChar(narrow));
    }
}

TEST(UnicodeUtils, KnowsNothingAssignedAfterUnicode3)
{
    // Letters and a format character that later versions put inside the ranges.
    for (const unsigned short unit :
         std::initializer_list<unsigned short>{0x0220, 0x037B, 0x0600, 0x1D00, 0x1E9E, 0xFA30}) {
        EXPECT_EQ(detail::unitFlags(unit), 0u) << nameOf(unit);
        EXPECT_EQ(UnicodeUtils::towupper(unit), unit) << nameOf(unit);
        EXPECT_EQ(UnicodeUtils::towlower(unit), unit) << nameOf(unit);
    }
    // Letters whose other case came later.
    for (const unsigned short unit :
         std::initializer_list<unsigned short>{0x0180, 0x00DF, 0x10A0, 0x0250}) {
        EXPECT_TRUE(UnicodeUtils::iswalpha(unit)) << nameOf(unit);
        EXPECT_EQ(UnicodeUtils::towupper(unit), unit) << nameOf(unit);
        EXPECT_EQ(UnicodeUtils::towlower(unit), unit) << nameOf(unit);
    }
}

TEST(UnicodeUtils, TakesNumeralsAndSymbolsWithCaseForLetters)
{
    EXPECT_TRUE(UnicodeUtils::iswupper(0x2160) && UnicodeUtils::iswlower(0x2170));
    EXPECT_EQ(UnicodeUtils::towlower(0x2160), 0x2170);
    EXPECT_TRUE(UnicodeUtils::iswupper(0x24CF) && UnicodeUtils::iswlower(0x24E9));
    EXPECT_EQ(UnicodeUtils::towupper(0x24E9), 0x24CF);
    // Numerals without case, and a combining mark with case.
    EXPECT_FALSE(UnicodeUtils::iswalpha(0x2180));
    EXPECT_FALSE(UnicodeUtils::iswalpha(0x3007));
    EXPECT_FALSE(UnicodeUtils::iswalpha(0x0345));
    EXPECT_EQ(UnicodeUtils::towupper(0x0345), 0x0345);
}

TEST(UnicodeUtils, TakesOnlyAsciiDigitsForAlphanumeric)
{
    for (unsigned short unit = '0'; unit <= '9'; ++unit)
        EXPECT_TRUE(UnicodeUtils::iswalnum(unit) && !UnicodeUtils::iswalpha(unit));
    EXPECT_FALSE(UnicodeUtils::iswalnum('0' - 1));
    EXPECT_FALSE(UnicodeUtils::iswalnum('9' + 1));
    EXPECT_FALSE(UnicodeUtils::iswalnum(0x0660));
    EXPECT_FALSE(UnicodeUtils::iswalnum(0xFF10));
    EXPECT_TRUE(UnicodeUtils::iswalnum('z'));
}

TEST(UnicodeUtils, KnowsAllWhiteSpace)
{
    const std::set<int> expected = {0x0009, 0x000A, 0x000B, 0x000C, 0x000D, 0x0020, 0x0085, 0x00A0,
                                    0x1680, 0x2000, 0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x2006,
                                    0x2007, 0x2008, 0x2009, 0x200A, 0x2028, 0x2029, 0x202F, 0x3000};
    for (int unit = 0; unit < unitCount; ++unit)
        ASSERT_EQ(UnicodeUtils::isWS(static_cast<unsigned short>(unit)), expected.contains(unit))
            << nameOf(unit);
    EXPECT_FALSE(UnicodeUtils::isWS('A'));
}

TEST(UnicodeUtils, KnowsAllFormatCharacters)
{
    const std::set<int> expected = {0x00AD, 0x06DD, 0x070F, 0x180E, 0x200B, 0x200C, 0x200D, 0x200E,
                                    0x200F, 0x202A, 0x202B, 0x202C, 0x202D, 0x202E, 0x206A, 0x206B,
                                    0x206C, 0x206D, 0x206E, 0x206F, 0xFEFF, 0xFFF9, 0xFFFA, 0xFFFB};
    for (int unit = 0; unit < unitCount; ++unit)
        ASSERT_EQ(UnicodeUtils::isCf(static_cast<unsigned short>(unit)), expected.contains(unit))
            << nameOf(unit);
}

TEST(UnicodeUtils, KnowsSeventeenDashesAndNoOther)
{
    const std::set<int> expected = {0x002D, 0x058A, 0x1806, 0x2010, 0x2011, 0x2012,
                                    0x2013, 0x2014, 0x2015, 0x301C, 0x3030, 0x30A0,
                                    0xFE31, 0xFE32, 0xFE58, 0xFE63, 0xFF0D};
    ASSERT_EQ(expected.size(), 17u);
    for (int unit = 0; unit < unitCount; ++unit)
        ASSERT_EQ(UnicodeUtils::isPd(static_cast<unsigned short>(unit)), expected.contains(unit))
            << nameOf(unit);
}

TEST(UnicodeUtils, TakesTheKatakanaHyphenForADashThoughItCameLater)
{
    EXPECT_TRUE(UnicodeUtils::isPd(0x30A0));
    EXPECT_EQ(detail::unitFlags(0x30A0), 0u);
    EXPECT_FALSE(UnicodeUtils::isPd(0x05BE));
    EXPECT_FALSE(UnicodeUtils::isPd(0x2212));
}

TEST(UnicodeUtils, KnowsWhatMayStartAndContinueAnIdentifier)
{
    struct Row
    {
        const char *what;
        unsigned short unit;
        bool start;
        bool part;
    };
    constexpr Row rows[] = {
        {"letter", 'a', true, true},
        {"dollar", '$', true, true},
        {"low line", '_', true, true},
        {"at, before the name of an attribute", '@', true, false},
        {"digit", '7', false, true},
        {"hyphen", '-', false, false},
        {"full stop", '.', false, false},
        {"space", ' ', false, false},
        {"zero", 0, false, false},
        {"feminine ordinal", 0x00AA, true, true},
        {"modifier letter", 0x02B0, true, true},
        {"combining grave accent", 0x0300, false, true},
        {"enclosing mark", 0x20DD, false, false},
        {"Arabic-Indic digit", 0x0660, false, true},
        {"spacing vowel sign", 0x0903, false, true},
        {"Roman numeral", 0x2160, true, true},
        {"Roman numeral without case", 0x2180, true, true},
        {"circled letter", 0x24B6, false, false},
        {"connector", 0x203F, false, true},
        {"zero width joiner", 0x200D, false, false},
        {"ideographic zero", 0x3007, true, true},
        {"compatibility ideograph", 0xF900, true, true},
        {"full-width letter", 0xFF21, true, true},
        {"full-width low line", 0xFF3F, false, true},
        {"no character", 0xFFFF, false, false},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(UnicodeUtils::isSymbolStart(row.unit), row.start) << row.what;
        EXPECT_EQ(UnicodeUtils::isSymbolChar(row.unit), row.part) << row.what;
    }
}

// --- Case mapping --------------------------------------------------------------------------------

TEST(UnicodeUtils, MapsToUpperCase)
{
    constexpr UnitPair rows[] = {
        {'a', -32},      {'z', -32},    {'A', 0},      {'{', 0},      {0x00B5, 743},  {0x00E9, -32},
        {0x00F7, 0},     {0x00FE, -32}, {0x00FF, 121}, {0x0101, -1},  {0x0131, -232}, {0x0138, 0},
        {0x017F, -300},  {0x01C4, 0},   {0x01C5, -1},  {0x01C6, -2},  {0x03B1, -32},  {0x03C2, -31},
        {0x0430, -32},   {0x0450, -80}, {0x0561, -48}, {0x0587, 0},   {0x1F00, 8},    {0x1F70, 74},
        {0x1FBE, -7205}, {0x1E9B, -59}, {0x2170, -16}, {0x24D0, -26}, {0xFF41, -32},  {0xD800, 0},
    };
    for (const UnitPair &row : rows)
        EXPECT_EQ(UnicodeUtils::towupper(row.unit), row.unit + row.delta) << nameOf(row.unit);
}

TEST(UnicodeUtils, MapsToLowerCase)
{
    constexpr UnitPair rows[] = {
        {'A', 32},    {'Z', 32},    {'a', 0},        {'@', 0},        {'[', 0},       {0x00C9, 32},
        {0x00D7, 0},  {0x00DE, 32}, {0x0100, 1},     {0x0130, -199},  {0x0178, -121}, {0x01C4, 2},
        {0x01C5, 1},  {0x01C6, 0},  {0x0391, 32},    {0x0400, 80},    {0x0410, 32},   {0x0531, 48},
        {0x1F08, -8}, {0x1FBC, -9}, {0x2126, -7517}, {0x212A, -8383}, {0x2160, 16},   {0x24B6, 26},
        {0xFF21, 32}, {0xDFFF, 0},
    };
    for (const UnitPair &row : rows)
        EXPECT_EQ(UnicodeUtils::towlower(row.unit), row.unit + row.delta) << nameOf(row.unit);
}

TEST(UnicodeUtils, MapsAMappedUnitToItself)
{
    for (int unit = 0; unit < unitCount; ++unit) {
        const auto upper = UnicodeUtils::towupper(static_cast<unsigned short>(unit));
        const auto lower = UnicodeUtils::towlower(static_cast<unsigned short>(unit));
        ASSERT_EQ(UnicodeUtils::towupper(upper), upper) << nameOf(unit);
        ASSERT_EQ(UnicodeUtils::towlower(lower), lower) << nameOf(unit);
    }
}

// --- Text ----------------------------------------------------------------------------------------

TEST(UnicodeUtils, WatolReadsASignedNumberBehindWhiteSpace)
{
    struct Row
    {
        const char16_t *text;
        int value;
    };
    constexpr Row rows[] = {
        {u"  -12x", -12},
        {u"x", 0},
        {u"", 0},
        {u"   ", 0},
        {u"+", 0},
        {u"-", 0},
        {u"0", 0},
        {u"-0", 0},
        {u"+7", 7},
        {u"+-7", 0},
        {u"--7", 0},
        {u"- 7", 0},
        {u"007", 7},
        {u"12 34", 12},
        {u"1\u0660", 1},
        {u"\u0660", 0},
        {u"\uFF11", 0},
        {u"\t\n\v\f\r\u00A0\u1680\u2003\u2028\u202F\u3000-5", -5},
        {u"\u200B5", 0},
        {u"\uFEFF5", 0},
        {u"2147483647", INT_MAX},
        {u"-2147483648", INT_MIN},
    };
    for (const Row &row : rows)
        EXPECT_EQ(UnicodeUtils::watol(units(row.text)), row.value)
            << testing::PrintToString(std::u16string(row.text));
}

TEST(UnicodeUtils, WatolWrapsAtThirtyTwoBits)
{
    EXPECT_EQ(UnicodeUtils::watol(units(u"2147483648")), INT_MIN);
    EXPECT_EQ(UnicodeUtils::watol(units(u"4294967295")), -1);
    EXPECT_EQ(UnicodeUtils::watol(units(u"4294967296")), 0);
    EXPECT_EQ(UnicodeUtils::watol(units(u"-4294967297")), -1);
    EXPECT_EQ(UnicodeUtils::watol(units(u"-2147483649")), INT_MAX);
    EXPECT_EQ(UnicodeUtils::watol(units(u"99999999999999999999")), 1661992959);
}

TEST(UnicodeUtils, ComparesWithBytesAsUnits)
{
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u""), ""), 0);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"abc"), "abc"), 0);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"abz"), "aba"), 25);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"aba"), "abz"), -25);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"ab"), "abc"), -'c');
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"abc"), "ab"), 'c');
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"a"), "A"), 32);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"\u00E9"), "\xE9"), 0);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"\u01E9"), "\xE9"), 0x100);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"\u00FF"), "\x80"), 0x7F);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u"\uFFFF"), ""), 0xFFFF);
    EXPECT_EQ(UnicodeUtils::wcscmpmb(units(u""), "\xFF"), -0xFF);
}

TEST(UnicodeUtils, ComparesWithBytesWithoutCase)
{
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u""), ""), 0);
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"Hello"), "hELLO"), 0);
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"a"), "B"), -1);
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"ab"), "A"), 'B');
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"["), "a"), '[' - 'A');
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"\u00C9"), "\xE9"), 0);
    // Bytes fold as units too: U+00FF and U+00B5 leave the range of bytes.
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"\u0178"), "\xFF"), 0);
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"\u03BC"), "\xB5"), 0);
    EXPECT_EQ(UnicodeUtils::wcsicmpmb(units(u"\u017F"), "s"), 0);
}

TEST(UnicodeUtils, ComparesAtMostTheGivenCountWithBytes)
{
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"abx"), "aby", 2), 0);
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"abx"), "aby", 3), -1);
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"ab"), "ab", 100), 0);
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"ab"), "abc", 2), 0);
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"ab"), "abc", 3), -'c');
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"a"), "b", 0), 0);
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"a"), "b", -1), 0);
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"a"), "b", INT_MIN), 0);
    EXPECT_EQ(UnicodeUtils::wcsnicmpmb(units(u"aBx"), "Aby", 2), 0);
    EXPECT_EQ(UnicodeUtils::wcsnicmpmb(units(u"aBx"), "AbY", 3), -1);
    EXPECT_EQ(UnicodeUtils::wcsnicmpmb(units(u"a"), "B", 0), 0);
    EXPECT_EQ(UnicodeUtils::wcsnicmpmb(units(u"a"), "B", -1), 0);
}

TEST(UnicodeUtils, ComparesNothingBehindTheEndOfEitherText)
{
    EXPECT_EQ(UnicodeUtils::wcsncmpmb(units(u"ab\0x"), "ab\0y", 4), 0);
    EXPECT_EQ(UnicodeUtils::wcsnicmpmb(units(u"ab\0x"), "AB\0y", 4), 0);
}

} // namespace
