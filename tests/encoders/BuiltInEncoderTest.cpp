// SPDX-License-Identifier: MIT
#include <climits>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "encoders/HostEncoder.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using BuiltInEncoderTest = LibraryTest;

struct Row
{
    const char *name;
    int mapping;
    const char *aliases;
};

constexpr Row rows[] = {
    {"US-ASCII", 1,
     "US-ASCII,ASCII,ISO646-US,ISO_646.IRV:1991,ISO-IR-6,ANSI_X3.4-1968,CP367,IBM367,US,"
     "ISO646.1991-IRV"},
    {"BINARY", 1, "BINARY"},
    {"CP1252", 1, "CP1252,WINDOWS-1252,MS-ANSI"},
    {"ISO-8859-1", 1, "ISO-8859-1,ISO-8859-1,ISO-8859-1:1987,ISO-IR-100,LATIN1"},
    {"MACINTOSH", 1, "MACINTOSH,MAC-ROMAN"},
    {"UCS2", 2, "UCS2,UCS-2,ISO-10646-UCS-2,UTF16,UTF-16,ISO-10646-UTF-16"},
    {"UCS2BE", 2, "UCS2BE,UCS-2BE,ISO-10646-UCS-2BE,UTF16BE,UTF-16BE,ISO-10646-UTF16BE"},
    {"UCS2LE", 2, "UCS2LE,UCS-2LE,ISO-10646-UCS-2LE,UTF16LE,UTF-16LE,ISO-10646-UTF16LE"},
    {"UCS4", 4, "UCS4,UCS-4,ISO-10646-UCS-4,UTF-32,UTF32"},
    {"UCS4BE", 4, "UCS4BE,UCS-4BE,ISO-10646-UCS-4BE,UTF-32BE,UTF32BE"},
    {"UCS4LE", 4, "UCS4LE,UCS-4LE,ISO-10646-UCS-4LE,UTF-32LE,UTF32LE"},
    {"UTF-8", 0, "UTF-8,UTF8,UNICODE-1-1-UTF-8,UNICODE-2-0-UTF-8,UNICODE-2-0-UTF-8"},
};

std::vector<std::string> split(const std::string &list)
{
    std::vector<std::string> pieces;
    std::istringstream stream(list);
    for (std::string piece; std::getline(stream, piece, ',');)
        pieces.push_back(piece);
    return pieces;
}

struct Result
{
    std::string bytes;
    int consumed;
    int code;

    bool operator==(const Result &) const = default;
};

struct TextResult
{
    std::u16string units;
    int consumed;
    int code;

    bool operator==(const TextResult &) const = default;
};

Result encode(const Encoder &encoder, const std::u16string &text, int room = 64)
{
    std::string bytes(static_cast<std::size_t>(room), '\0');
    int consumed = static_cast<int>(text.size());
    int produced = room;
    const int code = encoder.toMBCS(reinterpret_cast<const unsigned short *>(text.data()), consumed,
                                    bytes.data(), produced, false);
    bytes.resize(static_cast<std::size_t>(produced));
    return {bytes, consumed, code};
}

TextResult decode(const Encoder &encoder, const std::string &bytes, int room = 64)
{
    std::u16string units(static_cast<std::size_t>(room), u'\0');
    int consumed = static_cast<int>(bytes.size());
    int produced = room;
    const int code = encoder.toUnicode(
        bytes.data(), consumed, reinterpret_cast<unsigned short *>(units.data()), produced, false);
    units.resize(static_cast<std::size_t>(produced));
    return {units, consumed, code};
}

TEST_F(BuiltInEncoderTest, EachGivesItsNamesAndMapping)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Encoder *encoder = Encoder::get(row.name);
        ASSERT_NE(encoder, nullptr);
        EXPECT_EQ(namesOf(encoder), row.aliases);
        EXPECT_EQ(encoder->getMapping(), row.mapping);
    }
}

TEST_F(BuiltInEncoderTest, EachIsFoundByEveryAlias)
{
    for (const Row &row : rows)
        for (const std::string &alias : split(row.aliases))
            EXPECT_EQ(Encoder::get(alias.c_str()), Encoder::get(row.name)) << alias;
}

