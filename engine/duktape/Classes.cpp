// SPDX-License-Identifier: MIT
// Pinned by tests/engine/ClassTest.cpp.
#include "duktape/Classes.h"

#include <tavrin/Array.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Refcountable.h>

#include "duktape/Arguments.h"
#include "duktape/Definitions.h"
#include "duktape/Failures.h"
#include "duktape/LiveRecord.h"
#include "duktape/Values.h"

using Tavrin::Array;
using Tavrin::Error;
using Tavrin::LiveObject;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int wrongClass = 26;

// What `new` does.
int construct(const String &name, const Array &args, Variant &result, Error *error)
{
    LiveObject *made = nullptr;
    int code = LiveObject::create(&made, name, -1);
    const auto object = Tavrin::InterfacePtr<LiveObject>::adopt(made);
    if (code == 0 && made == nullptr)
        code = 22;
    if (code == 0) {
        const Locked locked(*made);
        code = made->initialize(args, error);
    }
    if (code == 0)
        result.setLiveObject(made, 0);
    else if (error->getCode() == 0)
        error->push(code, name, nullptr, true);
    return code;
}

// What EngineData::made is asked for.

ClassRecord *newClass(EngineData &engine, const String &name, void *prototype)
{
    auto *record = new ClassRecord(name, prototype);
    try {
        engine.classes.set(name, record, false);
    } catch (...) {
        delete record;
        throw;
    }
    return record;
}

HostFunction *newFunction(EngineData &engine, Engine::Function &function)
{
    return new HostFunction(engine, std::move(function));
}

HostFunction *newConstructor(EngineData &engine, const String &name)
{
    return new HostFunction(engine, [name](const Array &args, Variant &result, Error *error) {
        return construct(name, args, result, error);
    });
}

Method *newMethod(EngineData &engine, ClassRecord &itsClass, Name &name, void *block)
{
    auto *method = new Method(engine, itsClass, name);
    try {
        itsClass.methods.set(
            name.text, static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(block)), false);
    } catch (...) {
        delete method;
        throw;
    }
    return method;
}

// The record of a class, made if need be. Jumps.
ClassRecord &pushedClass(duk_context *ctx, EngineData &engine, const String &name,
                         bool isCollection)
{
    if (ClassRecord *known = findClass(engine, name))
        return *known;
    duk_push_object(ctx);
    duk_push_heapptr(ctx, isCollection ? engine.collectionPrototype : engine.livePrototype);
    duk_set_prototype(ctx, -2);
    defineRoot(ctx, engine, -1);
    void *prototype = duk_get_heapptr(ctx, -1);
    ClassRecord *record = engine.made([&] { return newClass(engine, name, prototype); });
    if (record == nullptr)
        throwFailure(ctx, engine);
    duk_pop(ctx);
    return *record;
}

bool isCollection(EngineData &engine, LiveObject &object) noexcept
{
    const Reply reply =
        engine.steady([&] { return Reply(object.getAs(Tavrin::asLiveCollection) != nullptr); });
    return reply.isTrue();
}

// The class name of an object, in a slot; null for want of memory.
Variant *classNameOf(EngineData &engine, const LiveObject &object) noexcept
{
    return engine.made([&] {
        Variant *slot = &engine.takeSlot();
        slot->setString(object.getClassName());
        return slot;
    });
}

// What a function of a method does.
Reply runMethod(duk_context *ctx, duk_idx_t count, const Method &method,
                LiveRecord *record) noexcept
{
    EngineData &engine = method.engine;
    return engine.steady([&] {
        if (record == nullptr)
            return engine.fail(wrongClass, method.name.text);
        if (&record->getClass() == &method.itsClass)
            return record->callMethod(ctx, count, method.name);
        auto *origin = reinterpret_cast<LiveRecord *>(
            static_cast<std::uintptr_t>(engine.liveRecords.find(method.origin)));
        if (origin == nullptr || &origin->getClass() != &method.itsClass)
            return engine.fail(wrongClass, method.name.text);
        return origin->applyMethod(ctx, count, method.name, record->getObject());
    });
}

