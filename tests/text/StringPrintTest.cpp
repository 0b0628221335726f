// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <tavrin/Encoder.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringPrintTest = test::LibraryTest;

namespace {

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

template <class... Arguments>
String printed(const char *format, Arguments... arguments)
{
    String text("old");
    text.print(format, arguments...);
    EXPECT_TRUE(isTerminated(text));
    String wide("old");
    wide.print(String(format).wstr(), arguments...);
    EXPECT_EQ(text, wide) << "both widths";
    return text;
}

String vprinted(const char *format, ...)
{
    String text("old");
    std::va_list arguments;
    va_start(arguments, format);
    text.vprint(format, arguments);
    va_end(arguments);
    return text;
}

String vprintedWide(const unsigned short *format, ...)
{
    String text("old");
    std::va_list arguments;
    va_start(arguments, format);
    text.vprint(format, arguments);
    va_end(arguments);
    return text;
}

} // namespace

TEST_F(StringPrintTest, PlainTextAndUnknownConversions)
{
    EXPECT_EQ(printed("plain"), "plain");
    EXPECT_EQ(printed("100%%"), "100%");
    EXPECT_EQ(printed("%y%5!%"), "y!");
    EXPECT_EQ(printed("%"), "");
    EXPECT_EQ(printed("%-05.3l"), "");
    EXPECT_EQ(printed(""), "");
    String text("old");
    text.print(Units(u"\x20AC%\x20AC").data());
    EXPECT_EQ(text, Units(u"\x20AC\x20AC").data());
}

TEST_F(StringPrintTest, SignedIntegers)
{
    EXPECT_EQ(printed("%d %D %ld", 5, -7, 100000), "5 -7 100000");
    EXPECT_EQ(printed("%d %d", most, least), "2147483647 -2147483648");
    EXPECT_EQ(printed("%+d %+d %+d", 5, -5, 0), "+5 -5 +0");
    EXPECT_EQ(printed("%d", 70000), "70000");
}

TEST_F(StringPrintTest, UnsignedIntegersTake16BitsWithoutAnL)
{
    EXPECT_EQ(printed("%x", 0x12345), "2345");
    EXPECT_EQ(printed("%lx", 0x12345), "12345");
    EXPECT_EQ(printed("%u %lu %U %lU", 70000, 70000, 65536, -1), "4464 70000 0 4294967295");
    EXPECT_EQ(printed("%o %lo %O", 64, 65536, 8), "100 200000 10");
    EXPECT_EQ(printed("%b %lb %B", 10, 65537, 65537), "1010 10000000000000001 1");
    EXPECT_EQ(printed("%lb", -1), "11111111111111111111111111111111");
    EXPECT_EQ(printed("%x %X %lx %lX", 0xABCD, 0xABCD, 0xABCDEF, 0xABCDEF),
              "abcd ABCD abcdef ABCDEF");
    EXPECT_EQ(printed("%+u", 5), "5");
}

TEST_F(StringPrintTest, Pointers)
{
    const auto *pointer = reinterpret_cast<const void *>(std::uintptr_t{0xABC123});
    EXPECT_EQ(printed("%p|", pointer), "          abc123|");
    EXPECT_EQ(printed("%P|", pointer), "          ABC123|");
    EXPECT_EQ(printed("%0p", pointer), "0000000000abc123");
    EXPECT_EQ(printed("%3p", pointer), "          abc123");
    EXPECT_EQ(printed("%-20p|", pointer), "abc123          |");
    EXPECT_EQ(printed("%0p", reinterpret_cast<const void *>(~std::uintptr_t{0})),
              "ffffffffffffffff");
    EXPECT_EQ(printed("%0p", static_cast<const void *>(nullptr)), "0000000000000000");
}

TEST_F(StringPrintTest, Characters)
{
    EXPECT_EQ(printed("%c%C", 'a', 'b'), "ab");
    EXPECT_EQ(printed("%3c|%-3c|", 'a', 'b'), "  a|b  |");
    EXPECT_EQ(printed("%c", '\xE9'), "\xE9");
    EXPECT_EQ(unitsOf(printed("%c%lc", 0x20AC, 0xFFFF)), u"\x20AC\xFFFF");
    EXPECT_EQ(unitsOf(printed("a%cb", 0)), std::u16string(u"a\0b", 3));
}

