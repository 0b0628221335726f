// SPDX-License-Identifier: MIT
// Codes and classes that hosts define.
#include <tavrin/Error.h>

#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
using test::textOf;
using test::underMemoryFailure;

namespace {

using ErrorDefinitionsTest = test::LibraryTest;

constexpr int smallest = std::numeric_limits<int>::min();

// The definition as "known text/class".
std::string definitionOf(int code)
{
    String text("before"), className("before");
    const bool isKnown = Error::getErrorDefinition(code, text, className);
    const auto bytes = [](const String &units) {
        const std::u16string wide = test::unitsOf(units);
        return std::string(wide.begin(), wide.end());
    };
    return std::string(isKnown ? "known " : "unknown ") + bytes(text) + "/" + bytes(className);
}

String worded(int code, const char *before = "")
{
    String message(before);
    TvGetErrorMsg(code, message);
    return message;
}

} // namespace

// Definitions.

TEST_F(ErrorDefinitionsTest, AnUndefinedCodeHasAGeneralDefinition)
{
    for (const int code : {80, -80, 1000, std::numeric_limits<int>::max(), smallest})
        EXPECT_EQ(definitionOf(code), "unknown Error #%1/Error") << code;
    EXPECT_EQ(definitionOf(79), "known Marquescript error: %1/");
}

TEST_F(ErrorDefinitionsTest, ADefinedCodeHasItsTextAndClass)
{
    Error::defineError(1000, String("No layer %1"), "LayerError");
    EXPECT_EQ(definitionOf(1000), "known No layer %1/LayerError");
    EXPECT_EQ(definitionOf(-1000), "known No layer %1/LayerError");
    EXPECT_EQ(worded(1000), "No layer %1");
    EXPECT_EQ(worded(-1000), "No layer %1");
}

TEST_F(ErrorDefinitionsTest, TheSignOfADefinedCodeDoesNotMatter)
{
    Error::defineError(-1000, String("text"), "LayerError");
    EXPECT_EQ(definitionOf(1000), "known text/LayerError");
    Error::undefineError(1000);
    EXPECT_EQ(definitionOf(-1000), "unknown Error #%1/Error");
}

TEST_F(ErrorDefinitionsTest, WithoutAClassNameItIsError)
{
    Error::defineError(1000, String("text"), nullptr);
    EXPECT_EQ(definitionOf(1000), "known text/Error");
    Error::defineError(1001, String("text"), "");
    EXPECT_EQ(definitionOf(1001), "known text/Error");
}

TEST_F(ErrorDefinitionsTest, AHostsTextTakesPrecedenceOverTheLibrarys)
{
    Error::defineError(2, String("Who is %1?"), nullptr);
    EXPECT_EQ(worded(2), "Who is %1?");
    EXPECT_EQ(worded(-2), "Who is %1?");
    EXPECT_EQ(definitionOf(2), "known Who is %1?/Error");
    EXPECT_EQ(Error(2, String("x"), true).getError()->getText(), "Who is x?");
    Error::undefineError(2);
    EXPECT_EQ(worded(2), "%1 is undefined");
    EXPECT_EQ(definitionOf(2), "known %1 is undefined/");
}

TEST_F(ErrorDefinitionsTest, CodeZeroMayBeDefinedToo)
{
    Error::defineError(0, String("All is well"), nullptr);
    EXPECT_EQ(worded(0), "All is well");
    Error::undefineError(0);
    EXPECT_EQ(worded(0), "");
}

TEST_F(ErrorDefinitionsTest, TheSmallestIntMayBeDefined)
{
    Error::defineError(smallest, String("text"), "EndError");
    EXPECT_EQ(definitionOf(smallest), "known text/EndError");
    EXPECT_EQ(definitionOf(std::numeric_limits<int>::max()), "unknown Error #%1/Error");
    HostLocalizer host;
    String key;
    host.onGetZString = [&](String &text, const String &, const String &) {
        key = text;
        return false;
    };
    const Current current(host);
    EXPECT_EQ(worded(smallest), "text");
    EXPECT_EQ(key, "$$$/CT/Tavrinscript/Errors/Err2147483648=text");
    Error::undefineError(smallest);
    EXPECT_EQ(definitionOf(smallest), "unknown Error #%1/Error");
}

TEST_F(ErrorDefinitionsTest, AHostsTextComesWithAKeyOnlyWhenTheCallerLeftNone)
{
    Error::defineError(1000, String("No layer %1"), nullptr);
    HostLocalizer host;
    String key;
    host.onGetZString = [&](String &text, const String &, const String &) {
        key = text;
        return false;
    };
    const Current current(host);
    EXPECT_EQ(worded(-1000), "No layer %1");
    EXPECT_EQ(key, "$$$/CT/Tavrinscript/Errors/Err1000=No layer %1");
    key.erase();
    EXPECT_EQ(worded(1000, "oops"), "No layer %1");
    EXPECT_EQ(key, "");
}