TEST_F(BuiltInEncoderTest, LengthsFollowFromTheSizeOfACharacter)
{
    const unsigned short units[10] = {};
    const char bytes[10] = {};
    for (const Row &row : rows) {
        if (row.mapping == 0)
            continue;
        SCOPED_TRACE(row.name);
        const Encoder &encoder = *Encoder::get(row.name);
        for (int length = 0; length <= 10; ++length) {
            int count = -7;
            EXPECT_EQ(encoder.getUnicodeLength(bytes, length, count), 0);
            EXPECT_EQ(count, length / row.mapping);
            EXPECT_EQ(encoder.getMBCSLength(units, length, count), 0);
            EXPECT_EQ(count, length * row.mapping);
        }
    }
}

TEST_F(BuiltInEncoderTest, LengthThatAnIntDoesNotHoldBecomesTheLargest)
{
    for (const char *name : {"UCS2", "UCS4"}) {
        const Encoder &encoder = *Encoder::get(name);
        const int largestCount = INT_MAX / encoder.getMapping();
        int count = 0;
        EXPECT_EQ(encoder.getMBCSLength(nullptr, largestCount, count), 0);
        EXPECT_EQ(count, largestCount * encoder.getMapping());
        EXPECT_EQ(encoder.getMBCSLength(nullptr, largestCount + 1, count), 0);
        EXPECT_EQ(count, INT_MAX);
        EXPECT_EQ(encoder.getMBCSLength(nullptr, INT_MIN, count), 0);
        EXPECT_EQ(count, 0);
    }
}

TEST_F(BuiltInEncoderTest, Utf8LengthsComeFromAScan)
{
    const unsigned short units[] = {u'a', 0xE9, 0x20AC, 0xD83D, 0xDE00};
    const Encoder &encoder = Encoder::getUtf8();
    int count = 0;
    EXPECT_EQ(encoder.getMBCSLength(units, 5, count), 0);
    EXPECT_EQ(count, 10);
    EXPECT_EQ(encoder.getMBCSLength(units, 4, count), 38);
    EXPECT_EQ(count, 9);
    EXPECT_EQ(encoder.getUnicodeLength("a\xC3\xA9\xF0\x9F\x98\x80", 7, count), 0);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(encoder.getUnicodeLength("a\xFF", 2, count), 37);
    EXPECT_EQ(count, 2);
}

TEST_F(BuiltInEncoderTest, AsciiReplacesAndConvertsTheWholeString)
{
    const Encoder &ascii = Encoder::getAscii();
    EXPECT_EQ(encode(ascii, u"a\u00E9b"), (Result{"a?b", 3, 37}));
    EXPECT_EQ(decode(ascii, "a\xE9"
                            "b"),
              (TextResult{u"a\uFFFDb", 3, 37}));
}

TEST_F(BuiltInEncoderTest, BinaryKeepsLowBytesWithoutAnError)
{
    const Encoder &binary = Encoder::getBinary();
    EXPECT_EQ(encode(binary, u"a\u20AC"), (Result{"a\xAC", 2, 0}));
    EXPECT_EQ(decode(binary, "a\xFF"), (TextResult{u"a\u00FF", 2, 0}));
}

TEST_F(BuiltInEncoderTest, EuroSignIsByte128OfCp1252AndUnknownToLatin1)
{
    EXPECT_EQ(encode(*Encoder::get("CP1252"), u"\u20AC"), (Result{"\x80", 1, 0}));
    EXPECT_EQ(encode(*Encoder::get("ISO-8859-1"), u"\u20AC"), (Result{"?", 1, 37}));
}

TEST_F(BuiltInEncoderTest, Byte81IsUndefinedInCp1252AndAnErrorInLatin1)
{
    EXPECT_EQ(decode(*Encoder::get("CP1252"), "\x81"), (TextResult{u"\uFFFD", 1, 0}));
    EXPECT_EQ(decode(*Encoder::get("ISO-8859-1"), "\x81"), (TextResult{u"\uFFFD", 1, 44}));
}

TEST_F(BuiltInEncoderTest, MacRomanHasTheEuroSignAtDB)
{
    EXPECT_EQ(encode(*Encoder::get("MACINTOSH"), u"\u20AC\u4E00"), (Result{"\xDB?", 2, 37}));
    EXPECT_EQ(decode(*Encoder::get("MACINTOSH"), "\xDB"), (TextResult{u"\u20AC", 1, 0}));
}

