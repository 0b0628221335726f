// SPDX-License-Identifier: MIT
#include <algorithm>
#include <climits>
#include <cstdint>
#include <random>

#include <gtest/gtest.h>

#include "encoders/Utf8Naive.h"

namespace Tavrin::test {
namespace {

using detail::Conversion;

constexpr int plenty = 64;

int sizeOf(std::string_view text)
{
    return static_cast<int>(text.size());
}

int sizeOf(std::u16string_view text)
{
    return static_cast<int>(text.size());
}

Decoded decode(std::string_view bytes, int room = plenty)
{
    return decodeBy(detail::decodeUtf8, bytes, room);
}

Encoded encode(std::u16string_view units, int room = plenty)
{
    return encodeBy(detail::encodeUtf8, units, room);
}

// All scalar values in ascending order.
std::vector<char32_t> scalars()
{
    std::vector<char32_t> values;
    for (char32_t value = 0; value <= 0x10FFFF; ++value)
        if (value < 0xD800 || value > 0xDFFF)
            values.push_back(value);
    return values;
}

TEST(Utf8, TheBestSetIsInUse)
{
    EXPECT_EQ(detail::activeUtf8Routines.decode, utf8RoutineSets().back().routines->decode);
}

TEST(Utf8, DecodesEachLengthOfSequence)
{
    EXPECT_EQ(decode("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"),
              (Decoded{u"a\u00E9\u20AC\U0001F600", {10, 5, 0}}));
}

TEST(Utf8, EncodesEachLengthOfSequence)
{
    EXPECT_EQ(encode(u"a\u00E9\u20AC\U0001F600"),
              (Encoded{"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", {5, 10, 0}}));
}

TEST(Utf8, OverlongNulGivesOneReplacementAnd37)
{
    EXPECT_EQ(decode({"a\xC0\x80z", 4}), (Decoded{u"a\uFFFD", {3, 2, 37}}));
}

TEST(Utf8, LoneTrailingLeadByteGives38AndStays)
{
    EXPECT_EQ(decode("abc\xE2"), (Decoded{u"abc", {3, 3, 38}}));
    EXPECT_EQ(decode("abc\xE2\x82"), (Decoded{u"abc", {3, 3, 38}}));
    EXPECT_EQ(decode("\xF0\x9F\x98"), (Decoded{u"", {0, 0, 38}}));
    EXPECT_EQ(decode("\xFD\x80\x80\x80\x80"), (Decoded{u"", {0, 0, 38}}));
}

TEST(Utf8, ByteThatLeadsNothingGives37AndStays)
{
    for (const char *byte : {"\x80", "\xBF", "\xFE", "\xFF"})
        EXPECT_EQ(decode(std::string("ab") + byte + "c"), (Decoded{u"ab", {2, 2, 37}}));
}

TEST(Utf8, BadContinuationConsumesTheWholeLength)
{
    EXPECT_EQ(decode("\xE2\x82 xyz"), (Decoded{u"\uFFFD", {3, 1, 37}}));
    EXPECT_EQ(decode("\xE2xyz"), (Decoded{u"\uFFFD", {3, 1, 37}}));
}

TEST(Utf8, FiveAndSixByteSequencesGiveOneReplacement)
{
    EXPECT_EQ(decode("\xF8\x88\x80\x80\x80z"), (Decoded{u"\uFFFD", {5, 1, 37}}));
    EXPECT_EQ(decode("\xFC\x84\x80\x80\x80\x80z"), (Decoded{u"\uFFFD", {6, 1, 37}}));
}

TEST(Utf8, ValueBeyondUnicodeIsBad)
{
    EXPECT_EQ(decode("\xF4\x8F\xBF\xBF").conversion, (Conversion{4, 2, 0}));
    EXPECT_EQ(decode("\xF4\x90\x80\x80"), (Decoded{u"\uFFFD", {4, 1, 37}}));
}

TEST(Utf8, SurrogatesEncodedOneByOnePassThrough)
{
    const std::u16string pair = {0xD83D, 0xDE00};
    EXPECT_EQ(decode("\xED\xA0\xBD\xED\xB8\x80"), (Decoded{pair, {6, 2, 0}}));
}

TEST(Utf8, PairWithoutRoomForBothGives38)
{
    EXPECT_EQ(decode("a\xF0\x9F\x98\x80", 2), (Decoded{u"a", {1, 1, 38}}));
    EXPECT_EQ(decode("a\xF0\x9F\x98\x80", 1), (Decoded{u"a", {1, 1, 0}}));
}

TEST(Utf8, RoomThatRunsOutBetweenCharactersIsNoError)
{
    EXPECT_EQ(decode("ab\xFF", 2), (Decoded{u"ab", {2, 2, 0}}));
    EXPECT_EQ(encode(u"ab\u20AC", 2), (Encoded{"ab", {2, 2, 0}}));
}

TEST(Utf8, CharacterLongerThanTheRoomStaysWithoutAnError)
{
    EXPECT_EQ(encode(u"a\u20AC", 3), (Encoded{"a", {1, 1, 0}}));
    EXPECT_EQ(encode(u"a\U0001F600", 4), (Encoded{"a", {1, 1, 0}}));
}

TEST(Utf8, LoneTrailSurrogateStopsEncodingWith37)
{
    const std::u16string units = {u'a', 0xDE00, u'b'};
    EXPECT_EQ(encode(units), (Encoded{"a", {1, 1, 37}}));
}

TEST(Utf8, LeadSurrogateAtTheEndStopsEncodingWith38)
{
    const std::u16string units = {u'a', 0xD83D};
    EXPECT_EQ(encode(units), (Encoded{"a", {1, 1, 38}}));
}

TEST(Utf8, LeadSurrogateWithABadPartnerStopsEncodingWith37)
{
    for (const char16_t partner : {char16_t{u'b'}, char16_t{0xD83D}, char16_t{0xE000}}) {
        const std::u16string units = {u'a', 0xD83D, partner};
        EXPECT_EQ(encode(units), (Encoded{"a", {1, 1, 37}}));
    }
}

TEST(Utf8, EmptyInputIsNeverRead)
{
    for (const NamedRoutines &set : utf8RoutineSets()) {
        SCOPED_TRACE(set.name);
        unsigned short unit = 0;
        char byte = 0;
        for (const int length : {0, -1, INT_MIN}) {
            EXPECT_EQ(set.routines->decode(nullptr, length, &unit, 1), (Conversion{0, 0, 0}));
            EXPECT_EQ(set.routines->encode(nullptr, length, &byte, 1), (Conversion{0, 0, 0}));
            EXPECT_EQ(set.routines->countUnits(nullptr, length), (detail::Measure{0, 0}));
            EXPECT_EQ(set.routines->countBytes(nullptr, length), (detail::Measure{0, 0}));
        }
    }
}

TEST(Utf8, NoRoomIsNeverWritten)
{
    const unsigned short trail = 0xDC00;
    for (const NamedRoutines &set : utf8RoutineSets()) {
        SCOPED_TRACE(set.name);
        for (const int room : {0, -1, INT_MIN}) {
            EXPECT_EQ(set.routines->decode("\xFF", 1, nullptr, room), (Conversion{0, 0, 0}));
            EXPECT_EQ(set.routines->encode(&trail, 1, nullptr, room), (Conversion{0, 0, 0}));
        }
    }
}

TEST(Utf8, EveryScalarGoesBothWaysByItself)
{
    for (const NamedRoutines &set : utf8RoutineSets()) {
        SCOPED_TRACE(set.name);
        for (const char32_t scalar : scalars()) {
            const std::string bytes = utf8Of(scalar);
            const std::u16string units = unitsOf(scalar);
            unsigned short unitRoom[2] = {};
            char byteRoom[4] = {};
            const Conversion decoded =
                set.routines->decode(bytes.data(), sizeOf(bytes), unitRoom, 2);
            const Conversion encoded = set.routines->encode(
                reinterpret_cast<const unsigned short *>(units.data()), sizeOf(units), byteRoom, 4);
            ASSERT_EQ(decoded, (Conversion{sizeOf(bytes), sizeOf(units), 0}));
            ASSERT_EQ(encoded, (Conversion{sizeOf(units), sizeOf(bytes), 0}));
            ASSERT_TRUE(std::equal(units.begin(), units.end(), unitRoom)) << std::uint32_t{scalar};
            ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), byteRoom)) << std::uint32_t{scalar};
        }
    }
}

