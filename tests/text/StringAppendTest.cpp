// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringAppendTest = test::LibraryTest;

TEST_F(StringAppendTest, SumsTakeAllFiveKindsAndLeaveTheReceiver)
{
    String text("ab");
    const String &constant = text;
    EXPECT_EQ(text + String("cd"), "abcd");
    EXPECT_EQ(text + 'c', "abc");
    EXPECT_EQ(text + static_cast<unsigned short>('c'), "abc");
    EXPECT_EQ(text + "cd", "abcd");
    EXPECT_EQ(text + Units(u"cd").data(), "abcd");
    EXPECT_EQ(constant + "cd" + 'e', "abcde");
    EXPECT_EQ(text, "ab");
}

TEST_F(StringAppendTest, AppendsTakeAllFiveKinds)
{
    String text;
    text.append(String("a")).append('b').append(static_cast<unsigned short>('c')).append("d");
    text.append(Units(u"e").data());
    text += String("f");
    text += 'g';
    text += static_cast<unsigned short>('h');
    text += "i";
    text += Units(u"j").data();
    EXPECT_EQ(text, "abcdefghij");
}

TEST_F(StringAppendTest, NarrowUnitsAreNotSignExtended)
{
    String text;
    text += '\xE9';
    text += "\xFF";
    text.append("\x80\x81", 1);
    EXPECT_EQ(unitsOf(text), u"\u00E9\u00FF\u0080");
    EXPECT_EQ(unitsOf(String() + '\xE9' + "\xFF"), u"\u00E9\u00FF");
}

TEST_F(StringAppendTest, EmptyOperandsLeaveTheBufferShared)
{
    String text("abc");
    const String copy(text);
    const unsigned short *nullUnits = nullptr;
    const char *nullBytes = nullptr;
    text.append(String());
    text.append("");
    text.append(nullBytes);
    text.append(nullBytes, 3);
    text.append(Units(u"").data());
    text.append(nullUnits);
    text.append(nullUnits, 3);
    text.append("xyz", 0);
    text.append(Units(u"xyz"), 0);
    EXPECT_EQ(text.wstr(), copy.wstr());
    EXPECT_EQ((text + String()).wstr(), copy.wstr());
    EXPECT_EQ((text + "").wstr(), copy.wstr());
    EXPECT_EQ((text + nullBytes).wstr(), copy.wstr());
    EXPECT_EQ((text + nullUnits).wstr(), copy.wstr());
}

TEST_F(StringAppendTest, AUnitOfZeroCounts)
{
    String text("a");
    text.append(static_cast<unsigned short>(0));
    text += '\0';
    text.append("b\0c", 3);
    text.append(Units(std::u16string_view(u"\0d", 2)), 2);
    EXPECT_EQ(unitsOf(text), std::u16string(u"a\0\0b\0c\0d", 8));
    EXPECT_EQ(unitsOf(text + static_cast<unsigned short>(0)), std::u16string(u"a\0\0b\0c\0d\0", 9));
    EXPECT_EQ(unitsOf(text + text), std::u16string(u"a\0\0b\0c\0da\0\0b\0c\0d", 16));
}

TEST_F(StringAppendTest, ANegativeLengthMeansUpToTheZero)
{
    String text;
    text.append("ab\0cd", -1);
    text.append(Units(std::u16string_view(u"ef\0gh", 5)), -1);
    text.append("i", -100);
    EXPECT_EQ(text, "abefi");
}

