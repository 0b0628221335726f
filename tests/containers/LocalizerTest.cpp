// SPDX-License-Identifier: MIT
// The chain of localisers and the answers when nobody answers.
#include <tavrin/Localizer.h>

#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/InitTerm.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "support/VirtualSlot.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
using test::Pushed;
using test::textOf;

namespace {

static_assert(std::is_base_of_v<Root, Localizer>);
static_assert(sizeof(Localizer) == sizeof(Root), "no data");
static_assert(std::is_default_constructible_v<Localizer>);

using LocalizerTest = test::LibraryTest;

// Opens what is protected.
struct OpenLocalizer : Localizer
{
    using Localizer::getErrorMsg;
    using Localizer::getLocale;
    using Localizer::getZString;
    using Localizer::localizedCaseConvert;
    using Localizer::localizedCompare;
    using Localizer::localizeText;
};

// One that says its name as the locale.
struct NamedLocalizer : HostLocalizer
{
    explicit NamedLocalizer(const char *name)
    {
        onGetLocale = [name](String &out) {
            out = name;
            return true;
        };
    }
};

} // namespace

// The class.

TEST_F(LocalizerTest, TheDefaultsHaveNoAnswer)
{
    const OpenLocalizer localizer;
    String text("$$$/a=b");
    EXPECT_FALSE(localizer.getZString(text, String("en_US"), String("family")));
    EXPECT_FALSE(localizer.getLocale(text));
    EXPECT_FALSE(localizer.localizeText(text));
    EXPECT_FALSE(localizer.localizedCaseConvert(text, true));
    EXPECT_FALSE(localizer.localizedCaseConvert(text, false));
    EXPECT_EQ(localizer.localizedCompare(text, String()), 0x7FFFFFFF);
    EXPECT_FALSE(localizer.getErrorMsg(2, text));
    EXPECT_EQ(text, "$$$/a=b");
}

#if defined(TAVRIN_HAS_VIRTUAL_SLOTS)
TEST(Localizer, TheQuestionsKeepTheirPlacesInTheTable)
{
    using ZString = bool (Localizer::*)(String &, const String &, const String &) const;
    using Locale = bool (Localizer::*)(String &) const;
    EXPECT_EQ(test::virtualSlot(static_cast<ZString>(&OpenLocalizer::getZString)), 2u);
    EXPECT_EQ(test::virtualSlot(static_cast<Locale>(&OpenLocalizer::getLocale)), 3u);
    EXPECT_EQ(test::virtualSlot(&OpenLocalizer::localizeText), 4u);
    EXPECT_EQ(test::virtualSlot(&OpenLocalizer::localizedCaseConvert), 5u);
    EXPECT_EQ(test::virtualSlot(&OpenLocalizer::localizedCompare), 6u);
    EXPECT_EQ(test::virtualSlot(&OpenLocalizer::getErrorMsg), 7u);
}
#endif

// The current one.

TEST_F(LocalizerTest, TheThreadOfInitBeginsWithTheBuiltInOne)
{
    EXPECT_EQ(Context::get().localizer, &Localizer::getDefault());
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
}

TEST_F(LocalizerTest, SetMakesOneTheCurrentOne)
{
    const HostLocalizer host;
    Localizer::set(&host);
    EXPECT_EQ(&Localizer::get(), &host);
    EXPECT_EQ(Context::get().localizer, &host);
    EXPECT_NE(&Localizer::getDefault(), &host);
}

TEST_F(LocalizerTest, SetOfNullMeansTheBuiltInOne)
{
    const HostLocalizer host;
    Localizer::set(&host);
    Localizer::set(nullptr);
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
    EXPECT_EQ(Context::get().localizer, &Localizer::getDefault());
}

TEST_F(LocalizerTest, AContextWithoutOneHasTheBuiltInAnswers)
{
    Context::get().localizer = nullptr;
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
    EXPECT_EQ(Localizer::localize(String("$$$/a=b"), nullptr), "b");
    const NamedLocalizer host("pushed");
    const Pushed pushed(host);
    EXPECT_EQ(Localizer::getLocale(), "pushed");
}

TEST_F(LocalizerTest, TheBuiltInOneIsAskedLikeAnyOther)
{
    const Current current(Localizer::getDefault());
    const Pushed pushed(Localizer::getDefault());
    EXPECT_EQ(Localizer::localize(String("$$$/a=b"), nullptr), "b");
}

TEST(LocalizerLife, TheBuiltInOneOutlivesExit)
{
    const Localizer *before = &Localizer::getDefault();
    {
        test::LibrarySession session;
        EXPECT_EQ(&Localizer::getDefault(), before);
    }
    EXPECT_EQ(&Localizer::getDefault(), before);
    test::LibrarySession session;
    EXPECT_EQ(&Localizer::get(), before);
}

