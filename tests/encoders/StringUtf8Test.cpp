// SPDX-License-Identifier: MIT
// The short way of strings to UTF-8 and back beside the general one, which every other encoder
// takes: they have to come out alike.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Encoder.h>
#include <tavrin/Heap.h>
#include <tavrin/String.h>

#include "encoders/HostEncoder.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/TextUnits.h"

namespace Tavrin::test {
namespace {

using StringUtf8Test = LibraryTest;

// UTF-8 by another object, which goes the general way.
struct OtherUtf8 : HostEncoder
{
    OtherUtf8() : HostEncoder("OTHER")
    {
        const Encoder &utf8 = Encoder::getUtf8();
        onUnicodeLength = [&](const char *src, int srcLen, int &out) {
            return utf8.getUnicodeLength(src, srcLen, out);
        };
        onMBCSLength = [&](const unsigned short *src, int srcLen, int &out) {
            return utf8.getMBCSLength(src, srcLen, out);
        };
        onUnicode = [&](const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                        bool continued) {
            return utf8.toUnicode(src, srcLen, dst, dstLen, continued);
        };
        onMBCS = [&](const unsigned short *src, int &srcLen, char *dst, int &dstLen,
                     bool continued) { return utf8.toMBCS(src, srcLen, dst, dstLen, continued); };
    }
};

struct Decoded
{
    std::u16string text;
    int code;

    bool operator==(const Decoded &) const = default;
};

struct Encoded
{
    std::string bytes;
    int code;