TEST_F(ErrorDefinitionsTest, EscapesOfAHostsTextAreResolvedOnlyWhenTheCallerLeftNone)
{
    Error::defineError(1000, String("50^D\\n"), nullptr);
    EXPECT_EQ(worded(1000), textOf(u"50\u00B0\n"));
    EXPECT_EQ(worded(1000, "oops"), "50^D\\n");
}

TEST_F(ErrorDefinitionsTest, AHostsTextMayBeAKeyItself)
{
    Error::defineError(1000, String("$$$/Host/NoLayer=No layer %1"), nullptr);
    EXPECT_EQ(worded(1000, "oops"), "No layer %1");
    EXPECT_EQ(worded(1000), "No layer %1") << "resolved a second time";
}

TEST_F(ErrorDefinitionsTest, ASecondDefinitionReplacesTheFirst)
{
    Error::defineError(1000, String("first"), "FirstError");
    Error::defineError(1000, String("second"), "SecondError");
    EXPECT_EQ(definitionOf(1000), "known second/SecondError");
    EXPECT_TRUE(Error::isErrorClass(String("SecondError")));
    EXPECT_TRUE(Error::isErrorClass(String("FirstError"))) << "nobody has undefined it";
    Error::undefineError(1000);
    EXPECT_FALSE(Error::isErrorClass(String("SecondError")));
    EXPECT_TRUE(Error::isErrorClass(String("FirstError")));
}

TEST_F(ErrorDefinitionsTest, DefinitionsMayTakeTheirTextFromOthers)
{
    Error::defineError(1000, String("text"), "FirstError");
    String text, className;
    ASSERT_TRUE(Error::getErrorDefinition(1000, text, className));
    Error::defineError(1000, text, "SecondError");
    EXPECT_EQ(definitionOf(1000), "known text/SecondError");
}

TEST_F(ErrorDefinitionsTest, UndefiningWhatIsNotDefinedChangesNothing)
{
    Error::undefineError(1000);
    Error::undefineError(2);
    Error::undefineError(smallest);
    Error::defineError(1000, String("text"), "LayerError");
    Error::undefineError(1001);
    EXPECT_EQ(definitionOf(1000), "known text/LayerError");
    EXPECT_EQ(worded(2), "%1 is undefined");
}

TEST_F(ErrorDefinitionsTest, ManyCodesMayBeDefined)
{
    for (int code = 100; code < 1100; ++code)
        Error::defineError(code, String(std::to_string(code).c_str()), "ManyError");
    for (int code = 100; code < 1100; ++code)
        ASSERT_EQ(worded(code), std::to_string(code).c_str());
    for (int code = 100; code < 1100; code += 2)
        Error::undefineError(code);
    for (int code = 100; code < 1100; ++code)
        ASSERT_EQ(definitionOf(code).substr(0, 5), code % 2 == 0 ? "unkno" : "known");
}

TEST(ErrorDefinitionsLife, DefinitionsEndWithTheLibrary)
{
    {
        test::LibrarySession session;
        Error::defineError(1000, String("text"), "LayerError");
        Error::defineError(2, String("text"), nullptr);
    }
    test::LibrarySession session;
    EXPECT_EQ(definitionOf(1000), "unknown Error #%1/Error");
    EXPECT_EQ(definitionOf(2), "known %1 is undefined/");
    EXPECT_FALSE(Error::isErrorClass(String("LayerError")));
    Error::undefineError(1000);
}

// Classes.

TEST_F(ErrorDefinitionsTest, TheClassesOfTheLanguageAreErrorClasses)
{
    for (const char *name : {"Error", "TypeError", "SyntaxError", "ReferenceError", "InternalError",
                             "FatalError", "RangeError", "EvalError", "URIError", "IOError"})
        EXPECT_TRUE(Error::isErrorClass(String(name))) << name;
}

TEST_F(ErrorDefinitionsTest, OtherNamesAreNone)
{
    for (const char *name : {"", "error", "ERROR", "TypeErrors", "Type", "Object", "IoError"})
        EXPECT_FALSE(Error::isErrorClass(String(name))) << name;
}