TEST_F(StringPrintTest, Texts)
{
    EXPECT_EQ(printed("%5.2s|", "abcdef"), "   ab|");
    EXPECT_EQ(printed("%s", ""), "");
    EXPECT_EQ(printed("%s%s", "one", "two"), "onetwo");
    EXPECT_EQ(printed("%.0s|", "abc"), "|");
    EXPECT_EQ(printed("%.9s|", "abc"), "abc|");
    EXPECT_EQ(printed("%-5s|", "abc"), "abc  |");
    EXPECT_EQ(printed("%05s|", "abc"), "00abc|");
    EXPECT_EQ(printed("%2s|", "abc"), "abc|");
    EXPECT_EQ(printed("%s", static_cast<const char *>(nullptr)), "(null)");
    EXPECT_EQ(printed("%.3s", static_cast<const char *>(nullptr)), "(nu");
}

TEST_F(StringPrintTest, TextsOfUnits)
{
    const Units units(u"\x20AC"
                      u"bc");
    EXPECT_EQ(unitsOf(printed("%ls", units.data())), u"\x20AC"
                                                     u"bc");
    EXPECT_EQ(unitsOf(printed("%5.2ls|", units.data())), u"   \x20AC"
                                                         u"b|");
    EXPECT_EQ(printed("%.0ls|", units.data()), "|");
    EXPECT_EQ(printed("%.9ls|", Units(u"abc").data()), "abc|");
    EXPECT_EQ(printed("%ls", static_cast<const unsigned short *>(nullptr)), "(null)");
    EXPECT_EQ(printed("%.2ls", static_cast<const unsigned short *>(nullptr)), "(n");
    const unsigned short open[] = {'a', 'b'};
    EXPECT_EQ(printed("%.2ls", &open[0]), "ab");
}

TEST_F(StringPrintTest, BytesGoThroughTheDefaultEncoder)
{
    Encoder::setDefault(Encoder::getUtf8());
    EXPECT_EQ(printed("%s", "caf\xC3\xA9"), "caf\xE9");
    EXPECT_EQ(printed("%.4s", "caf\xC3\xA9s"), "caf\xE9");
    Encoder::setDefault(Encoder::getBinary());
    EXPECT_EQ(printed("%s", "caf\xC3\xA9"), "caf\xC3\xA9");
}

TEST_F(StringPrintTest, BytesThatTheDefaultEncoderRefusesPrintAsNothing)
{
    Encoder::setDefault(Encoder::getUtf8());
    EXPECT_EQ(printed("%s|%s|", "abc", "\xFF"), "abc||");
    EXPECT_EQ(printed("%s|%3s|%s", "abc", "x\x80", "de"), "abc|   |de");
    EXPECT_EQ(printed("%s", "\xFF"), "");
}

TEST_F(StringPrintTest, TheFormatItselfIsWidened)
{
    EXPECT_EQ(printed("\xE9%d", 1), "\xE9"
                                    "1");
    const std::string longText(300, '\xE9');
    EXPECT_EQ(printed((longText + "%d").c_str(), 7), (longText + "7").c_str());
    const std::string exact(128, 'x');
    EXPECT_EQ(printed(exact.c_str()), exact.c_str());
}

TEST_F(StringPrintTest, PaddingGoesToTheVeryFrontOrTheEnd)
{
    EXPECT_EQ(printed("%5d|", 42), "   42|");
    EXPECT_EQ(printed("%-5d|", 42), "42   |");
    EXPECT_EQ(printed("%05d|", 42), "00042|");
    EXPECT_EQ(printed("%05d|", -42), "00-42|");
    EXPECT_EQ(printed("%-05d|", 42), "42000|");
    EXPECT_EQ(printed("%+-5d|%-+5d|", 4, 4), "+4   |+4   |");
    EXPECT_EQ(printed("%1d|", 42), "42|");
    EXPECT_EQ(printed("%-+-+6d|", 42), "+42   |");
    EXPECT_EQ(printed("%08x", 0xAB), "000000ab");
    // The zero ends the flags.
    EXPECT_EQ(printed("%0-5d|"), "-5d|");
}

