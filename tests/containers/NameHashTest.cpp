// SPDX-License-Identifier: MIT
#include "containers/NameHash.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/UnicodeUtils.h>

#include "containers/NameIndex.h"
#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using detail::NamePlaces;
using test::textOf;

namespace {

using NameHashTest = test::LibraryTest;

unsigned hashOf(const std::u16string &name)
{
    return detail::nameHashOf(textOf(name));
}

const unsigned short *unitsIn(const std::u16string &name)
{
    return reinterpret_cast<const unsigned short *>(name.data());
}

std::vector<std::u16string> randomNames(std::size_t length, char16_t last)
{
    std::mt19937 random(static_cast<unsigned>(length));
    std::uniform_int_distribution<unsigned> unit(1, last);
    std::vector<std::u16string> names;
    for (int count = 0; count < 50; ++count) {
        std::u16string name;
        while (name.size() < length)
            name += static_cast<char16_t>(unit(random));
        names.push_back(name);
    }
    return names;
}

constexpr char16_t lastUnits[] = {0x7F, 0xFF, 0x500, 0xFFFF};

struct Lengths
{
    std::size_t first;
    std::size_t last;
};

template <class Form>
Lengths lengthsOf()
{
    return {detail::unitsPerBlock, detail::mostUnitsOfRun};
}

template <>
Lengths lengthsOf<detail::ShortName>()
{
    return {1, detail::unitsPerBlock - 1};
}

template <class Form>
class NameFormTest : public testing::Test
{};

using NameForms = testing::Types<detail::ShortName, detail::NameRun, detail::PlainNameRun>;

} // namespace

TEST(NameRun, TheFormOfThisProcessorReadsAsThePlainOneDoes)
{
    for (const char16_t last : lastUnits) {
        for (std::size_t length = detail::unitsPerBlock; length <= detail::mostUnitsOfRun;
             ++length) {
            const NamePlaces places(length);
            for (const std::u16string &name : randomNames(length, last)) {
                const detail::NameRun run(unitsIn(name), places);
                const detail::PlainNameRun plain(unitsIn(name), places);
                ASSERT_EQ(run.isAscii(), plain.isAscii());
                if (last <= 0xFF) {
                    ASSERT_EQ(run.sums(), plain.sums());
                    ASSERT_EQ(run.caselessSums(), plain.caselessSums());
                }
            }
        }
    }
}

TYPED_TEST_SUITE(NameFormTest, NameForms);

TYPED_TEST(NameFormTest, FitsItsLengthsOnly)
{
    const Lengths lengths = lengthsOf<TypeParam>();
    EXPECT_FALSE(TypeParam::fits(0));
    EXPECT_FALSE(TypeParam::fits(lengths.first - 1));
    EXPECT_TRUE(TypeParam::fits(lengths.first));
    EXPECT_TRUE(TypeParam::fits(lengths.last));
    EXPECT_FALSE(TypeParam::fits(lengths.last + 1));
}

TYPED_TEST(NameFormTest, NamesAreEqualWhenAllTheirUnitsAre)
{
    const Lengths lengths = lengthsOf<TypeParam>();
    for (std::size_t length = lengths.first; length <= lengths.last; ++length) {
        const NamePlaces places(length);
        for (const std::u16string &name : randomNames(length, 0xFFFF)) {
            const TypeParam form(unitsIn(name), places);
            ASSERT_TRUE(form == TypeParam(unitsIn(name), places));
            for (std::size_t at = 0; at < length; ++at) {
                std::u16string other = name;
                ++other[at];
                ASSERT_FALSE(form == TypeParam(unitsIn(other), places));
            }
        }
    }
}

TYPED_TEST(NameFormTest, TheSumsTellUnitsOfEightBitsApart)
{
    const Lengths lengths = lengthsOf<TypeParam>();
    for (std::size_t length = lengths.first; length <= lengths.last; ++length) {
        const NamePlaces places(length);
        for (const std::u16string &name : randomNames(length, 0xFE)) {
            const std::uint64_t sums = TypeParam(unitsIn(name), places).sums();
            for (std::size_t at = 0; at < length; ++at) {
                std::u16string other = name;
                ++other[at];
                ASSERT_NE(TypeParam(unitsIn(other), places).sums(), sums);
            }
        }
    }
}

TYPED_TEST(NameFormTest, OnlyUnitsAbove7FAreNotAscii)
{
    const Lengths lengths = lengthsOf<TypeParam>();
    for (std::size_t length = lengths.first; length <= lengths.last; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (unsigned unit = 0; unit < 0x10000; unit += unit < 0x200 ? 1 : 0x7F) {
                std::u16string name(length, u'a');
                name[at] = static_cast<char16_t>(unit);
                ASSERT_EQ(TypeParam(unitsIn(name), NamePlaces(length)).isAscii(), unit < 0x80);
            }
        }
    }
}

