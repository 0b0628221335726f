// SPDX-License-Identifier: MIT
// Pinned by tests/engine/EngineTest.cpp.
#include "duktape/EngineData.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/LiveObject.h>
#include <tavrin/RegExp.h>

#include "duktape/Classes.h"
#include "duktape/Definitions.h"
#include "duktape/Failures.h"
#include "duktape/LiveRecord.h"
#include "duktape/ScriptObject.h"
#include "duktape/Values.h"

using Tavrin::Array;
using Tavrin::Error;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int cannotExecute = 32;

// Every call of Duktape is protected, so this is for a fault of the engine only.
void onFatal(void *, const char *message)
{
    std::fprintf(stderr, "script engine: %s\n", message != nullptr ? message : "fatal error");
    std::abort();
}

// A new object, and a new string, are blocks of their own, whose addresses are their pointers.
duk_ret_t onCheckPointers(duk_context *ctx, void *isFit)
{
    const EngineData &engine = EngineData::of(ctx);
    duk_push_bare_object(ctx);
    const bool isObjectFit = engine.wasLast(duk_get_heapptr(ctx, -1));
    duk_push_bare_array(ctx);
    duk_push_proxy(ctx, 0);
    *static_cast<bool *>(isFit) = isObjectFit && engine.wasLast(duk_get_heapptr(ctx, -1));
    return 0;
}

duk_ret_t onStart(duk_context *ctx, void *)
{
    EngineData &engine = EngineData::of(ctx);
    duk_push_array(ctx);
    engine.roots = pushKept(ctx, "roots");
    duk_get_global_literal(ctx, "RegExp");
    engine.regExpConstructor = pushKept(ctx, "RegExp");
    duk_pop_2(ctx);
    // What is Duktape's own is none of the scripts' business: they run on other engines too.
    duk_push_global_object(ctx);
    duk_del_prop_literal(ctx, -1, "Duktape");
    duk_pop(ctx);
    defineErrorClasses(ctx);
    defineDescriptors(ctx);
    definePrototypes(ctx, engine);
    defineGeometry(ctx, engine);
    defineTraps(ctx, engine);
    return 0;
}

bool isSymbolStart(unsigned unit)
{
    return (unit | 0x20) - 'a' < 26 || unit == '_' || unit == '$' || unit >= 0x80;
}

bool isSymbolPart(unsigned unit)
{
    return isSymbolStart(unit) || unit - '0' < 10;
}

struct Evaluation
{
    EngineData &engine;
    const String &text;
    const String &file;
};

duk_ret_t onEvaluate(duk_context *ctx, void *data)
{
    const auto &evaluation = *static_cast<const Evaluation *>(data);
    pushText(ctx, evaluation.engine, evaluation.file);
    pushText(ctx, evaluation.engine, evaluation.text);
    duk_insert(ctx, -2);
    duk_compile(ctx, DUK_COMPILE_EVAL | DUK_COMPILE_SHEBANG);
    duk_call(ctx, 0);
    return 1;
}

struct Call
{
    EngineData &engine;
    const Variant &function;
    const Variant &thisValue;
    const Array &args;
};

duk_ret_t onCall(duk_context *ctx, void *data)
{
    const auto &call = *static_cast<const Call *>(data);
    const unsigned count = call.args.length();
    duk_require_stack(ctx, static_cast<duk_idx_t>(count) + 8);
    pushValue(ctx, call.engine, call.function);
    if (!duk_is_callable(ctx, -1))
        throwCode(ctx, call.engine, 24);
    pushValue(ctx, call.engine, call.thisValue);
    for (unsigned at = 0; at < count; ++at)
        pushValue(ctx, call.engine, call.args[at]);
    duk_call_method(ctx, static_cast<duk_idx_t>(count));
    return 1;
}

struct Global
{
    EngineData &engine;
    const String &name;
    const Variant *value;
    Engine::Function *function;
};

duk_ret_t onSetGlobal(duk_context *ctx, void *data)
{
    const auto &global = *static_cast<const Global *>(data);
    duk_push_global_object(ctx);
    pushText(ctx, global.engine, global.name);
    if (global.function != nullptr)
        pushHostFunction(ctx, global.engine, *global.function);
    else
        pushValue(ctx, global.engine, *global.value);
    duk_put_prop(ctx, -3);
    return 0;
}

