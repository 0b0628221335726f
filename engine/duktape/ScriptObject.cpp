// SPDX-License-Identifier: MIT
// Pinned by tests/engine/EngineCallbackTest.cpp.
#include "duktape/ScriptObject.h"

#include <utility>

#include <tavrin/Array.h>
#include <tavrin/Error.h>

#include "duktape/Classes.h"
#include "duktape/Definitions.h"
#include "duktape/Failures.h"
#include "duktape/Values.h"

using Tavrin::Error;
using Tavrin::String;
using Tavrin::THashTable;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int objectIsInvalid = 45;

struct Question
{
    EngineData &engine;
    void *block;
    int hint = 0;
    const String *name = nullptr;
    const Variant *value = nullptr;
};

duk_ret_t onText(duk_context *ctx, void *data)
{
    duk_push_heapptr(ctx, static_cast<const Question *>(data)->block);
    duk_to_string(ctx, -1);
    return 1;
}

duk_ret_t onPrimitive(duk_context *ctx, void *data)
{
    const auto &question = *static_cast<const Question *>(data);
    duk_push_heapptr(ctx, question.block);
    duk_to_primitive(ctx, -1, question.hint == 1 ? DUK_HINT_STRING : DUK_HINT_NUMBER);
    return 1;
}

duk_ret_t onKeys(duk_context *ctx, void *data)
{
    duk_push_heapptr(ctx, static_cast<const Question *>(data)->block);
    duk_push_array(ctx);
    duk_enum(ctx, -2, DUK_ENUM_OWN_PROPERTIES_ONLY);
    for (duk_uarridx_t at = 0; duk_next(ctx, -1, 0) != 0; ++at)
        duk_put_prop_index(ctx, -3, at);
    duk_pop(ctx);
    return 1;
}

duk_ret_t onGetProperty(duk_context *ctx, void *data)
{
    const auto &question = *static_cast<const Question *>(data);
    duk_push_heapptr(ctx, question.block);
    pushText(ctx, question.engine, *question.name);
    duk_get_prop(ctx, -2);
    return 1;
}

duk_ret_t onPutProperty(duk_context *ctx, void *data)
{
    const auto &question = *static_cast<const Question *>(data);
    duk_push_heapptr(ctx, question.block);
    pushText(ctx, question.engine, *question.name);
    pushValue(ctx, question.engine, *question.value);
    duk_put_prop(ctx, -3);
    return 0;
}

// 0, or the code of what was thrown, which `error` tells.
int ask(duk_safe_call_function body, Question &question, Variant &answer, Error *error)
{
    EngineData &engine = question.engine;
    duk_context *ctx = engine.context();
    const EngineData::Session session(engine);
    if (const int code = session.getCode(error))
        return code;
    if (duk_safe_call(ctx, body, &question, 0, 1) != DUK_EXEC_SUCCESS ||
        !readValue(engine, ctx, -1, answer))
        return reportException(engine, ctx, error);
    return 0;
}

void setProperty(THashTable<Variant> &properties, const String &name, Variant &&value)
{
    if (Variant *old = properties.find(name, false)) {
        *old = std::move(value);
        return;
    }
    auto *made = new (Tavrin::Heap::operator new(sizeof(Variant))) Variant(std::move(value));
    properties.set(name, made, false);
}

ScriptObject *newObject(EngineData &engine, void *block, int tag)
{
    return new ScriptObject(engine, block, tag);
}

// A new record of the object at that place. Jumps.
ScriptObject &pushedObject(duk_context *ctx, EngineData &engine, duk_idx_t at, int tag)
{
    void *block = duk_get_heapptr(ctx, at);
    ScriptObject *object = engine.made([&] { return newObject(engine, block, tag); });
    if (object == nullptr)
        throwFailure(ctx, engine);
    return *object;
}

// The text on top of the value stack is the pattern of an expression. Steady.
bool boxExpression(EngineData &engine, duk_context *ctx, ScriptObject &object, int flags) noexcept
{
    const Reply reply = engine.steady([&] {
        Variant pattern;
        readPlain(engine, ctx, -1, pattern);
        object.setBoxed(Tavrin::RegExp(pattern.getString(), flags));
        return Reply();
    });
    return !reply.isFailure();
}

int flagOf(duk_context *ctx, duk_idx_t at, const char *name, int flag)
{
    duk_get_prop_string(ctx, at, name);
    const bool isSet = duk_to_boolean(ctx, -1) != 0;
    duk_pop(ctx);
    return isSet ? flag : 0;
}

// Gives an expression of the script the same one of the library, which values ask for. Jumps.
void pushExpression(duk_context *ctx, EngineData &engine, ScriptObject &object, duk_idx_t at)
{
    const int flags = flagOf(ctx, at, "ignoreCase", Tavrin::RegExp::ignoreCase) |
                      flagOf(ctx, at, "multiline", Tavrin::RegExp::multiLine);
    duk_get_prop_literal(ctx, at, "source");
    if (!boxExpression(engine, ctx, object, flags))
        throwFailure(ctx, engine);
    duk_pop(ctx);
}

