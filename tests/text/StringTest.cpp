// SPDX-License-Identifier: MIT
// The value: construction, sharing, pinning and what an empty string is.
#include <tavrin/String.h>

#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringTest = test::LibraryTest;

namespace {

constexpr const char *nullBytes = nullptr;
constexpr const unsigned short *nullUnits = nullptr;

// Constructed before main, and so before InitTerm::init.
const String stringOfStaticStorage;
static_assert(noexcept(String()) && std::is_nothrow_move_constructible_v<String>);
static_assert(!std::is_constructible_v<bool, String>, "every text would be true");

} // namespace

TEST(StringOutsideInitTest, EmptyStringsWorkBeforeInit)
{
    ASSERT_FALSE(InitTerm::isInitialized());
    String text;
    const String copy(text);
    EXPECT_EQ(copy.length(), 0);
    EXPECT_EQ(copy.wstr()[0], 0);
    EXPECT_EQ(copy.wstr(), stringOfStaticStorage.wstr());
    EXPECT_TRUE(copy == text);
    text.erase();
    text.adjust(0);
    text = nullBytes;
    EXPECT_EQ(text.cmp(copy), 0);
    EXPECT_EQ(String::emptyString().length(), 0);
}

TEST(StringOutsideInitTest, TextThrowsBadAllocBeforeInit)
{
    ASSERT_FALSE(InitTerm::isInitialized());
    EXPECT_THROW(String("a"), std::bad_alloc);
    String text;
    EXPECT_THROW(text.append('a'), std::bad_alloc);
    EXPECT_THROW(text.clear(), std::bad_alloc);
    EXPECT_EQ(text.length(), 0);
}

TEST(StringOutsideInitTest, StringsThatOutliveExitAreAbandoned)
{
    InitTerm::init();
    String text("left over");
    // Keeps the abandoned block in sight of leak checkers.
    static const unsigned short *abandoned = nullptr;
    abandoned = text.wstr();
    {
        const String copy(text);
        InitTerm::exit();
        EXPECT_EQ(copy.find("over"), 5);
        EXPECT_THROW(text.adjust(4), std::bad_alloc) << "a shared text needs a block of its own";
    }
    text.adjust(4);
    EXPECT_EQ(text, "left");
    EXPECT_EQ(text.wstr(), abandoned);
}

TEST(StringOutsideInitTest, EmptyStringObjectLivesFromInitToExit)
{
    const String *outside = &String::emptyString();
    InitTerm::init();
    const String *inside = &String::emptyString();
    EXPECT_NE(inside, outside);
    EXPECT_EQ(inside, &String::emptyString());
    EXPECT_EQ(inside->length(), 0);
    EXPECT_EQ(inside->wstr(), String().wstr());
    InitTerm::exit();
    EXPECT_EQ(&String::emptyString(), outside);
}

TEST_F(StringTest, IsOnePointer)
{
    EXPECT_EQ(sizeof(String), sizeof(void *));
}

TEST_F(StringTest, EveryEmptyTextRefersToTheOneEmptyRecord)
{
    const String filled("abc");
    const String cases[] = {
        String(),
        String(""),
        String(nullBytes),
        String(nullUnits),
        String(nullUnits, 5),
        String(Units(u"")),
        String(Units(u"abc"), 0),
        filled.substr(3),
        filled.substr(1, 0),
        String(String()),
    };
    for (const String &empty : cases) {
        SCOPED_TRACE(&empty - cases);
        EXPECT_EQ(empty.length(), 0);
        EXPECT_EQ(empty.wstr(), String().wstr());
        EXPECT_TRUE(isTerminated(empty));
    }
}

TEST_F(StringTest, BytesBecomeUnitsWithoutSignExtension)
{
    const String text("\xE9");
    ASSERT_EQ(text.length(), 1);
    EXPECT_EQ(text.wstr()[0], 0x00E9);
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    const String all(bytes.c_str());
    ASSERT_EQ(all.length(), 255);
    for (int index = 0; index < 255; ++index)
        EXPECT_EQ(all.wstr()[index], index + 1);
}

TEST_F(StringTest, UnitsAreTakenUpToTheirZeroWhenTheLengthIsNegative)
{
    const Units source(std::u16string_view(u"ab\0cd", 5));
    EXPECT_EQ(String(source), "ab");
    EXPECT_EQ(String(source, -1), "ab");
    EXPECT_EQ(String(source, -7), "ab");
    EXPECT_EQ(unitsOf(String(source, 5)), std::u16string(u"ab\0cd", 5));
    EXPECT_EQ(String(source, 1), "a");
}

