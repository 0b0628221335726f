// SPDX-License-Identifier: MIT
// Scripts that use live objects, beside the same scripts on a plain object of Duktape with native
// accessors and native functions, which find their C++ object as its users do, by a hidden
// property.
#include <string>

#include <benchmark/benchmark.h>
#include <duktape.h>

#include <tavrin/Array.h>
#include <tavrin/InitTerm.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Refcountable.h>
#include <tvscript/Engine.h>

#include "support/CaseName.h"

namespace bench {

namespace {

using namespace Tavrin;

constexpr int turns = 1000;
constexpr int elements = 16;
constexpr int properties = 1000;

struct Job
{
    const char *name;
    const char *body; // of a loop over i; `o` is the object, and `s` a sum
};

constexpr Job jobs[] = {
    {"script-read", "s += o.width"},
    {"script-write", "o.width = i"},
    {"script-call", "s += o.grow(1)"},
    {"script-element", "s += o[i & 15]"},
};

std::string scriptOf(const Job &job)
{
    return "(function () { var s = 0; for (var i = 0; i < " + std::to_string(turns) + "; ++i) { " +
           job.body + "; } return s; })";
}

constexpr const char *enumeration =
    "(function () { var s = 0; for (var name in o) s += name.length; return s; })";

// Ours.
class Thing : public LiveCollection
{
public:
    Thing() : LiveCollection("Thing", 0, false)
    {
        static constexpr LivePropertyInfo rows[] = {
            {"width", 1, kInfoReadWrite, "number\tThe width."},
            {"height", 2, kInfoReadWrite, "number\tThe height."},
            {"grow", 3, kInfoMethod, "number\tGrows.,by:number\tBy that."},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        setPropertyManager(&manager);
    }
    int get(int id, Variant &out, Error *error) const override
    {
        if (id != 1)
            return LiveCollection::get(id, out, error);
        out.setDouble(width);
        return 0;
    }
    int put(int id, const Variant &value, Error *error) override
    {
        if (id != 1)
            return LiveCollection::put(id, value, error);
        width = value.getDouble();
        return 0;
    }
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        if (id != 3)
            return LiveCollection::call(id, args, result, error);
        result.setDouble(width + args[0].getDouble());
        return 0;
    }
    int getLength(unsigned int &length) const override
    {
        length = elements;
        return 0;
    }
    int getByIndex(unsigned int index, Variant &out, Error *) const override
    {
        out.setDouble(index);
        return 0;
    }

    double width = 1;
};

struct Ours
{
    TvScript::Engine engine;
    InterfacePtr<Thing> thing = InterfacePtr<Thing>::adopt(new Thing);
    InterfacePtr<LiveObject> many = InterfacePtr<LiveObject>::adopt(new LiveObject("Many", true));

    Ours()
    {
        for (int at = 0; at < properties; ++at)
            many->put(("property" + std::to_string(at)).c_str(), at, kInfoReadWrite);
    }
    void run(benchmark::State &state, LiveObject &object, const std::string &script)
    {
        Variant function;
        Variant result;
        engine.setGlobal("o", object);
        engine.evaluate(script.c_str(), "bench.js", function);
        const Array none;
        TvScript::Engine::call(function, none, result);
        for (auto _ : state)
            benchmark::DoNotOptimize(TvScript::Engine::call(function, none, result));
    }
};

// The peer.
struct Native
{
    double width = 1;
};

Native *nativeOf(duk_context *ctx)
{
    duk_push_this(ctx);
    duk_get_prop_literal(ctx, -1, DUK_HIDDEN_SYMBOL("native"));
    auto *native = static_cast<Native *>(duk_get_pointer(ctx, -1));
    duk_pop_2(ctx);
    return native;
}

duk_ret_t getWidth(duk_context *ctx)
{
    duk_push_number(ctx, nativeOf(ctx)->width);
    return 1;
}

duk_ret_t setWidth(duk_context *ctx)
{
    nativeOf(ctx)->width = duk_to_number(ctx, 0);
    return 0;
}

duk_ret_t grow(duk_context *ctx)
{
    duk_push_number(ctx, nativeOf(ctx)->width + duk_to_number(ctx, 0));
    return 1;
}

// The accessor of an element is told its key.
duk_ret_t getElement(duk_context *ctx)
{
    duk_push_number(ctx, nativeOf(ctx)->width + duk_to_number(ctx, 0));
    return 1;
}

class Peer
{
public:
    Peer() : ctx(duk_create_heap_default())
    {
        duk_push_object(ctx);
        duk_push_pointer(ctx, &native);
        duk_put_prop_literal(ctx, -2, DUK_HIDDEN_SYMBOL("native"));
        defineAccessor("width", getWidth, 0);
        duk_push_c_function(ctx, grow, 1);
        duk_put_prop_literal(ctx, -2, "grow");
        for (int at = 0; at < elements; ++at)
            defineAccessor(std::to_string(at), getElement, 1);
        duk_put_global_literal(ctx, "thing");
        duk_push_object(ctx);
        for (int at = 0; at < properties; ++at)
            defineAccessor("property" + std::to_string(at), getWidth, 0);
        duk_put_global_literal(ctx, "many");
    }
    ~Peer() { duk_destroy_heap(ctx); }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    void run(benchmark::State &state, const char *object, const std::string &script)
    {
        duk_get_global_string(ctx, object);
        duk_put_global_literal(ctx, "o");
        duk_eval_string(ctx, script.c_str());
        duk_dup(ctx, -1);
        duk_call(ctx, 0);
        duk_pop(ctx);
        for (auto _ : state) {
            duk_dup(ctx, -1);
            duk_call(ctx, 0);
            duk_pop(ctx);
        }
        duk_pop(ctx);
    }

private:
    void defineAccessor(const std::string &name, duk_c_function get, int getArguments)
    {
        duk_push_string(ctx, name.c_str());
        duk_push_c_function(ctx, get, getArguments);
        duk_push_c_function(ctx, setWidth, 1);
        duk_def_prop(ctx, -4,
                     DUK_DEFPROP_HAVE_GETTER | DUK_DEFPROP_HAVE_SETTER |
                         DUK_DEFPROP_SET_ENUMERABLE | DUK_DEFPROP_SET_CONFIGURABLE);
    }

    duk_context *ctx;
    Native native;
};

void registerAll(Ours &ours, Peer &peer)
{
    for (const Job &job : jobs) {
        const std::string script = scriptOf(job);
        benchmark::RegisterBenchmark(
            caseName(job.name, "tavrin", turns).c_str(),
            [&ours, script](benchmark::State &state) { ours.run(state, *ours.thing, script); });
        benchmark::RegisterBenchmark(
            caseName(job.name, "duktape", turns).c_str(),
            [&peer, script](benchmark::State &state) { peer.run(state, "thing", script); });
    }
    benchmark::RegisterBenchmark(
        caseName("script-enumerate", "tavrin", properties).c_str(),
        [&ours](benchmark::State &state) { ours.run(state, *ours.many, enumeration); });
    benchmark::RegisterBenchmark(
        caseName("script-enumerate", "duktape", properties).c_str(),
        [&peer](benchmark::State &state) { peer.run(state, "many", enumeration); });
}

} // namespace

} // namespace bench

int main(int argc, char **argv)
{
    Tavrin::InitTerm::init();
    {
        bench::Ours ours;
        bench::Peer peer;
        bench::registerAll(ours, peer);
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
    }
    Tavrin::InitTerm::exit();
}