TEST(NameGroup, FindsTheLowestPlaceOfATag)
{
    std::mt19937 random(1);
    // Few tags, so that they meet, of which some differ only in the lowest bit.
    std::uniform_int_distribution<unsigned> tag(2, 9);
    for (unsigned round = 0; round < 20000; ++round) {
        detail::NameGroup group;
        std::vector<unsigned> tags(round % (detail::NameGroup::places + 1));
        for (unsigned &one : tags)
            group.put(one = tag(random), nullptr);
        for (unsigned passed = round % 3; passed > 0; --passed)
            group.countPassed();
        const unsigned wanted = tag(random);
        const unsigned found = group.matches(wanted);
        const unsigned plain =
            detail::NameGroup::zeroPlaces(group.tags ^ wanted * detail::NameGroup::ones);
        const auto first = std::find(tags.begin(), tags.end(), wanted);
        ASSERT_EQ(found == 0, first == tags.end());
        ASSERT_EQ(plain == 0, first == tags.end());
        if (found != 0) {
            ASSERT_EQ(detail::NameGroup::lowestOf(found), first - tags.begin());
            ASSERT_EQ(detail::NameGroup::lowestOf(plain), first - tags.begin());
        }
        ASSERT_EQ(group.hasRoom(), tags.size() < detail::NameGroup::places);
    }
}

TEST_F(NameHashTest, NamesThatDifferOnlyInCaseHaveOneHash)
{
    for (const char16_t last : lastUnits) {
        for (std::size_t length = 0; length < 60; ++length) {
            for (const std::u16string &name : randomNames(length, last)) {
                std::u16string upper = name;
                for (char16_t &unit : upper)
                    unit = UnicodeUtils::towupper(unit);
                ASSERT_EQ(hashOf(name), hashOf(upper));
            }
        }
    }
    EXPECT_EQ(hashOf(u"backgroundColor"), hashOf(u"BACKGROUNDcOLOR"));
    // These are alike by their upper case, which is that of ASCII letters.
    EXPECT_EQ(hashOf(u"hidden"), hashOf(u"h\u0131dden"));
    EXPECT_EQ(hashOf(u"textStyle"), hashOf(u"text\u017Ftyle"));
}

TEST_F(NameHashTest, EveryUnitAndTheLengthMatter)
{
    for (std::size_t length = 1; length < 80; ++length) {
        std::set<unsigned> hashes = {hashOf(std::u16string(length, u'a'))};
        for (std::size_t at = 0; at < length; ++at) {
            std::u16string name(length, u'a');
            name[at] = u'b';
            hashes.insert(hashOf(name));
            name[at] = u'\u4E2D';
            hashes.insert(hashOf(name));
        }
        EXPECT_EQ(hashes.size(), 2 * length + 1);
    }
    std::set<unsigned> hashes;
    for (std::size_t length = 0; length < 200; ++length)
        hashes.insert(hashOf(std::u16string(length, u'a')));
    EXPECT_EQ(hashes.size(), 200u);
}

TEST_F(NameHashTest, NumberedNamesSpreadOverAllBits)
{
    for (const std::u16string &prefix :
         {std::u16string(u"item"), std::u16string(u"\u0438\u043C\u044F"),
          std::u16string(u"aPropertyWhoseNameIsLonger")}) {
        constexpr unsigned count = 1 << 14;
        std::set<unsigned> hashes;
        std::vector<unsigned> low(256), high(256);
        for (unsigned number = 0; number < count; ++number) {
            std::u16string name = prefix;
            for (const char digit : std::to_string(number))
                name += static_cast<char16_t>(digit);
            const unsigned hash = hashOf(name);
            hashes.insert(hash);
            ++low[hash & 0xFF];
            ++high[hash >> 24];
        }
        // Chance alone would make less than one pair of 2^14 names alike.
        EXPECT_GE(hashes.size(), count - 4);
        for (unsigned slot = 0; slot < 256; ++slot) {
            EXPECT_NEAR(low[slot], count / 256, count / 256);
            EXPECT_NEAR(high[slot], count / 256, count / 256);
        }
    }
}

TEST_F(NameHashTest, NamesThatDifferInOneUnitSpread)
{
    const std::u16string letters = u"0123456789abcdefghijklmnopqrstuvwxyz";
    for (std::size_t length = 1; length < 60; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::set<unsigned> hashes, low;
            for (const char16_t letter : letters) {
                std::u16string name(length, u'e');
                name[at] = letter;
                hashes.insert(hashOf(name));
                low.insert(hashOf(name) & 0x3F);
            }
            EXPECT_EQ(hashes.size(), letters.size());
            // Chance alone would take 28 of the 64.
            EXPECT_GE(low.size(), 14u) << length << " " << at;
        }
    }
}

TEST_F(NameHashTest, TheHashOfAChainIsTheSameInAllItsForms)
{
    for (const char16_t last : lastUnits) {
        for (std::size_t length = 0; length < 8; ++length) {
            for (std::u16string name : randomNames(length, last)) {
                ASSERT_EQ(detail::chainHashOf(textOf(name)), detail::chainHashOfAny(unitsIn(name)));
                if (length != 0) {
                    name[name.size() / 2] = 0;
                    ASSERT_EQ(detail::chainHashOf(textOf(name)),
                              detail::chainHashOfAny(unitsIn(name)));
                }
            }
        }
    }
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        for (const std::size_t at : std::initializer_list<std::size_t>{0, 2, 4}) {
            std::u16string name = u"abcdef";
            name[at] = static_cast<char16_t>(unit);
            ASSERT_EQ(detail::chainHashOf(textOf(name)), detail::chainHashOfAny(unitsIn(name)));
        }
    }
}
