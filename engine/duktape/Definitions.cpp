// SPDX-License-Identifier: MIT
#include "duktape/Definitions.h"

#include "duktape/EngineData.h"
#include "duktape/Failures.h"

namespace TvScript {

namespace {

bool findRoot(EngineData &engine, unsigned int &slot) noexcept
{
    const Reply reply = engine.steady([&] {
        slot = engine.freeRoot();
        return Reply();
    });
    return !reply.isFailure();
}

} // namespace

void defineHidden(duk_context *ctx, duk_idx_t object)
{
    duk_def_prop(ctx, object,
                 DUK_DEFPROP_HAVE_VALUE | DUK_DEFPROP_SET_WRITABLE | DUK_DEFPROP_SET_CONFIGURABLE |
                     DUK_DEFPROP_HAVE_ENUMERABLE);
}

void defineGlobal(duk_context *ctx, const char *name)
{
    duk_push_global_object(ctx);
    duk_push_string(ctx, name);
    duk_dup(ctx, -3);
    defineHidden(ctx, -3);
    duk_pop(ctx);
}

void defineName(duk_context *ctx, duk_idx_t name)
{
    name = duk_normalize_index(ctx, name);
    duk_push_literal(ctx, "name");
    duk_dup(ctx, name);
    duk_def_prop(ctx, -3, DUK_DEFPROP_HAVE_VALUE | DUK_DEFPROP_FORCE);
}

void *pushKept(duk_context *ctx, const char *name)
{
    duk_push_global_stash(ctx);
    duk_dup(ctx, -2);
    duk_put_prop_string(ctx, -2, name);
    duk_pop(ctx);
    return duk_get_heapptr(ctx, -1);
}

unsigned int defineRoot(duk_context *ctx, EngineData &engine, duk_idx_t at)
{
    at = duk_normalize_index(ctx, at);
    unsigned int slot = 0;
    if (!findRoot(engine, slot))
        throwFailure(ctx, engine);
    duk_push_heapptr(ctx, engine.roots);
    duk_dup(ctx, at);
    duk_put_prop_index(ctx, -2, slot);
    duk_pop(ctx);
    engine.noteRoot();
    return slot;
}

} // namespace TvScript
