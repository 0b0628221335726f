// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <new>
#include <string>

#include "engine/ScriptTest.h"

#include "support/MemoryFailure.h"
#include "support/TestAllocator.h"

namespace Tavrin::test {

// An engine with a Box, and a function that uses it.
struct MemoryScene
{
    TvScript::Engine engine;
    InterfacePtr<Box> box = make<Box>();
    const String file = "memory.js";

    // For the fault of a scene that is not as it should be.
    const char *prepare()
    {
        engine.setGlobal("box", *box);
        return evaluate("function use(n) { box.label = 'label ' + n;"
                        " return box.echo(n, [n, 'x'], {a: n}); } box.grow; use(0)") == 0
                   ? nullptr
                   : "the scene cannot be prepared";
    }
    int evaluate(const String &text)
    {
        Variant result;
        return engine.evaluate(text, file, result);
    }
};

// What a sweep has seen.
struct MemorySweep
{
    int runs = 0;
    int shortages = 0;
    std::string fault; // empty if there is none
};

// Runs `operation` with its first request for memory failing, then the second, and so on until it
// goes through, with one engine: two failures in a row, and then all from there on. Behind the
// first requests it leaves out some, so that each `step`-th fails. The operation answers a code,
// which is `expected`, or -28 without memory; the engine works on.
template <class Operation>
MemorySweep sweepMemory(int expected, int step, Operation operation)
{
    const WithoutBlockCache cacheOff;
    TestAllocator &allocator = TestAllocator::shared();
    MemorySweep seen;
    MemoryScene scene;
    if (const char *fault = scene.prepare()) {
        seen.fault = fault;
        return seen;
    }
    for (const std::int64_t count : {std::int64_t{2}, TestAllocator::forever / 2}) {
        bool isThrough = false;
        for (std::int64_t request = 1; !isThrough; request += request < 8 ? 1 : step) {
            allocator.failRequests(request, count);
            const int code = operation(scene);
            isThrough = allocator.refusals() == 0;
            allocator.stopFailing();
            ++seen.runs;
            seen.shortages += code == -28;
            const bool isExpected = code == expected || (code == -28 && !isThrough);
            if (!isExpected || scene.evaluate("use(1)[0]") != 0)
                seen.fault += "request " + std::to_string(request) + ": code " +
                              std::to_string(code) +
                              (isExpected ? ", and no more scripts\n" : "\n");
        }
    }
    if (seen.shortages == 0)
        seen.fault += "nothing has failed";
    return seen;
}

// Makes an engine, which asks for memory some 3000 times, in the same way.
inline MemorySweep sweepStart(int step)
{
    const WithoutBlockCache cacheOff;
    TestAllocator &allocator = TestAllocator::shared();
    const TvScript::Engine warm;
    MemorySweep seen;
    bool isThrough = false;
    for (std::int64_t request = 1; !isThrough; request += request < 8 ? 1 : step) {
        const std::int64_t before = allocator.liveBlocks();
        allocator.failRequests(request, TestAllocator::forever / 2);
        try {
            const TvScript::Engine engine;
        } catch (const std::bad_alloc &) {
            ++seen.shortages;
        }
        isThrough = allocator.refusals() == 0;
        allocator.stopFailing();
        ++seen.runs;
        if (allocator.liveBlocks() != before)
            seen.fault += "request " + std::to_string(request) + " leaks\n";
    }
    if (seen.shortages < 10)
        seen.fault += "too little has failed";
    return seen;
}

// The scripts of the sweeps.
inline constexpr const char *memoryScripts[] = {
    "1 + 1",
    "box.width = box.width + 1",
    "use(5)",
    "box.fresh = {a: 'b'}; delete box.fresh",
    "for (var name in box); Object.keys(box)",
    "[new Point(1, 2), Rect()]",
    "(function () { return [1, [2]]; })",
    "Object.getOwnPropertyDescriptor(box, 'label')",
};

} // namespace Tavrin::test