int tagOf(duk_context *ctx, const EngineData &engine, duk_idx_t at)
{
    duk_push_heapptr(ctx, engine.regExpConstructor);
    const bool isRegExp = duk_instanceof(ctx, at, -1) != 0;
    duk_pop(ctx);
    return isRegExp ? Object::regExpTag : 0;
}

} // namespace

ScriptObject::ScriptObject(EngineData &itsEngine, void *itsBlock, int itsTag)
    : Mortal(itsKind),
      engine(&itsEngine),
      block(itsBlock),
      following(itsEngine.firstObject),
      place(&itsEngine.firstObject)
{
    classTag = itsTag;
    if (following != nullptr)
        following->place = &following;
    *place = this;
    Blocks::attach(block, *this);
}

ScriptObject::~ScriptObject()
{
    unlink();
}

void ScriptObject::unlink() noexcept
{
    if (place == nullptr)
        return;
    *place = following;
    if (following != nullptr)
        following->place = place;
    place = nullptr;
}

void ScriptObject::detachAll(EngineData &engine) noexcept
{
    while (ScriptObject *object = engine.firstObject) {
        object->unlink();
        object->engine = nullptr;
        if (object->block != nullptr)
            Blocks::detach(std::exchange(object->block, nullptr), *object);
        if (object->refCount == 0)
            delete object;
    }
}

void ScriptObject::blockFreed(void *) noexcept
{
    block = nullptr;
    engine->mourn(*this);
}

// The last value has let it go. It stays attached, so that its id and data are still there when the
// script passes the object again.
void ScriptObject::destroy()
{
    if (engine == nullptr)
        delete this;
    else if (std::exchange(rooted, false))
        engine->unroot(root);
}

void ScriptObject::toString(String &text)
{
    text = "[Invalid Object]";
    if (engine == nullptr)
        return;
    Question question{*engine, block};
    Variant answer;
    if (ask(onText, question, answer, nullptr) == 0)
        text = answer.getString();
    else
        text = "[object Object]";
}

// The expression of a regular expression.
const Variant *ScriptObject::getValue() const
{
    return boxed.isDefined() ? &boxed : nullptr;
}

Engine *ScriptObject::getEngine() const
{
    return engine == nullptr ? nullptr : engine->getFacade();
}

bool ScriptObject::valueOf(Variant &value, int hint)
{
    value.erase();
    if (engine == nullptr)
        return false;
    Question question{*engine, block, hint};
    return ask(onPrimitive, question, value, nullptr) == 0;
}

int ScriptObject::getProperties(THashTable<Variant> &properties, int, Error *error)
{
    if (engine == nullptr)
        return objectIsInvalid;
    Question question{*engine, block};
    Variant keys;
    if (const int code = ask(onKeys, question, keys, error))
        return code;
    const Tavrin::Array *names = keys.getArray();
    for (unsigned at = 0; names != nullptr && at < names->length(); ++at) {
        const String name = (*names)[at].getString();
        question.name = &name;
        Variant value;
        if (const int code = ask(onGetProperty, question, value, error))
            return code;
        setProperty(properties, name, std::move(value));
    }
    return 0;
}

int ScriptObject::setProperties(const THashTable<Variant> &properties, Error *error)
{
    if (engine == nullptr)
        return objectIsInvalid;
    Tavrin::TSimpleArray<const String> names;
    properties.getKeys(names);
    Question question{*engine, block};
    for (const String *name : names) {
        question.name = name;
        question.value = properties.find(*name, false);
        Variant nothing;
        if (const int code = ask(onPutProperty, question, nothing, error))
            return code;
    }
    return 0;
}

ScriptObject &pushScriptObject(duk_context *ctx, EngineData &engine, duk_idx_t at)
{
    at = duk_normalize_index(ctx, at);
    auto *object = Blocks::find<ScriptObject>(duk_get_heapptr(ctx, at));
    if (object == nullptr)
        object = &pushedObject(ctx, engine, at, tagOf(ctx, engine, at));
    if (object->classTag == Object::regExpTag)
        pushExpression(ctx, engine, *object, at);
    object->setRoot(defineRoot(ctx, engine, at));
    return *object;
}

void pushUnassigned(duk_context *ctx, EngineData &engine, const Variant &value)
{
    duk_push_object(ctx);
    const ClassRecord *itsClass = findClass(engine, value.getString());
    if (itsClass != nullptr) {
        duk_push_heapptr(ctx, itsClass->prototype);
        duk_set_prototype(ctx, -2);
    }
    ScriptObject &object = pushedObject(ctx, engine, -1, 0);
    object.data = value.getObjectData();
    object.objectID = value.getInteger();
}

} // namespace TvScript