TEST(LocalizerLife, WhatAHostSetAndPushedIsNeitherDeletedNorKeptAcrossExit)
{
    static int destroyed;
    destroyed = 0;
    struct Watched : NamedLocalizer
    {
        Watched() : NamedLocalizer("mine") {}
        ~Watched() override { ++destroyed; }
    };
    const Watched host;
    {
        test::LibrarySession session;
        Localizer::set(&host);
        Localizer::push(host);
        EXPECT_EQ(Localizer::getLocale(), "mine");
    }
    EXPECT_EQ(destroyed, 0);
    test::LibrarySession session;
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
    EXPECT_EQ(Localizer::pop(), nullptr);
    EXPECT_EQ(host.questions, 1);
}

TEST_F(LocalizerTest, TheContextThatAHostFixedHasTheChain)
{
    const NamedLocalizer host("fixed");
    const Current current(host);
    Globals::get()->context = &Context::get();
    EXPECT_EQ(Localizer::getLocale(), "fixed");
    EXPECT_EQ(&Localizer::get(), &host);
    Globals::get()->context = nullptr;
}

// The stack.

TEST_F(LocalizerTest, PopOnAnEmptyStackGivesNull)
{
    EXPECT_EQ(Localizer::pop(), nullptr);
    EXPECT_EQ(Localizer::pop(), nullptr);
}

TEST_F(LocalizerTest, PopReturnsTheLastPushedFirst)
{
    const HostLocalizer first, second;
    Localizer::push(first);
    Localizer::push(second);
    Localizer::push(first);
    EXPECT_EQ(Localizer::pop(), &first);
    EXPECT_EQ(Localizer::pop(), &second);
    EXPECT_EQ(Localizer::pop(), &first);
    EXPECT_EQ(Localizer::pop(), nullptr);
}

TEST_F(LocalizerTest, RemoveTakesTheOldestOccurrence)
{
    const HostLocalizer first, second;
    Localizer::push(first);
    Localizer::push(second);
    Localizer::push(first);
    EXPECT_TRUE(Localizer::remove(first));
    EXPECT_EQ(Localizer::pop(), &first) << "the newer one went";
    EXPECT_EQ(Localizer::pop(), &second);
    EXPECT_EQ(Localizer::pop(), nullptr);
}

TEST_F(LocalizerTest, RemoveOfAnUnknownOneIsFalse)
{
    const HostLocalizer pushed, other;
    EXPECT_FALSE(Localizer::remove(other));
    Localizer::push(pushed);
    EXPECT_FALSE(Localizer::remove(other));
    EXPECT_TRUE(Localizer::remove(pushed));
    EXPECT_FALSE(Localizer::remove(pushed));
    EXPECT_EQ(Localizer::pop(), nullptr);
}

TEST_F(LocalizerTest, TheCurrentOneIsNotOnTheStack)
{
    const HostLocalizer host;
    const Current current(host);
    EXPECT_FALSE(Localizer::remove(host));
    EXPECT_EQ(Localizer::pop(), nullptr);
    EXPECT_EQ(&Localizer::get(), &host);
}

TEST_F(LocalizerTest, TheStackGrowsDeep)
{
    const NamedLocalizer bottom("bottom");
    const HostLocalizer silent;
    Localizer::push(bottom);
    for (int count = 0; count < 1000; ++count)
        Localizer::push(silent);
    EXPECT_EQ(Localizer::getLocale(), "bottom");
    EXPECT_EQ(silent.questions, 1000);
}

// The order of asking.

TEST_F(LocalizerTest, TheCurrentOneIsAskedBeforeTheStack)
{
    const NamedLocalizer current("current"), pushed("pushed");
    const Pushed onStack(pushed);
    const Current set(current);
    EXPECT_EQ(Localizer::getLocale(), "current");
    EXPECT_EQ(pushed.questions, 0);
}

TEST_F(LocalizerTest, TheStackIsAskedFromTheTopDown)
{
    const NamedLocalizer bottom("bottom"), top("top");
    const Pushed first(bottom);
    EXPECT_EQ(Localizer::getLocale(), "bottom");
    {
        const Pushed second(top);
        EXPECT_EQ(Localizer::getLocale(), "top");
        EXPECT_EQ(bottom.questions, 1);
    }
    EXPECT_EQ(Localizer::getLocale(), "bottom");
}

TEST_F(LocalizerTest, OneWithoutAnAnswerIsPassedOver)
{
    const HostLocalizer silent;
    const NamedLocalizer knowing("knowing");
    const Pushed first(knowing);
    const Pushed second(silent);
    const Current current(silent);
    EXPECT_EQ(Localizer::getLocale(), "knowing");
    EXPECT_EQ(silent.questions, 2);
    EXPECT_EQ(knowing.questions, 1);
}