TEST_F(BuiltInEncoderTest, UndecoratedUcs2AndUcs4AreLittleEndian)
{
    EXPECT_EQ(encode(*Encoder::get("UCS2"), u"\u1234"), (Result{"\x34\x12", 1, 0}));
    EXPECT_EQ(encode(*Encoder::get("UCS2LE"), u"\u1234"), (Result{"\x34\x12", 1, 0}));
    EXPECT_EQ(encode(*Encoder::get("UCS2BE"), u"\u1234"), (Result{"\x12\x34", 1, 0}));
    EXPECT_EQ(encode(*Encoder::get("UCS4"), u"\u1234"), (Result{{"\x34\x12\0\0", 4}, 1, 0}));
    EXPECT_EQ(encode(*Encoder::get("UCS4LE"), u"\u1234"), (Result{{"\x34\x12\0\0", 4}, 1, 0}));
    EXPECT_EQ(encode(*Encoder::get("UCS4BE"), u"\u1234"), (Result{{"\0\0\x12\x34", 4}, 1, 0}));
}

TEST_F(BuiltInEncoderTest, ByteOrderMarksAreCharactersLikeOthers)
{
    EXPECT_EQ(decode(*Encoder::get("UCS2LE"), "\xFF\xFE"), (TextResult{u"\uFEFF", 2, 0}));
    EXPECT_EQ(decode(*Encoder::get("UCS2BE"), "\xFF\xFE"), (TextResult{u"\uFFFE", 2, 0}));
    EXPECT_EQ(decode(Encoder::getUtf8(), "\xEF\xBB\xBFz"), (TextResult{u"\uFEFFz", 4, 0}));
    EXPECT_EQ(encode(*Encoder::get("UCS2"), u"a"), (Result{{"a\0", 2}, 1, 0}));
}

TEST_F(BuiltInEncoderTest, Ucs4DecodesAnEmojiToItsLowUnit)
{
    EXPECT_EQ(decode(Encoder::getUtf32(), {"\0\xF6\x01\0", 4}), (TextResult{u"\uF600", 4, 0}));
}

TEST_F(BuiltInEncoderTest, OverlongNulOfUtf8GivesOneReplacementAnd37)
{
    EXPECT_EQ(decode(Encoder::getUtf8(), "\xC0\x80"), (TextResult{u"\uFFFD", 2, 37}));
}

TEST_F(BuiltInEncoderTest, LoneLeadByteOfUtf8Gives38AndStays)
{
    EXPECT_EQ(decode(Encoder::getUtf8(), "ab\xC3"), (TextResult{u"ab", 2, 38}));
}

// All units through every encoder: what comes back is the unit, or the encoder said 37.
TEST_F(BuiltInEncoderTest, EveryUnitComesBackOrIsReported)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Encoder &encoder = *Encoder::get(row.name);
        const bool isBinary = &encoder == &Encoder::getBinary();
        for (unsigned unit = 0; unit < 0x10000; ++unit) {
            const std::u16string text(1, static_cast<char16_t>(unit));
            const Result encoded = encode(encoder, text);
            if (encoded.code != 0)
                continue;
            // What CP1252 takes as it stands comes back as what the byte means.
            const bool isMiddle = row.aliases == rows[2].aliases && unit >= 0x80 && unit <= 0x9F;
            const TextResult decoded = decode(encoder, encoded.bytes);
            ASSERT_EQ(decoded.code, 0);
            const unsigned expected = isBinary ? unit % 256 : unit;
            ASSERT_EQ(decoded.units[0] == expected, !isMiddle) << unit;
        }
    }
}

TEST_F(BuiltInEncoderTest, TheLastArgumentChangesNothing)
{
    for (const Row &row : rows) {
        const Encoder &encoder = *Encoder::get(row.name);
        const unsigned short units[] = {u'a', 0xE9, u'z'};
        for (const bool continued : {false, true}) {
            char bytes[16] = {};
            int consumed = 3;
            int produced = 16;
            encoder.toMBCS(units, consumed, bytes, produced, continued);
            EXPECT_EQ(consumed, 3) << row.name;
            unsigned short back[16] = {};
            int length = produced;
            int room = 16;
            encoder.toUnicode(bytes, length, back, room, continued);
            EXPECT_EQ(room, 3) << row.name;
            EXPECT_EQ(back[2], u'z') << row.name;
        }
    }
}

} // namespace
} // namespace Tavrin::test