TEST_F(StringPrintTest, WidthAndPrecisionFromTheArguments)
{
    EXPECT_EQ(printed("%*d|", 5, 42), "   42|");
    EXPECT_EQ(printed("%-*d|", 5, 42), "42   |");
    EXPECT_EQ(printed("%*d|", -5, 42), "42   |");
    EXPECT_EQ(printed("%0*d|", 5, 42), "00042|");
    EXPECT_EQ(printed("%.*s|", 2, "abc"), "ab|");
    EXPECT_EQ(printed("%.*s|", -1, "abc"), "abc|");
    EXPECT_EQ(printed("%*.*f|", 8, 2, 1.5), "    1.50|");
    EXPECT_EQ(printed("%.*f", -3, 1.5), "1.500000");
    EXPECT_EQ(printed("%.*f", least, 1.5), "1.500000");
    EXPECT_EQ(printed("%.*s", most, "abc"), "abc");
}

TEST_F(StringPrintTest, AWidthThatNoTextHasIsOutOfMemory)
{
    String text("old");
    EXPECT_THROW(text.print("ab%2147483647d", 1), std::bad_alloc);
    EXPECT_THROW(text.print("ab%99999999999999999999d", 1), std::bad_alloc);
    EXPECT_THROW(text.print("ab%*d", least, 1), std::bad_alloc);
    EXPECT_EQ(text, "old");
}

TEST_F(StringPrintTest, OneLengthLetterIsRead)
{
    EXPECT_EQ(printed("%hd %Hd %Ld %ld", 1, 2, 3, 4), "1 2 3 4");
    EXPECT_EQ(printed("%hx", 0x12345), "2345");
    EXPECT_EQ(printed("%lld|"), "ld|");
    EXPECT_EQ(printed("%Lf", 1.5), "1.500000");
}

TEST_F(StringPrintTest, FixedPoint)
{
    EXPECT_EQ(printed("%f %F", 1.5, -2.25), "1.500000 -2.250000");
    EXPECT_EQ(printed("%.2f %.0f %.f", 3.14159, 2.5, 3.5), "3.14 2 4");
    EXPECT_EQ(printed("%+.1f %+.1f", 1.0, -1.0), "+1.0 -1.0");
    EXPECT_EQ(printed("%8.2f|%-8.2f|%08.2f|", 1.5, 1.5, 1.5), "    1.50|1.50    |00001.50|");
    EXPECT_EQ(printed("%.2f", -0.0), "-0.00");
    EXPECT_EQ(printed("%.20f", 1.0 / 3), "0.33333333333333");
    EXPECT_EQ(printed("%.0f", 1e16), "10000000000000000");
}

TEST_F(StringPrintTest, Exponents)
{
    EXPECT_EQ(printed("%e %E", 1.5, 1e-10), "1.500000e+00 1.000000E-10");
    EXPECT_EQ(printed("%.2e %.0e %.e", 12345.0, 12345.0, 2e100), "1.23e+04 1e+04 2e+100");
    EXPECT_EQ(printed("%.20e", 1.0 / 3), "3.33333333333333e-01");
    EXPECT_EQ(printed("%+.1e|%12.1e|", 5.0, -5e-200), "+5.0e+00|   -5.0e-200|");
    EXPECT_EQ(printed("%.3e", 0.0), "0.000e+00");
}

TEST_F(StringPrintTest, TheGeneralFormIgnoresThePrecision)
{
    EXPECT_EQ(printed("%g %G", 0.5, 1e-10), "0.5 1E-10");
    EXPECT_EQ(printed("%.2g %.14g", 1234567.0, 1.0 / 3), "1.23457e+06 0.333333");
    EXPECT_EQ(printed("%+g|%8g|%-8g|%08g|", 1.5, 1.5, -1.5, 1.5),
              "+1.5|     1.5|-1.5    |000001.5|");
    EXPECT_EQ(printed("%g %g %g", 0.0, 100000.0, 1000000.0), "0 100000 1e+06");
}

TEST_F(StringPrintTest, NPrintsLikeFAndStoresNothing)
{
    EXPECT_EQ(printed("%n %.2N", 1.5, 2.5), "1.500000 2.50");
}

