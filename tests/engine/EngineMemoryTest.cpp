// SPDX-License-Identifier: MIT
// The engine without memory: a code, nothing lost, nothing leaked. The stress program lets every
// request fail in turn.
#include "engine/MemorySweep.h"

namespace Tavrin::test {
namespace {

using EngineMemory = LibraryTest;

constexpr int startStep = 97;
constexpr int scriptStep = 7;

TEST_F(EngineMemory, AnEngineIsMadeOrNot)
{
    EXPECT_EQ(sweepStart(startStep).fault, "");
}

TEST_F(EngineMemory, ScriptsRunOrReportIt)
{
    for (const String script : memoryScripts) {
        SCOPED_TRACE(utf8(script));
        const auto run = [&](MemoryScene &scene) { return scene.evaluate(script); };
        EXPECT_EQ(sweepMemory(0, scriptStep, run).fault, "");
    }
}

TEST_F(EngineMemory, FailuresOfTheApplicationAreReportedOrMemoryIs)
{
    const String script = "box.fail(52)";
    const auto run = [&](MemoryScene &scene) { return scene.evaluate(script); };
    EXPECT_EQ(sweepMemory(52, scriptStep, run).fault, "");
}

TEST_F(EngineMemory, CallbacksRunOrReportIt)
{
    const String script = "(function (a) { return {a: a, b: box}; })";
    const Array args(2);
    const auto run = [&](MemoryScene &scene) {
        Variant callback;
        if (const int code = scene.engine.evaluate(script, scene.file, callback))
            return code;
        Variant result;
        return TvScript::Engine::call(callback, args, result);
    };
    EXPECT_EQ(sweepMemory(0, scriptStep, run).fault, "");
}

// Duktape would try to shrink each of its objects ten times before it gives up.
TEST_F(EngineMemory, ItIsNotAskedForMoreThanCanBe)
{
    MemoryScene scene;
    ASSERT_EQ(scene.prepare(), nullptr);
    const String script = "var list = []; for (var i = 0; i < 10; ++i) list.push({});";
    const WithoutBlockCache cacheOff;
    TestAllocator &allocator = TestAllocator::shared();
    allocator.failRequests(1, TestAllocator::forever / 2);
    const int code = scene.evaluate(script);
    const std::int64_t refusals = allocator.refusals();
    allocator.stopFailing();
    EXPECT_EQ(code, -28);
    EXPECT_LT(refusals, 1000);
    EXPECT_EQ(scene.evaluate("use(1)"), 0);
}

TEST_F(EngineMemory, EverythingGoesWithTheEngine)
{
    const std::int64_t before = TestAllocator::shared().liveBlocks();
    const int boxes = Box::living();
    {
        Heap::flushCache();
        MemoryScene scene;
        EXPECT_EQ(scene.prepare(), nullptr);
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