TEST_F(LocalizerTest, EveryQuestionGoesTheSameWay)
{
    const std::vector<std::pair<const char *, std::function<void()>>> questions = {
        {"getLocale", [] { Localizer::getLocale(); }},
        {"getZString",
         [] {
             String text("$$$/a=b");
             Localizer::getZString(text);
         }},
        {"localize", [] { Localizer::localize(String("plain"), nullptr); }},
        {"caseConvert", [] { Localizer::caseConvert(String("a"), false); }},
        {"compare", [] { Localizer::compare(String("a"), String("b")); }},
        {"getErrorMessage",
         [] {
             String out;
             Localizer::getErrorMessage(2, out);
         }},
    };
    for (const auto &[name, ask] : questions) {
        SCOPED_TRACE(name);
        std::string order;
        HostLocalizer links[3];
        for (int index = 0; index < 3; ++index) {
            const char sign = static_cast<char>('a' + index);
            const auto heard = [&order, sign] {
                order += sign;
                return false;
            };
            links[index].onGetLocale = [=](String &) { return heard(); };
            links[index].onGetZString = [=](String &, const String &, const String &) {
                return heard();
            };
            links[index].onLocalizeText = [=](String &) { return heard(); };
            links[index].onCaseConvert = [=](String &, bool) { return heard(); };
            links[index].onCompare = [=](const String &, const String &) {
                heard();
                return 0x7FFFFFFF;
            };
            links[index].onGetErrorMsg = [=](int, String &) { return heard(); };
        }
        const Current current(links[0]);
        const Pushed bottom(links[1]);
        const Pushed top(links[2]);
        ask();
        // A key asks for the locale first.
        EXPECT_EQ(order, std::string(name) == "getZString" ? "acbacb" : "acb");
    }
}

// Links that change the chain.

TEST_F(LocalizerTest, ALinkMayChangeTheChainWhileItIsAsked)
{
    const NamedLocalizer bottom("bottom");
    const HostLocalizer middle, late;
    HostLocalizer top;
    top.onGetLocale = [&](String &) {
        Localizer::pop();
        Localizer::remove(middle);
        Localizer::push(late);
        Localizer::set(&late);
        return false;
    };
    Localizer::push(bottom);
    Localizer::push(middle);
    Localizer::push(top);
    EXPECT_EQ(Localizer::getLocale(), "bottom");
    EXPECT_EQ(middle.questions, 0);
    EXPECT_EQ(&Localizer::get(), &late);
}

TEST_F(LocalizerTest, ALinkMayEmptyTheStackWhileItIsAsked)
{
    const NamedLocalizer never("never");
    HostLocalizer top;
    top.onCaseConvert = [](String &, bool) {
        while (Localizer::pop() != nullptr) {}
        return false;
    };
    Localizer::push(never);
    Localizer::push(never);
    Localizer::push(top);
    EXPECT_EQ(Localizer::caseConvert(String("a"), false), "A");
    EXPECT_EQ(never.questions, 0);
}

TEST_F(LocalizerTest, ALinkMayAskTheChainItself)
{
    HostLocalizer host;
    host.onGetLocale = [](String &out) {
        out = "xx_YY";
        return true;
    };
    host.onGetZString = [](String &text, const String &, const String &) {
        if (text != "$$$/outer=")
            return false;
        text = "[";
        text += Localizer::localize(String("$$$/inner=of "), nullptr);
        text += Localizer::getLocale();
        text += ']';
        return true;
    };
    const Current current(host);
    EXPECT_EQ(Localizer::localize(String("$$$/outer="), nullptr), "[of xx_YY]");
}

TEST_F(LocalizerTest, WhatALinkThrowsPassesThroughAndLeavesTheTextAsItWas)
{
    HostLocalizer host;
    host.onGetZString = [](String &text, const String &, const String &) -> bool {
        text = "half";
        throw 7;
    };
    host.onGetErrorMsg = [](int, String &text) -> bool {
        text = "half";
        throw 7;
    };
    const Current current(host);
    String text("$$$/a=b");
    EXPECT_THROW(Localizer::getZString(text), int);
    EXPECT_EQ(text, "$$$/a=b");
    EXPECT_THROW(Localizer::getErrorMessage(2, text), int);
    EXPECT_EQ(text, "$$$/a=b");
    String plain("plain");
    EXPECT_THROW(Localizer::getErrorMessage(2, plain), int);
    EXPECT_EQ(plain, "plain");
}

// Case and order.

TEST_F(LocalizerTest, CaseConvertFallsBackToTheSimpleMapping)
{
    const String text = textOf(u"Stra\u00DFe \u00C9a");
    EXPECT_EQ(Localizer::caseConvert(text, true), textOf(u"stra\u00DFe \u00E9a"));
    EXPECT_EQ(Localizer::caseConvert(text, false), textOf(u"STRA\u00DFE \u00C9A"));
    EXPECT_EQ(text, textOf(u"Stra\u00DFe \u00C9a"));
    EXPECT_EQ(Localizer::caseConvert(String(), true), "");
}

