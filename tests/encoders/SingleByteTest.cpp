// SPDX-License-Identifier: MIT
#include <climits>
#include <cstdint>
#include <random>

#include <iconv.h>

#include <gtest/gtest.h>

#include "encoders/Converted.h"
#include "encoders/SingleByte.h"

namespace Tavrin::test {
namespace {

using detail::Conversion;
using detail::SingleByteRoutines;
using detail::SingleByteSet;

struct NamedSet
{
    const char *name;
    const SingleByteSet *set;
};

// The sets that this processor has, the best one last.
std::vector<NamedSet> sets()
{
    std::vector<NamedSet> present;
    for (const NamedSet &set : {NamedSet{"portable", detail::portableSingleByteSet()},
                                NamedSet{"SSE2", detail::sse2SingleByteSet()},
                                NamedSet{"AVX2", detail::avx2SingleByteSet()}})
        if (set.set != nullptr)
            present.push_back(set);
    return present;
}

// What one character becomes, and the code that goes with it.
struct Expected
{
    unsigned value;
    int code;
};

// The system's table of an encoding: the unit of each byte, or -1.
class SystemTable
{
public:
    explicit SystemTable(const char *name)
    {
        const iconv_t handle = iconv_open("UTF-16LE", name);
        EXPECT_NE(handle, reinterpret_cast<iconv_t>(-1)) << name;
        for (int byte = 0; byte < 256; ++byte) {
            char source = static_cast<char>(byte);
            char *src = &source;
            std::size_t srcLeft = 1;
            unsigned short unit = 0;
            auto *dst = reinterpret_cast<char *>(&unit);
            std::size_t dstLeft = 2;
            iconv(handle, nullptr, nullptr, nullptr, nullptr);
            units[byte] = iconv(handle, &src, &srcLeft, &dst, &dstLeft) == 0 ? unit : -1;
        }
        iconv_close(handle);
    }

    int unitOf(unsigned byte) const { return units[byte]; }
    void correct(unsigned byte, int unit) { units[byte] = unit; }

    // The first byte from `from` on that stands for the unit, or -1.
    int byteOf(unsigned unit, int from) const
    {
        for (int byte = from; byte < 256; ++byte)
            if (units[byte] == static_cast<int>(unit))
                return byte;
        return -1;
    }

private:
    int units[256];
};

Expected decodeAscii(unsigned byte)
{
    return byte < 128 ? Expected{byte, 0} : Expected{0xFFFD, 37};
}

Expected encodeAscii(unsigned unit)
{
    return unit < 128 ? Expected{unit, 0} : Expected{'?', 37};
}

Expected decodeBinary(unsigned byte)
{
    return {byte, 0};
}

Expected encodeBinary(unsigned unit)
{
    return {unit % 256, 0};
}

Expected decodeCp1252(unsigned byte)
{
    static const SystemTable table("CP1252");
    const int unit = table.unitOf(byte);
    return {unit < 0 ? 0xFFFDu : static_cast<unsigned>(unit), 0};
}

Expected encodeCp1252(unsigned unit)
{
    static const SystemTable table("CP1252");
    const int byte = unit < 256 ? static_cast<int>(unit) : table.byteOf(unit, 128);
    return byte < 0 ? Expected{'?', 37} : Expected{static_cast<unsigned>(byte), 0};
}

bool isMiddle(unsigned value)
{
    return value >= 128 && value <= 159;
}

Expected decodeLatin1(unsigned byte)
{
    return isMiddle(byte) ? Expected{0xFFFD, 44} : Expected{byte, 0};
}

Expected encodeLatin1(unsigned unit)
{
    const Expected loose = encodeCp1252(unit);
    return isMiddle(loose.value) ? Expected{'?', 37} : loose;
}

// The system's table has a Greek delta and a private apple of its own.
const SystemTable &macRomanTable()
{
    static const SystemTable table = [] {
        SystemTable systems("MACINTOSH");
        EXPECT_EQ(systems.unitOf(0xC6), 0x0394);
        EXPECT_EQ(systems.unitOf(0xF0), 0xE01E);
        systems.correct(0xC6, 0x2206);
        systems.correct(0xF0, 0xF8FF);
        return systems;
    }();
    return table;
}

Expected decodeMacRoman(unsigned byte)
{
    return {static_cast<unsigned>(macRomanTable().unitOf(byte)), 0};
}

Expected encodeMacRoman(unsigned unit)
{
    const int byte = unit < 128 ? static_cast<int>(unit) : macRomanTable().byteOf(unit, 128);
    return byte < 0 ? Expected{'?', 37} : Expected{static_cast<unsigned>(byte), 0};
}

struct Encoding
{
    const char *name;
    SingleByteRoutines SingleByteSet::*routines;
    Expected (*decodeOne)(unsigned byte);
    Expected (*encodeOne)(unsigned unit);