duk_ret_t onMethod(duk_context *ctx)
{
    const duk_idx_t count = duk_get_top(ctx);
    duk_push_current_function(ctx);
    const auto *method = Blocks::find<Method>(duk_get_heapptr(ctx, -1));
    duk_push_this(ctx);
    auto *record = Blocks::find<LiveRecord>(duk_get_heapptr(ctx, -1));
    const Reply reply = runMethod(ctx, count, *method, record);
    if (reply.kind != Reply::Kind::number) [[unlikely]]
        return pushReply(ctx, method->engine, reply);
    duk_push_number(ctx, reply.number);
    return 1;
}

Reply runFunction(duk_context *ctx, HostFunction &host) noexcept
{
    EngineData &engine = host.engine;
    return engine.steady([&] {
        Arguments args(engine);
        if (!args.read(ctx, 0, duk_get_top(ctx)))
            return Reply(Reply::Kind::thrown);
        Variant result;
        Error error;
        if (const int code = host.function(args.get(), result, &error))
            return engine.fail(code, error);
        return engine.replyWith(result);
    });
}

HostFunction *hostOf(duk_context *ctx)
{
    duk_push_current_function(ctx);
    auto *host = Blocks::find<HostFunction>(duk_get_heapptr(ctx, -1));
    duk_pop(ctx);
    return host;
}

duk_ret_t onFunction(duk_context *ctx)
{
    HostFunction *host = hostOf(ctx);
    return pushReply(ctx, host->engine, runFunction(ctx, *host));
}

duk_ret_t onConstruct(duk_context *ctx)
{
    HostFunction *host = hostOf(ctx);
    if (!duk_is_constructor_call(ctx)) {
        duk_push_current_function(ctx);
        duk_get_prop_literal(ctx, -1, "name");
        duk_error_raw(ctx, DUK_ERR_TYPE_ERROR, nullptr, 0, "%s is a class: it takes new",
                      duk_safe_to_string(ctx, -1));
    }
    return pushReply(ctx, host->engine, runFunction(ctx, *host));
}

Name *nameOf(EngineData &engine, duk_context *ctx, duk_idx_t at) noexcept
{
    return engine.made([&] { return &engine.nameAt(ctx, at); });
}

void *knownMethod(const ClassRecord &itsClass, const Name &name) noexcept
{
    return reinterpret_cast<void *>(
        static_cast<std::uintptr_t>(itsClass.methods.find(name.text, false)));
}

// Written in the language itself: they are its classes like any other.
constexpr const char *pointSource =
    "(function () {"
    "  function Point(x, y) {"
    "    if (!(this instanceof Point)) return new Point(x, y);"
    "    this.x = x === undefined ? 0 : Number(x);"
    "    this.y = y === undefined ? 0 : Number(y);"
    "  }"
    "  Object.defineProperty(Point.prototype, 'toString', {writable: true, configurable: true,"
    "    value: function toString() { return Math.trunc(this.x) + ':' + Math.trunc(this.y); }});"
    "  return Point;"
    "})()";

constexpr const char *rectSource =
    "(function () {"
    "  function Rect(left, top, right, bottom) {"
    "    if (!(this instanceof Rect)) return new Rect(left, top, right, bottom);"
    "    this.left = left === undefined ? 0 : Number(left);"
    "    this.top = top === undefined ? 0 : Number(top);"
    "    this.right = right === undefined ? 0 : Number(right);"
    "    this.bottom = bottom === undefined ? 0 : Number(bottom);"
    "  }"
    "  Object.defineProperty(Rect.prototype, 'toString', {writable: true, configurable: true,"
    "    value: function toString() {"
    "      return Math.trunc(this.left) + ':' + Math.trunc(this.top) + '-' +"
    "        Math.trunc(this.right) + ':' + Math.trunc(this.bottom); }});"
    "  return Rect;"
    "})()";