TEST_F(LocalizerTest, CaseConvertTakesTheAnswerOfTheChain)
{
    HostLocalizer host;
    host.onCaseConvert = [](String &text, bool lower) {
        text += lower ? "-low" : "-up";
        return true;
    };
    const Current current(host);
    const String text("Text");
    EXPECT_EQ(Localizer::caseConvert(text, true), "Text-low");
    EXPECT_EQ(Localizer::caseConvert(text, false), "Text-up");
    EXPECT_EQ(text, "Text");
}

TEST_F(LocalizerTest, CompareFallsBackToTheOrderOfUnits)
{
    EXPECT_EQ(Localizer::compare(String("a"), String("a")), 0);
    EXPECT_EQ(Localizer::compare(String("a"), String("B")), 'a' - 'B');
    EXPECT_EQ(Localizer::compare(String("a"), String("ab")), -1);
    EXPECT_EQ(Localizer::compare(String("ab"), String("a")), 1);
    EXPECT_EQ(Localizer::compare(String(), String()), 0);
}

TEST_F(LocalizerTest, CompareTakesTheAnswerOfTheChain)
{
    HostLocalizer host;
    int answer = 0;
    host.onCompare = [&](const String &a, const String &b) {
        EXPECT_EQ(a, "a");
        EXPECT_EQ(b, "B");
        return answer;
    };
    const Current current(host);
    for (const int order : {0, 1, -1, 4711, 0x7FFFFFFE, std::numeric_limits<int>::min()}) {
        answer = order;
        EXPECT_EQ(Localizer::compare(String("a"), String("B")), order);
    }
    answer = 0x7FFFFFFF;
    EXPECT_EQ(Localizer::compare(String("a"), String("B")), 'a' - 'B') << "that is no answer";
}

TEST_F(LocalizerTest, CompareAsksTheNextOneWhenThereIsNoAnswer)
{
    HostLocalizer silent, knowing;
    silent.onCompare = [](const String &, const String &) { return 0x7FFFFFFF; };
    knowing.onCompare = [](const String &, const String &) { return -5; };
    const Current current(silent);
    const Pushed pushed(knowing);
    EXPECT_EQ(Localizer::compare(String("b"), String("a")), -5);
}

// Error messages.

TEST_F(LocalizerTest, AnErrorMessageWithoutAnAnswerIsTheResolvedKey)
{
    String out("$$$/Errors/Err2=%1 is undefined");
    EXPECT_FALSE(Localizer::getErrorMessage(2, out));
    EXPECT_EQ(out, "%1 is undefined");
}

TEST_F(LocalizerTest, APlainErrorMessageWithoutAnAnswerStaysWithItsEscapes)
{
    String out("a^Tb");
    EXPECT_FALSE(Localizer::getErrorMessage(2, out));
    EXPECT_EQ(out, "a^Tb");
    String empty;
    EXPECT_FALSE(Localizer::getErrorMessage(2, empty));
    EXPECT_EQ(empty, "");
}

TEST_F(LocalizerTest, TheChainReceivesCodeAndResolvedText)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int code, String &out) {
        EXPECT_EQ(code, -7);
        EXPECT_EQ(out, "built in");
        out = "from the host";
        return true;
    };
    const Current current(host);
    String out("$$$/Errors/Err7=built in");
    EXPECT_TRUE(Localizer::getErrorMessage(-7, out));
    EXPECT_EQ(out, "from the host");
}

TEST_F(LocalizerTest, AKeyFromTheChainIsResolvedToo)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int, String &out) {
        out = "$$$/host=a^Tb";
        return true;
    };
    const Current current(host);
    String out("plain");
    EXPECT_TRUE(Localizer::getErrorMessage(2, out));
    EXPECT_EQ(out, textOf(u"a\u2122b"));
}

TEST_F(LocalizerTest, AnAnswerMayLeaveTheTextAsItIs)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int, String &) { return true; };
    const Pushed pushed(host);
    String out("plain");
    EXPECT_TRUE(Localizer::getErrorMessage(2, out));
    EXPECT_EQ(out, "plain");
}

TEST_F(LocalizerTest, AnErrorTextThatIsItsOwnKeyIsResolvedTwiceAndNoMore)
{
    HostLocalizer host;
    int lookups = 0;
    host.onGetZString = [&](String &, const String &, const String &) {
        ++lookups;
        return true;
    };
    const Current current(host);
    String out("$$$/self=$$$/self=text");
    EXPECT_FALSE(Localizer::getErrorMessage(2, out));
    EXPECT_EQ(out, "$$$/self=$$$/self=text");
    EXPECT_EQ(lookups, 2);
}
