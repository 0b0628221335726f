// SPDX-License-Identifier: MIT
// Pinned by tests/engine/EngineValueTest.cpp.
#include "duktape/Values.h"

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Refcountable.h>
#include <tavrin/RegExp.h>
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

#include "duktape/Classes.h"
#include "duktape/EngineData.h"
#include "duktape/Failures.h"
#include "duktape/LiveRecord.h"
#include "duktape/ScriptObject.h"

using Tavrin::Array;
using Tavrin::LiveObject;
using Tavrin::Point;
using Tavrin::Rect;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int cannotConvert = 44;
constexpr int objectIsInvalid = 45;
// Arrays nest at most so deep; one that contains itself is found out by that.
constexpr int deepestArray = 200;

// Objects that have come across before, without a look inside.
bool readKnown(EngineData &, void *block, Variant &out)
{
    if (auto *record = Blocks::find<LiveRecord>(block)) {
        out.setLiveObject(record->getObject(), 0);
        return true;
    }
    // One that is not rooted was let go by the last value; it is taken up again below.
    auto *object = Blocks::find<ScriptObject>(block);
    if (object == nullptr || !object->isRooted())
        return false;
    out.setJSObject(*object);
    return true;
}

// Steady halves of the reading below: they store what is on top of the value stack.

Reply store(EngineData &engine, duk_context *ctx, Variant &out) noexcept
{
    return engine.steady([&] { return Reply(readPlain(engine, ctx, -1, out)); });
}

Array *makeArray(EngineData &engine, Variant &out, unsigned length) noexcept
{
    return engine.made([&] {
        out.setArray(Array(length));
        return out.getArray();
    });
}

Variant *elementOf(EngineData &engine, Array &array, unsigned index) noexcept
{
    return engine.made([&] { return &array[index]; });
}

struct Reading
{
    EngineData &engine;
    Variant &out;
};

void readAny(duk_context *ctx, EngineData &engine, Variant &out, int depth);

// Only the elements that are there: the length says nothing about their number.
void readArray(duk_context *ctx, EngineData &engine, Variant &out, int depth)
{
    duk_require_stack(ctx, 16);
    Array *array = makeArray(engine, out, static_cast<unsigned>(duk_get_length(ctx, -1)));
    if (array == nullptr)
        throwFailure(ctx, engine);
    duk_enum(ctx, -1, DUK_ENUM_ARRAY_INDICES_ONLY | DUK_ENUM_OWN_PROPERTIES_ONLY);
    while (duk_next(ctx, -1, 1) != 0) {
        const unsigned index = duk_to_uint32(ctx, -2);
        Variant *element = elementOf(engine, *array, index);
        if (element == nullptr)
            throwFailure(ctx, engine);
        readAny(ctx, engine, *element, depth + 1);
        duk_pop_2(ctx);
    }
    duk_pop(ctx);
}

double readField(duk_context *ctx, const char *name)
{
    duk_get_prop_string(ctx, -1, name);
    const double number = duk_to_number(ctx, -1);
    duk_pop(ctx);
    return number;
}

// False if it is no Point and no Rect.
bool readGeometry(duk_context *ctx, EngineData &engine, Variant &out)
{
    duk_get_prototype(ctx, -1);
    const void *prototype = duk_get_heapptr(ctx, -1);
    duk_pop(ctx);
    if (prototype == engine.pointPrototype) {
        const double x = readField(ctx, "x");
        const double y = readField(ctx, "y");
        out.setPoint(Point(x, y));
        return true;
    }
    if (prototype == engine.rectPrototype) {
        const double left = readField(ctx, "left");
        const double top = readField(ctx, "top");
        const double right = readField(ctx, "right");
        const double bottom = readField(ctx, "bottom");
        out.setRect(Rect(left, top, right, bottom));
        return true;
    }
    return false;
}

// The value on top of the value stack.
void readAny(duk_context *ctx, EngineData &engine, Variant &out, int depth)
{
    const Reply stored = store(engine, ctx, out);
    if (stored.isFailure())
        throwFailure(ctx, engine);
    if (stored.isTrue())
        return;
    if (depth > deepestArray || duk_is_symbol(ctx, -1))
        throwCode(ctx, engine, cannotConvert);
    duk_dup(ctx, -1);
    duk_to_object(ctx, -1); // what is no object by itself, as a plain buffer
    if (duk_is_array(ctx, -1))
        readArray(ctx, engine, out, depth);
    else if (!readGeometry(ctx, engine, out))
        out.setJSObject(pushScriptObject(ctx, engine, -1));
    duk_pop(ctx);
}

duk_ret_t onRead(duk_context *ctx, void *data)
{
    const auto &reading = *static_cast<const Reading *>(data);
    readAny(ctx, reading.engine, reading.out, 0);
    return 0;
}

void pushField(duk_context *ctx, const char *name, double number)
{
    duk_push_number(ctx, number);
    duk_put_prop_string(ctx, -2, name);
}

