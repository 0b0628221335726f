// SPDX-License-Identifier: MIT
// The engine without memory: a code, nothing lost, nothing leaked.
#include <new>

#include "engine/ScriptTest.h"

#include "support/MemoryFailure.h"
#include "support/TestAllocator.h"

namespace Tavrin::test {
namespace {

using EngineMemory = LibraryTest;

struct Scene
{
    TvScript::Engine engine;
    InterfacePtr<Box> box = make<Box>();

    Scene()
    {
        engine.setGlobal("box", *box);
        EXPECT_EQ(evaluate("function use(n) { box.label = 'label ' + n;"
                           " return box.echo(n, [n, 'x'], {a: n}); } box.grow; use(0)"),
                  0);
    }
    int evaluate(const String &text)
    {
        Variant result;
        return engine.evaluate(text, file, result);
    }

    const String file = "memory.js";
};

// Runs `operation` with its first request for memory failing, then the second, and so on until it
// goes through, with one engine: two failures in a row, and then all from there on. Not all
// requests have their turn: to run out of memory takes the script engine a while.
template <class Operation>
void underFailure(int expected, Operation operation)
{
    const WithoutBlockCache cacheOff;
    TestAllocator &allocator = TestAllocator::shared();
    Scene scene;
    int shortages = 0;
    for (const std::int64_t count : {std::int64_t{2}, TestAllocator::forever / 2}) {
        for (std::int64_t request = 1; request < 5000; request += request < 3 ? 1 : 61) {
            allocator.failRequests(request, count);
            const int code = operation(scene);
            const bool isThrough = allocator.refusals() == 0;
            allocator.stopFailing();
            EXPECT_TRUE(code == expected || (code == -28 && !isThrough)) << code << " " << request;
            shortages += code == -28;
            EXPECT_EQ(scene.evaluate("use(1)[0]"), 0) << request;
            if (isThrough)
                break;
        }
    }
    EXPECT_GT(shortages, 0);
}

// A new engine asks for memory some 3000 times: a part of them fails here.
TEST_F(EngineMemory, AnEngineIsMadeOrNot)
{
    const WithoutBlockCache cacheOff;
    TestAllocator &allocator = TestAllocator::shared();
    const TvScript::Engine warm;
    int failures = 0;
    for (std::int64_t request = 1; request < 4000; request += request < 8 ? 1 : 211) {
        const std::int64_t before = allocator.liveBlocks();
        allocator.failRequests(request, TestAllocator::forever / 2);
        try {
            const TvScript::Engine engine;
        } catch (const std::bad_alloc &) {
            ++failures;
        }
        allocator.stopFailing();
        EXPECT_EQ(allocator.liveBlocks(), before) << request;
    }
    EXPECT_GT(failures, 10);
}

TEST_F(EngineMemory, ScriptsRunOrReportIt)
{
    for (const char *text :
         {"1 + 1", "box.width = box.width + 1", "use(5)", "box.fresh = {a: 'b'}; delete box.fresh",
          "for (var name in box); Object.keys(box)", "[new Point(1, 2), Rect()]",
          "(function () { return [1, [2]]; })"}) {
        SCOPED_TRACE(text);
        const String script = text;
        underFailure(0, [&](Scene &scene) { return scene.evaluate(script); });
    }
}

TEST_F(EngineMemory, FailuresOfTheApplicationAreReportedOrMemoryIs)
{
    const String script = "box.fail(52)";
    underFailure(52, [&](Scene &scene) { return scene.evaluate(script); });
}

TEST_F(EngineMemory, CallbacksRunOrReportIt)
{
    const String script = "(function (a) { return {a: a, b: box}; })";
    const Array args(2);
    underFailure(0, [&](Scene &scene) {
        Variant callback;
        if (const int code = scene.engine.evaluate(script, scene.file, callback))
            return code;
        Variant result;
        return TvScript::Engine::call(callback, args, result);
    });
}

TEST_F(EngineMemory, EverythingGoesWithTheEngine)
{
    const std::int64_t before = TestAllocator::shared().liveBlocks();
    const int boxes = Box::living();
    {
        Heap::flushCache();
        Scene scene;
        for (int round = 0; round < 100; ++round)
            EXPECT_EQ(scene.evaluate("box['p' + Math.random()] = [box, {box: box}]"), 0);
        scene.box->deleteDynamicProperties(true);
    }
    Heap::flushCache();
    EXPECT_EQ(Box::living(), boxes);
    EXPECT_LE(TestAllocator::shared().liveBlocks() - before, 8); // indexes of tables, made once
}

} // namespace
} // namespace Tavrin::test
