// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <tavrin/Encoder.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::bytesOf;
using test::isTerminated;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringUriTest = test::LibraryTest;

namespace {

constexpr char marks[] = "-_.!~*'();/?:@&=+$,#";

struct Row
{
    const char *name;
    std::u16string_view text;
    const char *keep;
    const char *encoded;
};

using namespace std::string_view_literals;

const Row encodeRows[] = {
    {"nothing", u""sv, "", ""},
    {"letters and digits", u"AZaz09"sv, "", "AZaz09"},
    {"a blank", u"a b"sv, "", "a%20b"},
    {"two bytes", u"\xE9"sv, "", "%C3%A9"},
    {"three bytes", u"\x20AC"sv, "", "%E2%82%AC"},
    {"four bytes", u"\xD83D\xDE00"sv, "", "%F0%9F%98%80"},
    {"marks that are kept", u"a/b?c"sv, marks, "a/b?c"},
    {"marks that are not", u"a/b?c"sv, "/", "a/b%3Fc"},
    {"a percent sign", u"100%"sv, "", "100%25"},
    {"a percent sign that is kept", u"100%"sv, "%", "100%"},
    {"a 0 unit", u"a\0b"sv, marks, "a%00b"},
    {"the last of ASCII", u"\x7F"sv, "", "%7F"},
    {"the last of ASCII, kept", u"\x7F"sv, "\x7F", "\x7F"},
    {"bytes above 127 cannot be kept", u"\xE9"sv, "\xC3\xA9", "%C3%A9"},
    {"nothing to keep", u"a/b"sv, nullptr, "a%2Fb"},
};

const Row decodeRows[] = {
    {"nothing", u""sv, nullptr, ""},
    {"no escapes", u"plain"sv, nullptr, "plain"},
    {"both cases", u"%2f%2F"sv, nullptr, "//"},
    {"two bytes", u"caf%C3%A9!"sv, nullptr, "caf\xE9!"},
    {"plain units beyond ASCII", u"\xE9%41"sv, nullptr,
     "\xE9"
     "A"},
    {"an escaped percent sign", u"100%25"sv, nullptr, "100%"},
    {"bytes that give nothing", u"a%FFb"sv, nullptr, "a?b"},
    {"several of them give one mark", u"a%FF%FE%80b"sv, nullptr, "a?b"},
    {"a lead byte alone", u"%C3"sv, nullptr, "?"},
    {"what stands in front of them is lost with them", u"%41%FF"sv, nullptr, "?"},
    {"a plain unit cuts a character", u"%C3x%A9"sv, nullptr, "?x?"},
};

// decodeURI as it is worded: the bytes of each run of escapes are decoded for themselves.
std::u16string decodedByRuns(std::u16string_view text)
{
    std::u16string result;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '%') {
            result += text[at++];
            continue;
        }
        std::string bytes;
        for (; at < text.size() && text[at] == '%'; at += 3) {
            const std::string digits(text.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                                     text.begin() + static_cast<std::ptrdiff_t>(at) + 3);
            bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
        }
        String decoded;
        decoded.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8());
        result += decoded.length() == 0 ? u"?" : unitsOf(decoded);
    }
    return result;
}

testing::AssertionResult decodesByRuns(std::u16string_view encoded)
{
    String text = textOf(encoded);
    if (!text.decodeURI())
        return testing::AssertionFailure() << "refused";
    const std::u16string expected = decodedByRuns(encoded);
    if (unitsOf(text) == expected && isTerminated(text))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << text.length() << " units for " << expected.size();
}

} // namespace

TEST_F(StringUriTest, Encodes)
{
    for (const Row &row : encodeRows) {
        String text = textOf(row.text);
        EXPECT_TRUE(text.encodeURI(row.keep)) << row.name;
        EXPECT_EQ(bytesOf(text), row.encoded) << row.name;
        EXPECT_TRUE(isTerminated(text)) << row.name;
    }
}

TEST_F(StringUriTest, TheSetMayBeOfUnits)
{
    String text("a/b?\xE9");
    EXPECT_TRUE(text.encodeURI(Units(u"?\xE9\x2F\x0141").data()));
    EXPECT_EQ(text, "a/b?%C3%A9");
    text = "a/b";
    EXPECT_TRUE(text.encodeURI(static_cast<const unsigned short *>(nullptr)));
    EXPECT_EQ(text, "a%2Fb");
}

TEST_F(StringUriTest, EveryByteOfAsciiWithAndWithoutBeingKept)
{
    for (int byte = 1; byte < 128; ++byte) {
        const char keep[] = {static_cast<char>(byte), 0};
        char escape[8];
        std::snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned>(byte));
        String kept(keep);
        EXPECT_TRUE(kept.encodeURI(keep));
        EXPECT_EQ(kept, keep);
        String text(keep);
        EXPECT_TRUE(text.encodeURI(""));
        EXPECT_EQ(text, std::isalnum(byte) != 0 ? keep : escape);
    }
}

TEST_F(StringUriTest, HalfAPairIsNotEncoded)
{
    for (const std::u16string_view units : {u"ab\xD83D"sv, u"\xD83Dx"sv, u"\xDE00"sv}) {
        String text = textOf(units);
        const String sharer(text);
        EXPECT_FALSE(text.encodeURI(marks));
        EXPECT_EQ(text.wstr(), sharer.wstr());
    }
}

TEST_F(StringUriTest, Decodes)
{
    for (const Row &row : decodeRows) {
        String text = textOf(row.text);
        EXPECT_TRUE(text.decodeURI()) << row.name;
        EXPECT_EQ(bytesOf(text), row.encoded) << row.name;
        EXPECT_TRUE(isTerminated(text)) << row.name;
    }
}

