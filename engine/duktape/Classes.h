// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <utility>

#include <duktape.h>

#include "duktape/EngineData.h"

namespace Tavrin {
class LiveObject;
}

namespace TvScript {

class LiveRecord;
class Method;

// ClassRecord: a class of live objects, by its name: the prototype of its objects in the script.
// Owns:    nothing; the script heap keeps the prototype and the functions.
class ClassRecord final : public Tavrin::Heap
{
public:
    ClassRecord(const Tavrin::String &itsName, void *itsPrototype)
        : name(itsName), prototype(itsPrototype)
    {}

    const Tavrin::String name;
    void *const prototype;
    void *constructor = nullptr;
    Tavrin::HashTable methods; // from a name to the block of its function
};

// Method: what a function that calls a method knows. All objects of a class share it.
// Owns:    nothing: the function holds its name.
class Method final : public Mortal
{
public:
    static constexpr Kind itsKind = Kind::method;

    Method(EngineData &itsEngine, ClassRecord &methodClass, Name &methodName)
        : Mortal(itsKind), engine(itsEngine), itsClass(methodClass), name(methodName)
    {}

    void blockFreed(void *) noexcept override { engine.mourn(*this); }

    EngineData &engine;
    ClassRecord &itsClass;
    Name &name;
    // LiveRecord::keyOf from whom the script had it last; it may be gone.
    std::int64_t origin = 0;
};

// HostFunction: a function of the application, or the constructor of a class.
class HostFunction final : public Mortal
{
public:
    static constexpr Kind itsKind = Kind::function;

    HostFunction(EngineData &itsEngine, Engine::Function &&itsFunction)
        : Mortal(itsKind), engine(itsEngine), function(std::move(itsFunction))
    {}

    void blockFreed(void *) noexcept override { engine.mourn(*this); }

    EngineData &engine;
    Engine::Function function;
};

// The record of a class that is known; else null. Steady.
ClassRecord *findClass(EngineData &engine, const Tavrin::String &name) noexcept;
// The record of the object's class, which is made if there is none. Jumps.
ClassRecord &pushedClassOf(duk_context *ctx, EngineData &engine, Tavrin::LiveObject &object);
// The function of a method, pushed; `name` is on the value stack at that place. Jumps.
void pushMethod(duk_context *ctx, LiveRecord &record, duk_idx_t name);
// A function of the application, pushed. The record is taken over. Jumps.
void pushHostFunction(duk_context *ctx, EngineData &engine, Engine::Function &function);
// Makes the constructor of a class of LiveObject::addFactory a global variable, unless there is
// one of the name. Jumps.
void defineClass(duk_context *ctx, EngineData &engine, const Tavrin::String &name);
// The classes Point and Rect. Jumps.
void defineGeometry(duk_context *ctx, EngineData &engine);

} // namespace TvScript
