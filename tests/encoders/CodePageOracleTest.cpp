// SPDX-License-Identifier: MIT
// The system's code pages beside ICU's tables of the same ones, and every unit there and back.
// D-116: the system decides what a code page holds; the lists below are all that it holds
// differently.
#include <map>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using CodePageOracleTest = LibraryTest;

// The one unit that bytes stand for, or one of these.
constexpr int nothing = -1;
constexpr int severalUnits = -2;

// ICU's converter of an encoding, strict.
class Icu
{
public:
    explicit Icu(const char *name)
    {
        UErrorCode code = U_ZERO_ERROR;
        converter = ucnv_open(name, &code);
        ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &code);
        ucnv_setFallback(converter, false);
        EXPECT_TRUE(U_SUCCESS(code)) << name;
    }
    ~Icu() { ucnv_close(converter); }
    Icu(const Icu &) = delete;
    Icu &operator=(const Icu &) = delete;

    int decode(std::string_view bytes)
    {
        char16_t units[8] = {};
        UErrorCode code = U_ZERO_ERROR;
        ucnv_reset(converter);
        const int length =
            ucnv_toUChars(converter, units, 8, bytes.data(), static_cast<int>(bytes.size()), &code);
        return U_FAILURE(code) ? nothing : length == 1 ? units[0] : severalUnits;
    }

private:
    UConverter *converter = nullptr;
};

int decode(const Encoder &encoder, std::string_view bytes)
{
    String text;
    if (text.decode(bytes.data(), static_cast<int>(bytes.size()), &encoder) != 0)
        return nothing;
    return text.length() == 1 ? text.wstr()[0] : severalUnits;
}

bool isPrivate(int unit)
{
    return unit >= 0xE000 && unit <= 0xF8FF;
}

struct Difference
{
    const char *name; // of the encoder
    int bytes;
    int system;
    int icu;
};

constexpr Difference differences[] = {
    {"CP10000", 0xC6, 0x0394, 0x2206},
    {"CP10000", 0xF0, 0xE01E, 0xF8FF},
    {"CP10007", 0xFF, 0x00A4, 0x20AC},
    {"CP437", 0xE6, 0x00B5, 0x03BC},
    {"CP1026", 0x9A, 0x00AA, 0x20BA},
    {"CP1026", 0x9D, 0x02DB, 0x00B8},
    {"CP1026", 0xBC, 0x2014, 0x00AF},
    // Characters that came to the Korean set later.
    {"CP51949", 0xA2E6, 0x20AC, nothing},
    {"CP51949", 0xA2E7, 0x00AE, nothing},
    {"CP51949", 0xA2E8, 0x327E, nothing},
};

std::ostream &operator<<(std::ostream &out, const Difference &found)
{
    return out << std::hex << found.name << ", " << found.bytes << ": " << found.system << " for "
               << found.icu << std::dec;
}

bool isListed(const Difference &found)
{
    for (const Difference &row : differences)
        if (std::string_view(row.name) == found.name && row.bytes == found.bytes &&
            row.system == found.system && row.icu == found.icu)
            return true;
    return false;
}

// What ICU gives to bytes that stand for nothing: the control of the same value.
bool isUndefinedByte(const Difference &found)
{
    return found.system == nothing && found.bytes >= 0x80 && found.icu == found.bytes;
}

// ICU's tables of code pages from IBM exchange three controls.
bool isExchangedControl(const Difference &found)
{
    return found.system == found.bytes && ((found.bytes == 0x1A && found.icu == 0x1C) ||
                                           (found.bytes == 0x1C && found.icu == 0x7F) ||
                                           (found.bytes == 0x7F && found.icu == 0x1A));
}

TEST_F(CodePageOracleTest, SingleBytesDecodeAsInIcuButForTheListedOnes)
{
    constexpr struct
    {
        const char *name;
        const char *icu;
    } pages[] = {
        {"CP10000", "macintosh"},       {"ISO-8859-2", "iso-8859-2"},
        {"ISO-8859-3", "iso-8859-1"},   {"ISO-8859-4", "iso-8859-4"},
        {"ISO-8859-5", "iso-8859-5"},   {"ISO-8859-6", "iso-8859-6"},
        {"ISO-8859-7", "iso-8859-7"},   {"ISO-8859-8", "iso-8859-8"},
        {"ISO-8859-9", "iso-8859-9"},   {"ISO-8859-10", "iso-8859-10"},
        {"ISO-8859-13", "iso-8859-13"}, {"ISO-8859-14", "iso-8859-14"},
        {"ISO-8859-15", "iso-8859-15"}, {"CP850", "ibm-850"},
        {"CP866", "ibm-866"},           {"CP1251", "windows-1251"},
        {"CP01252", "windows-1252"},    {"CP1253", "windows-1253"},
        {"CP1254", "windows-1254"},     {"CP1255", "windows-1255"},
        {"CP1256", "windows-1256"},     {"CP1257", "windows-1257"},
        {"CP10007", "x-mac-cyrillic"},  {"CP10029", "x-mac-centraleurroman"},
        {"CP437", "ibm-437"},           {"CP1026", "ibm-1026"},
        {"CP20866", "koi8-r"},          {"CP37", "ibm-37"},
    };
    for (const auto &page : pages) {
        const Encoder *encoder = Encoder::get(page.name);
        ASSERT_NE(encoder, nullptr) << page.name;
        Icu icu(page.icu);
        for (int byte = 0; byte < 256; ++byte) {
            const char text = static_cast<char>(byte);
            const Difference found = {page.name, byte, decode(*encoder, {&text, 1}),
                                      icu.decode({&text, 1})};
            EXPECT_TRUE(found.system == found.icu || isUndefinedByte(found) ||
                        isExchangedControl(found) || isListed(found))
                << found;
        }
    }
}

