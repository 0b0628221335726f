// SPDX-License-Identifier: MIT
// Scripts that make, use and drop live objects by the million, and callbacks that the application
// keeps for a while: resident memory and the number of objects have to stay flat. With --memory,
// the sweeps of tests/engine/EngineMemoryTest.cpp with each request for memory failing in turn.
//   engine_stress [--objects n] [--quick] [--memory]
#include <cstdio>
#include <fstream>
#include <string>

#include <CLI/CLI.hpp>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/InitTerm.h>
#include <tavrin/LiveObject.h>
#include <tvscript/Engine.h>

#include "engine/MemorySweep.h"

namespace {

using namespace Tavrin;
using test::Box;

constexpr int roundSize = 10000;

long residentKiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    return 0;
}

// What one round of a script does with its objects: read, write, call, add, list, delete, link.
constexpr const char *script = R"(
function round(count) {
  var last = null;
  var sum = 0;
  for (var i = 0; i < count; ++i) {
    var box = new Box(i % 1000);
    box.label = 'box ' + i;
    box.width = box.width + 1;
    box['p' + i] = last;
    sum += box.grow(1) + box.label.length;
    if (i % 10 === 0) for (var name in box) sum += name.length;
    if (i % 7 === 0) delete box['p' + i];
    if (i % 5 === 0) { var circle = {box: box}; circle.self = circle; }
    if (i % 3 === 0) box.any = [box.width, {text: box.label}, new Point(i, i)];
    if (i % 11 === 0) keep(function () { return box.width; });
    try { if (i % 13 === 0) box.width = 'wrong'; } catch (e) { sum += e.number; }
    last = i % 50 === 0 ? null : box;
  }
  return sum;
})";

int run(int objects)
{
    TvScript::Engine engine;
    const auto prototype = test::make<Box>();
    LiveObject::addFactory(*prototype, 1);
    Array kept;
    engine.setFunction("keep", [&](const Array &args, Variant &, Error *) {
        kept += args[0];
        if (kept.length() > 100)
            kept.removeAt(0, 1);
        return 0;
    });
    Variant result;
    if (engine.evaluate(script, "stress.js", result) != 0)
        return 1;
    long settled = 0;
    long middle = 0;
    long peak = 0;
    int mostHeld = 0;
    const int rounds = (objects + roundSize - 1) / roundSize;
    for (int at = 0; at < rounds; ++at) {
        Error error;
        const String call = String("round(") + Variant(roundSize).getString() + ")";
        if (engine.evaluate(call, "round.js", result, &error) != 0) {
            std::printf("round %d failed: %s\n", at,
                        test::utf8(error.getError()->getText()).c_str());
            return 1;
        }
        for (unsigned callback = 0; callback < kept.length(); ++callback)
            if (TvScript::Engine::call(kept[callback], Array(), result) != 0)
                return 1;
        mostHeld = std::max(mostHeld, engine.heldObjects());
        peak = std::max(peak, residentKiB());
        if (at == rounds / 10)
            settled = residentKiB();
        if (at == rounds / 2)
            middle = residentKiB();
    }
    kept.erase();
    engine.collectGarbage();
    engine.collectGarbage();
    LiveObject::removeFactory("Box");
    std::printf("%d objects: resident %ld KiB after a tenth, %ld in the middle, %ld at most, "
                "%ld at the end; at most %d held, %d left\n",
                rounds * roundSize, settled, middle, peak, residentKiB(), mostHeld,
                engine.heldObjects());
    // Sanitizers hold released memory back.
    const bool isResidentFlat = TAVRIN_SANITIZED || residentKiB() - settled < 16 * 1024;
    const bool isFlat = isResidentFlat && engine.heldObjects() == 0;
    std::printf("%s\n", isFlat ? "flat" : "NOT FLAT");
    return isFlat ? 0 : 1;
}

bool report(const char *name, const test::MemorySweep &seen)
{
    std::printf("%s: %d runs, %d without memory\n%s", name, seen.runs, seen.shortages,
                seen.fault.c_str());
    return seen.fault.empty();
}

int sweepAll()
{
    Allocator::set(&test::TestAllocator::shared());
    bool isSound = report("start", test::sweepStart(1));
    for (const String script : test::memoryScripts)
        isSound &= report(test::utf8(script).c_str(),
                          test::sweepMemory(0, 1, [&](test::MemoryScene &scene) {
                              return scene.evaluate(script);
                          }));
    Allocator::set(nullptr);
    return isSound ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Live objects in scripts, by the million");
    int objects = 1000000;
    bool quick = false;
    bool memory = false;
    app.add_option("--objects", objects, "How many objects the scripts make");
    app.add_flag("--quick", quick, "A short run");
    app.add_flag("--memory", memory, "Let requests for memory fail instead");
    CLI11_PARSE(app, argc, argv);
    Tavrin::InitTerm::init();
    const int code = memory ? sweepAll() : run(quick ? 2 * roundSize : objects);
    Tavrin::InitTerm::exit();
    return code != 0 || Box::living() != 0 ? 1 : 0;
}
