// SPDX-License-Identifier: MIT
#include <tavrin/UnicodeUtils.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Units = std::vector<unsigned short>;

// With the terminator, which is the last element of the storage.
Units make(const char16_t *text)
{
    const std::u16string copy = text;
    return Units(copy.c_str(), copy.c_str() + copy.size() + 1);
}

int sign(int value)
{
    return (value > 0) - (value < 0);
}

TEST(Strlen16, CountsToTheTerminator)
{
    EXPECT_EQ(strlen16(make(u"").data()), 0);
    EXPECT_EQ(strlen16(make(u"a").data()), 1);
    EXPECT_EQ(strlen16(make(u"\u0100\uFF00").data()), 2);
    for (int length = 0; length < 200; ++length) {
        Units text(static_cast<std::size_t>(length), 0x0100);
        text.push_back(0);
        ASSERT_EQ(strlen16(text.data()), length);
    }
}

TEST(Strlen16, StopsAtTheFirstTerminator)
{
    const Units text = {'a', 'b', 0, 'c', 0};
    EXPECT_EQ(strlen16(text.data()), 2);
}

TEST(Strcpy16, CopiesWithTheTerminatorAndReturnsTheTarget)
{
    for (int length = 0; length < 100; ++length) {
        Units source;
        for (int index = 0; index < length; ++index)
            source.push_back(static_cast<unsigned short>(index + 1));
        source.push_back(0);
        Units target(source.size() + 1, 0xABCD);
        ASSERT_EQ(strcpy16(target.data(), source.data()), target.data());
        ASSERT_TRUE(std::equal(source.begin(), source.end(), target.begin()));
        ASSERT_EQ(target.back(), 0xABCD);
    }
}

TEST(Strcpy16, MovesTextTowardsTheFrontOfItsOwnStorage)
{
    for (int length = 0; length < 80; ++length) {
        for (int distance = 0; distance < 40; ++distance) {
            Units text(static_cast<std::size_t>(distance), 0x5555);
            for (int index = 0; index < length; ++index)
                text.push_back(static_cast<unsigned short>(index + 1));
            text.push_back(0);
            strcpy16(text.data(), text.data() + distance);
            ASSERT_EQ(strlen16(text.data()), length);
            for (int index = 0; index < length; ++index)
                ASSERT_EQ(text[static_cast<std::size_t>(index)], index + 1);
        }
    }
}

TEST(Strcmp16, GivesTheDifferenceOfTheFirstUnequalUnits)
{
    EXPECT_EQ(strcmp16(make(u"").data(), make(u"").data()), 0);
    EXPECT_EQ(strcmp16(make(u"abc").data(), make(u"abc").data()), 0);
    EXPECT_EQ(strcmp16(make(u"abz").data(), make(u"aba").data()), 25);
    EXPECT_EQ(strcmp16(make(u"aba").data(), make(u"abz").data()), -25);
    EXPECT_EQ(strcmp16(make(u"ab").data(), make(u"abc").data()), -'c');
    EXPECT_EQ(strcmp16(make(u"abc").data(), make(u"ab").data()), 'c');
    EXPECT_EQ(strcmp16(make(u"\uFFFF").data(), make(u"").data()), 0xFFFF);
    EXPECT_EQ(strcmp16(make(u"").data(), make(u"\uFFFF").data()), -0xFFFF);
    EXPECT_EQ(strcmp16(make(u"a").data(), make(u"A").data()), 32);
}

TEST(Strcmp16, OrdersAsTheStandardStringDoes)
{
    const std::u16string alphabet = u"a\u0100\uFFFF";
    std::vector<std::u16string> texts = {u""};
    for (std::size_t index = 0; texts[index].size() < 4; ++index) {
        for (const char16_t unit : alphabet)
            texts.push_back(texts[index] + unit);
    }
    for (const std::u16string &a : texts) {
        for (const std::u16string &b : texts)
            ASSERT_EQ(sign(strcmp16(make(a.c_str()).data(), make(b.c_str()).data())),
                      sign(a.compare(b)));
    }
}

TEST(Strncmp16, StopsAfterTheCount)
{
    EXPECT_EQ(strncmp16(make(u"abx").data(), make(u"aby").data(), 2), 0);
    EXPECT_EQ(strncmp16(make(u"abx").data(), make(u"aby").data(), 3), -1);
    EXPECT_EQ(strncmp16(make(u"abx").data(), make(u"aby").data(), INT_MAX), -1);
    EXPECT_EQ(strncmp16(make(u"ab").data(), make(u"abc").data(), 2), 0);
    EXPECT_EQ(strncmp16(make(u"ab").data(), make(u"abc").data(), 3), -'c');
}

TEST(Strncmp16, GivesZeroForACountBelowOne)
{
    EXPECT_EQ(strncmp16(make(u"a").data(), make(u"b").data(), 0), 0);
    EXPECT_EQ(strncmp16(make(u"a").data(), make(u"b").data(), -1), 0);
    EXPECT_EQ(strncmp16(make(u"a").data(), make(u"b").data(), INT_MIN), 0);
}

