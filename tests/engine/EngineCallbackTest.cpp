// SPDX-License-Identifier: MIT
// Functions of scripts that the application keeps and calls.
#include <thread>

#include <tvscript/Object.h>

#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

using EngineCallback = ScriptTest;
using TvScript::Engine;

Array arguments(std::initializer_list<Variant> values)
{
    Array args;
    for (const Variant &value : values)
        args += value;
    return args;
}

// Calls the function of the script that `echo` receives.
struct Caller : Box
{
    Caller() : Box("Caller") {}
    using Box::call;
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        return id == echoID ? Engine::call(args[0], args, result, error)
                            : Box::call(id, args, result, error);
    }
};

TEST_F(EngineCallback, AFunctionIsKeptAndCalledLater)
{
    const Variant add = run("(function (a, b) { return a + b; })");
    engine().collectGarbage();
    Variant result;
    EXPECT_EQ(Engine::call(add, arguments({2, 3}), result), 0);
    EXPECT_EQ(result.getDouble(), 5);
    EXPECT_EQ(Engine::call(add, arguments({"a", "b"}), result), 0);
    EXPECT_EQ(result.getString(), "ab");
}

TEST_F(EngineCallback, ThisIsWhatTheCallerSays)
{
    const Variant who = run("(function () { return this.width; })");
    const auto box = make<Box>();
    box->width = 8;
    Variant result;
    EXPECT_EQ(Engine::call(who, *box, Array(), result), 0);
    EXPECT_EQ(result.getDouble(), 8);
}

TEST_F(EngineCallback, ValuesCountTheirHolds)
{
    Variant first = run("(function () {})");
    const TvScript::Object *object = first.getJSObject();
    EXPECT_EQ(object->refCount, 1);
    EXPECT_EQ(object->hardRefCount, 0);
    Variant second;
    second.setHardRef(true);
    second = first;
    EXPECT_EQ(object->refCount, 2);
    EXPECT_EQ(object->hardRefCount, 1);
    first.erase();
    EXPECT_EQ(object->refCount, 1);
    Variant result;
    EXPECT_EQ(Engine::call(second, Array(), result), 0);
}

TEST_F(EngineCallback, WhatACallbackHoldsGoesWithIt)
{
    const int before = Box::living();
    auto box = make<Box>();
    engine().setGlobal("box", *box);
    Variant callback = run("(function (mine) { return function () { return mine.width; }; })(box)");
    engine().setGlobal("box", Variant());
    box.reset();
    EXPECT_EQ(Box::living(), before + 1);
    Variant result;
    EXPECT_EQ(Engine::call(callback, Array(), result), 0);
    EXPECT_EQ(result.getDouble(), 1);
    callback.erase();
    engine().collectGarbage(); // a function refers to itself, by way of its prototype
    EXPECT_EQ(Box::living(), before);
}

TEST_F(EngineCallback, WhatAPlainObjectHoldsGoesWithItAtOnce)
{
    const int before = Box::living();
    auto box = make<Box>();
    engine().setGlobal("box", *box);
    Variant object = run("({held: box})");
    engine().setGlobal("box", Variant());
    box.reset();
    EXPECT_EQ(Box::living(), before + 1);
    object.erase();
    EXPECT_EQ(Box::living(), before);
}

TEST_F(EngineCallback, CallbacksThatWereLetGoDoNotPileUp)
{
    const int before = Box::living();
    for (int round = 0; round < 5000; ++round) {
        auto box = make<Box>();
        engine().setGlobal("box", *box);
        run("(function (mine) { return function () { return mine; }; })(box)");
        engine().setGlobal("box", Variant());
    }
    EXPECT_LT(Box::living() - before, 2500);
}

