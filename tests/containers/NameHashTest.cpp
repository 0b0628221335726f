// SPDX-License-Identifier: MIT
#include "containers/NameHash.h"

#include <initializer_list>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/UnicodeUtils.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using detail::RunPlaces;
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

} // namespace

TEST(NameRun, TheFormOfThisProcessorReadsAsThePlainOneDoes)
{
    for (const char16_t last : lastUnits) {
        for (std::size_t length = 1; length <= detail::mostUnitsOfRun; ++length) {
            for (const std::u16string &name : randomNames(length, last)) {
                const RunPlaces places(length);
                const detail::NameRun run(unitsIn(name), places);
                const detail::PlainNameRun plain(unitsIn(name), places);
                ASSERT_EQ(run.isAscii(), plain.isAscii());
                ASSERT_EQ(run.sums(), plain.sums());
                ASSERT_EQ(run.caselessSums(), plain.caselessSums());
                for (std::size_t at = 0; at < length; ++at) {
                    std::u16string other = name;
                    ++other[at];
                    ASSERT_FALSE(run == detail::NameRun(unitsIn(other), places));
                    ASSERT_FALSE(plain == detail::PlainNameRun(unitsIn(other), places));
                }
                ASSERT_TRUE(run == detail::NameRun(unitsIn(name), places));
                ASSERT_TRUE(plain == detail::PlainNameRun(unitsIn(name), places));
            }
        }
    }
}

TEST(NameRun, OnlyUnitsAbove7FAreNotAscii)
{
    for (const std::size_t length : std::initializer_list<std::size_t>{1, 3, 7, 8, 13, 24}) {
        for (std::size_t at = 0; at < length; ++at) {
            for (unsigned unit = 0; unit < 0x10000; unit += unit < 0x200 ? 1 : 0x7F) {
                std::u16string name(length, u'a');
                name[at] = static_cast<char16_t>(unit);
                ASSERT_EQ(detail::NameRun(unitsIn(name), RunPlaces(length)).isAscii(), unit < 0x80);
            }
        }
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