    Decoded decode(std::string_view bytes, int room) const
    {
        Decoded result;
        for (const char byte : bytes.substr(0, static_cast<std::size_t>(std::max(room, 0)))) {
            const Expected expected = decodeOne(static_cast<unsigned char>(byte));
            result.text += static_cast<char16_t>(expected.value);
            if (expected.code != 0)
                result.conversion.code = expected.code;
        }
        result.conversion.consumed = result.conversion.produced =
            static_cast<int>(result.text.size());
        return result;
    }

    Encoded encode(std::u16string_view units, int room) const
    {
        Encoded result;
        for (const char16_t unit : units.substr(0, static_cast<std::size_t>(std::max(room, 0)))) {
            const Expected expected = encodeOne(unit);
            result.text += static_cast<char>(expected.value);
            if (expected.code != 0)
                result.conversion.code = expected.code;
        }
        result.conversion.consumed = result.conversion.produced =
            static_cast<int>(result.text.size());
        return result;
    }
};

const Encoding ascii = {"ASCII", &SingleByteSet::ascii, decodeAscii, encodeAscii};
const Encoding binary = {"binary", &SingleByteSet::binary, decodeBinary, encodeBinary};
const Encoding cp1252 = {"CP1252", &SingleByteSet::cp1252, decodeCp1252, encodeCp1252};
const Encoding latin1 = {"ISO-8859-1", &SingleByteSet::latin1, decodeLatin1, encodeLatin1};
const Encoding macRoman = {"Mac OS Roman", &SingleByteSet::macRoman, decodeMacRoman,
                           encodeMacRoman};
const Encoding encodings[] = {ascii, binary, cp1252, latin1, macRoman};

Decoded decode(const Encoding &encoding, std::string_view bytes, int room = 64)
{
    return decodeBy((detail::activeSingleByteSet.*encoding.routines).decode, bytes, room);
}

Encoded encode(const Encoding &encoding, std::u16string_view units, int room = 64)
{
    return encodeBy((detail::activeSingleByteSet.*encoding.routines).encode, units, room);
}

bool convertsAlike(const Encoding &encoding, std::string_view bytes, std::u16string_view units,
                   int room)
{
    const Decoded decoded = encoding.decode(bytes, room);
    const Encoded encoded = encoding.encode(units, room);
    bool isAlike = true;
    for (const NamedSet &set : sets()) {
        const SingleByteRoutines &routines = set.set->*encoding.routines;
        if (decodeBy(routines.decode, bytes, room) == decoded &&
            encodeBy(routines.encode, units, room) == encoded)
            continue;
        isAlike = false;
        EXPECT_EQ(decodeBy(routines.decode, bytes, room), decoded)
            << encoding.name << ", " << set.name;
        EXPECT_EQ(encodeBy(routines.encode, units, room), encoded)
            << encoding.name << ", " << set.name;
    }
    return isAlike;
}

TEST(SingleByte, TheBestSetIsInUse)
{
    const SingleByteSet &best = *sets().back().set;
    EXPECT_EQ(detail::activeSingleByteSet.macRoman.decode, best.macRoman.decode);
    EXPECT_EQ(detail::activeSingleByteSet.latin1.encode, best.latin1.encode);
}

TEST(SingleByte, AsciiReplacesWhatItDoesNotHoldAndGoesOn)
{
    EXPECT_EQ(encode(ascii, u"caf\u00E9 noir"), (Encoded{"caf? noir", {9, 9, 37}}));
    EXPECT_EQ(decode(ascii, "caf\xE9 noir"), (Decoded{u"caf\uFFFD noir", {9, 9, 37}}));
}

TEST(SingleByte, BinaryWidensBytesAndDropsHighHalves)
{
    EXPECT_EQ(decode(binary, "\x80\xFF"), (Decoded{u"\u0080\u00FF", {2, 2, 0}}));
    EXPECT_EQ(encode(binary, u"\u20AC\u0141"), (Encoded{"\xAC\x41", {2, 2, 0}}));
}

TEST(SingleByte, EuroSignIsByte128OfCp1252AndNoneOfLatin1)
{
    EXPECT_EQ(encode(cp1252, u"\u20AC"), (Encoded{"\x80", {1, 1, 0}}));
    EXPECT_EQ(encode(latin1, u"\u20AC"), (Encoded{"?", {1, 1, 37}}));
}

TEST(SingleByte, UndefinedByteOfCp1252IsReplacedWithoutAnError)
{
    for (const char *byte : {"\x81", "\x8D", "\x8F", "\x90", "\x9D"}) {
        EXPECT_EQ(decode(cp1252, byte), (Decoded{u"\uFFFD", {1, 1, 0}}));
        EXPECT_EQ(decode(latin1, byte), (Decoded{u"\uFFFD", {1, 1, 44}}));
    }
}

TEST(SingleByte, TradeMarkSignIsByte153OfCp1252)
{
    EXPECT_EQ(encode(cp1252, u"\u2122"), (Encoded{"\x99", {1, 1, 0}}));
}

TEST(SingleByte, ControlsFrom128PassThroughCp1252ButNotLatin1)
{
    EXPECT_EQ(encode(cp1252, u"\u0080\u009F"), (Encoded{"\x80\x9F", {2, 2, 0}}));
    EXPECT_EQ(encode(latin1, u"a\u0080\u009F\u00A0"), (Encoded{"a??\xA0", {4, 4, 37}}));
}

TEST(SingleByte, UnmappedUnitOfCp1252BecomesAQuestionMark)
{
    EXPECT_EQ(encode(cp1252, u"\u0100\u014F\u0151\u02C7\u2011\u4E00"),
              (Encoded{"??????", {6, 6, 37}}));
}

TEST(SingleByte, EuroSignIsByteDBOfMacRoman)
{
    EXPECT_EQ(encode(macRoman, u"\u20AC"), (Encoded{"\xDB", {1, 1, 0}}));
    EXPECT_EQ(decode(macRoman, "\xDB"), (Decoded{u"\u20AC", {1, 1, 0}}));
}

TEST(SingleByte, UnitThatMacRomanDoesNotHoldBecomesAQuestionMark)
{
    EXPECT_EQ(encode(macRoman, u"a\u0080\u4E00z"), (Encoded{"a??z", {4, 4, 37}}));
}

TEST(SingleByte, RunningOutOfRoomIsNoError)
{
    for (const Encoding &encoding : encodings) {
        EXPECT_EQ(decode(encoding, "abc", 2), (Decoded{u"ab", {2, 2, 0}}));
        EXPECT_EQ(encode(encoding, u"abc", 2), (Encoded{"ab", {2, 2, 0}}));
    }
}

TEST(SingleByte, EveryByteConvertsByItself)
{
    for (const Encoding &encoding : encodings)
        for (int byte = 0; byte < 256; ++byte)
            EXPECT_TRUE(convertsAlike(encoding, std::string(1, static_cast<char>(byte)), u"", 1))
                << encoding.name << ", byte " << byte;
}

TEST(SingleByte, EveryUnitConvertsByItself)
{
    for (const Encoding &encoding : encodings)
        for (unsigned unit = 0; unit < 0x10000; ++unit)
            ASSERT_TRUE(
                convertsAlike(encoding, "", std::u16string(1, static_cast<char16_t>(unit)), 1))
                << encoding.name << ", unit " << unit;
}

TEST(SingleByte, EveryByteComesBackFromItsUnit)
{
    for (const Encoding &encoding : encodings) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const Decoded decoded = decode(encoding, std::string(1, static_cast<char>(byte)));
            if (decoded.text == u"\uFFFD")
                continue;
            EXPECT_EQ(encode(encoding, decoded.text).text, std::string(1, static_cast<char>(byte)))
                << encoding.name;
        }
    }
}