duk_ret_t onGetGlobal(duk_context *ctx, void *data)
{
    const auto &global = *static_cast<const Global *>(data);
    duk_push_global_object(ctx);
    pushText(ctx, global.engine, global.name);
    duk_get_prop(ctx, -2);
    return 1;
}

duk_ret_t onDefineClass(duk_context *ctx, void *data)
{
    const auto &global = *static_cast<const Global *>(data);
    defineClass(ctx, global.engine, global.name);
    return 0;
}

struct Names
{
    EngineData &engine;
    const Variant &object;
    Array &names;
};

bool takeName(EngineData &engine, duk_context *ctx, Array &names) noexcept
{
    const Reply reply = engine.steady([&] {
        Variant name;
        readPlain(engine, ctx, -1, name);
        names += name;
        return Reply();
    });
    return !reply.isFailure();
}

// The names that an object has and inherits, each once, the nearest first.
duk_ret_t onNames(duk_context *ctx, void *data)
{
    const auto &wanted = *static_cast<const Names *>(data);
    pushValue(ctx, wanted.engine, wanted.object);
    duk_to_object(ctx, -1);
    if (const auto *record = Blocks::find<LiveRecord>(duk_get_heapptr(ctx, -1)))
        duk_push_heapptr(ctx, record->getClass().prototype);
    duk_enum(ctx, -1, DUK_ENUM_INCLUDE_NONENUMERABLE);
    while (duk_next(ctx, -1, 0) != 0) {
        if (!takeName(wanted.engine, ctx, wanted.names))
            throwFailure(ctx, wanted.engine);
        duk_pop(ctx);
    }
    return 0;
}

duk_ret_t onCollectGarbage(duk_context *ctx, void *)
{
    duk_gc(ctx, 0);
    duk_gc(ctx, 0);
    return 0;
}

// The name of each id, and each once, in front of the names that the prototypes have.
int addLiveNames(Tavrin::LiveObject &object, Array &names)
{
    Tavrin::SimpleArray ids;
    const Locked locked(object);
    const int code = object.enumerate(ids, Tavrin::kListReadOnly | Tavrin::kListReadWrite |
                                               Tavrin::kListMethods | Tavrin::kDefaultLanguage);
    for (const std::int64_t id : ids) {
        String name;
        if (object.getNameForID(static_cast<int>(id), name, Tavrin::kDefaultLanguage) == 0 &&
            name.length() != 0)
            names += name; // the constructor has none
    }
    return code;
}

} // namespace

EngineData::Session::Session(EngineData &itsEngine) : engine(itsEngine)
{
    if (std::this_thread::get_id() != engine.thread) {
        code = cannotExecute;
        return;
    }
    if (engine.depth >= deepest) {
        code = stackOverrun;
        return;
    }
    if (duk_check_stack(engine.ctx, neededStack) == 0) {
        code = outOfMemory;
        return;
    }
    top = duk_get_top(engine.ctx);
    if (engine.depth++ == 0)
        engine.forgetRefusals();
}

EngineData::Session::~Session()
{
    if (code != 0)
        return;
    duk_set_top(engine.ctx, top);
    --engine.depth;
    engine.bury();
    engine.collectIfMany();
}

int EngineData::Session::getCode(Error *error) const
{
    if (code != 0 && error != nullptr)
        error->push(code, nullptr);
    return code;
}

EngineData::EngineData(Engine &itsFacade) : facade(itsFacade)
{
    start();
}