TEST_F(StringTest, AFirstUnitOfZeroGivesTheEmptyStringWhateverTheLengthSays)
{
    const Units source(std::u16string_view(u"\0bc", 3));
    EXPECT_EQ(String(source, 3).length(), 0);
    EXPECT_EQ(String(source, 3).wstr(), String().wstr());
}

TEST_F(StringTest, HoldsTextOfEveryLengthAroundItsBlockSizes)
{
    for (int length = 0; length < 600; ++length) {
        const std::u16string units = patternOf(length);
        const String text(Units(units), length);
        ASSERT_EQ(unitsOf(text), units);
        ASSERT_TRUE(isTerminated(text));
    }
}

TEST_F(StringTest, AssignmentReplacesTheText)
{
    String text("before");
    text = "bytes \xFF";
    EXPECT_EQ(unitsOf(text), u"bytes \u00FF");
    text = Units(u"units");
    EXPECT_EQ(text, "units");
    text = 'c';
    EXPECT_EQ(text, "c");
    text = '\xE9';
    EXPECT_EQ(unitsOf(text), u"\u00E9");
    text = static_cast<unsigned short>(0x4E00);
    EXPECT_EQ(unitsOf(text), u"\u4E00");
    text = "";
    EXPECT_EQ(text.wstr(), String().wstr());
    text = "again";
    text = nullUnits;
    EXPECT_EQ(text.wstr(), String().wstr());
    text = "again";
    text = nullBytes;
    EXPECT_EQ(text.wstr(), String().wstr());
}

TEST_F(StringTest, AssigningAUnitZeroMakesAOneUnitString)
{
    String text("before");
    text = static_cast<unsigned short>(0);
    EXPECT_EQ(text.length(), 1);
    EXPECT_EQ(text.wstr()[0], 0);
    text = '\0';
    EXPECT_EQ(text.length(), 1);
}

TEST_F(StringTest, AssignedTextLeavesSharersAlone)
{
    const String original("original");
    String text(original);
    text = "other";
    EXPECT_EQ(original, "original");
    text = original;
    text = Units(u"wide");
    EXPECT_EQ(original, "original");
    text = original;
    text = 'c';
    EXPECT_EQ(original, "original");
}

TEST_F(StringTest, AssignsTextOfEveryLengthOverTextOfEveryOther)
{
    const int lengths[] = {1, 2, 15, 16, 17, 100, 127, 128, 300, 3000, 9000};
    for (const int before : lengths)
        for (const int after : lengths) {
            String text(Units(patternOf(before)));
            const std::u16string units = patternOf(after);
            text = Units(units);
            EXPECT_EQ(unitsOf(text), units) << before << " to " << after;
            EXPECT_TRUE(isTerminated(text));
        }
}

TEST_F(StringTest, AssignsAPartOfItself)
{
    String text("abcdef");
    text = text.wstr() + 1;
    EXPECT_EQ(text, "bcdef");
    const String sharer(text);
    text = text.wstr() + 2;
    EXPECT_EQ(text, "def");
    EXPECT_EQ(sharer, "bcdef");
    text = text.wstr();
    EXPECT_EQ(text, "def");
    text = text.wstr() + 3;
    EXPECT_EQ(text.length(), 0);
    String large(Units(patternOf(9000)));
    large = large.wstr() + 8000;
    EXPECT_EQ(unitsOf(large), patternOf(9000).substr(8000));
    String narrow(Units(u"a\u6261b"));
    narrow = reinterpret_cast<const char *>(narrow.wstr() + 1);
    EXPECT_EQ(narrow, "abb");
}

TEST_F(StringTest, CopiesShareTheBuffer)
{
    const String original("shared");
    const String copy(original);
    EXPECT_EQ(copy.wstr(), original.wstr());
    String assigned("other");
    assigned = original;
    EXPECT_EQ(assigned.wstr(), original.wstr());
    assigned = copy;
    EXPECT_EQ(assigned.wstr(), original.wstr());
}

TEST_F(StringTest, SelfAssignmentKeepsTheText)
{
    String text("self");
    String &self = text;
    text = self;
    EXPECT_EQ(text, "self");
    text = std::move(self);
    EXPECT_EQ(text, "self");
}

TEST_F(StringTest, AMoveTakesTheBufferAndLeavesTheSourceEmpty)
{
    String source("moved");
    const unsigned short *units = source.wstr();
    String target(std::move(source));
    EXPECT_EQ(target.wstr(), units);
    EXPECT_EQ(source.wstr(), String().wstr());
    String assigned("dropped");
    assigned = std::move(target);
    EXPECT_EQ(assigned.wstr(), units);
    EXPECT_EQ(target.length(), 0);
}

