// SPDX-License-Identifier: MIT
#include <tvscript/Engine.h>

#include <new>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

#include "duktape/EngineData.h"

using Tavrin::Array;
using Tavrin::Error;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

int pushCode(Error *error, int code, const String &text)
{
    if (error != nullptr)
        error->push(code, text, nullptr, true);
    return code;
}

// Runs what may run out of memory.
template <class Work>
int guarded(Error *error, Work work) noexcept
{
    try {
        return work();
    } catch (const std::bad_alloc &) {
        return pushCode(error, EngineData::outOfMemory, {});
    } catch (...) {
        return pushCode(error, EngineData::uncaughtException, {});
    }
}

} // namespace

Engine::Engine() : data(new EngineData(*this)) {}

Engine::~Engine()
{
    delete data;
}

int Engine::evaluate(const String &text, const String &file, Variant &result, Error *error)
{
    return guarded(error, [&] { return data->evaluate(text, file, result, error); });
}

int Engine::call(const Variant &function, const Array &args, Variant &result, Error *error)
{
    return call(function, Variant(), args, result, error);
}

int Engine::call(const Variant &function, const Variant &thisValue, const Array &args,
                 Variant &result, Error *error)
{
    const Object *object = function.getJSObject();
    EngineData *owner = object == nullptr ? nullptr : EngineData::of(object->getEngine());
    if (owner == nullptr) {
        result.erase();
        return object != nullptr ? pushCode(error, 45, {})
                                 : pushCode(error, 24, function.toString());
    }
    return guarded(error, [&] { return owner->call(function, thisValue, args, result, error); });
}

int Engine::setGlobal(const String &name, const Variant &value, Error *error)
{
    return guarded(error, [&] { return data->setGlobal(name, value, error); });
}

int Engine::getGlobal(const String &name, Variant &value, Error *error)
{
    return guarded(error, [&] { return data->getGlobal(name, value, error); });
}

int Engine::setFunction(const String &name, Function function, Error *error)
{
    return guarded(error, [&] { return data->setFunction(name, function, error); });
}

int Engine::addClass(const String &name, Error *error)
{
    return guarded(error, [&] { return data->addClass(name, error); });
}

int Engine::getNames(const Variant &object, Array &names, Error *error)
{
    return guarded(error, [&] { return data->getNames(object, names, error); });
}

void Engine::collectGarbage()
{
    data->collectGarbage();
}

int Engine::heldObjects() const
{
    return data->liveCount;
}

void Engine::setFile(Error &error, const String &file)
{
    error.setFile(file);
}

} // namespace TvScript