TEST_F(StringPrintTest, NoNumbers)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(printed("%f %e %g", infinity, infinity, -infinity), "inf inf -inf");
    EXPECT_EQ(printed("%F %E %G", infinity, -infinity, infinity), "INF -INF INF");
    EXPECT_EQ(printed("%f %G %+f", notANumber, notANumber, -infinity), "nan NAN -inf");
    EXPECT_EQ(printed("%f", std::copysign(notANumber, -1)), "nan");
    EXPECT_EQ(printed("%5f|", infinity), "  inf|");
}

// 18 digits and signs: from position 17 on there are zeros, and nothing else.
TEST_F(StringPrintTest, DigitsThatADoubleDoesNotHaveAreZeros)
{
    EXPECT_EQ(printed("%.0f", 1152921504606846976.0), "1152921504606846900");
    EXPECT_EQ(printed("%.0f", -1152921504606846976.0), "-1152921504606846900");
    EXPECT_EQ(printed("%+.0f", 123456789012345678.0), "+123456789012345600");
    EXPECT_EQ(printed("%.0f", 12345678901234568.0), "12345678901234568");
    EXPECT_EQ(printed("%+.0f", 12345678901234568.0), "+12345678901234560");
    EXPECT_EQ(printed("%.1f", 1234567890123456.75), "1234567890123456.8");
    EXPECT_EQ(printed("%.2f", 1234567890123456.75), "1234567890123456.00");
    EXPECT_EQ(printed("%f", 123456789012.375), "123456789012.375000");
    EXPECT_EQ(printed("%.2f", 1e17), "100000000000000000000");
    EXPECT_EQ(printed("%.20E", 123456789012345678.0), "1.23456789012346E+17");
    EXPECT_EQ(printed("%.0f", 1e300).length(), 301);
}

TEST_F(StringPrintTest, AnUpperSTakesNoArgument)
{
    EXPECT_EQ(printed("[%S][%5S][%-05S]%d", 7), "[][     ][00000]7");
}

TEST_F(StringPrintTest, LongResults)
{
    EXPECT_EQ(unitsOf(printed("%511d", 1)), std::u16string(510, u' ') + u"1");
    EXPECT_EQ(unitsOf(printed("%512d", 1)), std::u16string(511, u' ') + u"1");
    EXPECT_EQ(unitsOf(printed("%513d", 1)), std::u16string(512, u' ') + u"1");
    EXPECT_EQ(unitsOf(printed("a%600db%-600dc", 1, 2)),
              u"a" + std::u16string(599, u' ') + u"1b2" + std::u16string(599, u' ') + u"c");
}

TEST_F(StringPrintTest, VprintInBothWidths)
{
    EXPECT_EQ(vprinted("%d %s %.1f", 5, "x", 2.5), "5 x 2.5");
    EXPECT_EQ(vprintedWide(Units(u"%d %s %.1f").data(), 5, "x", 2.5), "5 x 2.5");
}

TEST_F(StringPrintTest, FormatAndArgumentsMayBeTheTextItself)
{
    String text("a%d");
    text.print(text.wstr(), 5);
    EXPECT_EQ(text, "a5");
    text.print("<%ls|%ls>", text.wstr(), text.wstr());
    EXPECT_EQ(text, "<a5|a5>");
}

TEST_F(StringPrintTest, ANullFormatIsEmpty)
{
    String text("old");
    text.print(static_cast<const char *>(nullptr));
    EXPECT_EQ(text.length(), 0);
    text = "old";
    text.print(static_cast<const unsigned short *>(nullptr));
    EXPECT_EQ(text.length(), 0);
}

TEST_F(StringPrintTest, TheBlockIsKept)
{
    String text;
    text.setup('x', 100);
    const unsigned short *block = text.wstr();
    text.print("%d", 5);
    EXPECT_EQ(text.wstr(), block);
    text.print("");
    EXPECT_EQ(text.wstr(), block);
    EXPECT_EQ(text.length(), 0);
}

TEST_F(StringPrintTest, SharersStayAsTheyAreAndPinsStay)
{
    String text("old");
    const String sharer(text);
    text.print("%d", 5);
    EXPECT_EQ(sharer, "old");
    text.makeUnique();
    text.print("%100d", 5);
    EXPECT_NE(String(text).wstr(), text.wstr());
}
