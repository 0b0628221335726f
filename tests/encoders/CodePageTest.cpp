// SPDX-License-Identifier: MIT
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "encoders/HostEncoder.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TextUnits.h"

namespace Tavrin::test {
namespace {

using CodePageTest = LibraryTest;
using CodePageThreadTest = MultiThreadedLibraryTest;

struct Row
{
    int codePage;
    int mapping;
    const char *names;
    bool isKnown; // by the system that the tests run on
};

constexpr Row rows[] = {
    {10000, 1, "MACINTOSH,MAC-ROMAN", true},
    {65000, 0, "UTF-7,UTF7,UNICODE-1-1-UTF-7,UNICODE-2-0-UTF-7", true},
    {28592, 0, "ISO-8859-2,ISO-8859-2,ISO-8859-2:1987,ISO-IR-101,LATIN2", true},
    {28591, 0, "ISO-8859-3,ISO-8859-3,ISO-8859-3:1988,ISO-IR-109,LATIN3", true},
    {28594, 0, "ISO-8859-4,ISO-8859-4,ISO-8859-4:1988,ISO-IR-110,LATIN4,BALTIC", true},
    {28595, 0, "ISO-8859-5,ISO-8859-5,ISO-8859-5:1988,ISO-IR-144,CYRILLIC", true},
    {28596, 0, "ISO-8859-6,ISO-8859-6,ISO-8859-6:1987,ISO-IR-127,ECMA-114,ASMO-708,ARABIC", true},
    {28597, 0, "ISO-8859-7,ISO-8859-7,ISO-8859-7:1987,ISO-IR-126,ECMA-118,ELOT-928,GREEK8,GREEK",
     true},
    {28598, 0, "ISO-8859-8,ISO-8859-8,ISO-8859-8:1988,ISO-IR-138,HEBREW", true},
    {28599, 0, "ISO-8859-9,ISO-8859-9,ISO-8859-9:1989,ISO-IR-148,LATIN5,TURKISH", true},
    {28600, 0, "ISO-8859-10,ISO-8859-10,ISO-8859-10:1992,ISO-IR-157,LATIN6", true},
    {28603, 0, "ISO-8859-13,ISO-8859-13,ISO-IR-179,LATIN7", true},
    {28604, 0, "ISO-8859-14,ISO-8859-14,ISO-8859-14,ISO-8859-14:1998,ISO-IR-199,LATIN8", true},
    {28605, 0, "ISO-8859-15,ISO-8859-15,ISO-8859-15:1998,ISO-IR-203", true},
    {28606, 0, "ISO-8859-16,ISO-885,ISO-885,MS-EE", true},
    {850, 1, "IBM850", true},
    {866, 0, "IBM866", true},
    {932, 0, "SJIS,SHIFT-JIS,MS-SJIS,MS-KANJI", true},
    {936, 0, "GBK,WINDOWS-936,GB2312,GB-2312-80,ISO-IR-58,CHINESE", true},
    {949, 0, "UHC,KSC-5601,KS-C-5601-1987,KS-C-5601-1989,ISO-IR-149,KOREAN", true},
    {950, 0, "BIG5,BIG-5,BIG-FIVE,BIGFIVE,CN-BIG5", true},
    {1251, 0, "MS-CYRL", true},
    {1252, 1, "MS-ANSI", true},
    {1253, 0, "MS-GREEK", true},
    {1254, 0, "MS-TURK", true},
    {1255, 0, "MS-HEBR", true},
    {1256, 0, "MS-ARAB", true},
    {1257, 0, "WINBALTRIM", true},
    {1361, 0, "JOHAB", true},
    {51932, 0, "EUC-JP,EUCJP", true},
    {51949, 0, "EUC-KR,EUCKR", true},
    {52936, 0, "HZ,HZ-GB-2312", false},
    {10001, 0, "MAC-JAPANESE", false},
    {10006, 0, "MAC-GREEK", false},
    {10007, 0, "MAC-CYRILLIC", true},
    {10029, 0, "MAC-LATIN", true},
    {10079, 0, "MAC-ICELANDIC", true},
    {10081, 0, "MAC-TURKISH", false},
    {437, 1, "IBM850", true},
    {709, 0, "CP709,WINDOWS-709,ASMO-449,BCONV4", true},
    {1026, 0, "EBCDIC", true},
    {20866, 0, "KOI-8R", true},
    {21886, 0, "KOI-8U", false},
    {50220, 0, "ISO-2022-JP", true},
    {50225, 0, "ISO-2022-KR", true},
};
static_assert(std::size(rows) == 45);

std::vector<std::string> split(const std::string &list)
{
    std::vector<std::string> pieces;
    std::istringstream stream(list);
    for (std::string piece; std::getline(stream, piece, ',');)
        pieces.push_back(piece);
    return pieces;
}

std::string aliasesOf(const Row &row)
{
    const std::string number = std::to_string(row.codePage);
    return std::string(row.names) + ",CP" + number + ",WINDOWS-" + number;
}

// Whom the name belongs to before any code page was asked for.
bool isBuiltInName(const std::string &name)
{
    return name == "MACINTOSH" || name == "MAC-ROMAN" || name == "MS-ANSI" || name == "CP1252" ||
           name == "WINDOWS-1252";
}

const Row &firstRowWith(const std::string &name)
{
    for (const Row &row : rows)
        if (("," + aliasesOf(row) + ",").find("," + name + ",") != std::string::npos)
            return row;
    return rows[0];
}

// What the encoder of that name makes of a text, through the lengths that it names.
std::string encoded(const char *name, const std::u16string &text)
{
    const char *bytes = nullptr;
    int length = 0;
    EXPECT_EQ(textOf(text).encode(bytes, length, Encoder::get(name)), 0);
    return {bytes, static_cast<std::size_t>(length)};
}

std::u16string decoded(const char *name, const std::string &bytes)
{
    String text;
    EXPECT_EQ(text.decode(bytes.data(), static_cast<int>(bytes.size()), Encoder::get(name)), 0);
    return unitsOf(text);
}

TEST(CodePage, EveryNameOfEveryRowFindsItsCodePage)
{
    for (const Row &row : rows) {
        for (const std::string &name : split(aliasesOf(row))) {
            // Names change hands from one request to the next.
            const LibrarySession session;
            SCOPED_TRACE(name);
            const Encoder *encoder = Encoder::get(name.c_str());
            if (isBuiltInName(name)) {
                EXPECT_NE(namesOf(encoder), aliasesOf(row));
                continue;
            }
            const Row &owner = firstRowWith(name);
            EXPECT_EQ(namesOf(encoder), owner.isKnown ? aliasesOf(owner) : "null");
            EXPECT_EQ(encoder != nullptr ? encoder->getMapping() : owner.mapping, owner.mapping);
            EXPECT_EQ(Encoder::get(name.c_str()), encoder);
        }
    }
}

TEST_F(CodePageTest, RegisteredEncoderHidesTheCodePageOfItsName)
{
    EXPECT_EQ(namesOf(Encoder::get("CP1252")), "CP1252,WINDOWS-1252,MS-ANSI");
    EXPECT_EQ(Encoder::get("WINDOWS-1252"), Encoder::get("CP1252"));
    EXPECT_EQ(namesOf(Encoder::get("MAC-ROMAN")), "MACINTOSH,MAC-ROMAN");
}

TEST_F(CodePageTest, NumberThatIsNotInTheTableIsAskedForAllTheSame)
{
    const Encoder *encoder = Encoder::get("CP37");
    EXPECT_EQ(namesOf(encoder), "CP37,WINDOWS-37");
    ASSERT_NE(encoder, nullptr);
    EXPECT_EQ(encoder->getMapping(), 0);
    EXPECT_EQ(Encoder::get("windows-37"), encoder);
    EXPECT_EQ(encoded("CP37", u"A1?"), "\xC1\xF1\x6F");
}

TEST_F(CodePageTest, WindowsNameNeedsTwoDigits)
{
    EXPECT_EQ(Encoder::get("WINDOWS-9"), nullptr);
    EXPECT_EQ(namesOf(Encoder::get("WINDOWS-37")), "CP37,WINDOWS-37");
}

TEST_F(CodePageTest, CodePageThatTheSystemDoesNotKnowGivesNull)
{
    for (const char *name : {"CP9", "CP99999", "WINDOWS-99999", "CP4294967295", "CP4294968547",
                             "CP99999999999999999999999"})
        EXPECT_EQ(Encoder::get(name), nullptr) << name;
}

TEST_F(CodePageTest, WhateverStandsBehindTheNumberIsIgnored)
{
    EXPECT_EQ(namesOf(Encoder::get("CP1251-something")), "MS-CYRL,CP1251,WINDOWS-1251");
    EXPECT_EQ(namesOf(Encoder::get("WINDOWS-1253 (Greek)")), "MS-GREEK,CP1253,WINDOWS-1253");
}

TEST_F(CodePageTest, FurtherNamesOfACodePageGiveTheOneEncoder)
{
    const Encoder *encoder = Encoder::get("CP1251");
    EXPECT_EQ(Encoder::get("CP01251"), encoder);
    EXPECT_EQ(Encoder::get("WINDOWS-1251X"), encoder);
    EXPECT_EQ(Encoder::get("CP1251"), encoder);
}

TEST_F(CodePageTest, NameThatTwoCodePagesHaveBelongsToTheLastOneMade)
{
    const Encoder *western = Encoder::get("IBM850");
    EXPECT_EQ(western, Encoder::get("CP850"));
    const Encoder *american = Encoder::get("CP437");
    EXPECT_EQ(Encoder::get("IBM850"), american);
    EXPECT_EQ(Encoder::get("CP850"), western);
    EXPECT_EQ(Encoder::get("CP0850"), western);
    EXPECT_EQ(Encoder::get("IBM850"), western);
}

TEST_F(CodePageTest, NamesOfIso8859Part3ConvertByPart1)
{
    EXPECT_EQ(decoded("ISO-8859-3", "\xA1\xC0"), u"\u00A1\u00C0");
}

TEST_F(CodePageTest, CodePageTakesTheNamesOfItsRowFromOthers)
{
    const Encoder *builtIn = Encoder::get("MACINTOSH");
    const Encoder *encoder = Encoder::get("CP10000");
    EXPECT_NE(encoder, builtIn);
    EXPECT_EQ(Encoder::get("MAC-ROMAN"), encoder);
    EXPECT_EQ(builtIn->getMapping(), 1);
}

TEST_F(CodePageTest, TextsConvertBothWays)
{
    struct Case
    {
        const char *name;
        std::u16string text;
        std::string bytes;
    };
    const Case cases[] = {
        {"CP1251", u"\u041F\u0440\u0438\u0432\u0435\u0442", "\xCF\xF0\xE8\xE2\xE5\xF2"},
        {"CP866", u"\u0414\u0430", "\x84\xA0"},
        {"ISO-8859-2", u"\u0141\u00F3d\u017A", "\xA3\xF3\x64\xBC"},
        {"ISO-8859-15", u"10 \u20AC", "10 \xA4"},
        {"CP437", u"\u00E9\u2502", "\x82\xB3"},
        {"SJIS", u"\u65E5\u672C", "\x93\xFA\x96\x7B"},
        {"GBK", u"\u4E2D\u6587", "\xD6\xD0\xCE\xC4"},
        {"BIG5", u"\u4E2D\u6587", "\xA4\xA4\xA4\xE5"},
        {"UHC", u"\uD55C\uAE00", "\xC7\xD1\xB1\xDB"},
        {"EUC-JP", u"\u65E5\u672C", "\xC6\xFC\xCB\xDC"},
        {"EUC-KR", u"\uD55C\uAE00", "\xC7\xD1\xB1\xDB"},
        {"KOI-8R", u"\u0414\u0430", "\xE4\xC1"},
        {"EBCDIC", u"Az", "\xC1\xA9"},
        {"ISO-2022-JP", u"a\u65E5z", "a\x1B$BF|\x1B(Bz"},
        {"UTF-7", u"a\u65E5z", "a+ZeU-z"},
        {"CP65001", u"\u20AC\U0001F600", "\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"CP54936", u"\u4E2D\U0001F600", "\xD6\xD0\x94\x39\xFC\x36"},
        // The letter that might take a point is held back to the end.
        {"CP1255", u"\u05E9\u05DC", "\xF9\xEC"},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.name);
        ASSERT_NE(Encoder::get(row.name), nullptr);
        EXPECT_EQ(encoded(row.name, row.text), row.bytes);
        EXPECT_EQ(decoded(row.name, row.bytes), row.text);
    }
}

// Every byte that stands for a unit comes back from it, in all the single-byte code pages.
TEST_F(CodePageTest, EveryByteOfASingleByteCodePageComesBack)
{
    for (const char *name : {"CP1251", "CP1253", "CP1254", "CP1256", "CP1257", "CP437", "CP850",
                             "CP866", "ISO-8859-2", "ISO-8859-5", "ISO-8859-7", "ISO-8859-9",
                             "ISO-8859-15", "CP10007", "KOI-8R", "EBCDIC", "CP37"}) {
        SCOPED_TRACE(name);
        const Encoder &encoder = *Encoder::get(name);
        int defined = 0;
        for (int value = 0; value < 256; ++value) {
            const char byte = static_cast<char>(value);
            String text;
            if (text.decode(&byte, 1, &encoder) != 0)
                continue;
            ++defined;
            EXPECT_EQ(text.length(), 1);
            EXPECT_EQ(encoded(name, unitsOf(text)), std::string(1, byte));
        }
        EXPECT_GT(defined, 200);
    }
}

TEST_F(CodePageTest, UnitsThatACodePageDoesNotHoldBecomeQuestionMarksOneByOne)
{
    EXPECT_EQ(encoded("CP1251", u"a\u4E00\u65E5z"), "a??z");
    EXPECT_EQ(encoded("CP1251", u"a\U0001F600z"), "a??z");
    const std::u16string lone = {u'a', 0xD83D, u'b', 0xDE00, u'c', 0xD83D};
    EXPECT_EQ(encoded("CP1251", lone), "a?b?c?");
    EXPECT_EQ(encoded("CP37", u"\u4E00"), "\x6F");
    EXPECT_EQ(encoded("ISO-2022-JP", u"\u65E5\u00E9\u65E5"), "\x1B$BF|\x1B(B?\x1B$BF|\x1B(B");
    // The system wants room for three bytes before it finds out that it has none.
    EXPECT_EQ(encoded("EUC-JP", u"\u65E5\u00A0"), "\xC6\xFC?");
    // A code page without a question mark: its byte is the Arabic one.
    EXPECT_EQ(encoded("ASMO-449", u"a\u4E00"), "??");
    EXPECT_EQ(decoded("ASMO-449", "?"), u"\u061F");
}

TEST_F(CodePageTest, BytesThatStandForNothingGive44AndLeaveTheStringAlone)
{
    String text("before");
    EXPECT_EQ(text.decode("a\xFF\xFF", 3, Encoder::get("SJIS")), 44);
    EXPECT_TRUE(text == "before");
    EXPECT_EQ(text.decode("\x98", 1, Encoder::get("CP1251")), 44);
    EXPECT_TRUE(text == "before");
}

TEST_F(CodePageTest, CutCharacterGives44)
{
    String text("before");
    EXPECT_EQ(text.decode("a\x93", 2, Encoder::get("SJIS")), 44);
    EXPECT_EQ(text.decode("\xD6", 1, Encoder::get("GBK")), 44);
    EXPECT_TRUE(text == "before");
}

TEST_F(CodePageTest, CodePagesThatTakeNoFlagsReplaceBadBytes)
{
    EXPECT_EQ(decoded("CP65001", "a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(decoded("CP65001", "\xFF\xFE"), u"\uFFFD\uFFFD");
    EXPECT_EQ(decoded("ISO-2022-JP", "a\xFFz"), u"a\uFFFDz");
    // One replacement stands for a character that the end cuts.
    EXPECT_EQ(decoded("CP65001", "a\xE2\x82"), u"a\uFFFD");
    EXPECT_EQ(decoded("CP54936", "\x94\x39\xFC"), u"\uFFFD");
    EXPECT_EQ(decoded("ISO-2022-JP", "a\x1B$BF"), u"a\uFFFD");
}

TEST_F(CodePageTest, LengthsOfNothingAreZero)
{
    const Encoder &encoder = *Encoder::get("CP1251");
    const unsigned short unit = u'a';
    for (const int length : {0, -1}) {
        int count = 7;
        EXPECT_EQ(encoder.getUnicodeLength("a", length, count), 0);
        EXPECT_EQ(count, 0);
        count = 7;
        EXPECT_EQ(encoder.getMBCSLength(&unit, length, count), 0);
        EXPECT_EQ(count, 0);
    }
    int count = 7;
    EXPECT_EQ(encoder.getUnicodeLength(nullptr, 3, count), 0);
    EXPECT_EQ(count, 0);
    count = 7;
    EXPECT_EQ(encoder.getMBCSLength(nullptr, 3, count), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(CodePageTest, LengthOfWhatCannotBeDecodedIs44)
{
    int count = 7;
    EXPECT_EQ(Encoder::get("SJIS")->getUnicodeLength("\x93", 1, count), 44);
    EXPECT_EQ(count, 0);
    // A shift alone is no text.
    EXPECT_EQ(Encoder::get("ISO-2022-JP")->getUnicodeLength("\x1B$B", 3, count), 44);
}

TEST_F(CodePageTest, LengthsOfLongTextsAreCounted)
{
    const std::string bytes(5000, '\xF2');
    const std::u16string units(5000, u'\u0442');
    const Encoder &encoder = *Encoder::get("CP1251");
    int count = 0;
    EXPECT_EQ(encoder.getUnicodeLength(bytes.data(), 5000, count), 0);
    EXPECT_EQ(count, 5000);
    EXPECT_EQ(encoder.getMBCSLength(textOf(units).wstr(), 5000, count), 0);
    EXPECT_EQ(count, 5000);
    EXPECT_EQ(decoded("CP1251", bytes), units);
    EXPECT_EQ(encoded("CP1251", units), bytes);
    EXPECT_EQ(decoded("CP65001", std::string(5000, '\xFF')), std::u16string(5000, u'\uFFFD'));
}

TEST_F(CodePageTest, LongTextsFillTheRoomOfTheirLength)
{
    // Characters that take a shift each, at all places in a buffer.
    for (const char *name : {"CP50227", "CP50220", "CP50225", "CP65000", "CP54936"})
        for (std::size_t before = 0; before < 8; ++before) {
            std::u16string text(before, u'a');
            for (int index = 0; index < 3000; ++index)
                text += index % 2 == 0 ? u"\u7C85" : u"\u4E00";
            EXPECT_GT(encoded(name, text).size(), text.size()) << name;
        }
}

TEST_F(CodePageTest, PairsStayWholeWhereverTheyStand)
{
    for (std::size_t before = 500; before < 520; ++before) {
        const std::u16string text(before, u'a');
        const std::u16string more(1000, u'b');
        const std::string expected = std::string(before, 'a') + "?\xF0\x9F\x98\x80";
        EXPECT_EQ(encoded("CP65001", text + u"\xD800\xD83D\xDE00" + more),
                  expected + std::string(1000, 'b'));
        EXPECT_EQ(encoded("CP65001", text + u"\xD800\xD83D\xDE00"), expected);
    }
}

TEST_F(CodePageTest, ConversionWantsExactlyTheRoomOfItsLength)
{
    const Encoder &encoder = *Encoder::get("CP1251");
    unsigned short units[4] = {};
    int consumed = 2;
    int produced = 2;
    EXPECT_EQ(encoder.toUnicode("ab", consumed, units, produced, false), 0);
    EXPECT_EQ(consumed, 2);
    EXPECT_EQ(produced, 2);
    EXPECT_EQ(units[1], u'b');

    produced = 3;
    EXPECT_EQ(encoder.toUnicode("ab", consumed, units, produced, false), 37);
    EXPECT_EQ(consumed, 0);
    EXPECT_EQ(produced, 3);

    consumed = 2;
    produced = 1;
    EXPECT_EQ(encoder.toUnicode("ab", consumed, units, produced, false), 37);
    EXPECT_EQ(consumed, 0);
    EXPECT_EQ(produced, 1);

    char bytes[4] = {};
    consumed = 2;
    produced = 2;
    EXPECT_EQ(encoder.toMBCS(units, consumed, bytes, produced, false), 0);
    EXPECT_EQ(consumed, 2);
    EXPECT_EQ(produced, 2);
    produced = 4;
    EXPECT_EQ(encoder.toMBCS(units, consumed, bytes, produced, false), 37);
    EXPECT_EQ(consumed, 0);
    EXPECT_EQ(produced, 4);
    consumed = 2;
    produced = 1;
    EXPECT_EQ(encoder.toMBCS(units, consumed, bytes, produced, false), 37);
    EXPECT_EQ(produced, 1);
}

TEST_F(CodePageTest, NoRoomAsksForNothing)
{
    const Encoder &encoder = *Encoder::get("CP1251");
    int consumed = 2;
    int produced = 0;
    EXPECT_EQ(encoder.toUnicode("ab", consumed, nullptr, produced, false), 0);
    EXPECT_EQ(consumed, 0);
    EXPECT_EQ(produced, 0);
    const unsigned short unit = u'a';
    consumed = 1;
    EXPECT_EQ(encoder.toMBCS(&unit, consumed, nullptr, produced, false), 0);
    EXPECT_EQ(consumed, 0);
    EXPECT_EQ(produced, 0);
}

// Each conversion begins afresh, also behind one that failed half-way.
TEST_F(CodePageTest, FailedConversionLeavesNoState)
{
    EXPECT_EQ(decoded("ISO-2022-JP", "\x1B$BF"), u"\uFFFD");
    EXPECT_EQ(decoded("ISO-2022-JP", "F|"), u"F|");
    EXPECT_EQ(encoded("ISO-2022-JP", u"\u65E5"), "\x1B$BF|\x1B(B");
    EXPECT_EQ(encoded("ISO-2022-JP", u"F"), "F");
}

TEST_F(CodePageThreadTest, OneEncoderConvertsOnAllThreads)
{
    runOnThreads(4, [](int index) {
        const bool isJapanese = index % 2 == 0;
        const std::u16string text = isJapanese ? u"\u65E5\u672Ca" : u"\u672Cb";
        const std::string bytes = isJapanese ? "\x1B$BF|K\\\x1B(Ba" : "\x1B$BK\\\x1B(Bb";
        for (int round = 0; round < 300; ++round) {
            EXPECT_EQ(encoded("ISO-2022-JP", text), bytes);
            EXPECT_EQ(decoded("ISO-2022-JP", bytes), text);
        }
    });
}

} // namespace
} // namespace Tavrin::test