TEST(Utf8, EveryScalarGoesBothWaysInOneText)
{
    std::string bytes;
    std::u16string units;
    for (const char32_t scalar : scalars()) {
        bytes += utf8Of(scalar);
        units += unitsOf(scalar);
    }
    for (const NamedRoutines &set : utf8RoutineSets()) {
        SCOPED_TRACE(set.name);
        const Decoded decoded = decodeBy(set.routines->decode, bytes, sizeOf(units));
        EXPECT_EQ(decoded.conversion, (Conversion{sizeOf(bytes), sizeOf(units), 0}));
        EXPECT_TRUE(decoded.text == units);
        const Encoded encoded = encodeBy(set.routines->encode, units, sizeOf(bytes));
        EXPECT_EQ(encoded.conversion, (Conversion{sizeOf(units), sizeOf(bytes), 0}));
        EXPECT_TRUE(encoded.text == bytes);
    }
}

// Neighbours of every length on both sides, at every place of a block.
TEST(Utf8, EveryPlaceInABlockTakesEveryLength)
{
    const std::vector<char32_t> kinds = {U'a', U'\u00E9', U'\u20AC', U'\U0001F600'};
    for (const char32_t around : kinds) {
        for (const char32_t inside : kinds) {
            for (int place = 0; place < 70; ++place) {
                std::string bytes;
                std::u16string units;
                for (int index = 0; index < 140; ++index) {
                    bytes += utf8Of(index == place ? inside : around);
                    units += unitsOf(index == place ? inside : around);
                }
                ASSERT_TRUE(decodesAlike(bytes, sizeOf(units)));
                ASSERT_TRUE(encodesAlike(units, sizeOf(bytes)));
            }
        }
    }
}

