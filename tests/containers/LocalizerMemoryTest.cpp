// SPDX-License-Identifier: MIT
// Every operation that may ask for memory, run out of it at each request in turn.
#include <tavrin/Localizer.h>

#include <gtest/gtest.h>

#include <tavrin/Array.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Allocates;
using test::Current;
using test::HostLocalizer;
using test::Pushed;
using test::underMemoryFailure;
using test::unitsOf;

namespace {

using LocalizerMemoryTest = test::LibraryTest;

struct Operation
{
    const char *name;
    const char *text;
    void (*run)(String &text, const Array &args);
};

constexpr Operation operations[] = {
    {"getZString of a key", "$$$/a=b\nc^Td",
     [](String &text, const Array &) { Localizer::getZString(text); }},
    {"getZString of a long key", "$$$/a=The quick brown fox jumps over the lazy dog.^T\n",
     [](String &text, const Array &) { Localizer::getZString(text); }},
    {"getZString of plain text", "a^Tb\\n",
     [](String &text, const Array &) { Localizer::getZString(text); }},
    {"localize of a key", "$$$/a=Hello %1, %2 and %1!",
     [](String &text, const Array &args) { text = Localizer::localize(text, &args); }},
    {"localize of plain text", "%1 %%",
     [](String &text, const Array &args) { text = Localizer::localize(text, &args); }},
    {"localize of a string", "$$$/a=%1%2",
     [](String &text, const Array &args) { text.localize(&args); }},
    {"getErrorMessage", "$$$/a=%1 is undefined^T",
     [](String &text, const Array &) { Localizer::getErrorMessage(2, text); }},
    {"caseConvert", "abc",
     [](String &text, const Array &) { text = Localizer::caseConvert(text, false); }},
    {"getLocale", "abc", [](String &text, const Array &) { text = Localizer::getLocale(); }},
    {"compare", "abc",
     [](String &text, const Array &) { EXPECT_EQ(Localizer::compare(text, text), 0); }},
};

void expectAllToSurvive()
{
    Array args;
    args += String("a long enough argument to need a block");
    args += String("second");
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        String done(operation.text);
        operation.run(done, args);
        const std::u16string expected = unitsOf(done);
        const std::u16string before = unitsOf(String(operation.text));
        underMemoryFailure([&] { return String(operation.text); },
                           [&](String &text) { operation.run(text, args); },
                           [&](const String &text, bool failed) {
                               EXPECT_EQ(unitsOf(text), failed ? before : expected);
                           },
                           Allocates::perhaps);
    }
}

} // namespace

TEST_F(LocalizerMemoryTest, AnOperationThatRunsOutOfMemoryLeavesTheTextAsItWas)
{
    expectAllToSurvive();
}

TEST_F(LocalizerMemoryTest, TheSameWithAHostInTheChain)
{
    HostLocalizer host;
    host.onGetLocale = [](String &out) {
        out = "en_US";
        return true;
    };
    host.onGetZString = [](String &text, const String &, const String &) {
        text = "the host's text for %1^T";
        return true;
    };
    host.onLocalizeText = [](String &text) {
        text += " by the host";
        return true;
    };
    host.onCaseConvert = [](String &text, bool) {
        text += " by the host";
        return true;
    };
    host.onGetErrorMsg = [](int, String &text) {
        text = "$$$/host=error";
        return true;
    };
    const Current current(host);
    expectAllToSurvive();
}

TEST_F(LocalizerMemoryTest, APushThatRunsOutOfMemoryLeavesTheStackAsItWas)
{
    const HostLocalizer first, second;
    struct Stack
    {
        ~Stack()
        {
            while (Localizer::pop() != nullptr) {}
        }
        int marker = 0;
    };
    underMemoryFailure(
        [&] {
            Localizer::push(first);
            return std::make_unique<Stack>();
        },
        [&](std::unique_ptr<Stack> &) {
            for (int count = 0; count < 20; ++count)
                Localizer::push(second);
        },
        [&](const std::unique_ptr<Stack> &, bool failed) {
            int pushed = 0;
            while (Localizer::remove(second))
                ++pushed;
            if (failed)
                EXPECT_LT(pushed, 20);
            else
                EXPECT_EQ(pushed, 20);
            EXPECT_TRUE(Localizer::remove(first));
        });
}

TEST_F(LocalizerMemoryTest, PopAndRemoveNeedNoMemory)
{
    const HostLocalizer first, second;
    underMemoryFailure(
        [&] {
            Localizer::push(first);
            Localizer::push(second);
            Localizer::push(first);
            return 0;
        },
        [&](int &) {
            EXPECT_TRUE(Localizer::remove(first));
            EXPECT_EQ(Localizer::pop(), &first);
            EXPECT_EQ(Localizer::pop(), &second);
            EXPECT_EQ(Localizer::pop(), nullptr);
        },
        [](int, bool failed) { EXPECT_FALSE(failed); }, Allocates::perhaps);
}