    bool operator==(const Encoded &) const = default;
};

Decoded decode(const std::string &bytes, const Encoder &encoder)
{
    String text("before");
    const int code = text.decode(bytes.data(), static_cast<int>(bytes.size()), &encoder);
    return {unitsOf(text), code};
}

Encoded encode(const std::u16string &units, const Encoder &encoder)
{
    const char *bytes = nullptr;
    int length = -1;
    const int code = textOf(units).encode(bytes, length, &encoder);
    EXPECT_EQ(bytes[length], '\0');
    EXPECT_EQ(String::getEncodedLength(), length);
    return {{bytes, static_cast<std::size_t>(length)}, code};
}

bool decodesAlike(const std::string &bytes)
{
    static const OtherUtf8 other;
    return decode(bytes, Encoder::getUtf8()) == decode(bytes, other);
}

bool encodesAlike(const std::u16string &units)
{
    static const OtherUtf8 other;
    return encode(units, Encoder::getUtf8()) == encode(units, other);
}

std::string repeated(const std::string &pattern, std::size_t length)
{
    std::string text;
    while (text.size() < length)
        text += pattern;
    return text;
}

std::u16string repeated(const std::u16string &pattern, std::size_t length)
{
    std::u16string text;
    while (text.size() < length)
        text += pattern;
    return text;
}

std::size_t bytesInUse()
{
    int blocks = 0;
    std::size_t bytes = 0;
    Heap::getMemoryStatistics(blocks, bytes);
    return bytes;
}

// Around the lengths at which the short way changes.
constexpr std::size_t decodeLengths[] = {1, 2, 16, 2046, 2047, 2048, 2049, 10000, 65536};
constexpr std::size_t longDecodeLengths[] = {4194304, 4194305};
constexpr std::size_t encodeLengths[] = {1, 2, 16, 4999, 5000, 5001, 5002, 65536, 1000000};

TEST_F(StringUtf8Test, ValidTextsOfEveryLengthDecodeAlike)
{
    for (const char *pattern : {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                "ab\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"})
        for (const std::size_t length : decodeLengths)
            EXPECT_TRUE(decodesAlike(repeated(pattern, length))) << pattern << ' ' << length;
}

TEST_F(StringUtf8Test, ShortTextsWithOneOtherByteAtEveryPlaceDecodeAlike)
{
    std::string ascii;
    for (std::size_t length = 1; length <= 140; ++length) {
        ascii += static_cast<char>((length * 3 - 3) % 128);
        ASSERT_TRUE(decodesAlike(ascii)) << length;
        ASSERT_EQ(decode(ascii, Encoder::getUtf8()).text,
                  std::u16string(ascii.begin(), ascii.end()));
        for (std::size_t place = 0; place < length; ++place) {
            std::string bytes = ascii;
            bytes[place] = '\x80';
            ASSERT_TRUE(decodesAlike(bytes)) << length << ", other at " << place;
            bytes.replace(place, 2, "\xC3\xA9");
            ASSERT_TRUE(decodesAlike(bytes)) << length << ", character at " << place;
        }
    }
}

TEST_F(StringUtf8Test, VeryLongTextsDecodeAlike)
{
    for (const std::size_t length : longDecodeLengths)
        EXPECT_TRUE(decodesAlike(repeated(std::string(1000, 'a') + "\xC3\xA9", length)));
}

TEST_F(StringUtf8Test, BadSequencesAtEveryPlaceDecodeAlike)
{
    for (const char *bad :
         {"\xFF", "\x80", "\xC0\x80", "\xE2\x28\xA1", "\xF8\x88\x80\x80\x80", "\xED\xA0\x80",
          "\xF4\x90\x80\x80", "\xC3", "\xE2\x82", "\xF0\x9F", "\xF8", "\xFD\xBF"})
        for (const std::size_t length : {100UL, 2048UL, 2049UL, 5000UL})
            for (const std::size_t place : {0UL, 1UL, length / 2, length - 4, length - 1, length}) {
                std::string bytes(length, 'x');
                bytes.replace(place, std::strlen(bad), bad);
                EXPECT_TRUE(decodesAlike(bytes)) << length << ", bad at " << place;
            }
}

TEST_F(StringUtf8Test, RefusedTextsLeaveTheStringAlone)
{
    for (const std::size_t length : {100UL, 2048UL, 2049UL, 5000UL}) {
        const Decoded unchanged{u"before", 37};
        EXPECT_EQ(decode(std::string(length, 'x') + "\xFF", Encoder::getUtf8()), unchanged);
        // What is bad further on is refused as well, though decoding never gets there.
        EXPECT_EQ(decode("\xC0\x80" + std::string(length, 'x') + "\xFF", Encoder::getUtf8()),
                  unchanged);
    }
}

TEST_F(StringUtf8Test, ValidTextsOfEveryLengthEncodeAlike)
{
    for (const char16_t *pattern :
         {u"a", u"\u00E9", u"\u20AC", u"\U0001F600", u"ab\u00E9\u20AC\U0001F600"})
        for (const std::size_t length : encodeLengths)
            EXPECT_TRUE(encodesAlike(repeated(pattern, length))) << length;
}

TEST_F(StringUtf8Test, LoneSurrogatesAtEveryPlaceEncodeAlike)
{
    for (const char16_t *pattern : {u"x", u"\u20AC"})
        for (const char16_t lone : {char16_t{0xD83D}, char16_t{0xDE00}})
            for (const std::size_t length : {100UL, 5000UL, 5001UL, 20000UL})
                for (const std::size_t place :
                     {0UL, 1UL, length / 3, length / 3 + 1, length - 2, length - 1}) {
                    std::u16string units = repeated(pattern, length);
                    units[place] = lone;
                    EXPECT_TRUE(encodesAlike(units)) << length << ", lone at " << place;
                }
}

TEST_F(StringUtf8Test, RandomTextsConvertAlike)
{
    std::mt19937 random(7);
    constexpr const char *pieces[] = {
        "a", "bcdefgh", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xED\xA0\xBD"};
    for (int run = 0; run < 300; ++run) {
        std::string bytes;
        const std::size_t length = random() % 12000;
        while (bytes.size() < length)
            bytes += pieces[random() % (run % 2 == 0 ? 6 : 5)];
        if (run % 3 == 0)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        ASSERT_TRUE(decodesAlike(bytes)) << run;
        ASSERT_TRUE(encodesAlike(decode(bytes, Encoder::getUtf8()).text)) << run;
    }
}

TEST_F(StringUtf8Test, StringsDecodeFromTheirOwnText)
{
    for (const std::string pattern : {"\xC3\xA9!x", "abcd"})
        for (const std::size_t length : {10UL, 128UL, 130UL, 2048UL, 2050UL, 20000UL}) {
            const std::string bytes = repeated(pattern, length);
            String text;
            text.init(static_cast<int>(bytes.size() / 2));
            std::memcpy(const_cast<unsigned short *>(text.wstr()), bytes.data(), bytes.size());
            EXPECT_EQ(text.decode(reinterpret_cast<const char *>(text.wstr()),
                                  static_cast<int>(bytes.size()), &Encoder::getUtf8()),
                      0);
            EXPECT_EQ(unitsOf(text), decode(bytes, Encoder::getUtf8()).text);
        }
}

TEST_F(StringUtf8Test, CopiesKeepTheirTextAndPinnedStringsTheirPin)
{
    for (const std::size_t length : {10UL, 5000UL}) {
        const std::string bytes(length, 'y');
        String text("before");
        const String copy(text);
        EXPECT_EQ(text.decode(bytes.data(), static_cast<int>(length), &Encoder::getUtf8()), 0);
        EXPECT_TRUE(copy == "before");
        EXPECT_EQ(String(text).wstr(), text.wstr());

        text.makeUnique();
        EXPECT_EQ(text.decode(bytes.data(), static_cast<int>(length), &Encoder::getUtf8()), 0);
        EXPECT_NE(String(text).wstr(), text.wstr());
        EXPECT_EQ(text.length(), static_cast<int>(length));
    }
}

TEST_F(StringUtf8Test, LongTextsKeepNoMoreRoomThanTheyNeed)
{
    // A third of the units that there are bytes: the rest of the block goes back.
    const std::string bytes = repeated(std::string("\xE2\x82\xAC"), 300000);
    const std::size_t before = bytesInUse();
    String text;
    EXPECT_EQ(text.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8()), 0);
    EXPECT_EQ(text.length(), 100000);
    EXPECT_LT(bytesInUse() - before, 300000U);
}

TEST_F(StringUtf8Test, DecodingKeepsTheStringWhenMemoryFails)
{
    for (const int length : {100, 2048, 2049, 40000}) {
        const std::string bytes = repeated(std::string("\xE2\x82\xAC"), 40000);
        underMemoryFailure(
            [] { return String("before"); },
            [&](String &text) { text.decode(bytes.data(), length / 3 * 3, &Encoder::getUtf8()); },
            [&](const String &text, bool failed) {
                EXPECT_EQ(text.length(), failed ? 6 : length / 3);
            });
    }
}

TEST_F(StringUtf8Test, DecodingShortAsciiKeepsTheStringWhenMemoryFails)
{
    const std::string bytes(100, 'a');
    underMemoryFailure([] { return String("before"); },
                       [&](String &text) { text.decode(bytes.data(), 100, &Encoder::getUtf8()); },
                       [&](const String &text, bool failed) {
                           EXPECT_TRUE(text == (failed ? "before" : bytes.c_str()));
                       });
}

TEST_F(StringUtf8Test, EncodingGivesTheWholeTextOrThrows)
{
    for (const std::size_t length : {100UL, 5000UL, 5001UL, 40000UL}) {
        const String text = textOf(std::u16string(length, u'\u20AC'));
        underMemoryFailure(
            [] {
                String().encode(nullptr);
                return 0;
            },
            [&](int &encoded) {
                const char *bytes = nullptr;
                text.encode(bytes, encoded, &Encoder::getUtf8());
            },
            [&](int encoded, bool failed) {
                EXPECT_TRUE(failed || encoded == static_cast<int>(3 * length));
                EXPECT_STREQ(String("x").encode(&Encoder::getUtf8()), "x");
            },
            Allocates::perhaps);
    }
}

} // namespace
} // namespace Tavrin::test
