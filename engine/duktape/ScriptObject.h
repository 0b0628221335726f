// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/RegExp.h>
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

#include "duktape/EngineData.h"

namespace TvScript {

// ScriptObject: an object of a script as values hold it, attached to that object.
// Owns:    itself. It dies with its object; while values hold it, it keeps the object alive. When
//          the engine ends first it stays, invalid, until the last value lets it go.
class ScriptObject final : public Mortal, public Object
{
public:
    static constexpr Kind itsKind = Kind::object;

    ScriptObject(EngineData &itsEngine, void *itsBlock, int itsTag);
    ~ScriptObject() override;

    // The object of the script; null if its engine is gone.
    void *getBlock() const { return block; }
    EngineData *getData() const { return engine; }
    bool isRooted() const { return rooted; }
    void setRoot(unsigned int slot) { root = slot, rooted = true; }
    void setBoxed(const Tavrin::RegExp &expression) { boxed.setRegExp(expression); }
    // The engine ends.
    static void detachAll(EngineData &engine) noexcept;

    void blockFreed(void *) noexcept override;

    bool isValid() const override { return engine != nullptr; }
    void destroy() override;
    void toString(Tavrin::String &text) override;
    void setData(Tavrin::Root *object) override { data = object; }
    const Tavrin::Variant *getValue() const override;
    Engine *getEngine() const override;
    void setObjectID(int id) override { objectID = id; }
    bool valueOf(Tavrin::Variant &value, int hint) override;
    int getProperties(Tavrin::THashTable<Tavrin::Variant> &properties, int flags,
                      Tavrin::Error *error) override;
    int setProperties(const Tavrin::THashTable<Tavrin::Variant> &properties,
                      Tavrin::Error *error) override;

    using Tavrin::Heap::operator new;
    using Tavrin::Heap::operator delete;

private:
    void unlink() noexcept;

    EngineData *engine;
    void *block;
    ScriptObject *following;
    ScriptObject **place; // what points here in the engine's list
    Tavrin::Variant boxed;
    unsigned int root = 0;
    bool rooted = false;
};

// Pushes the object of an unassigned one: a new object of that class name. Jumps.
void pushUnassigned(duk_context *ctx, EngineData &engine, const Tavrin::Variant &value);
// The ScriptObject of the object at that place, rooted. Jumps.
ScriptObject &pushScriptObject(duk_context *ctx, EngineData &engine, duk_idx_t at);

} // namespace TvScript