void EngineData::start()
{
    openReserve();
    ctx = duk_create_heap(allocate, reallocate, free, static_cast<Blocks *>(this), onFatal);
    const bool isShort = ctx == nullptr || hasRefused();
    if (isShort && ctx != nullptr)
        duk_destroy_heap(ctx);
    closeReserve();
    if (isShort)
        throw std::bad_alloc();
    bool isFit = false;
    duk_int_t code = duk_safe_call(ctx, onCheckPointers, &isFit, 0, 1);
    if (code == DUK_EXEC_SUCCESS && !isFit)
        onFatal(nullptr, "this build of Duktape moves its objects");
    if (code == DUK_EXEC_SUCCESS)
        code = duk_safe_call(ctx, onStart, nullptr, 0, 1);
    duk_set_top(ctx, 0);
    if (code != DUK_EXEC_SUCCESS) {
        duk_destroy_heap(ctx);
        throw std::bad_alloc(); // nothing else can go wrong there
    }
}

EngineData::~EngineData()
{
    for (Variant &slot : slots)
        slot.erase();
    failure.erase();
    bury();
    ScriptObject::detachAll(*this);
    duk_destroy_heap(std::exchange(ctx, nullptr));
    bury();
    Tavrin::TSimpleArray<ClassRecord> records;
    classes.getData(records);
    for (ClassRecord *record : records)
        delete record;
}

// An object that goes may take others with it, by way of the application.
void EngineData::bury() noexcept
{
    if (std::exchange(isBurying, true))
        return;
    while (firstDead != nullptr)
        delete std::exchange(firstDead, firstDead->next);
    isBurying = false;
}

Name &EngineData::makeName(duk_context *context, duk_idx_t at)
{
    duk_size_t length = 0;
    const char *text = duk_get_lstring(context, at, &length);
    const bool isSymbol = duk_is_symbol(context, at) != 0;
    auto *name = new Name(isSymbol ? String() : textOf(text, length), ++lastSerial, isSymbol);
    Blocks::attach(duk_get_heapptr(context, at), *name);
    return *name;
}

Reply EngineData::replyWithAny(Variant &value) noexcept
{
    switch (value.getType()) {
    case Tavrin::kUndefined:
        return {};
    case Tavrin::kNull:
        return Reply(Reply::Kind::null);
    case Tavrin::kBoolean:
        return Reply(value.getBool());
    default:
        break;
    }
    Variant &slot = takeSlot();
    if (const Tavrin::RegExp *expression = value.getRegExp();
        expression != nullptr && value.getType() == Tavrin::kRegExp)
        slot.setRegExp(*expression); // assignment would leave it behind
    else
        slot = std::move(value);
    return Reply(&slot);
}

Reply EngineData::fail(int code, const Error &records) noexcept
{
    failureCode = code;
    failure = records;
    if (failure.getCode() == 0)
        failure.push(code, nullptr);
    return Reply(Reply::Kind::failure);
}

Reply EngineData::fail(int code) noexcept
{
    return fail(code, Error());
}

Reply EngineData::fail(int code, const String &text) noexcept
{
    Error records;
    records.push(code, text, nullptr, true);
    return fail(code, records);
}

unsigned int EngineData::freeRoot()
{
    if (freeRootCount == rootCount) {
        freeRoots.setIncrement(rootCount < 8 ? 8 : rootCount);
        freeRoots.append(rootCount);
        ++rootCount;
    }
    return static_cast<unsigned int>(std::as_const(freeRoots)[freeRootCount]);
}

void EngineData::noteRoot() noexcept
{
    ++freeRootCount;
}

void EngineData::unroot(unsigned int slot) noexcept
{
    if (ctx == nullptr)
        return;
    freeRoots[--freeRootCount] = static_cast<int>(slot);
    duk_push_heapptr(ctx, roots);
    duk_push_undefined(ctx);
    duk_put_prop_index(ctx, -2, slot); // a slot that is there, so nothing can fail
    duk_pop(ctx);
    if (depth == 0)
        bury();
}

int EngineData::runProtected(duk_safe_call_function body, void *data, Variant *result, Error *error)
{
    if (duk_safe_call(ctx, body, data, 0, 1) != DUK_EXEC_SUCCESS)
        return reportException(*this, ctx, error);
    if (result != nullptr && !readValue(*this, ctx, -1, *result))
        return reportException(*this, ctx, error);
    return 0;
}

int EngineData::evaluate(const String &text, const String &file, Variant &result, Error *error)
{
    result.erase();
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    keepSource(file, text);
    defineClassesIn(text);
    Evaluation evaluation{*this, text, file};
    return runProtected(onEvaluate, &evaluation, &result, error);
}