// Only in the areas that users may fill do the tables differ. Half-width letters of EUC-JP, behind
// a lead byte of their own, are left to the system.
TEST_F(CodePageOracleTest, PairsOfBytesDecodeAsInIcuButForTheListedOnes)
{
    constexpr int halfWidthLead = 0x8E;
    constexpr struct
    {
        const char *name;
        const char *icu;
        int firstTrail;
        int characters; // at least
    } pages[] = {
        {"CP932", "windows-932", 0x40, 7000},  {"CP936", "windows-936", 0x40, 21000},
        {"CP949", "windows-949", 0x40, 17000}, {"CP950", "windows-950", 0x40, 13000},
        {"CP51932", "euc-jp", 0xA1, 6800},     {"CP51949", "euc-kr", 0xA1, 8200},
    };
    for (const auto &page : pages) {
        const Encoder &encoder = *Encoder::get(page.name);
        Icu icu(page.icu);
        int characters = 0;
        for (int lead = 0x81; lead < 0xFF; ++lead)
            for (int trail = page.firstTrail; trail < 0xFF; ++trail) {
                const char text[] = {static_cast<char>(lead), static_cast<char>(trail)};
                const Difference found = {page.name, lead << 8 | trail, decode(encoder, {text, 2}),
                                          icu.decode({text, 2})};
                characters += found.system >= 0 ? 1 : 0;
                if (isPrivate(found.system) || isPrivate(found.icu) || lead == halfWidthLead)
                    continue;
                EXPECT_TRUE(found.system == found.icu || isListed(found)) << found;
            }
        EXPECT_GT(characters, page.characters) << page.name;
    }
}

// The units that go to the bytes of another unit, in ascending order.
const std::map<std::string_view, std::u16string_view> &oneWayUnits()
{
    static const std::map<std::string_view, std::u16string_view> units = {
        {"CP932", u"\u00A2\u00A3\u00A5\u00AC\u2014\u2016\u203E\u2212\u301C"},
        {"CP51932", u"\u00A2\u00A3\u00A5\u00A6\u00AC\u2014\u2016\u203E\u2212\u301C"},
        {"CP51949", u"\u20A9"},
        // These switch the state of the decoder.
        {"CP50220", u"\u001B"},
        {"CP50225", u"\u000E\u000F\u001B"},
    };
    return units;
}

TEST_F(CodePageOracleTest, EveryUnitComesBackOrIsReplaced)
{
    for (const char *name :
         {"CP10000", "CP65000", "CP28591", "CP28592", "CP28594", "CP28595", "CP28596", "CP28597",
          "CP28598", "CP28599", "CP28600", "CP28603", "CP28604", "CP28605", "CP28606", "CP850",
          "CP866",   "CP932",   "CP936",   "CP949",   "CP950",   "CP1251",  "CP01252", "CP1253",
          "CP1254",  "CP1255",  "CP1256",  "CP1257",  "CP1361",  "CP51932", "CP51949", "CP10007",
          "CP10029", "CP10079", "CP437",   "CP709",   "CP1026",  "CP20866", "CP50220", "CP50225"}) {
        const Encoder *encoder = Encoder::get(name);
        ASSERT_NE(encoder, nullptr) << name;
        const String question("?");
        const std::string replacement = question.encode(encoder);
        std::u16string oneWay;
        for (int unit = 0; unit < 0x10000; ++unit) {
            String text;
            text.append(static_cast<unsigned short>(unit));
            const char *bytes = nullptr;
            int length = 0;
            ASSERT_EQ(text.encode(bytes, length, encoder), 0) << name << std::hex << unit;
            const std::string_view encoded(bytes, static_cast<std::size_t>(length));
            if (encoded != replacement && decode(*encoder, encoded) != unit)
                oneWay += static_cast<char16_t>(unit);
        }
        const auto expected = oneWayUnits().find(name);
        EXPECT_TRUE(oneWay == (expected == oneWayUnits().end() ? u"" : expected->second)) << name;
    }
}

} // namespace
} // namespace Tavrin::test