TEST_F(StringTest, AWriteLeavesTheCopiesAlone)
{
    const String original("abc");
    String copy(original);
    copy.set(1, 'X');
    EXPECT_EQ(copy, "aXc");
    EXPECT_EQ(original, "abc");
    EXPECT_NE(copy.wstr(), original.wstr());
}

TEST_F(StringTest, ASoleOwnerWritesInPlace)
{
    String text("abc");
    const unsigned short *units = text.wstr();
    text.set(0, 'X');
    text.append("defgh");
    EXPECT_EQ(text.wstr(), units);
    EXPECT_EQ(text, "Xbcdefgh");
}

TEST_F(StringTest, SetOutOfRangeChangesNothing)
{
    String text("abc");
    const String copy(text);
    for (const int index :
         {-1, 3, 4, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        text.set(index, 65);
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(text.wstr(), copy.wstr()) << "nothing is unshared either";
    String empty;
    empty.set(0, 65);
    EXPECT_EQ(empty.wstr(), String().wstr());
}

TEST_F(StringTest, SetTakesAnyUnitAtEitherEnd)
{
    String text("abc");
    text.set(0, 0xFFFF);
    text.set(2, 0);
    EXPECT_EQ(unitsOf(text), std::u16string(u"\uFFFFb\0", 3));
    EXPECT_EQ(text.length(), 3);
}

TEST_F(StringTest, APinnedStringIsCopiedAtOnce)
{
    String pinned("pinned");
    pinned.makeUnique();
    const unsigned short *units = pinned.wstr();
    const String copy(pinned);
    EXPECT_EQ(copy, "pinned");
    EXPECT_NE(copy.wstr(), units);
    String assigned;
    assigned = pinned;
    EXPECT_NE(assigned.wstr(), units);
    EXPECT_EQ(assigned, "pinned");
    EXPECT_EQ(pinned.wstr(), units);
    EXPECT_NE(pinned.substr(0).wstr(), units);
}

TEST_F(StringTest, TheCopyOfAPinnedStringIsNotPinned)
{
    String pinned("pinned");
    pinned.makeUnique();
    const String copy(pinned);
    const String second(copy);
    EXPECT_EQ(second.wstr(), copy.wstr());
}

TEST_F(StringTest, MakeUniqueLeavesTheSharers)
{
    const String original("text");
    String pinned(original);
    pinned.makeUnique();
    EXPECT_NE(pinned.wstr(), original.wstr());
    const unsigned short *units = pinned.wstr();
    pinned.makeUnique();
    EXPECT_EQ(pinned.wstr(), units);
    const_cast<unsigned short *>(units)[0] = 'T';
    EXPECT_EQ(pinned, "Text");
    EXPECT_EQ(original, "text");
}

TEST_F(StringTest, AnEmptyStringCanBePinned)
{
    String pinned;
    pinned.makeUnique();
    EXPECT_NE(pinned.wstr(), String().wstr());
    EXPECT_EQ(pinned.length(), 0);
    const String copy(pinned);
    EXPECT_NE(copy.wstr(), pinned.wstr());
    EXPECT_EQ(copy, pinned);
}

TEST_F(StringTest, APinSurvivesGrowth)
{
    for (const int length : {20, 500}) {
        String pinned("pinned");
        pinned.makeUnique();
        pinned.adjust(length);
        EXPECT_NE(String(pinned).wstr(), pinned.wstr()) << length;
        EXPECT_EQ(pinned.substr(0, 6), "pinned");
        pinned = Units(patternOf(2 * length));
        EXPECT_NE(String(pinned).wstr(), pinned.wstr()) << length;
    }
}

TEST_F(StringTest, APinGoesWithTheBufferInAMove)
{
    String pinned("pinned");
    pinned.makeUnique();
    const unsigned short *units = pinned.wstr();
    const String moved(std::move(pinned));
    EXPECT_EQ(moved.wstr(), units);
    EXPECT_NE(String(moved).wstr(), units);
}

TEST_F(StringTest, APinnedStringTakesOverTheBufferOfAnother)
{
    String pinned("pinned");
    pinned.makeUnique();
    const String other("other");
    pinned = other;
    EXPECT_EQ(pinned.wstr(), other.wstr());
}

TEST_F(StringTest, AdjustKeepsTheTextUpToTheNewLength)
{
    String text("abcdef");
    text.adjust(3);
    EXPECT_EQ(text, "abc");
    text.adjust(1000);
    EXPECT_EQ(text.length(), 1000);
    EXPECT_EQ(text.substr(0, 3), "abc");
    EXPECT_TRUE(isTerminated(text));
    const String copy(text);
    text.adjust(2);
    EXPECT_EQ(text, "ab");
    EXPECT_EQ(copy.length(), 1000);
}

TEST_F(StringTest, AdjustToNothingGivesUpTheBuffer)
{
    for (const int length : {0, -1, std::numeric_limits<int>::min()}) {
        String text("abc");
        text.adjust(length);
        EXPECT_EQ(text.wstr(), String().wstr()) << length;
        String pinned("abc");
        pinned.makeUnique();
        pinned.adjust(length);
        EXPECT_EQ(pinned.wstr(), String().wstr()) << length;
    }
}

TEST_F(StringTest, AdjustOfASharedTextMakesAnUnsharedOne)
{
    String text("abc");
    const String copy(text);
    text.adjust(3);
    EXPECT_EQ(text, "abc");
    EXPECT_NE(text.wstr(), copy.wstr());
}

TEST_F(StringTest, InitGivesAFreshBufferOfThatLength)
{
    String text("abc");
    const String copy(text);
    text.init(40);
    EXPECT_EQ(text.length(), 40);
    EXPECT_TRUE(isTerminated(text));
    EXPECT_EQ(copy, "abc");
    for (const int length : {0, -1}) {
        text.init(length);
        EXPECT_EQ(text.length(), 0);
        EXPECT_TRUE(isTerminated(text));
        EXPECT_NE(text.wstr(), String().wstr()) << "a buffer of its own, which may be written to";
    }
}

TEST_F(StringTest, ClearKeepsTheBlockOfASoleOwner)
{
    String text(Units(patternOf(100)));
    const unsigned short *units = text.wstr();
    text.clear();
    EXPECT_EQ(text.length(), 0);
    EXPECT_TRUE(isTerminated(text));
    text.append(Units(patternOf(127)));
    EXPECT_EQ(text.wstr(), units);
}

TEST_F(StringTest, ClearOfASharedTextMakesAnUnsharedEmptyOne)
{
    String text("abc");
    const String copy(text);
    text.clear();
    EXPECT_EQ(text.length(), 0);
    EXPECT_EQ(copy, "abc");
    EXPECT_NE(text.wstr(), String().wstr());
    String empty;
    empty.clear();
    EXPECT_NE(empty.wstr(), String().wstr());
    EXPECT_EQ(empty, "");
}

TEST_F(StringTest, EraseGivesUpTheBuffer)
{
    String text("abc");
    const String copy(text);
    text.erase();
    EXPECT_EQ(text.wstr(), String().wstr());
    EXPECT_EQ(copy, "abc");
}

TEST_F(StringTest, SetupRepeatsAUnit)
{
    String text("abc");
    const String copy(text);
    text.setup('x', 20);
    EXPECT_EQ(unitsOf(text), std::u16string(20, u'x'));
    EXPECT_TRUE(isTerminated(text));
    text.setup(0, 2);
    EXPECT_EQ(unitsOf(text), std::u16string(2, u'\0'));
    text.setup('y', 0);
    EXPECT_EQ(text.wstr(), String().wstr());
    text.setup('y', -3);
    EXPECT_EQ(text.wstr(), String().wstr());
    EXPECT_EQ(copy, "abc");
}

TEST_F(StringTest, ConvertsToAPointerToItsUnits)
{
    const String text("abc");
    const unsigned short *units = text;
    EXPECT_EQ(units, text.wstr());
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text[3], 0);
}

TEST_F(StringTest, LengthsPastTheLimitThrowBadAllocAndChangeNothing)
{
    constexpr int most = std::numeric_limits<int>::max();
    String text("a");
    const Units source(u"x");
    EXPECT_THROW(text.append(source, most), std::bad_alloc);
    EXPECT_THROW(text.append("x", most), std::bad_alloc);
    const String copy(text);
    EXPECT_THROW(text.append(source, most), std::bad_alloc);
    EXPECT_THROW(text.adjust(most), std::bad_alloc) << "the test allocator refuses 4 GiB";
    EXPECT_THROW(text.setup('x', most), std::bad_alloc);
    EXPECT_THROW(text.init(most), std::bad_alloc);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(text.wstr(), copy.wstr());
}

TEST_F(StringTest, ReplacementsPastTheLimitThrowBadAllocAndChangeNothing)
{
    String text;
    text.setup('a', 1 << 16);
    String with;
    with.setup('b', 1 << 16);
    EXPECT_THROW(text.replaceAll("a", with), std::bad_alloc);
    EXPECT_EQ(text.length(), 1 << 16);
    EXPECT_EQ(text.find('b'), -1);
}
