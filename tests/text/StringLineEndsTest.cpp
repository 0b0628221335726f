// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::textOf;
using test::unitsOf;

using StringLineEndsTest = test::LibraryTest;

namespace {

std::u16string converted(const std::u16string &text, const std::u16string &lineEnd, int &count)
{
    std::u16string result;
    count = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != u'\r' && text[at] != u'\n') {
            result += text[at];
            continue;
        }
        result += lineEnd;
        ++count;
        if (text[at] == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')
            ++at;
    }
    return result;
}

struct Target
{
    String::CRLFEncoding encoding;
    const char16_t *lineEnd;
};

const Target targets[] = {{String::kCRLF, u"\r\n"},
                          {String::kCR, u"\r"},
                          {String::kLF, u"\n"},
                          {static_cast<String::CRLFEncoding>(0), u"\r\n"},
                          {static_cast<String::CRLFEncoding>(7), u"\r\n"}};

void expectConverted(const std::u16string &units)
{
    for (const Target &target : targets) {
        int count = 0;
        const std::u16string expected = converted(units, target.lineEnd, count);
        String text = textOf(units);
        ASSERT_EQ(text.convertLF(target.encoding), count);
        ASSERT_EQ(unitsOf(text), expected) << int{target.encoding};
        ASSERT_TRUE(isTerminated(text));
    }
}

} // namespace

TEST_F(StringLineEndsTest, AreConvertedAndCounted)
{
    String text("a\r\nb\nc");
    EXPECT_EQ(text.convertLF(String::kLF), 2);
    EXPECT_EQ(text, "a\nb\nc");
    EXPECT_EQ(text.convertLF(String::kCRLF), 2);
    EXPECT_EQ(text, "a\r\nb\r\nc");
    EXPECT_EQ(text.convertLF(String::kCR), 2);
    EXPECT_EQ(text, "a\rb\rc");
}

TEST_F(StringLineEndsTest, TheValuesAreFixed)
{
    EXPECT_EQ(String::kCRLF, 1);
    EXPECT_EQ(String::kCR, 2);
    EXPECT_EQ(String::kLF, 3);
}

TEST_F(StringLineEndsTest, EveryTextOfUpToSevenUnits)
{
    const char16_t alphabet[] = {u'a', u'\r', u'\n'};
    for (int length = 0; length <= 7; ++length) {
        int texts = 1;
        for (int at = 0; at < length; ++at)
            texts *= 3;
        for (int number = 0; number < texts; ++number) {
            std::u16string units;
            for (int at = 0, rest = number; at < length; ++at, rest /= 3)
                units += alphabet[rest % 3];
            expectConverted(units);
        }
    }
}

TEST_F(StringLineEndsTest, LongTexts)
{
    // A pair across the blocks of the count, and many ends.
    std::u16string text(32767, u'x');
    expectConverted(text + u"\r\n" + text + u"\r\n\n");
    expectConverted(u"x" + text + u"\r\n");
    expectConverted(std::u16string(70000, u'\n'));
    expectConverted(std::u16string(70000, u'\r'));
}

TEST_F(StringLineEndsTest, ATextWithNothingToChangeStaysShared)
{
    for (const char *units : {"", "abc", "a\nb\n"}) {
        String text(units);
        const String sharer(text);
        text.convertLF(String::kLF);
        EXPECT_EQ(text.wstr(), sharer.wstr());
    }
}

TEST_F(StringLineEndsTest, SharersStayAsTheyAreAndPinsStay)
{
    String text("a\nb");
    const String sharer(text);
    text.makeUnique();
    text.convertLF(String::kCRLF);
    EXPECT_EQ(text, "a\r\nb");
    EXPECT_EQ(sharer, "a\nb");
    const String copy(text);
    EXPECT_NE(copy.wstr(), text.wstr());
}
