// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <compare>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/UnicodeUtils.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::patternOf;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringCompareTest = test::LibraryTest;

namespace {

constexpr int noLimit = std::numeric_limits<int>::max();

// The rule, unit by unit.
int expectedComparison(const std::u16string &a, const std::u16string &b, int limit, bool folded)
{
    const auto fold = [folded](char16_t unit) -> int {
        return folded ? UnicodeUtils::towupper(unit) : unit;
    };
    for (int index = 0;; ++index) {
        const auto at = static_cast<std::size_t>(index);
        if (index >= limit)
            return 0;
        if (at == a.size() || at == b.size())
            return a.size() == b.size() ? 0 : at == a.size() ? -1 : 1;
        if (fold(a[at]) != fold(b[at]))
            return fold(a[at]) - fold(b[at]);
    }
}

// All texts of up to `most` units over an alphabet.
std::vector<std::u16string> allTexts(std::u16string_view alphabet, std::size_t most)
{
    std::vector<std::u16string> texts{u""};
    for (std::size_t index = 0; index < texts.size(); ++index) {
        if (texts[index].size() == most)
            continue;
        for (const char16_t unit : alphabet)
            texts.push_back(texts[index] + unit);
    }
    return texts;
}

} // namespace

TEST_F(StringCompareTest, CmpGivesTheDifferenceOfTheFirstUnequalUnits)
{
    struct Row
    {
        const char *name;
        std::u16string_view text;
        std::u16string_view other;
        int expected;
    };
    const Row rows[] = {
        {"smaller by one", u"abc", u"abd", -1},
        {"greater by 25", u"abz", u"aba", 25},
        {"shorter", u"ab", u"abc", -1},
        {"longer", u"abc", u"ab", 1},
        {"equal", u"abc", u"abc", 0},
        {"both empty", u"", u"", 0},
        {"empty against text", u"", u"a", -1},
        {"text against empty", u"a", u"", 1},
        {"the whole range of a unit", u"\uFFFF", u"\u0001", 0xFFFE},
        {"difference before the shorter end", u"b", u"abc", 1},
        {"case counts", u"a", u"A", 32},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const String text = textOf(row.text);
        EXPECT_EQ(text.cmp(textOf(row.other)), row.expected);
        EXPECT_EQ(text.cmp(Units(row.other).data()), row.expected);
        EXPECT_EQ(text == textOf(row.other), row.expected == 0);
    }
}

TEST_F(StringCompareTest, NarrowTextComparesWithoutSignExtension)
{
    const String text(Units(u"a\u00E9"));
    EXPECT_EQ(text.cmp("a\xE9"), 0);
    EXPECT_EQ(text.cmp("a\x7F"), 0xE9 - 0x7F);
    EXPECT_EQ(text.cmp("a\xFF"), 0xE9 - 0xFF);
    EXPECT_EQ(text.ncmp("a\xFF", 1), 0);
    EXPECT_EQ(text.ucmp("A\xC9"), 0);
    EXPECT_EQ(text.nucmp("A\xC9z", 2), 0);
    EXPECT_TRUE(text == "a\xE9");
}

TEST_F(StringCompareTest, NullTextComparesAsEmpty)
{
    const char *nullBytes = nullptr;
    const unsigned short *nullUnits = nullptr;
    const String text("a");
    const String empty;
    EXPECT_EQ(text.cmp(nullBytes), 1);
    EXPECT_EQ(text.cmp(nullUnits), 1);
    EXPECT_EQ(text.ucmp(nullBytes), 1);
    EXPECT_EQ(text.ucmp(nullUnits), 1);
    EXPECT_EQ(text.ncmp(nullBytes, 0), 0);
    EXPECT_EQ(empty.cmp(nullBytes), 0);
    EXPECT_EQ(empty.cmp(nullUnits), 0);
    EXPECT_EQ(empty.ucmp(nullBytes), 0);
    EXPECT_EQ(empty.ucmp(nullUnits), 0);
}

TEST_F(StringCompareTest, UnitsOfZeroTakePart)
{
    const String text = textOf(std::u16string_view(u"ab\0c", 4));
    EXPECT_EQ(text.cmp("ab"), 1);
    EXPECT_EQ(text.cmp(Units(u"ab").data()), 1);
    EXPECT_EQ(text.cmp("abc"), -'c');
    EXPECT_EQ(text.cmp(Units(u"abc").data()), -'c');
    EXPECT_EQ(text.cmp(textOf(std::u16string_view(u"ab\0d", 4))), -1);
    EXPECT_EQ(text.ucmp("AB"), 1);
    EXPECT_FALSE(text == "ab");
    EXPECT_TRUE(text == textOf(std::u16string_view(u"ab\0c", 4)));
}

TEST_F(StringCompareTest, NcmpStopsAfterThatManyUnits)
{
    const String text("abcdef");
    EXPECT_EQ(text.ncmp("abcxyz", 3), 0);
    EXPECT_EQ(text.ncmp("abcxyz", 4), 'd' - 'x');
    EXPECT_EQ(text.ncmp("abc", 3), 0);
    EXPECT_EQ(text.ncmp("abc", 4), 1);
    EXPECT_EQ(text.ncmp("zzz", 0), 0);
    EXPECT_EQ(text.ncmp("zzz", -1), 0);
    EXPECT_EQ(text.nucmp("ABCxyz", 3), 0);
    EXPECT_EQ(text.nucmp("ABCxyz", 4), 'D' - 'X');
    EXPECT_EQ(text.nucmp("zzz", 0), 0);
    EXPECT_EQ(text.ncmp(text, 2), 0);
}

