// SPDX-License-Identifier: MIT
#include <climits>

#include <gtest/gtest.h>

#include "encoders/Converted.h"
#include "encoders/Ucs.h"

namespace Tavrin::test {
namespace {

using detail::ByteOrder;
using detail::Conversion;

using DecodeRoutine = Conversion (*)(const char *, int, unsigned short *, int, ByteOrder) noexcept;
using EncodeRoutine = Conversion (*)(const unsigned short *, int, char *, int, ByteOrder) noexcept;

struct Encoding
{
    const char *name;
    int size;
    ByteOrder order;
    DecodeRoutine decodeRoutine;
    EncodeRoutine encodeRoutine;

    Decoded decode(std::string_view bytes, int room) const
    {
        return decodeBy([this](const char *src, int srcLen, unsigned short *dst,
                               int count) { return decodeRoutine(src, srcLen, dst, count, order); },
                        bytes, room);
    }

    Encoded encode(std::u16string_view units, int room) const
    {
        return encodeBy([this](const unsigned short *src, int srcLen, char *dst,
                               int count) { return encodeRoutine(src, srcLen, dst, count, order); },
                        units, room);
    }

    // The bytes of one value.
    std::string bytesOf(char32_t value) const
    {
        std::string bytes;
        for (int index = 0; index < size; ++index) {
            const int place = order == ByteOrder::littleEndian ? index : size - 1 - index;
            bytes += static_cast<char>(value >> (8 * place) & 0xFF);
        }
        return bytes;
    }
};

const Encoding ucs2le = {"UCS-2LE", 2, ByteOrder::littleEndian, detail::decodeUcs2,
                         detail::encodeUcs2};
const Encoding ucs2be = {"UCS-2BE", 2, ByteOrder::bigEndian, detail::decodeUcs2,
                         detail::encodeUcs2};
const Encoding ucs4le = {"UCS-4LE", 4, ByteOrder::littleEndian, detail::decodeUcs4,
                         detail::encodeUcs4};
const Encoding ucs4be = {"UCS-4BE", 4, ByteOrder::bigEndian, detail::decodeUcs4,
                         detail::encodeUcs4};
const Encoding encodings[] = {ucs2le, ucs2be, ucs4le, ucs4be};

std::u16string allUnits(bool withSurrogates)
{
    std::u16string units;
    for (unsigned unit = 0; unit < 0x10000; ++unit)
        if (withSurrogates || unit < 0xD800 || unit > 0xDFFF)
            units += static_cast<char16_t>(unit);
    return units;
}

TEST(Ucs, EveryUnitGoesBothWays)
{
    for (const Encoding &encoding : encodings) {
        SCOPED_TRACE(encoding.name);
        const std::u16string units = allUnits(encoding.size == 2);
        const auto count = static_cast<int>(units.size());
        std::string bytes;
        for (const char16_t unit : units)
            bytes += encoding.bytesOf(unit);
        const Encoded encoded = encoding.encode(units, count * encoding.size);
        EXPECT_EQ(encoded.conversion, (Conversion{count, count * encoding.size, 0}));
        EXPECT_TRUE(encoded.text == bytes);
        const Decoded decoded = encoding.decode(bytes, count);
        EXPECT_EQ(decoded.conversion, (Conversion{count * encoding.size, count, 0}));
        EXPECT_TRUE(decoded.text == units);
    }
}

TEST(Ucs, Ucs2PassesSurrogatesAsTheyAre)
{
    const std::u16string units = {0xDE00, 0xD83D};
    EXPECT_EQ(ucs2be.encode(units, 4), (Encoded{{"\xDE\x00\xD8\x3D", 4}, {2, 4, 0}}));
    EXPECT_EQ(ucs2le.decode({"\x00\xDE\x3D\xD8", 4}, 2), (Decoded{units, {4, 2, 0}}));
}

TEST(Ucs, Ucs4JoinsPairs)
{
    EXPECT_EQ(ucs4le.encode(u"a\U0001F600", 8), (Encoded{{"a\0\0\0\0\xF6\x01\0", 8}, {3, 8, 0}}));
    EXPECT_EQ(ucs4be.encode(u"\U0010FFFF", 4), (Encoded{{"\0\x10\xFF\xFF", 4}, {2, 4, 0}}));
}

TEST(Ucs, Ucs4DecodesNoPairsButTheLow16Bits)
{
    EXPECT_EQ(ucs4le.decode({"\0\xF6\x01\0", 4}, 4), (Decoded{u"\uF600", {4, 1, 0}}));
    EXPECT_EQ(ucs4be.decode({"\0\x01\xF6\0", 4}, 4), (Decoded{u"\uF600", {4, 1, 0}}));
    EXPECT_EQ(ucs4be.decode("\xFF\xFF\xFF\xFE", 4), (Decoded{u"\uFFFE", {4, 1, 0}}));
}

TEST(Ucs, Ucs4StopsAtASurrogateWithoutItsPartnerWith37)
{
    const std::u16string texts[] = {
        {u'a', 0xDE00, u'b'}, {u'a', 0xD83D, u'b'}, {u'a', 0xD83D, 0xD83D}, {u'a', 0xD83D}};
    for (const std::u16string &units : texts) {
        EXPECT_EQ(ucs4le.encode(units, 64), (Encoded{{"a\0\0\0", 4}, {1, 4, 37}}));
        EXPECT_EQ(ucs4be.encode(units, 64), (Encoded{{"\0\0\0a", 4}, {1, 4, 37}}));
    }
}

TEST(Ucs, Ucs4LooksForThePartnerBeforeTheRoom)
{
    const std::u16string units = {0xDE00};
    EXPECT_EQ(ucs4le.encode(units, 0), (Encoded{"", {0, 0, 37}}));
}

TEST(Ucs, CutCharacterAtTheEndStopsDecodingWith38)
{
    for (const Encoding &encoding : encodings) {
        SCOPED_TRACE(encoding.name);
        const std::string bytes = encoding.bytesOf(u'a') + encoding.bytesOf(u'b');
        for (int cut = 1; cut < encoding.size; ++cut) {
            const std::string_view text =
                std::string_view(bytes).substr(0, bytes.size() - static_cast<std::size_t>(cut));
            EXPECT_EQ(encoding.decode(text, 2), (Decoded{u"a", {encoding.size, 1, 38}}));
            // The room ends before the cut character is come upon.
            EXPECT_EQ(encoding.decode(text, 1), (Decoded{u"a", {encoding.size, 1, 0}}));
            EXPECT_EQ(encoding.decode(text, 0), (Decoded{u"", {0, 0, 0}}));
        }
    }
}

TEST(Ucs, EveryRoomOfDecodingStopsCleanly)
{
    for (const Encoding &encoding : encodings) {
        std::string bytes;
        std::u16string units;
        for (char16_t unit = 0x4E00; unit < 0x4E20; ++unit) {
            bytes += encoding.bytesOf(unit);
            units += unit;
        }
        for (int room = 0; room < 40; ++room) {
            const int count = std::min(room, 32);
            EXPECT_EQ(encoding.decode(bytes, room),
                      (Decoded{units.substr(0, static_cast<std::size_t>(count)),
                               {count * encoding.size, count, 0}}))
                << encoding.name << ", room " << room;
        }
    }
}

TEST(Ucs, TooLittleRoomForTheNextCharacterStopsEncodingWith38)
{
    for (const Encoding &encoding : encodings) {
        const std::u16string units = u"abcdefghij";
        for (int room = 0; room < 48; ++room) {
            const int count = std::min(room / encoding.size, 10);
            std::string bytes;
            for (int index = 0; index < count; ++index)
                bytes += encoding.bytesOf(units[static_cast<std::size_t>(index)]);
            EXPECT_EQ(encoding.encode(units, room),
                      (Encoded{bytes, {count, count * encoding.size, count < 10 ? 38 : 0}}))
                << encoding.name << ", room " << room;
        }
    }
}

TEST(Ucs, NegativeLengthsAndRoomsCountAsNone)
{
    const unsigned short unit = u'a';
    for (const Encoding &encoding : encodings) {
        SCOPED_TRACE(encoding.name);
        EXPECT_EQ(encoding.decodeRoutine(nullptr, -1, nullptr, 4, encoding.order),
                  (Conversion{0, 0, 0}));
        EXPECT_EQ(encoding.encodeRoutine(nullptr, INT_MIN, nullptr, 4, encoding.order),
                  (Conversion{0, 0, 0}));
        EXPECT_EQ(encoding.decodeRoutine("abcd", 4, nullptr, -1, encoding.order),
                  (Conversion{0, 0, 0}));
        EXPECT_EQ(encoding.encodeRoutine(&unit, 1, nullptr, INT_MIN, encoding.order),
                  (Conversion{0, 0, 38}));
    }
}

} // namespace
} // namespace Tavrin::test