void *definePlainClass(duk_context *ctx, const char *name, const char *source)
{
    duk_eval_string(ctx, source);
    duk_get_prop_literal(ctx, -1, "prototype");
    void *prototype = pushKept(ctx, name);
    duk_pop(ctx);
    defineGlobal(ctx, name);
    duk_pop(ctx);
    return prototype;
}

} // namespace

ClassRecord *findClass(EngineData &engine, const String &name) noexcept
{
    return engine.classes.find(name, false);
}

ClassRecord &pushedClassOf(duk_context *ctx, EngineData &engine, LiveObject &object)
{
    Variant *name = classNameOf(engine, object);
    if (name == nullptr)
        throwFailure(ctx, engine);
    ClassRecord &record = pushedClass(ctx, engine, name->getString(), isCollection(engine, object));
    name->erase();
    return record;
}

void pushMethod(duk_context *ctx, LiveRecord &record, duk_idx_t at)
{
    EngineData &engine = record.getEngine();
    ClassRecord &itsClass = record.getClass();
    Name *name = nameOf(engine, ctx, at);
    if (name == nullptr)
        throwFailure(ctx, engine);
    void *function = knownMethod(itsClass, *name);
    if (function != nullptr) {
        duk_push_heapptr(ctx, function);
    } else {
        duk_push_c_function(ctx, onMethod, DUK_VARARGS);
        defineName(ctx, at);
        defineRoot(ctx, engine, -1);
        function = duk_get_heapptr(ctx, -1);
        Method *method = engine.made([&] { return newMethod(engine, itsClass, *name, function); });
        if (method == nullptr)
            throwFailure(ctx, engine);
        Blocks::attach(function, *method);
    }
    Blocks::find<Method>(function)->origin = LiveRecord::keyOf(record.getObject());
    record.noteMethod(*name, function);
}

void pushHostFunction(duk_context *ctx, EngineData &engine, Engine::Function &function)
{
    duk_push_c_function(ctx, onFunction, DUK_VARARGS);
    HostFunction *host = engine.made([&] { return newFunction(engine, function); });
    if (host == nullptr)
        throwFailure(ctx, engine);
    Blocks::attach(duk_get_heapptr(ctx, -1), *host);
    defineName(ctx, -2);
}

void defineClass(duk_context *ctx, EngineData &engine, const String &name)
{
    LiveObject *prototype = LiveObject::getFactory(name, -1);
    if (prototype == nullptr)
        return;
    duk_push_global_object(ctx);
    pushText(ctx, engine, name);
    duk_dup(ctx, -1);
    if (duk_has_prop(ctx, -3) != 0) {
        duk_pop_2(ctx);
        return;
    }
    ClassRecord &itsClass = pushedClass(ctx, engine, name, isCollection(engine, *prototype));
    duk_push_c_function(ctx, onConstruct, DUK_VARARGS);
    HostFunction *host = engine.made([&] { return newConstructor(engine, name); });
    if (host == nullptr)
        throwFailure(ctx, engine);
    Blocks::attach(duk_get_heapptr(ctx, -1), *host);
    defineName(ctx, -2);
    duk_push_heapptr(ctx, itsClass.prototype);
    duk_push_literal(ctx, "constructor");
    duk_dup(ctx, -3);
    defineHidden(ctx, -3);
    duk_put_prop_literal(ctx, -2, "prototype");
    defineHidden(ctx, -3);
    duk_pop(ctx);
}

void defineGeometry(duk_context *ctx, EngineData &engine)
{
    engine.pointPrototype = definePlainClass(ctx, "Point", pointSource);
    engine.rectPrototype = definePlainClass(ctx, "Rect", rectSource);
}

} // namespace TvScript
