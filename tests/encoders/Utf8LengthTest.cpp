// SPDX-License-Identifier: MIT
#include <climits>

#include <gtest/gtest.h>

#include "encoders/Utf8Naive.h"
#include "encoders/Utf8Steps.h"

namespace Tavrin::test {
namespace {

using detail::Measure;

Measure unitsIn(std::string_view bytes)
{
    EXPECT_TRUE(decodesAlike(bytes, 64));
    return detail::countUtf8Units(bytes.data(), static_cast<int>(bytes.size()));
}

Measure bytesIn(std::u16string_view units)
{
    EXPECT_TRUE(encodesAlike(units, 64));
    return detail::countUtf8Bytes(reinterpret_cast<const unsigned short *>(units.data()),
                                  static_cast<int>(units.size()));
}

TEST(Utf8Length, SequencesUpToThreeBytesCountOneUnit)
{
    EXPECT_EQ(unitsIn("a\xC3\xA9\xE2\x82\xAC"), (Measure{3, 0}));
}

TEST(Utf8Length, FourBytesCountTwoUnits)
{
    EXPECT_EQ(unitsIn("\xF0\x9F\x98\x80"), (Measure{2, 0}));
}

TEST(Utf8Length, FiveAndSixBytesCountTwoUnitsAndGive37)
{
    EXPECT_EQ(unitsIn("a\xF8\x88\x80\x80\x80zz"), (Measure{3, 37}));
    EXPECT_EQ(unitsIn("a\xFC\x84\x80\x80\x80\x80zz"), (Measure{3, 37}));
}

TEST(Utf8Length, ByteThatLeadsNothingCountsOneUnitAndGives37)
{
    EXPECT_EQ(unitsIn("ab\x80zz"), (Measure{3, 37}));
    EXPECT_EQ(unitsIn("ab\xFEzz"), (Measure{3, 37}));
    EXPECT_EQ(unitsIn("ab\xFFzz"), (Measure{3, 37}));
}

TEST(Utf8Length, ContinuationBytesAreNotLookedAt)
{
    EXPECT_EQ(unitsIn("\xE2zzab"), (Measure{3, 0}));
    EXPECT_EQ(unitsIn("\xC0\x80"), (Measure{1, 0}));
}

TEST(Utf8Length, CutSequenceCountsAsAWholeOne)
{
    EXPECT_EQ(unitsIn("ab\xC3"), (Measure{3, 0}));
    EXPECT_EQ(unitsIn("ab\xF0"), (Measure{4, 0}));
}

TEST(Utf8Length, UnitsCountTheirBytes)
{
    EXPECT_EQ(bytesIn(u"\u007F\u0080\u07FF\u0800\uFFFF"), (Measure{1 + 2 + 2 + 3 + 3, 0}));
    EXPECT_EQ(bytesIn(u"\U00010000\U0010FFFF"), (Measure{8, 0}));
}

TEST(Utf8Length, LoneTrailSurrogateCountsThreeBytes)
{
    const std::u16string units = {u'a', 0xDC00, u'b'};
    EXPECT_EQ(bytesIn(units), (Measure{5, 0}));
}

TEST(Utf8Length, LeadSurrogateAtTheEndCountsAsItStandsAndGives38)
{
    const std::u16string units = {u'a', 0xD83D};
    EXPECT_EQ(bytesIn(units), (Measure{4, 38}));
}

TEST(Utf8Length, LeadSurrogateWithABadPartnerCountsAsItStandsAndGives37)
{
    const std::u16string units = {u'a', 0xD83D, u'b', u'c'};
    EXPECT_EQ(bytesIn(units), (Measure{4, 37}));
}

// Blocks sum up in lanes of 16 bits; a long text must not overflow them.
TEST(Utf8Length, LongTextsDoNotOverflowTheSums)
{
    constexpr std::size_t length = 700001;
    const std::u16string ascii(length, u'a');
    const std::u16string wide(length, u'\u20AC');
    std::u16string pairs;
    std::string pairBytes;
    for (std::size_t count = 0; count < length; ++count) {
        pairs += u"\U0001F600";
        pairBytes += "\xF0\x9F\x98\x80";
    }
    for (const NamedRoutines &set : utf8RoutineSets()) {
        SCOPED_TRACE(set.name);
        const auto bytes = [&](const std::u16string &units) {
            return set.routines->countBytes(reinterpret_cast<const unsigned short *>(units.data()),
                                            static_cast<int>(units.size()));
        };
        constexpr auto count = static_cast<int>(length);
        EXPECT_EQ(bytes(ascii), (Measure{count, 0}));
        EXPECT_EQ(bytes(wide), (Measure{3 * count, 0}));
        EXPECT_EQ(bytes(pairs), (Measure{4 * count, 0}));
        EXPECT_EQ(set.routines->countUnits(pairBytes.data(), 4 * count), (Measure{2 * count, 0}));
    }
}

TEST(Utf8Length, LengthThatAnIntDoesNotHoldBecomesTheLargest)
{
    EXPECT_EQ(detail::countUtf8UnitsFrom("\xF0", 0, 1, INT_MAX - 1), (Measure{INT_MAX, 0}));
    EXPECT_EQ(detail::countUtf8UnitsFrom("\xFF", 0, 1, INT_MAX), (Measure{INT_MAX, 37}));
    const unsigned short wide = 0x20AC;
    EXPECT_EQ(detail::countUtf8BytesFrom(&wide, 0, 1, INT_MAX - 3), (Measure{INT_MAX, 0}));
    EXPECT_EQ(detail::countUtf8BytesFrom(&wide, 0, 1, INT_MAX - 2), (Measure{INT_MAX, 0}));
    const unsigned short lead = 0xD800;
    EXPECT_EQ(detail::countUtf8BytesFrom(&lead, 0, 1, INT_MAX), (Measure{INT_MAX, 38}));
}

} // namespace
} // namespace Tavrin::test