// D-362: the registry of classes cannot be listed, so the names in the text are tried.
void EngineData::defineClassesIn(const String &text)
{
    Tavrin::HashTable tried;
    const unsigned short *units = text.wstr();
    const int length = text.length();
    for (int at = 0; at < length;) {
        if (!isSymbolPart(units[at])) {
            ++at;
            continue;
        }
        const int begin = at;
        while (at < length && isSymbolPart(units[at]))
            ++at;
        if (!isSymbolStart(units[begin]))
            continue;
        String name;
        name.append(units + begin, at - begin);
        if (tried.hasKey(name, false))
            continue;
        tried.set(name, 1, false);
        if (Tavrin::LiveObject::getFactory(name, -1) != nullptr)
            addClass(name, nullptr);
    }
}

int EngineData::call(const Variant &function, const Variant &thisValue, const Array &args,
                     Variant &result, Error *error)
{
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    Call call{*this, function, thisValue, args};
    Variant answer; // `result` may be one of the arguments
    const int code = runProtected(onCall, &call, &answer, error);
    result = std::move(answer);
    return code;
}

int EngineData::setGlobal(const String &name, const Variant &value, Error *error)
{
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    Global global{*this, name, &value, nullptr};
    return runProtected(onSetGlobal, &global, nullptr, error);
}

int EngineData::getGlobal(const String &name, Variant &value, Error *error)
{
    value.erase();
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    Global global{*this, name, nullptr, nullptr};
    return runProtected(onGetGlobal, &global, &value, error);
}

int EngineData::setFunction(const String &name, Engine::Function &function, Error *error)
{
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    Global global{*this, name, nullptr, &function};
    return runProtected(onSetGlobal, &global, nullptr, error);
}

int EngineData::addClass(const String &name, Error *error)
{
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    if (Tavrin::LiveObject::getFactory(name, -1) == nullptr) {
        if (error != nullptr)
            error->push(22, name, nullptr, true);
        return 22;
    }
    Global global{*this, name, nullptr, nullptr};
    return runProtected(onDefineClass, &global, nullptr, error);
}

int EngineData::getNames(const Variant &object, Array &names, Error *error)
{
    names.erase();
    const Session session(*this);
    if (const int code = session.getCode(error))
        return code;
    Array found;
    if (Tavrin::LiveObject *live = object.getLiveObject())
        if (const int code = addLiveNames(*live, found)) {
            live->setError(code, 0, error, false);
            return code;
        }
    Names wanted{*this, object, found};
    const int code = runProtected(onNames, &wanted, nullptr, error);
    Tavrin::HashTable known;
    for (unsigned at = 0; at < found.length(); ++at) {
        const String &name = found[at].getString();
        if (known.hasKey(name, false))
            continue;
        known.set(name, 1, false);
        names += name;
    }
    return code;
}

void EngineData::collectGarbage()
{
    const Session session(*this);
    if (session.getCode(nullptr) == 0)
        runProtected(onCollectGarbage, nullptr, nullptr, nullptr);
}

void EngineData::collectIfMany()
{
    if (depth != 0 || liveCount < collectAt) [[likely]]
        return;
    ++depth;
    duk_safe_call(ctx, onCollectGarbage, nullptr, 0, 1);
    duk_pop(ctx);
    --depth;
    bury();
    collectAt = std::max(firstCollection, liveCount * 2);
}

void EngineData::keepSource(const String &file, const String &text)
{
    for (Source &source : sources)
        if (source.file == file && source.text.length() != 0) {
            source.text = text;
            return;
        }
    sources[nextSource++ % sourceCount] = {file, text};
}

String EngineData::sourceOf(const String &file) const
{
    for (const Source &source : sources)
        if (source.file == file)
            return source.text;
    return {};
}

void EngineData::place(Error &error, const String &file, int line) const
{
    if (line < 1)
        return;
    error.setMoreInfo(sourceOf(file), line, -1, -1, 0);
    Engine::setFile(error, file);
}

} // namespace TvScript