void pushGeometry(duk_context *ctx, void *prototype)
{
    duk_push_object(ctx);
    duk_push_heapptr(ctx, prototype);
    duk_set_prototype(ctx, -2);
}

void pushPoint(duk_context *ctx, EngineData &engine, const Point *point)
{
    pushGeometry(ctx, engine.pointPrototype);
    pushField(ctx, "x", point != nullptr ? point->x : 0);
    pushField(ctx, "y", point != nullptr ? point->y : 0);
}

void pushRect(duk_context *ctx, EngineData &engine, const Rect *rect)
{
    pushGeometry(ctx, engine.rectPrototype);
    pushField(ctx, "left", rect != nullptr ? rect->left : 0);
    pushField(ctx, "top", rect != nullptr ? rect->top : 0);
    pushField(ctx, "right", rect != nullptr ? rect->right : 0);
    pushField(ctx, "bottom", rect != nullptr ? rect->bottom : 0);
}

// The expression is compiled by the script's own engine; a pattern that it does not take throws.
void pushRegExp(duk_context *ctx, EngineData &engine, const Tavrin::RegExp *expression)
{
    if (expression == nullptr) {
        duk_push_null(ctx);
        return;
    }
    const int flags = expression->getFlags();
    duk_require_stack(ctx, 8);
    duk_push_heapptr(ctx, engine.regExpConstructor);
    pushText(ctx, engine, expression->getPattern());
    duk_push_sprintf(ctx, "%s%s", (flags & Tavrin::RegExp::ignoreCase) != 0 ? "i" : "",
                     (flags & Tavrin::RegExp::multiLine) != 0 ? "m" : "");
    duk_new(ctx, 2);
}

// The index of the next element that is there, from `from` on; an array may be nearly empty.
// Steady.
unsigned nextDefined(const Array &array, unsigned from) noexcept
{
    const unsigned length = array.length();
    while (from < length && array.get(from) == nullptr)
        ++from;
    return from;
}

void pushArray(duk_context *ctx, EngineData &engine, const Array *array, int depth);

void pushAny(duk_context *ctx, EngineData &engine, const Variant &value, int depth)
{
    if (value.getType() == Tavrin::kArray)
        pushArray(ctx, engine, value.getArray(), depth);
    else
        pushValue(ctx, engine, value);
}

void pushArray(duk_context *ctx, EngineData &engine, const Array *array, int depth)
{
    if (depth > deepestArray)
        throwCode(ctx, engine, cannotConvert);
    duk_require_stack(ctx, 16);
    duk_push_array(ctx);
    if (array == nullptr)
        return;
    const unsigned length = array->length();
    for (unsigned at = nextDefined(*array, 0); at < length; at = nextDefined(*array, at + 1)) {
        pushAny(ctx, engine, (*array)[at], depth + 1);
        duk_put_prop_index(ctx, -2, at);
    }
    duk_set_length(ctx, -1, length);
}

void pushObject(duk_context *ctx, EngineData &engine, const Variant &value)
{
    const Object *object = value.getJSObject();
    if (object == nullptr) {
        pushUnassigned(ctx, engine, value);
        return;
    }
    if (EngineData::of(object->getEngine()) != &engine)
        throwCode(ctx, engine, object->getEngine() == nullptr ? objectIsInvalid : cannotConvert);
    duk_push_heapptr(ctx, static_cast<const ScriptObject *>(object)->getBlock());
}

// Kinds that a live object stands for, and then what has only a text. Steady: the slot is released
// by whoever gets it.
Variant *replacementOf(EngineData &engine, const Variant &value) noexcept
{
    return engine.made([&] {
        Tavrin::InterfacePtr<LiveObject> live;
        Variant &slot = engine.takeSlot();
        if (value.getAsLiveObject(live))
            slot.setLiveObject(live.get(), 0);
        else
            slot.setString(value.toString());
        return &slot;
    });
}

void pushReplacement(duk_context *ctx, EngineData &engine, const Variant &value)
{
    Variant *replacement = replacementOf(engine, value);
    if (replacement == nullptr)
        throwFailure(ctx, engine);
    pushValue(ctx, engine, *replacement);
    replacement->erase();
}

// The text as bytes of Duktape; without memory, of length -1.
Bytes encode(EngineData &engine, const String &text) noexcept
{
    Bytes bytes{nullptr, 0};
    engine.steady([&] {
        bytes = bytesOf(text, engine.bytes);
        return Reply();
    });
    return bytes;
}

struct NewRecord
{
    LiveObject &object;
    ClassRecord &itsClass;
    void *proxy;
    void *target;
};

// The record belongs to the proxy.
LiveRecord *newRecord(EngineData &engine, const NewRecord &wanted)
{
    return new LiveRecord(engine, wanted.object, wanted.itsClass, wanted.proxy, wanted.target);
}

bool adopt(EngineData &engine, const NewRecord &wanted) noexcept
{
    return engine.made([&] { return newRecord(engine, wanted); }) != nullptr;
}