TEST_F(StringUriTest, AWrongEscapeChangesNothing)
{
    for (const char *units : {"%", "%4", "%zz", "%4z", "%z4", "a%41b%", "%41%4", "%%41", "% 41",
                              "%C3%", "%C3%A", "%C3%zz", "%E2%82%", "%C3%A9%x"}) {
        String text(units);
        const String sharer(text);
        EXPECT_FALSE(text.decodeURI()) << units;
        EXPECT_EQ(text.wstr(), sharer.wstr()) << units;
    }
    String cut = textOf(u"%4\0"sv);
    EXPECT_FALSE(cut.decodeURI());
    EXPECT_EQ(cut.length(), 3);
}

TEST_F(StringUriTest, BytesThatGiveNoTextBecomeOneMark)
{
    String text("%FF%FF%FFx%80%80");
    EXPECT_TRUE(text.decodeURI());
    EXPECT_EQ(text, "?x?");
}

TEST_F(StringUriTest, AnEscapedZeroIsAUnit)
{
    String text("a%00b");
    EXPECT_TRUE(text.decodeURI());
    EXPECT_EQ(unitsOf(text), u"a\0b"sv);
    text = textOf(u"\0%41"sv);
    EXPECT_TRUE(text.decodeURI());
    EXPECT_EQ(unitsOf(text), u"\0A"sv);
}

TEST_F(StringUriTest, LongRunsOfEscapes)
{
    for (const int count : {511, 512, 513, 5000}) {
        std::string encoded;
        for (int at = 0; at < count; ++at)
            encoded += "%E2%82%AC";
        String text(encoded.c_str());
        EXPECT_TRUE(text.decodeURI());
        EXPECT_EQ(unitsOf(text), std::u16string(static_cast<std::size_t>(count), u'\x20AC'));
    }
}

TEST_F(StringUriTest, EscapesBehindPlainUnitsOfEveryNumber)
{
    constexpr std::u16string_view escapes[] = {u"%41",
                                               u"%C3%A9",
                                               u"%E2%82%AC",
                                               u"%F0%9F%98%80",
                                               u"%ED%A0%BD",
                                               u"%C3",
                                               u"%E2%82",
                                               u"%C0%80",
                                               u"%80",
                                               u"%FF",
                                               u"%F4%90%80%80",
                                               u"%41%C3%A9%42",
                                               u"%F8%88%80%80%80%41",
                                               u"%C3%C3%A9",
                                               u"%E2%82%41"};
    for (const std::u16string_view escape : escapes)
        for (std::size_t before = 0; before <= 9; ++before)
            for (std::size_t behind = 0; behind <= 9; ++behind) {
                std::u16string text(before, u'a');
                text += escape;
                text.append(behind, u'\xE9');
                ASSERT_TRUE(decodesByRuns(text)) << before << " and " << behind;
                ASSERT_TRUE(decodesByRuns(text + text)) << before << " and " << behind;
            }
}

TEST_F(StringUriTest, TextsAroundTheLongestShortOneDecodeByRuns)
{
    for (std::size_t length = 2040; length <= 2060; ++length) {
        std::u16string text = u"%C3%A9" + std::u16string(length - 9, u'a') + u"%41";
        EXPECT_TRUE(decodesByRuns(text)) << length;
        text.replace(0, 3, u"%FF");
        EXPECT_TRUE(decodesByRuns(text)) << length;
    }
}

TEST_F(StringUriTest, RandomTextsDecodeByRuns)
{
    constexpr std::u16string_view pieces[] = {u"a",         u"bcdefghij",    u"\x20AC",
                                              u"%25",       u"%C3%A9",       u"%E2%82%AC",
                                              u"%ED%B8%80", u"%F0%9F%98%80", u"%c3%a9%3F"};
    constexpr std::u16string_view bad[] = {u"%FF", u"%C3", u"%A9", u"%F0%9F", u"%E0%80%80"};
    std::mt19937 random(5);
    for (int run = 0; run < 300; ++run) {
        std::u16string text;
        const std::size_t length = random() % 5000;
        while (text.size() < length)
            text += pieces[random() % std::size(pieces)];
        ASSERT_TRUE(decodesByRuns(text)) << run;
        text += bad[random() % std::size(bad)];
        ASSERT_TRUE(decodesByRuns(text)) << run;
    }
}

TEST_F(StringUriTest, EveryCharacterGoesThereAndBack)
{
    std::u16string units;
    for (unsigned character = 0; character < 0x110000; character += character < 0x3000 ? 1 : 61) {
        if (character >= 0xD800 && character < 0xE000)
            continue;
        if (character < 0x10000) {
            units += static_cast<char16_t>(character);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (character >> 10));
            units += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
        }
    }
    String text = textOf(units);
    EXPECT_TRUE(text.encodeURI(""));
    for (int at = 0; at < text.length(); ++at)
        ASSERT_LT(text.wstr()[at], 128);
    EXPECT_TRUE(text.decodeURI());
    EXPECT_TRUE(unitsOf(text) == units);
}

TEST_F(StringUriTest, TheSetMayBeTheScratchBuffer)
{
    const String set("/?");
    String text("a/b?c d");
    EXPECT_TRUE(text.encodeURI(set.encode(nullptr)));
    EXPECT_EQ(text, "a/b?c%20d");
}

TEST_F(StringUriTest, SharersStayAsTheyAreAndPinsStay)
{
    String text("a b");
    const String sharer(text);
    text.makeUnique();
    EXPECT_TRUE(text.encodeURI(""));
    EXPECT_EQ(sharer, "a b");
    EXPECT_NE(String(text).wstr(), text.wstr());
    EXPECT_TRUE(text.decodeURI());
    EXPECT_EQ(text, "a b");
    EXPECT_NE(String(text).wstr(), text.wstr());
}