// What goes by blocks must not notice where the room ends, nor how much of the text there is.
TEST(Utf8, EveryRoomAndEveryLengthStopsAtTheSamePlace)
{
    const std::vector<std::u16string> patterns = {
        u"a", u"\u00E9", u"\u20AC", u"\U0001F600", u"ab\u00E9\u20ACc\U0001F600d\u0416e",
    };
    for (const std::u16string &pattern : patterns) {
        std::u16string units;
        while (units.size() < 100)
            units += pattern;
        const std::string bytes = encodeNaively(units, INT_MAX).text;
        for (int room = 0; room <= sizeOf(units) + 70; ++room)
            ASSERT_TRUE(decodesAlike(bytes, room));
        for (int room = 0; room <= sizeOf(bytes) + 70; ++room)
            ASSERT_TRUE(encodesAlike(units, room));
        for (std::size_t length = 0; length <= bytes.size(); ++length)
            ASSERT_TRUE(decodesAlike(std::string_view(bytes).substr(0, length), sizeOf(units)));
        for (std::size_t length = 0; length <= units.size(); ++length)
            ASSERT_TRUE(encodesAlike(std::u16string_view(units).substr(0, length), sizeOf(bytes)));
    }
}

// Text of all kinds, sometimes damaged, against the naive rules.
class RandomText
{
public:
    explicit RandomText(unsigned seed) : random(seed) {}

    int below(int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); }

    std::u16string units()
    {
        constexpr char32_t bounds[] = {0x80, 0x800, 0xD800, 0x110000};
        std::u16string text;
        const int kind = below(5);
        for (int left = below(200); left > 0; --left) {
            const bool isMixed = kind == 4;
            const int row = isMixed || below(40) == 0 ? below(4) : kind;
            const char32_t low = row == 0 ? 0 : bounds[row - 1];
            char32_t scalar = low + static_cast<char32_t>(random() % (bounds[row] - low));
            if (row == 3 && scalar < 0x10000 && below(60) != 0)
                scalar += 0x10000;
            text += unitsOf(scalar);
        }
        return text;
    }

    void damage(std::string &bytes)
    {
        for (int left = below(3); left > 0 && !bytes.empty(); --left) {
            const auto place = static_cast<std::size_t>(below(sizeOf(bytes)));
            if (below(2) == 0)
                bytes.erase(place, 1);
            else
                bytes[place] = static_cast<char>(random());
        }
    }

private:
    std::mt19937 random;
};

TEST(Utf8, RandomTextsConvertAlikeInAllSets)
{
    RandomText random(2);
    for (int run = 0; run < 10000; ++run) {
        const std::u16string units = random.units();
        std::string bytes = encodeNaively(units, INT_MAX).text;
        const int unitCount = sizeOf(units);
        const int byteCount = sizeOf(bytes);
        ASSERT_TRUE(encodesAlike(units, random.below(2) == 0 ? byteCount + random.below(60)
                                                             : random.below(byteCount + 1)));
        random.damage(bytes);
        ASSERT_TRUE(decodesAlike(bytes, random.below(2) == 0 ? unitCount + random.below(70)
                                                             : random.below(unitCount + 1)));
    }
}

} // namespace
} // namespace Tavrin::test