// All at once, so that blocks hold every mixture of neighbours.
TEST(SingleByte, EveryByteAndEveryUnitConvertInOneText)
{
    std::string bytes;
    std::u16string units;
    for (unsigned value = 0; value < 0x10000; ++value) {
        bytes += static_cast<char>(value % 256 ^ value / 256);
        units += static_cast<char16_t>(value);
    }
    for (const Encoding &encoding : encodings)
        EXPECT_TRUE(convertsAlike(encoding, bytes, units, 0x10000)) << encoding.name;
}

TEST(SingleByte, EveryRoomStopsAtTheSamePlace)
{
    const std::string bytes = std::string(40, 'a') + "\x80\x95\xE9\xFF" + std::string(40, '\xC4');
    const std::u16string units =
        std::u16string(40, u'a') + u"\u20AC\u0095\u4E00\u00E9" + std::u16string(40, u'\u00C4');
    for (const Encoding &encoding : encodings)
        for (int room = 0; room < 100; ++room)
            EXPECT_TRUE(convertsAlike(encoding, bytes, units, room));
}

TEST(SingleByte, RandomTextsConvertAlikeInAllSets)
{
    std::mt19937 random(7);
    constexpr char16_t tellingUnits[] = {u'a',      0x80,      0x9F,      0xA0,      0xFF,
                                         0x100,     u'\u0152', u'\u20AC', u'\u2122', u'\u02C6',
                                         u'\u2019', u'\u4E00', 0xD83D,    0xDE00,    0xFFFF};
    for (int run = 0; run < 3000; ++run) {
        std::string bytes;
        std::u16string units;
        const auto rarity = 1 + random() % 60;
        for (auto left = random() % 150; left > 0; --left) {
            const bool isPlain = random() % rarity != 0;
            bytes += isPlain ? 'x' : static_cast<char>(random());
            units += isPlain ? u'x' : tellingUnits[random() % std::size(tellingUnits)];
        }
        for (const Encoding &encoding : encodings)
            ASSERT_TRUE(convertsAlike(encoding, bytes, units, static_cast<int>(random() % 160)));
    }
}

TEST(SingleByte, EmptyInputAndNoRoomAreNeverTouched)
{
    for (const NamedSet &set : sets()) {
        for (const Encoding &encoding : encodings) {
            const SingleByteRoutines &routines = set.set->*encoding.routines;
            for (const int none : {0, -1, INT_MIN}) {
                EXPECT_EQ(routines.decode(nullptr, none, nullptr, 8), (Conversion{0, 0, 0}));
                EXPECT_EQ(routines.encode(nullptr, none, nullptr, 8), (Conversion{0, 0, 0}));
                EXPECT_EQ(routines.decode(nullptr, 8, nullptr, none), (Conversion{0, 0, 0}));
                EXPECT_EQ(routines.encode(nullptr, 8, nullptr, none), (Conversion{0, 0, 0}));
            }
        }
    }
}

} // namespace
} // namespace Tavrin::test