TEST(Strncmp16, ReadsNothingBehindATerminator)
{
    EXPECT_EQ(strncmp16(make(u"ab").data(), make(u"ab").data(), INT_MAX), 0);
    const Units a = {'a', 0, 'x'};
    const Units b = {'a', 0, 'y'};
    EXPECT_EQ(strncmp16(a.data(), b.data(), 3), 0);
}

TEST(Stricmp16, FoldsThroughUpperCase)
{
    EXPECT_EQ(stricmp16(make(u"").data(), make(u"").data()), 0);
    EXPECT_EQ(stricmp16(make(u"same").data(), make(u"same").data()), 0);
    EXPECT_EQ(stricmp16(make(u"Hello").data(), make(u"hELLO").data()), 0);
    EXPECT_EQ(stricmp16(make(u"a").data(), make(u"B").data()), -1);
    EXPECT_EQ(stricmp16(make(u"_").data(), make(u"a").data()), '_' - 'A');
    EXPECT_EQ(stricmp16(make(u"ab").data(), make(u"A").data()), 'B');
    EXPECT_EQ(stricmp16(make(u"\u03C2").data(), make(u"\u03C3").data()), 0);
    EXPECT_EQ(stricmp16(make(u"\u00B5").data(), make(u"\u03BC").data()), 0);
    // Folding to upper case keeps apart what only lower case would join.
    EXPECT_EQ(stricmp16(make(u"\u212A").data(), make(u"k").data()), 0x212A - 'K');
}

TEST(Strnicmp16, FoldsAndStopsAfterTheCount)
{
    EXPECT_EQ(strnicmp16(make(u"aBx").data(), make(u"Aby").data(), 2), 0);
    EXPECT_EQ(strnicmp16(make(u"aBx").data(), make(u"Aby").data(), 3), -1);
    EXPECT_EQ(strnicmp16(make(u"ab").data(), make(u"AB").data(), INT_MAX), 0);
    EXPECT_EQ(strnicmp16(make(u"ab").data(), make(u"ABC").data(), 3), -'C');
}

TEST(Strnicmp16, GivesZeroForACountBelowOne)
{
    EXPECT_EQ(strnicmp16(make(u"a").data(), make(u"b").data(), 0), 0);
    EXPECT_EQ(strnicmp16(make(u"a").data(), make(u"b").data(), -7), 0);
}

TEST(Strchr16, FindsTheFirstUnit)
{
    const Units text = make(u"abcabc");
    EXPECT_EQ(strchr16(text.data(), 'b'), text.data() + 1);
    EXPECT_EQ(strchr16(text.data(), 'a'), text.data());
    EXPECT_EQ(strchr16(text.data(), 'x'), nullptr);
    EXPECT_EQ(strchr16(make(u"").data(), 'a'), nullptr);
    EXPECT_EQ(strchr16(text.data(), 'a' + 0x100), nullptr);
}

TEST(Strchr16, GivesNullForASearchForTheTerminator)
{
    EXPECT_EQ(strchr16(make(u"abc").data(), 0), nullptr);
    EXPECT_EQ(strchr16(make(u"").data(), 0), nullptr);
}

TEST(Strchr16, GivesAWritablePointerForWritableText)
{
    Units text = make(u"abc");
    unsigned short *found = strchr16(text.data(), 'b');
    ASSERT_EQ(found, text.data() + 1);
    *found = 'x';
    EXPECT_EQ(text[1], 'x');
}

TEST(Strstr16, FindsTheFirstOccurrence)
{
    const Units text = make(u"abcabcabd");
    EXPECT_EQ(strstr16(text.data(), make(u"abd").data()), text.data() + 6);
    EXPECT_EQ(strstr16(text.data(), make(u"bc").data()), text.data() + 1);
    EXPECT_EQ(strstr16(text.data(), make(u"d").data()), text.data() + 8);
    EXPECT_EQ(strstr16(text.data(), make(u"abe").data()), nullptr);
    EXPECT_EQ(strstr16(text.data(), make(u"abcabcabdx").data()), nullptr);
    EXPECT_EQ(strstr16(make(u"").data(), make(u"a").data()), nullptr);
}

TEST(Strstr16, FindsAnEmptyPatternAtTheStart)
{
    const Units text = make(u"abc");
    EXPECT_EQ(strstr16(text.data(), make(u"").data()), text.data());
    const Units empty = make(u"");
    EXPECT_EQ(strstr16(empty.data(), make(u"").data()), empty.data());
}

TEST(Strstr16, GivesAWritablePointerForWritableText)
{
    Units text = make(u"abc");
    unsigned short *found = strstr16(text.data(), make(u"bc").data());
    ASSERT_EQ(found, text.data() + 1);
    *found = 'x';
    EXPECT_EQ(text[1], 'x');
}

} // namespace
