// SPDX-License-Identifier: MIT
#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

using EngineTest = ScriptTest;

TEST_F(EngineTest, TheResultIsTheValueOfTheLastExpression)
{
    EXPECT_EQ(tell("1 + 2"), "3");
    EXPECT_EQ(tell("var a = 'x'; a + a"), "xx");
    EXPECT_FALSE(run("").isDefined());
    EXPECT_FALSE(run("var b = 1").isDefined());
}

TEST_F(EngineTest, TextsShareTheirGlobalVariables)
{
    run("var counter = 1; function next() { return ++counter; }");
    EXPECT_EQ(tell("next() + next()"), "5");
}

TEST_F(EngineTest, AFirstLineForTheShellIsSkipped)
{
    EXPECT_EQ(tell("#!/usr/bin/env tavrin\n1 + 1"), "2");
}

TEST_F(EngineTest, GlobalVariablesAreSetAndReadByTheApplication)
{
    EXPECT_EQ(engine().setGlobal("size", 12), 0);
    EXPECT_EQ(tell("size * 2"), "24");
    run("var answer = 'yes'");
    Variant value;
    EXPECT_EQ(engine().getGlobal("answer", value), 0);
    EXPECT_EQ(value.getString(), "yes");
    EXPECT_EQ(engine().getGlobal("nothing", value), 0);
    EXPECT_FALSE(value.isDefined());
}

TEST_F(EngineTest, AFunctionOfTheApplicationReceivesItsArguments)
{
    String heard;
    engine().setFunction("say", [&](const Array &args, Variant &result, Error *) {
        for (unsigned at = 0; at < args.length(); ++at)
            heard += args[at].toString() + ";";
        result = static_cast<int>(args.length());
        return 0;
    });
    EXPECT_EQ(tell("say('a', 2, null) + say()"), "3");
    EXPECT_EQ(utf8(heard), "a;2;null;");
    EXPECT_EQ(tell("say.name"), "say");
}

TEST_F(EngineTest, EnginesLiveSideBySide)
{
    TvScript::Engine other;
    run("var which = 1");
    Variant result;
    EXPECT_EQ(other.evaluate("typeof which", "other.js", result), 0);
    EXPECT_EQ(result.getString(), "undefined");
    const auto box = make<Box>();
    engine().setGlobal("box", *box);
    other.setGlobal("box", *box);
    run("box.width = 9");
    EXPECT_EQ(other.evaluate("box.width", "other.js", result), 0);
    EXPECT_EQ(result.getDouble(), 9);
}

TEST_F(EngineTest, WhatIsOfTheUnderlyingEngineIsHidden)
{
    EXPECT_EQ(tell("typeof Duktape"), "undefined");
}

TEST_F(EngineTest, NamesForAPromptAreThoseOfTheObjectAndThenWhatItInherits)
{
    const auto box = make<Box>();
    Array names;
    EXPECT_EQ(engine().getNames(*box, names), 0);
    String joined;
    for (unsigned at = 0; at < 9; ++at)
        joined += names[at].getString() + " ";
    EXPECT_EQ(utf8(joined), "width area label any grow fail echo raise toString ");
    EXPECT_EQ(engine().getNames("text", names), 0);
    bool hasTrim = false;
    for (unsigned at = 0; at < names.length(); ++at)
        hasTrim |= names[at].getString() == "trim";
    EXPECT_TRUE(hasTrim);
}

} // namespace
} // namespace Tavrin::test