TEST_F(StringCompareTest, UcmpFoldsBothSidesToUpperCase)
{
    EXPECT_EQ(String("HeLLo").ucmp("hEllO"), 0);
    EXPECT_EQ(String("a").ucmp("_"), 'A' - '_') << "folded up, not down";
    EXPECT_EQ(String(Units(u"\u00FF")).ucmp(Units(u"\u0178")), 0);
    EXPECT_EQ(String(Units(u"\u00FF")).ucmp("\xFF"), 0);
    EXPECT_EQ(String(Units(u"\u0178")).ucmp("\xFF"), 0);
    EXPECT_EQ(String(Units(u"\u03C3")).ucmp(String(Units(u"\u03C2"))), 0) << "both sigmas";
}

TEST_F(StringCompareTest, ATextComparesEqualToItself)
{
    const String text("same");
    const String copy(text);
    EXPECT_EQ(text.cmp(copy), 0);
    EXPECT_EQ(text.ucmp(copy), 0);
    EXPECT_EQ(text.ncmp(text, 100), 0);
    EXPECT_EQ(text.cmp(text.wstr()), 0);
    EXPECT_TRUE(text == copy);
}

TEST_F(StringCompareTest, AllOperatorsAgreeWithCmpForAllThreeKinds)
{
    const char *const texts[] = {"", "a", "ab", "abc", "b", "A", "\xE9", "abcdefghijklmnopqrstuvw"};
    for (const char *first : texts)
        for (const char *second : texts) {
            SCOPED_TRACE(testing::Message() << first << " and " << second);
            const String text(first);
            const String other(second);
            const Units wide(unitsOf(other));
            const int order = text.cmp(other);
            EXPECT_EQ(text == other, order == 0);
            EXPECT_EQ(text != other, order != 0);
            EXPECT_EQ(text < other, order < 0);
            EXPECT_EQ(text <= other, order <= 0);
            EXPECT_EQ(text > other, order > 0);
            EXPECT_EQ(text >= other, order >= 0);
            EXPECT_EQ(text == second, order == 0);
            EXPECT_EQ(text != second, order != 0);
            EXPECT_EQ(text < second, order < 0);
            EXPECT_EQ(text <= second, order <= 0);
            EXPECT_EQ(text > second, order > 0);
            EXPECT_EQ(text >= second, order >= 0);
            EXPECT_EQ(text == wide.data(), order == 0);
            EXPECT_EQ(text != wide.data(), order != 0);
            EXPECT_EQ(text < wide.data(), order < 0);
            EXPECT_EQ(text <= wide.data(), order <= 0);
            EXPECT_EQ(text > wide.data(), order > 0);
            EXPECT_EQ(text >= wide.data(), order >= 0);
            EXPECT_EQ(second == text, order == 0);
            EXPECT_EQ(second<text, order> 0);
            EXPECT_EQ(wide.data() < text, order > 0);
            EXPECT_EQ(text <=> other, order <=> 0);
        }
}

TEST_F(StringCompareTest, AgreesWithTheRuleOnAllShortTexts)
{
    const std::vector<std::u16string> texts = allTexts(u"aAb", 4);
    for (const std::u16string &first : texts)
        for (const std::u16string &second : texts) {
            const String text(Units(first).data());
            const String other(Units(second).data());
            const std::string narrow(second.begin(), second.end());
            ASSERT_EQ(text.cmp(other), expectedComparison(first, second, noLimit, false));
            ASSERT_EQ(text.ucmp(other), expectedComparison(first, second, noLimit, true));
            for (const int limit : {0, 1, 2, 3, 4, 5}) {
                const int plain = expectedComparison(first, second, limit, false);
                const int folded = expectedComparison(first, second, limit, true);
                ASSERT_EQ(text.ncmp(other, limit), plain);
                ASSERT_EQ(text.ncmp(narrow.c_str(), limit), plain);
                ASSERT_EQ(text.ncmp(other.wstr(), limit), plain);
                ASSERT_EQ(text.nucmp(other, limit), folded);
                ASSERT_EQ(text.nucmp(narrow.c_str(), limit), folded);
                ASSERT_EQ(text.nucmp(other.wstr(), limit), folded);
            }
        }
}

TEST_F(StringCompareTest, FindsADifferenceAtEveryPlaceOfALongText)
{
    const std::u16string units = patternOf(300);
    const String text(Units(units).data());
    const std::string same(units.begin(), units.end());
    EXPECT_EQ(text.cmp(same.c_str()), 0);
    EXPECT_EQ(text.ucmp(same.c_str()), 0);
    for (std::size_t at = 0; at < units.size(); ++at) {
        std::u16string changed = units;
        changed[at] = 1;
        const std::string narrow(changed.begin(), changed.end());
        const int expected = expectedComparison(units, changed, noLimit, false);
        const int folded = expectedComparison(units, changed, noLimit, true);
        ASSERT_EQ(text.cmp(String(Units(changed).data())), expected) << at;
        ASSERT_EQ(text.cmp(Units(changed).data()), expected) << at;
        ASSERT_EQ(text.cmp(narrow.c_str()), expected) << at;
        ASSERT_EQ(text.ucmp(String(Units(changed).data())), folded) << at;
        ASSERT_EQ(text.ucmp(Units(changed).data()), folded) << at;
        ASSERT_EQ(text.ucmp(narrow.c_str()), folded) << at;
        ASSERT_FALSE(text == String(Units(changed).data())) << at;
        const int limit = static_cast<int>(at);
        ASSERT_EQ(text.ncmp(narrow.c_str(), limit), 0) << at;
        ASSERT_EQ(text.nucmp(narrow.c_str(), limit), 0) << at;
    }
}