TEST_F(EngineCallback, ALiveObjectMayKeepACallbackThatUsesIt)
{
    const int before = Box::living();
    {
        const auto box = make<Box>();
        engine().setGlobal("box", *box);
        run("(function (box) { box.any = function () { return box.width; }; })(box)");
        Variant result;
        EXPECT_EQ(Engine::call(box->any, Array(), result), 0);
        EXPECT_EQ(result.getDouble(), 1);
    }
    endEngine();
    EXPECT_EQ(Box::living(), before);
}

TEST_F(EngineCallback, ACallbackWhoseEngineIsGoneIsInvalid)
{
    Variant callback = run("(function () {})");
    endEngine();
    EXPECT_FALSE(callback.isValidObject());
    EXPECT_EQ(callback.getTavrinscriptEngine(), nullptr);
    EXPECT_EQ(callback.toString(), "[Invalid Object]");
    Variant result = 1;
    Error error;
    EXPECT_EQ(Engine::call(callback, Array(), result, &error), 45);
    EXPECT_EQ(describe(error), "45: Object is invalid");
    EXPECT_FALSE(result.isDefined());
    THashTable<Variant> table;
    EXPECT_EQ(callback.getObjectProperties(table, 0, nullptr), 45);
    EXPECT_EQ(callback.setObjectProperties(table, nullptr), 45);
    Engine other;
    EXPECT_EQ(other.setGlobal("late", callback, &error), 45);
}

TEST_F(EngineCallback, WhatIsNoFunctionCannotBeCalled)
{
    Variant result;
    Error error;
    EXPECT_EQ(Engine::call(5, Array(), result, &error), 24);
    EXPECT_EQ(describe(error), "24: 5 is not a function");
    error.erase();
    EXPECT_EQ(Engine::call(run("({})"), Array(), result, &error), 24);
}

TEST_F(EngineCallback, AnExceptionThatLeavesACallbackBecomesRecords)
{
    const Variant callback =
        run("\n(function () {\n  throw new TypeError('bad luck');\n})", "call.js");
    Variant result;
    Error error;
    EXPECT_EQ(Engine::call(callback, Array(), result, &error), 54);
    EXPECT_EQ(describe(error), "54: Uncaught JavaScript exception: TypeError: bad luck @call.js:3");
    EXPECT_NE(error.getError()->getSource().find("bad luck"), -1);
}

TEST_F(EngineCallback, CallbacksRunInsideCallsOfScripts)
{
    const auto caller = make<Caller>();
    engine().setGlobal("caller", *caller);
    EXPECT_EQ(tell("caller.echo(function (f, x) { return x * 2; }, 21)"), "42");
    // The exception of the inner script arrives in the outer one with its words.
    EXPECT_EQ(tell("try { caller.echo(function () { throw new Error('inner'); }) }"
                   "catch (e) { e.message + '|' + e.number }"),
              "Uncaught JavaScript exception: Error: inner|54");
    EXPECT_EQ(fail("caller.echo(function () {\n undefinedName(); })").substr(0, 3), "54:");
}

TEST_F(EngineCallback, EndlessRecursionThroughTheApplicationEnds)
{
    const auto caller = make<Caller>();
    engine().setGlobal("caller", *caller);
    EXPECT_EQ(fail("var depth = 0; function again() { ++depth; caller.echo(again); } again()")
                  .substr(0, 17),
              "27: Stack overrun");
    EXPECT_GT(run("depth").getInteger(), 50);
    EXPECT_EQ(tell("caller.grow(1)"), "2");
}

TEST_F(EngineCallback, AnotherThreadIsRefused)
{
    int code = 0;
    const Variant callback = run("(function () {})");
    std::thread([&] {
        Variant result;
        code = engine().evaluate("1", "thread.js", result, nullptr);
    }).join();
    EXPECT_EQ(code, 32);
}

TEST_F(EngineCallback, AnObjectThatWasLetGoKeepsItsIdAndComesBack)
{
    Variant object = run("var kept = {}; kept");
    object.setObjectID(99);
    object.erase();
    EXPECT_EQ(run("kept").getInteger(), 99);
    run("kept = null");
}

} // namespace
} // namespace Tavrin::test
