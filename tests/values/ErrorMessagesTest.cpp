// SPDX-License-Identifier: MIT
// The wording of codes: every one of the library's own, and what lies beyond them.
#include <tavrin/Error.h>

#include <iterator>
#include <limits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
using test::textOf;

namespace {

struct Message
{
    int code;
    const char *text;
};

// Typed apart from the library's table.
constexpr Message messages[] = {
    {0, ""},
    {1, "%1"},
    {2, "%1 is undefined"},
    {3, "Cannot assign value"},
    {4, "Unterminated string constant"},
    {5, "Unterminated comment"},
    {6, "Bad digit in number"},
    {7, "Language feature '%1' is not supported"},
    {8, "Syntax error"},
    {9, "Illegal use of reserved word '%1'"},
    {10, "Illegal break or continue outside a loop"},
    {11, "Label not found"},
    {12, "Expression is not constant"},
    {13, "Too many closing braces"},
    {14, "No matching closing brace found"},
    {15, "Try without catch or finally"},
    {16, "catch/finally without try"},
    {17, "Variable name expected"},
    {18, "Variable or value expected"},
    {19, "Bad argument %1"},
    {20, "Bad argument list"},
    {21, "%1 is not an object"},
    {22, "%1 does not have a constructor"},
    {23, "%1 does not have a value"},
    {24, "%1 is not a function"},
    {25, "Expected: %1"},
    {26, "%1 cannot work with instances of this class"},
    {27, "Stack overrun"},
    {28, "Out of memory"},
    {29, "Uncaught exception %1"},
    {30, "Illegal 'return' outside of a function body"},
    {31, "Bad or invalid URI: %1"},
    {32, "Cannot execute"},
    {33, "Internal error"},
    {34, "Execution halted"},
    {35, "Timeout while waiting for the engine"},
    {36, "Not implemented"},
    {37, "Character conversion error"},
    {38, "Partial multibyte character found"},
    {39, "More than one switch default"},
    {40, "%1 redeclared"},
    {41, "%1 is out of range"},
    {42, "Catch after unconditional catch"},
    {43, "Evaluation error"},
    {44, "Cannot convert"},
    {45, "Object is invalid"},
    {46, "%1 is read only"},
    {47, "Data type mismatch"},
    {48, "File or folder does not exist"},
    {49, "File or folder already exists"},
    {50, "I/O device is not open"},
    {51, "Read past EOF"},
    {52, "I/O error"},
    {53, "Permission denied"},
    {54, "Uncaught JavaScript exception: %1"},
    {55, "Object does not support the property or method '%1'"},
    {56, "Cannot connect to %1"},
    {57, "Cannot resolve reference"},
    {58, "I/O Timeout"},
    {59, "No response"},
    {60, "Not well-formed (invalid token)"},
    {61, "Unclosed token"},
    {62, "Mismatched tag"},
    {63, "Duplicate attribute"},
    {64, "Junk after document element"},
    {65, "Entity parsing error"},
    {66, "XML declaration not at start of external entity"},
    {67, "Unknown encoding"},
    {68, "Encoding specified in XML declaration is incorrect"},
    {69, "Unclosed CDATA section"},
    {70, "Requested feature requires DTD support"},
    {71, "Unexpected DOCTYPE name"},
    {72, "Unbound namespace prefix"},
    {73, "Unknown axis name: %1"},
    {74, "Unsupported axis"},
    {75, "Operand expected, but found %1"},
    {76, "Node set expected"},
    {77, "Node test expected, but found %1"},
    {78, "Cannot set property %1"},
    {79, "Marquescript error: %1"},
};
static_assert(std::size(messages) == 80);

void PrintTo(const Message &message, std::ostream *out)
{
    *out << message.code << ": " << message.text;
}

String worded(int code, const char *before = "")
{
    String message(before);
    TvGetErrorMsg(code, message);
    return message;
}

using ErrorMessagesTest = test::LibraryTest;

class EveryErrorMessage : public test::LibraryTest, public testing::WithParamInterface<Message>
{};

constexpr int smallest = std::numeric_limits<int>::min();
constexpr int greatest = std::numeric_limits<int>::max();

} // namespace

TEST_P(EveryErrorMessage, HasItsText)
{
    EXPECT_EQ(worded(GetParam().code), GetParam().text);
}

TEST_P(EveryErrorMessage, IsTheSameForTheNegativeCode)
{
    EXPECT_EQ(worded(-GetParam().code), GetParam().text);
}

TEST_P(EveryErrorMessage, ReplacesTheTextOfTheCaller)
{
    EXPECT_EQ(worded(GetParam().code, "oops"), GetParam().text);
    EXPECT_EQ(worded(GetParam().code, "$$$/key=oops"), GetParam().text);
}

TEST_P(EveryErrorMessage, IsItsDefinitionWithoutAClass)
{
    for (const int code : {GetParam().code, -GetParam().code}) {
        String text("before"), className("before");
        EXPECT_TRUE(Error::getErrorDefinition(code, text, className));
        EXPECT_EQ(text, GetParam().text);
        EXPECT_EQ(className, "");
    }
}

