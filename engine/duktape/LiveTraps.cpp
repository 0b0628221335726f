// SPDX-License-Identifier: MIT
// The jumping halves of what scripts do with live objects. The script has a proxy; all proxies
// share one handler. Its traps are light functions, which cost less to call. The target of a proxy
// is an empty object with the right prototype, and gets the names of an enumeration, because that
// is where Duktape looks whether they are enumerable. Pinned by tests/engine/LivePropertyTest.cpp
// and LiveCollectionScriptTest.cpp.
#include "duktape/Classes.h"
#include "duktape/Definitions.h"
#include "duktape/Failures.h"
#include "duktape/LiveRecord.h"
#include "duktape/Values.h"

namespace TvScript {

namespace {

constexpr int noObject = 21;

// The record of the target, which is the first argument of each trap.
LiveRecord &recordOf(duk_context *ctx)
{
    return *Blocks::find<LiveRecord>(duk_get_heapptr(ctx, 0));
}

// Symbols are strings of a kind, and cannot be turned into others.
void stringKey(duk_context *ctx, duk_idx_t at)
{
    if (!duk_is_string(ctx, at))
        duk_to_string(ctx, at);
}

// Keys are strings, but for the indexes of collections, which need none.
void prepareKey(duk_context *ctx, const LiveRecord &record)
{
    if (!record.isCollection() || !duk_is_number(ctx, 1)) {
        stringKey(ctx, 1);
        return;
    }
    const double number = duk_get_number(ctx, 1);
    if (!(number >= 0 && number < noIndex && static_cast<unsigned>(number) == number))
        duk_to_string(ctx, 1);
}

// The descriptor by which a prototype has the key, which is the second argument of the trap;
// undefined if none has it.
void pushInheritedDescriptor(duk_context *ctx, LiveRecord &record)
{
    duk_push_heapptr(ctx, record.getClass().prototype);
    while (duk_is_object(ctx, -1)) {
        duk_dup(ctx, 1);
        duk_get_prop_desc(ctx, -2, 0);
        if (duk_is_object(ctx, -1))
            return;
        duk_pop(ctx);
        duk_get_prototype(ctx, -1);
        duk_remove(ctx, -2);
    }
}

// A getter of a prototype has the live object as `this`.
duk_ret_t pushInherited(duk_context *ctx, LiveRecord &record)
{
    pushInheritedDescriptor(ctx, record);
    if (!duk_is_object(ctx, -1))
        return 0;
    if (duk_get_prop_literal(ctx, -1, "get") == 0) {
        duk_get_prop_literal(ctx, -2, "value");
        return 1;
    }
    if (!duk_is_callable(ctx, -1))
        return 0;
    duk_push_heapptr(ctx, record.getProxy());
    duk_call_method(ctx, 0);
    return 1;
}

// The value, which is the third argument of the trap, goes to the setter of a prototype, or becomes
// a new property. A getter alone refuses it.
duk_ret_t pushAdded(duk_context *ctx, LiveRecord &record)
{
    pushInheritedDescriptor(ctx, record);
    if (!duk_is_object(ctx, -1) || duk_get_prop_literal(ctx, -1, "set") == 0)
        return pushReply(ctx, record.getEngine(), record.add(ctx, 1, 2));
    const bool isSetter = duk_is_callable(ctx, -1) != 0;
    if (isSetter) {
        duk_push_heapptr(ctx, record.getProxy());
        duk_dup(ctx, 2);
        duk_call_method(ctx, 1);
    }
    duk_push_boolean(ctx, isSetter ? 1 : 0);
    return 1;
}

// Nearly every key is a name that has been here before.
Reply readKey(duk_context *ctx, LiveRecord &record)
{
    if (const auto *name = Blocks::find<Name>(duk_get_heapptr(ctx, 1))) [[likely]]
        return record.read(*name);
    prepareKey(ctx, record);
    return record.read(ctx, 1);
}

duk_ret_t onGet(duk_context *ctx)
{
    LiveRecord &record = recordOf(ctx);
    const Reply reply = readKey(ctx, record);
    switch (reply.kind) {
    case Reply::Kind::number:
        duk_push_number(ctx, reply.number);
        return 1;
    case Reply::Kind::inherited:
        return pushInherited(ctx, record);
    case Reply::Kind::method:
        duk_push_heapptr(ctx, reply.pointer);
        return 1;
    case Reply::Kind::newMethod:
        pushMethod(ctx, record, 1);
        return 1;
    default:
        return pushReply(ctx, record.getEngine(), reply);
    }
}

duk_ret_t onSet(duk_context *ctx)
{
    LiveRecord &record = recordOf(ctx);
    if (!duk_is_string(ctx, 1))
        prepareKey(ctx, record);
    const Reply reply = record.write(ctx, 1, 2);
    if (reply.kind == Reply::Kind::inherited)
        return pushAdded(ctx, record);
    return pushReply(ctx, record.getEngine(), reply);
}

duk_ret_t onHas(duk_context *ctx)
{
    LiveRecord &record = recordOf(ctx);
    stringKey(ctx, 1);
    const Reply reply = record.has(ctx, 1);
    if (reply.kind != Reply::Kind::inherited)
        return pushReply(ctx, record.getEngine(), reply);
    duk_push_heapptr(ctx, record.getClass().prototype);
    duk_dup(ctx, 1);
    duk_push_boolean(ctx, duk_has_prop(ctx, -2));
    return 1;
}

duk_ret_t onDelete(duk_context *ctx)
{
    LiveRecord &record = recordOf(ctx);
    stringKey(ctx, 1);
    return pushReply(ctx, record.getEngine(), record.remove(ctx, 1));
}

// The name on top of the value stack goes into the list, and to the target.
void pushKey(duk_context *ctx, duk_uarridx_t at)
{
    duk_dup(ctx, -1);
    duk_push_undefined(ctx);
    duk_def_prop(ctx, 0, DUK_DEFPROP_HAVE_VALUE | DUK_DEFPROP_SET_WEC);
    duk_put_prop_index(ctx, -2, at);
}

// D-361: the indexes come first, as for arrays, and then what the object enumerates.
void pushKeys(duk_context *ctx, LiveRecord &record, unsigned count)
{
    duk_push_array(ctx);
    duk_uarridx_t listed = 0;
    for (; listed < record.enumeratedLength(); ++listed) {
        duk_push_uint(ctx, listed);
        duk_to_string(ctx, -1);
        pushKey(ctx, listed);
    }
    for (unsigned at = 0; at < count; ++at) {
        const Reply name = record.enumeratedName(at);
        if (name.kind == Reply::Kind::undefined)
            continue; // it has gone meanwhile
        pushReply(ctx, record.getEngine(), name);
        pushKey(ctx, listed++);
    }
    duk_dup(ctx, -1);
    duk_put_prop_literal(ctx, 0, DUK_HIDDEN_SYMBOL("keys"));
}

duk_ret_t onOwnKeys(duk_context *ctx)
{
    LiveRecord &record = recordOf(ctx);
    bool isSame = false;
    const Reply reply = record.enumerate(isSame);
    if (reply.kind != Reply::Kind::number)
        return pushReply(ctx, record.getEngine(), reply);
    if (!isSame || duk_get_prop_literal(ctx, 0, DUK_HIDDEN_SYMBOL("keys")) == 0)
        pushKeys(ctx, record, static_cast<unsigned>(reply.number));
    return 1;
}

void defineTrap(duk_context *ctx, const char *name, duk_c_function function, int argumentCount)
{
    duk_push_c_lightfunc(ctx, function, argumentCount, argumentCount, 0);
    duk_put_prop_string(ctx, -2, name);
}

// The live object on which a method of the prototypes was called.
LiveRecord &thisRecord(duk_context *ctx)
{
    duk_push_this(ctx);
    auto *record = Blocks::find<LiveRecord>(duk_get_heapptr(ctx, -1));
    duk_pop(ctx);
    if (record == nullptr)
        throwCode(ctx, EngineData::of(ctx), noObject);
    return *record;
}

duk_ret_t onToString(duk_context *ctx)
{
    LiveRecord &record = thisRecord(ctx);
    return pushReply(ctx, record.getEngine(), record.toText());
}

// The object itself if it has no value, as for every other object.
duk_ret_t onValueOf(duk_context *ctx)
{
    LiveRecord &record = thisRecord(ctx);
    const Reply reply = record.toPrimitive();
    if (reply.kind != Reply::Kind::undefined)
        return pushReply(ctx, record.getEngine(), reply);
    duk_push_this(ctx);
    return 1;
}

duk_ret_t onCallMethod(duk_context *ctx)
{
    LiveRecord &record = thisRecord(ctx);
    if (duk_get_top(ctx) == 0)
        duk_push_undefined(ctx);
    return pushReply(ctx, record.getEngine(), record.callByName(ctx));
}

void defineMethod(duk_context *ctx, const char *name, duk_c_function function, int argumentCount)
{
    duk_push_string(ctx, name);
    duk_push_c_function(ctx, function, argumentCount);
    defineHidden(ctx, -3);
}

// What collections share with arrays: all that reads.
constexpr const char *arrayMethods[] = {"concat",  "every",       "filter",      "forEach",
                                        "indexOf", "join",        "lastIndexOf", "map",
                                        "reduce",  "reduceRight", "slice",       "some"};

} // namespace

void defineTraps(duk_context *ctx, EngineData &engine)
{
    duk_push_bare_object(ctx);
    defineTrap(ctx, "get", onGet, 3);
    defineTrap(ctx, "set", onSet, 4);
    defineTrap(ctx, "has", onHas, 2);
    defineTrap(ctx, "deleteProperty", onDelete, 2);
    defineTrap(ctx, "ownKeys", onOwnKeys, 1);
    engine.handler = pushKept(ctx, "handler");
    duk_pop(ctx);
}

void definePrototypes(duk_context *ctx, EngineData &engine)
{
    duk_push_object(ctx);
    defineMethod(ctx, "toString", onToString, 0);
    defineMethod(ctx, "valueOf", onValueOf, 0);
    defineMethod(ctx, "callMethod", onCallMethod, DUK_VARARGS);
    engine.livePrototype = pushKept(ctx, "live");

    duk_push_object(ctx);
    duk_get_global_literal(ctx, "Array");
    duk_get_prop_literal(ctx, -1, "prototype");
    for (const char *name : arrayMethods) {
        duk_push_string(ctx, name);
        duk_get_prop_string(ctx, -2, name);
        defineHidden(ctx, -5);
    }
    duk_pop_2(ctx);
    duk_dup(ctx, -2);
    duk_set_prototype(ctx, -2);
    engine.collectionPrototype = pushKept(ctx, "collection");
    duk_pop_2(ctx);
}

duk_ret_t onCallObject(duk_context *ctx)
{
    duk_push_current_function(ctx);
    auto *record = Blocks::find<LiveRecord>(duk_get_heapptr(ctx, -1));
    duk_pop(ctx);
    if (record == nullptr)
        throwCode(ctx, EngineData::of(ctx), noObject);
    return pushReply(ctx, record->getEngine(), record->callSelf(ctx));
}

} // namespace TvScript