TEST_F(ErrorDefinitionsTest, TheClassOfADefinedCodeIsAnErrorClass)
{
    EXPECT_FALSE(Error::isErrorClass(String("LayerError")));
    Error::defineError(1000, String("text"), "LayerError");
    EXPECT_TRUE(Error::isErrorClass(String("LayerError")));
    EXPECT_FALSE(Error::isErrorClass(String("layererror"))) << "case matters";
    Error::undefineError(1000);
    EXPECT_FALSE(Error::isErrorClass(String("LayerError")));
}

TEST_F(ErrorDefinitionsTest, AClassNameGoesWithTheFirstCodeThatIsUndefined)
{
    Error::defineError(1000, String("text"), "LayerError");
    Error::defineError(1001, String("text"), "LayerError");
    Error::undefineError(1000);
    EXPECT_FALSE(Error::isErrorClass(String("LayerError")));
    EXPECT_EQ(definitionOf(1001), "known text/LayerError");
    Error::undefineError(1001);
    EXPECT_EQ(definitionOf(1001), "unknown Error #%1/Error");
}

TEST_F(ErrorDefinitionsTest, AClassOfTheLanguageStaysWhenACodeOfItGoes)
{
    Error::defineError(1000, String("text"), "RangeError");
    Error::defineError(1001, String("text"), nullptr);
    Error::undefineError(1000);
    Error::undefineError(1001);
    EXPECT_TRUE(Error::isErrorClass(String("RangeError")));
    EXPECT_TRUE(Error::isErrorClass(String("Error")));
}

// Memory.

namespace {

struct Definition
{
    int code;
    explicit Definition(int ofCode) : code(ofCode) {}
    Definition(Definition &&other) noexcept : code(std::exchange(other.code, -1)) {}
    ~Definition()
    {
        if (code < 0)
            return;
        Error::undefineError(code);
        // A redefinition leaves the name of the class that it replaced.
        Error::defineError(code, String(), "OldError");
        Error::undefineError(code);
    }
};

} // namespace

TEST_F(ErrorDefinitionsTest, ADefinitionThatRunsOutOfMemoryLeavesNone)
{
    Error::defineError(1, String("%1"), nullptr); // the tables stay
    underMemoryFailure(
        [] { return Definition(1000); },
        [](Definition &) { Error::defineError(1000, String("a text of some length"), "NewError"); },
        [](const Definition &, bool failed) {
            EXPECT_EQ(definitionOf(1000),
                      failed ? "unknown Error #%1/Error" : "known a text of some length/NewError");
            EXPECT_EQ(Error::isErrorClass(String("NewError")), !failed);
        });
}

TEST_F(ErrorDefinitionsTest, ARedefinitionThatRunsOutOfMemoryLeavesTheOldOne)
{
    Error::defineError(1, String("%1"), nullptr); // the tables stay
    underMemoryFailure(
        [] {
            Error::defineError(1000, String("old"), "OldError");
            return Definition(1000);
        },
        [](Definition &) { Error::defineError(-1000, String("new"), "NewError"); },
        [](const Definition &, bool failed) {
            EXPECT_EQ(definitionOf(1000), failed ? "known old/OldError" : "known new/NewError");
        });
}

TEST_F(ErrorDefinitionsTest, UndefiningNeedsNoMemory)
{
    underMemoryFailure(
        [] {
            Error::defineError(1000, String("text"), "LayerError");
            return 0;
        },
        [](int &) { Error::undefineError(1000); },
        [](int, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_FALSE(Error::isErrorClass(String("LayerError")));
        },
        test::Allocates::perhaps);
}

TEST_F(ErrorDefinitionsTest, LookupsThatRunOutOfMemoryLeaveTheTextsAsTheyWere)
{
    Error::defineError(1000, String("a host's text"), "LayerError");
    for (const int code : {2, 1000, 9999}) {
        underMemoryFailure([] { return std::pair(String("text"), String("class")); },
                           [&](std::pair<String, String> &texts) {
                               Error::getErrorDefinition(code, texts.first, texts.second);
                           },
                           [](const std::pair<String, String> &texts, bool failed) {
                               EXPECT_EQ(texts.first == "text", failed);
                               EXPECT_EQ(texts.second == "class", failed);
                           },
                           test::Allocates::perhaps);
        for (const char *before : {"", "oops"})
            underMemoryFailure([&] { return String(before); },
                               [&](String &message) { TvGetErrorMsg(code, message); },
                               [&](const String &message, bool failed) {
                                   EXPECT_EQ(message,
                                             failed ? String(before) : worded(code, before));
                               },
                               test::Allocates::perhaps);
    }
    underMemoryFailure([] { return String("LayerError"); },
                       [](String &name) { EXPECT_TRUE(Error::isErrorClass(name)); },
                       [](const String &, bool failed) { EXPECT_FALSE(failed); },
                       test::Allocates::perhaps);
}