TEST_P(EveryErrorMessage, IsKnownToLocalizersByItsKey)
{
    HostLocalizer host;
    String key;
    host.onGetZString = [&](String &text, const String &, const String &) {
        key = text;
        text = "translated %1";
        return true;
    };
    host.onGetErrorMsg = [](int code, String &text) {
        EXPECT_EQ(code, GetParam().code);
        EXPECT_EQ(text, "translated %1");
        return false;
    };
    const Current current(host);
    for (const int code : {GetParam().code, -GetParam().code}) {
        key.erase();
        EXPECT_EQ(worded(code, "oops"), "translated %1");
        const std::string expected = "$$$/CT/Tavrinscript/Errors/Err" +
                                     std::to_string(GetParam().code) + "=" + GetParam().text;
        EXPECT_EQ(key, expected.c_str());
    }
}

TEST_P(EveryErrorMessage, TakesTheTextOfARecord)
{
    std::string expected = GetParam().text;
    if (const std::size_t place = expected.find("%1"); place != std::string::npos)
        expected.replace(place, 2, "the name");
    const Error error(GetParam().code, String("the name"), true);
    EXPECT_EQ(error.getError()->getText(), expected.c_str());
    EXPECT_EQ(error.getCode(), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Codes, EveryErrorMessage, testing::ValuesIn(messages),
                         [](const testing::TestParamInfo<Message> &row) {
                             return std::to_string(row.param.code);
                         });

// Codes that are not the library's.

TEST_F(ErrorMessagesTest, AnUnknownCodeWithoutATextIsWordedByItsNumber)
{
    for (const int code : {80, -80, 81, 9999, -9999, greatest, -greatest, smallest})
        EXPECT_EQ(worded(code), "Error #%1") << code;
}

TEST_F(ErrorMessagesTest, AnUnknownCodeLeavesTheTextOfTheCaller)
{
    for (const int code : {80, -80, 9999, greatest, smallest})
        EXPECT_EQ(worded(code, "oops"), "oops") << code;
}

TEST_F(ErrorMessagesTest, TheTextOfTheCallerMayBeAKey)
{
    EXPECT_EQ(worded(9999, "$$$/mine=a^Tb %1"), textOf(u"a\u2122b %1"));
    EXPECT_EQ(worded(9999, "a^Tb\\n"), "a^Tb\\n") << "it was none";
}

TEST_F(ErrorMessagesTest, UnknownCodesShareOneKey)
{
    HostLocalizer host;
    String key;
    int asked = 0;
    host.onGetZString = [&](String &text, const String &, const String &) {
        key = text;
        return false;
    };
    host.onGetErrorMsg = [&](int code, String &) {
        asked = code;
        return false;
    };
    const Current current(host);
    EXPECT_EQ(worded(-80), "Error #%1");
    EXPECT_EQ(key, "$$$/CT/Tavrinscript/Errors/General=Error #%1");
    EXPECT_EQ(asked, 80);
    key.erase();
    EXPECT_EQ(worded(4711, "oops"), "oops");
    EXPECT_EQ(key, "") << "a plain text has no key";
    EXPECT_EQ(asked, 4711);
}

TEST_F(ErrorMessagesTest, TheSmallestIntStaysItselfForLocalizers)
{
    HostLocalizer host;
    int asked = 0;
    host.onGetErrorMsg = [&](int code, String &) {
        asked = code;
        return false;
    };
    const Current current(host);
    EXPECT_EQ(worded(smallest), "Error #%1");
    EXPECT_EQ(asked, smallest);
    EXPECT_EQ(worded(-greatest), "Error #%1");
    EXPECT_EQ(asked, greatest);
}

// Localisers.

TEST_F(ErrorMessagesTest, ALocalizerMayWordACodeItself)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int code, String &text) {
        if (code != 2)
            return false;
        EXPECT_EQ(text, "%1 is undefined");
        text = "%1 ist nicht definiert";
        return true;
    };
    const Current current(host);
    EXPECT_EQ(worded(2), "%1 ist nicht definiert");
    EXPECT_EQ(worded(-2), "%1 ist nicht definiert");
    EXPECT_EQ(worded(3), "Cannot assign value");
    EXPECT_EQ(Error(2, String("x"), true).getError()->getText(), "x ist nicht definiert");
}

TEST_F(ErrorMessagesTest, ATranslationThatContainsItsOwnKeyComesToAnEnd)
{
    HostLocalizer host;
    int lookups = 0;
    host.onGetZString = [&](String &, const String &, const String &) {
        ++lookups;
        return true; // the key as the text
    };
    const Current current(host);
    EXPECT_EQ(worded(3), "$$$/CT/Tavrinscript/Errors/Err3=Cannot assign value");
    EXPECT_EQ(lookups, 2);
}

TEST_F(ErrorMessagesTest, ThePlaceholderStays)
{
    EXPECT_EQ(worded(19), "Bad argument %1");
    EXPECT_EQ(worded(1), "%1");
}