TEST_F(StringAppendTest, AppendsTextOfEveryLengthToTextOfEveryOther)
{
    const int lengths[] = {0,  1,  2,  3,  4,  7,   8,   15,  16,  17,
                           31, 33, 63, 64, 65, 127, 128, 129, 1000};
    for (const int before : lengths)
        for (const int added : lengths) {
            SCOPED_TRACE(testing::Message() << before << " and " << added);
            const std::u16string head = patternOf(before);
            const std::u16string tail = patternOf(added);
            const std::string narrowTail(tail.begin(), tail.end());
            const String first(Units(head).data());
            const String second(Units(tail).data());
            String appended(Units(head).data());
            appended.append(second);
            EXPECT_EQ(unitsOf(appended), head + tail);
            String appendedWhileShared(first);
            appendedWhileShared += Units(tail).data();
            EXPECT_EQ(unitsOf(appendedWhileShared), head + tail);
            String appendedNarrow(Units(head).data());
            appendedNarrow += narrowTail.c_str();
            EXPECT_EQ(unitsOf(appendedNarrow), head + tail);
            EXPECT_EQ(unitsOf(first + second), head + tail);
            EXPECT_EQ(unitsOf(first + narrowTail.c_str()), head + tail);
            EXPECT_EQ(unitsOf(first + Units(tail).data()), head + tail);
            EXPECT_TRUE(isTerminated(appended) && isTerminated(appendedNarrow));
            EXPECT_TRUE(isTerminated(appendedWhileShared) && isTerminated(first + second));
            EXPECT_EQ(unitsOf(first), head);
        }
}

TEST_F(StringAppendTest, AppendsItself)
{
    for (const int length : {1, 7, 15, 40, 100, 300, 5000}) {
        const std::u16string units = patternOf(length);
        String text(Units(units).data());
        text += text;
        EXPECT_EQ(unitsOf(text), units + units);
        const String copy(text);
        text.append(text);
        EXPECT_EQ(unitsOf(text), units + units + units + units);
        EXPECT_EQ(unitsOf(copy), units + units);
        EXPECT_EQ(unitsOf(copy + copy), unitsOf(text));
    }
}

TEST_F(StringAppendTest, AppendsAPartOfItself)
{
    for (const int length : {10, 15, 127, 128, 400}) {
        const std::u16string units = patternOf(length);
        String text(Units(units).data());
        text.append(text.wstr() + 2, 3);
        EXPECT_EQ(unitsOf(text), units + units.substr(2, 3));
        text.append(text.wstr() + length);
        EXPECT_EQ(unitsOf(text), units + units.substr(2, 3) + units.substr(2, 3));
        text.append(text.wstr()[0]);
        EXPECT_EQ(text.wstr()[text.length() - 1], units[0]);
    }
}

TEST_F(StringAppendTest, AppendsItselfWithItsZero)
{
    for (const int length : {3, 7, 15, 127, 300}) {
        const std::u16string units = patternOf(length);
        String text(Units(units).data());
        text.append(text.wstr(), length + 1);
        EXPECT_EQ(unitsOf(text), units + units + std::u16string(1, u'\0'));
    }
}

TEST_F(StringAppendTest, AppendsTheBytesOfItsOwnUnits)
{
    for (const int before : {1, 13, 200}) {
        String text;
        text.setup('x', before);
        text.append(Units(u"\u6261").data());
        text.append(reinterpret_cast<const char *>(text.wstr() + before), 2);
        EXPECT_EQ(unitsOf(text),
                  std::u16string(static_cast<std::size_t>(before), u'x') + u"\u6261ab");
    }
}

TEST_F(StringAppendTest, AppendingToACopyLeavesTheOriginal)
{
    const String original("abc");
    String copy(original);
    copy += 'd';
    EXPECT_EQ(copy, "abcd");
    EXPECT_EQ(original, "abc");
    String again(original);
    again += "defghijklmnopqrst";
    EXPECT_EQ(again, "abcdefghijklmnopqrst");
    EXPECT_EQ(original, "abc");
}

TEST_F(StringAppendTest, ThousandsOfSingleUnitsKeepTheirOrder)
{
    String text;
    std::u16string expected;
    for (int index = 0; index < 70000; ++index) {
        text.append(static_cast<unsigned short>(index));
        expected += static_cast<char16_t>(index);
    }
    EXPECT_EQ(unitsOf(text), expected);
    EXPECT_TRUE(isTerminated(text));
}