// Whether the object itself is a function. What every object answers for functionID tells nothing.
bool isCallable(EngineData &engine, LiveObject &object) noexcept
{
    const Reply reply = engine.steady([&] {
        const Locked locked(object);
        const Tavrin::LivePropertyManager *manager = object.getPropertyManager();
        return Reply(
            (manager != nullptr && manager->getType(Tavrin::functionID) != Tavrin::kInfoNone) ||
            object.findProperty(Tavrin::functionID) != nullptr ||
            object.getComponent(Tavrin::functionID, nullptr) != nullptr);
    });
    return reply.isTrue();
}

} // namespace

bool readPlain(EngineData &engine, duk_context *ctx, duk_idx_t at, Variant &out)
{
    switch (duk_get_type(ctx, at)) {
    case DUK_TYPE_NUMBER:
        out.setDouble(duk_get_number(ctx, at));
        return true;
    case DUK_TYPE_STRING: {
        if (duk_is_symbol(ctx, at))
            break;
        duk_size_t length = 0;
        const char *bytes = duk_get_lstring(ctx, at, &length);
        out.setString(textOf(bytes, length));
        return true;
    }
    case DUK_TYPE_BOOLEAN:
        out.setBool(duk_get_boolean(ctx, at) != 0);
        return true;
    case DUK_TYPE_NULL:
        out.setNull();
        return true;
    case DUK_TYPE_UNDEFINED:
        out.erase();
        return true;
    case DUK_TYPE_OBJECT:
        if (readKnown(engine, duk_get_heapptr(ctx, at), out))
            return true;
        break;
    default:
        break;
    }
    out.erase();
    return false;
}

bool readValue(EngineData &engine, duk_context *ctx, duk_idx_t at, Variant &out)
{
    if (readPlain(engine, ctx, at, out)) [[likely]]
        return true;
    Reading reading{engine, out};
    duk_dup(ctx, at);
    if (duk_safe_call(ctx, onRead, &reading, 1, 1) != DUK_EXEC_SUCCESS) {
        out.erase();
        return false;
    }
    duk_pop(ctx);
    return true;
}

void pushText(duk_context *ctx, EngineData &engine, const String &text)
{
    if (text.length() == 0) {
        duk_push_lstring(ctx, "", 0);
        return;
    }
    const Bytes bytes = encode(engine, text);
    if (bytes.data == nullptr)
        throwFailure(ctx, engine);
    duk_push_lstring(ctx, bytes.data, bytes.length);
    engine.bytes.trim();
}

void pushValue(duk_context *ctx, EngineData &engine, const Variant &value)
{
    switch (value.getType()) {
    case Tavrin::kUndefined:
        duk_push_undefined(ctx);
        break;
    case Tavrin::kNull:
        duk_push_null(ctx);
        break;
    case Tavrin::kBoolean:
        duk_push_boolean(ctx, value.getBool() ? 1 : 0);
        break;
    case Tavrin::kNumber:
        duk_push_number(ctx, value.getDouble());
        break;
    case Tavrin::kString:
        pushText(ctx, engine, value.getString());
        break;
    case Tavrin::kObject:
        pushObject(ctx, engine, value);
        break;
    case Tavrin::kLiveObject:
        pushLiveObject(ctx, engine, *value.getLiveObject());
        break;
    case Tavrin::kPoint:
        pushPoint(ctx, engine, value.getPoint());
        break;
    case Tavrin::kRect:
        pushRect(ctx, engine, value.getRect());
        break;
    case Tavrin::kArray:
        pushArray(ctx, engine, value.getArray(), 0);
        break;
    case Tavrin::kRegExp:
        pushRegExp(ctx, engine, value.getRegExp());
        break;
    default:
        pushReplacement(ctx, engine, value);
        break;
    }
}

void pushLiveObject(duk_context *ctx, EngineData &engine, LiveObject &object)
{
    if (const LiveRecord *known = LiveRecord::find(engine, object)) {
        duk_push_heapptr(ctx, known->getProxy());
        return;
    }
    duk_require_stack(ctx, 16);
    ClassRecord &itsClass = pushedClassOf(ctx, engine, object);
    if (isCallable(engine, object))
        duk_push_c_function(ctx, onCallObject, DUK_VARARGS);
    else
        duk_push_object(ctx);
    duk_push_heapptr(ctx, itsClass.prototype);
    duk_set_prototype(ctx, -2);
    void *target = duk_get_heapptr(ctx, -1);
    duk_push_heapptr(ctx, engine.handler);
    duk_push_proxy(ctx, 0);
    duk_push_heapptr(ctx, itsClass.prototype); // there is no trap for those who ask for it
    duk_set_prototype(ctx, -2);
    if (!adopt(engine, {object, itsClass, duk_get_heapptr(ctx, -1), target}))
        throwFailure(ctx, engine);
}

} // namespace TvScript
