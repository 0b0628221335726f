// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include <duktape.h>

#include <tavrin/LiveCollection.h>
#include <tavrin/LiveObject.h>
#include <tavrin/SimpleArray.h>

#include "duktape/EngineData.h"

namespace TvScript {

class ClassRecord;

// Holds the lock of an object.
class Locked
{
public:
    explicit Locked(const Tavrin::Lockable &itsTarget) : target(itsTarget) { target.lock(); }
    ~Locked() { target.unlock(); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

private:
    const Tavrin::Lockable &target;
};

// What a script may be told of a property.
struct PropertyTraits
{
    bool isWritable = false;
    bool isEnumerable = false;
    bool isRemovable = false;
};

// LiveRecord: a live object as scripts see it. It is attached to two objects of the script heap:
// the proxy, which the script has, and the proxy's target, which its traps receive.
// Owns:    one reference to the live object. It dies with the proxy.
// Threads: the engine's, but for notify.
class LiveRecord final : public Mortal, public Tavrin::Listener
{
public:
    static constexpr Kind itsKind = Kind::liveObject;

    LiveRecord(EngineData &itsEngine, Tavrin::LiveObject &itsObject, ClassRecord &itsClass,
               void *itsProxy, void *itsTarget);
    ~LiveRecord() override;

    // The key of an object in EngineData::liveRecords.
    static std::int64_t keyOf(const Tavrin::LiveObject &object)
    {
        return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(&object) >> 4);
    }
    static LiveRecord *find(EngineData &engine, const Tavrin::LiveObject &object);

    void *getProxy() const { return proxy; }
    Tavrin::LiveObject &getObject() const { return object; }
    ClassRecord &getClass() const { return itsClass; }
    EngineData &getEngine() const { return engine; }
    bool isCollection() const { return collection != nullptr; }

    // What the traps do, on the arguments that they have on the value stack. What the object does
    // not know is `inherited`. Steady.
    Reply read(duk_context *ctx, duk_idx_t key) noexcept;
    Reply read(const Name &name) noexcept;
    Reply write(duk_context *ctx, duk_idx_t key, duk_idx_t value) noexcept;
    // The same for a name that neither the object nor its class knows.
    Reply add(duk_context *ctx, duk_idx_t key, duk_idx_t value) noexcept;
    Reply has(duk_context *ctx, duk_idx_t key) noexcept;
    Reply remove(duk_context *ctx, duk_idx_t key) noexcept;
    // Whether the object itself has the property, and its traits.
    Reply describe(duk_context *ctx, duk_idx_t key, PropertyTraits &traits) noexcept;
    // Fills EngineData's list of ids: how many, or a failure. `isSame` tells that they are those of
    // the last time, whose names are still right.
    Reply enumerate(bool &isSame) noexcept;
    // The elements of a collection that an enumeration begins with.
    unsigned int enumeratedLength() const { return listedLength; }
    // A name of the enumeration; a null pointer in the reply's value means that it has gone.
    Reply enumeratedName(unsigned int at) noexcept;

    // Calls the method of that name, on another object of its class if there is one, with the
    // first `count` values on the value stack as arguments. May throw.
    Reply callMethod(duk_context *ctx, duk_idx_t count, const Name &name);
    Reply applyMethod(duk_context *ctx, duk_idx_t count, const Name &name,
                      Tavrin::LiveObject &thisObject);
    Reply callSelf(duk_context *ctx) noexcept;
    Reply callByName(duk_context *ctx) noexcept;
    Reply toText() noexcept;
    Reply toPrimitive() noexcept;
    // Remembers the function of a method.
    void noteMethod(const Name &name, void *function) noexcept;

    void blockFreed(void *block) noexcept override;
    // Hears that the ids of names have changed.
    bool notify(Tavrin::Message &message) override;

private:
    struct Entry
    {
        std::uint64_t serial; // of the name; 0 for an unused entry
        void *method;         // the function by which the script calls it, once it has asked
        int id;
        Tavrin::InfoType type;
    };
    enum class Found
    {
        cached,
        fresh,
        nowhere,
    };

    Found resolve(const Name &name, Entry *&entry);
    Found resolveAnew(const Name &name, Entry *&entry);
    Entry *lookUp(std::uint64_t serial) const noexcept;
    Entry &insert(const Entry &entry);
    void grow();
    void forgetAll() noexcept;
    void dropIfStale() noexcept;
    bool hasMoved(const Name &name, Entry *&entry);

    template <class Work>
    Reply ifValid(Work work) noexcept;
    template <class Store>
    Reply store(duk_context *ctx, duk_idx_t at, Store put);
    Reply failed(int code, int id, bool isIndex, Tavrin::Error &error) noexcept;
    Reply invalid() noexcept;
    Reply readNamed(const Name &name);
    Reply readElement(unsigned int index);
    Reply readProperty(const Name &name);
    Reply writeElement(unsigned int index, const Tavrin::Variant &value);
    Reply writeProperty(const Name &name, const Tavrin::Variant &value);
    bool isUnknown(const Name &name);
    Reply addProperty(const Name &name, const Tavrin::Variant &value);
    Reply removeProperty(const Name &name);
    Reply describeElement(unsigned int index, PropertyTraits &traits);
    Reply describeProperty(const Name &name, PropertyTraits &traits);
    Reply callID(duk_context *ctx, const Name &name, Entry *entry, Found found);

    EngineData &engine;
    Tavrin::LiveObject &object;
    Tavrin::LiveCollection *collection;
    ClassRecord &itsClass;
    void *proxy;
    void *target; // null once it is gone
    Entry *entries = nullptr;
    unsigned int capacity = 0; // a power of two, or 0
    unsigned int used = 0;
    std::atomic<bool> isStale = false;
    bool isListening = false;
    bool hasNames = false; // the target has the names of `listed`
    unsigned int listedLength = 0;
    Tavrin::SimpleArray listed; // the ids of the last enumeration
};

// The traps of the proxies. Jumps.
void defineTraps(duk_context *ctx, EngineData &engine);
// The functions of the language that ask about a property. Jumps.
void defineDescriptors(duk_context *ctx);
// The prototypes of live objects and of collections. Jumps.
void definePrototypes(duk_context *ctx, EngineData &engine);
// The function behind a proxy that can be called. Jumps.
duk_ret_t onCallObject(duk_context *ctx);

} // namespace TvScript
