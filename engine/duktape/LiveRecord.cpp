// SPDX-License-Identifier: MIT
// The record keeps what it has learned of names in a table by the serial number of the name: its id
// and type, and the function of a method. A name is looked up again when the object does not know
// the id any more, and all of them after a message that definitions have changed.
// Pinned by tests/engine/LivePropertyTest.cpp, LiveCallTest.cpp and LiveCollectionScriptTest.cpp.
#include "duktape/LiveRecord.h"

#include <cmath>
#include <cstring>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/LiveComponent.h>

#include "duktape/Arguments.h"
#include "duktape/Classes.h"
#include "duktape/Values.h"

using Tavrin::Error;
using Tavrin::InfoType;
using Tavrin::LiveObject;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int isUndefined = 2;
constexpr int noFunction = 24;
constexpr int wrongClass = 26;
constexpr int objectIsInvalid = 45;
constexpr int isReadOnly = 46;
constexpr int noSuchProperty = 55;

// What an enumeration lists.
constexpr int enumerated =
    Tavrin::kListReadOnly | Tavrin::kListReadWrite | Tavrin::kDefaultLanguage;

constexpr unsigned firstCapacity = 4;
// A table that has grown so far is emptied instead of growing on: its names come and go.
constexpr unsigned greatestCapacity = 16384;

bool isReadable(InfoType type)
{
    return type == Tavrin::kInfoReadOnly || type == Tavrin::kInfoReadWrite ||
           type == Tavrin::kInfoReadWriteMethod || type == Tavrin::kInfoReadOnlyMethod;
}

bool isWritable(InfoType type)
{
    return type == Tavrin::kInfoReadWrite || type == Tavrin::kInfoReadWriteMethod;
}

bool isMethod(InfoType type)
{
    return type == Tavrin::kInfoMethod || type == Tavrin::kInfoReadWriteMethod ||
           type == Tavrin::kInfoReadOnlyMethod;
}

// The index that a number on the value stack stands for, or noIndex.
unsigned indexOfNumber(double number)
{
    if (!(number >= 0 && number < noIndex))
        return noIndex;
    const auto index = static_cast<unsigned>(number);
    return index == number ? index : noIndex;
}

} // namespace

LiveRecord::LiveRecord(EngineData &itsEngine, LiveObject &itsObject, ClassRecord &objectClass,
                       void *itsProxy, void *itsTarget)
    : Mortal(itsKind),
      engine(itsEngine),
      object(itsObject),
      collection(static_cast<Tavrin::LiveCollection *>(itsObject.getAs(Tavrin::asLiveCollection))),
      itsClass(objectClass),
      proxy(itsProxy),
      target(itsTarget)
{
    engine.liveRecords.set(keyOf(object),
                           static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(this)));
    object.addRef();
    ++engine.liveCount;
    Blocks::attach(proxy, *this);
    Blocks::attach(target, *this);
}

LiveRecord::~LiveRecord()
{
    if (target != nullptr)
        Blocks::detach(target, *this);
    if (find(engine, object) == this)
        engine.liveRecords.remove(keyOf(object));
    if (isListening)
        object.removeListener(*this, Tavrin::definitionsChanged);
    Tavrin::Heap::operator delete(entries);
    --engine.liveCount;
    object.release();
}

LiveRecord *LiveRecord::find(EngineData &engine, const LiveObject &object)
{
    return reinterpret_cast<LiveRecord *>(
        static_cast<std::uintptr_t>(engine.liveRecords.find(keyOf(object))));
}

// The proxy goes first, or both go in one sweep of the collector.
void LiveRecord::blockFreed(void *block) noexcept
{
    if (block == target) {
        target = nullptr;
        return;
    }
    proxy = nullptr;
    if (find(engine, object) == this)
        engine.liveRecords.remove(keyOf(object));
    engine.mourn(*this);
}

bool LiveRecord::notify(Tavrin::Message &)
{
    isStale.store(true, std::memory_order_release);
    return false;
}

// The table of names.

LiveRecord::Entry *LiveRecord::lookUp(std::uint64_t serial) const noexcept
{
    if (capacity == 0)
        return nullptr;
    for (auto at = static_cast<unsigned>(serial);; ++at) {
        Entry &entry = entries[at & (capacity - 1)];
        if (entry.serial == serial) [[likely]]
            return &entry;
        if (entry.serial == 0)
            return nullptr;
    }
}

LiveRecord::Entry &LiveRecord::insert(const Entry &entry)
{
    if (used * 4 >= capacity * 3)
        grow();
    auto at = static_cast<unsigned>(entry.serial);
    while (entries[at & (capacity - 1)].serial != 0)
        ++at;
    ++used;
    return entries[at & (capacity - 1)] = entry;
}

void LiveRecord::grow()
{
    if (capacity >= greatestCapacity) {
        forgetAll();
        return;
    }
    const unsigned oldCapacity = capacity;
    const unsigned newCapacity = capacity == 0 ? firstCapacity : capacity * 2;
    auto *grown = static_cast<Entry *>(Tavrin::Heap::operator new(newCapacity * sizeof(Entry)));
    std::memset(grown, 0, newCapacity * sizeof(Entry));
    Entry *old = std::exchange(entries, grown);
    capacity = newCapacity;
    used = 0;
    for (unsigned at = 0; at < oldCapacity; ++at)
        if (old[at].serial != 0)
            insert(old[at]);
    Tavrin::Heap::operator delete(old);
}

void LiveRecord::forgetAll() noexcept
{
    if (capacity != 0)
        std::memset(entries, 0, capacity * sizeof(Entry));
    used = 0;
}

void LiveRecord::dropIfStale() noexcept
{
    if (!isStale.load(std::memory_order_acquire)) [[likely]]
        return;
    isStale.store(false, std::memory_order_relaxed);
    forgetAll();
    hasNames = false;
}

LiveRecord::Found LiveRecord::resolve(const Name &name, Entry *&entry)
{
    dropIfStale();
    entry = lookUp(name.serial);
    return entry != nullptr ? Found::cached : resolveAnew(name, entry);
}

LiveRecord::Found LiveRecord::resolveAnew(const Name &name, Entry *&entry)
{
    entry = nullptr;
    if (name.isSymbol)
        return Found::nowhere;
    int id = 0;
    InfoType type = Tavrin::kInfoNone;
    if (object.getIDForName(name.text, id, type, Tavrin::kDefaultLanguage) != 0 ||
        type == Tavrin::kInfoNone || type == Tavrin::kInfoHidden)
        return Found::nowhere;
    if (!std::exchange(isListening, true)) {
        isListening = false; // until it is
        object.addListener(*this, Tavrin::definitionsChanged);
        isListening = true;
    }
    entry = &insert({.serial = name.serial, .method = nullptr, .id = id, .type = type});
    return Found::fresh;
}

// Whether a name that was looked up before has another meaning by now; it is `entry` then, null if
// it has none.
bool LiveRecord::hasMoved(const Name &name, Entry *&entry)
{
    const Entry old = *entry;
    forgetAll();
    hasNames = false;
    resolveAnew(name, entry);
    return entry == nullptr || entry->id != old.id || entry->type != old.type;
}

void LiveRecord::noteMethod(const Name &name, void *function) noexcept
{
    if (Entry *entry = lookUp(name.serial))
        entry->method = function;
}

// The steady halves of the traps. A code that comes without words gets those of the object.

Reply LiveRecord::failed(int code, int id, bool isIndex, Error &error) noexcept
{
    object.setError(code, id, &error, isIndex);
    return engine.fail(code, error);
}

Reply LiveRecord::invalid() noexcept
{
    return engine.fail(objectIsInvalid);
}

// Runs the steady half of a trap.
template <class Work>
Reply LiveRecord::ifValid(Work work) noexcept
{
    return engine.steady([&] { return object.isValid() ? work() : invalid(); });
}

// Reads the value at that place before the object is locked: that may run scripts.
template <class Store>
Reply LiveRecord::store(duk_context *ctx, duk_idx_t at, Store put)
{
    Variant value;
    if (!readValue(engine, ctx, at, value))
        return Reply(Reply::Kind::thrown);
    const Locked locked(object);
    return put(value);
}

Reply LiveRecord::read(duk_context *ctx, duk_idx_t key) noexcept
{
    return ifValid([&] {
        const Locked locked(object);
        if (duk_is_number(ctx, key))
            return readElement(indexOfNumber(duk_get_number(ctx, key)));
        return readNamed(engine.nameAt(ctx, key));
    });
}

Reply LiveRecord::read(const Name &name) noexcept
{
    return ifValid([&] {
        dropIfStale();
        if (const Entry *entry = lookUp(name.serial); entry != nullptr && entry->method != nullptr)
            return Reply(Reply::Kind::method, entry->method);
        const Locked locked(object);
        return readNamed(name);
    });
}

Reply LiveRecord::readNamed(const Name &name)
{
    return name.index != noIndex && collection != nullptr ? readElement(name.index)
                                                          : readProperty(name);
}

Reply LiveRecord::readElement(unsigned int index)
{
    Variant value;
    Error error;
    if (const int code = collection->getByIndex(index, value, &error))
        return failed(code, static_cast<int>(index), true, error);
    return engine.replyWith(value);
}

// D-360: what can also be called reads as its value, because nothing tells whether a call follows.
Reply LiveRecord::readProperty(const Name &name)
{
    Entry *entry = nullptr;
    const Found found = resolve(name, entry);
    if (found == Found::nowhere)
        return Reply(Reply::Kind::inherited);
    for (bool isRetry = found == Found::fresh;; isRetry = true) {
        if (!isReadable(entry->type))
            return Reply(entry->method != nullptr ? Reply::Kind::method : Reply::Kind::newMethod,
                         entry->method);
        Variant value;
        Error error;
        const int id = entry->id;
        const int code = object.get(id, value, &error);
        if (code == 0) [[likely]]
            return engine.replyWith(value);
        if (code != isUndefined || isRetry || (entry = lookUp(name.serial)) == nullptr ||
            !hasMoved(name, entry))
            return failed(code, id, false, error);
        if (entry == nullptr)
            return Reply(Reply::Kind::inherited);
    }
}

Reply LiveRecord::write(duk_context *ctx, duk_idx_t key, duk_idx_t at) noexcept
{
    return ifValid([&] {
        if (duk_is_number(ctx, key))
            return store(ctx, at, [&](const Variant &value) {
                return writeElement(indexOfNumber(duk_get_number(ctx, key)), value);
            });
        const Name &name = engine.nameAt(ctx, key);
        const bool isElement = name.index != noIndex && collection != nullptr;
        if (!isElement && isUnknown(name))
            return Reply(Reply::Kind::inherited);
        return store(ctx, at, [&](const Variant &value) {
            return isElement ? writeElement(name.index, value) : writeProperty(name, value);
        });
    });
}

// Whether there is no property of that name: the value has to be read only if there is.
bool LiveRecord::isUnknown(const Name &name)
{
    if (lookUp(name.serial) != nullptr) [[likely]]
        return false;
    const Locked locked(object);
    Entry *entry = nullptr;
    return resolve(name, entry) == Found::nowhere;
}

Reply LiveRecord::add(duk_context *ctx, duk_idx_t key, duk_idx_t at) noexcept
{
    return ifValid([&] {
        return store(ctx, at, [&](const Variant &value) {
            return writeProperty(engine.nameAt(ctx, key), value);
        });
    });
}

Reply LiveRecord::writeElement(unsigned int index, const Variant &value)
{
    Error error;
    if (const int code = collection->putByIndex(index, value, &error))
        return failed(code, static_cast<int>(index), true, error);
    return Reply(true);
}

Reply LiveRecord::writeProperty(const Name &name, const Variant &value)
{
    Entry *entry = nullptr;
    const Found found = resolve(name, entry);
    for (bool isRetry = found == Found::fresh; entry != nullptr; isRetry = true) {
        Error error;
        const int id = entry->id;
        int code = 0;
        if (entry->type == Tavrin::kInfoMethod)
            code = noSuchProperty;
        else if (!isWritable(entry->type))
            code = isReadOnly;
        else
            code = object.put(id, value, &error);
        if (code == 0) [[likely]]
            return Reply(true);
        if (code != isUndefined || isRetry || (entry = lookUp(name.serial)) == nullptr ||
            !hasMoved(name, entry))
            return failed(code, id, false, error);
    }
    return addProperty(name, value);
}

Reply LiveRecord::addProperty(const Name &name, const Variant &value)
{
    if (name.isSymbol)
        return engine.fail(noSuchProperty, "Symbol");
    Error error;
    int id = 0;
    if (const int code = object.createIDForName(name.text, id, Tavrin::kInfoReadWrite))
        return engine.fail(code, name.text);
    hasNames = false;
    if (const int code = object.put(id, value, &error))
        return failed(code, id, false, error);
    return Reply(true);
}

Reply LiveRecord::has(duk_context *ctx, duk_idx_t key) noexcept
{
    return ifValid([&] {
        const Locked locked(object);
        const Name &name = engine.nameAt(ctx, key);
        if (name.index != noIndex && collection != nullptr) {
            unsigned length = 0;
            const int code = collection->getLength(length);
            return code == 0 ? Reply(name.index < length) : engine.fail(code);
        }
        dropIfStale();
        Entry *entry = nullptr;
        if (Entry *known = lookUp(name.serial);
            known != nullptr && object.getType(known->id) != Tavrin::kInfoNone)
            return Reply(true);
        forgetAll();
        return resolveAnew(name, entry) != Found::nowhere ? Reply(true)
                                                          : Reply(Reply::Kind::inherited);
    });
}

Reply LiveRecord::remove(duk_context *ctx, duk_idx_t key) noexcept
{
    return ifValid([&] {
        const Locked locked(object);
        const Name &name = engine.nameAt(ctx, key);
        if (name.index != noIndex && collection != nullptr) {
            const int code = collection->deleteByIndex(name.index);
            Error error;
            return code == 0 ? Reply(true)
                             : failed(code, static_cast<int>(name.index), true, error);
        }
        return removeProperty(name);
    });
}

// True for what is not there; false for what may not go.
Reply LiveRecord::removeProperty(const Name &name)
{
    Entry *entry = nullptr;
    forgetAll();
    hasNames = false;
    if (resolveAnew(name, entry) == Found::nowhere)
        return Reply(true);
    const int id = entry->id;
    forgetAll();
    Error error;
    const int code = object.deleteID(id);
    if (code == 0 || code == isUndefined)
        return Reply(code == 0);
    return failed(code, id, false, error);
}

Reply LiveRecord::describe(duk_context *ctx, duk_idx_t key, PropertyTraits &traits) noexcept
{
    return ifValid([&] {
        const Locked locked(object);
        const Name &name = engine.nameAt(ctx, key);
        if (name.index != noIndex && collection != nullptr)
            return describeElement(name.index, traits);
        return describeProperty(name, traits);
    });
}

Reply LiveRecord::describeElement(unsigned int index, PropertyTraits &traits)
{
    unsigned length = 0;
    if (const int code = collection->getLength(length))
        return engine.fail(code);
    const bool isChangeable = !collection->isReadOnly();
    traits = {.isWritable = isChangeable, .isEnumerable = true, .isRemovable = isChangeable};
    return Reply(index < length);
}

Reply LiveRecord::describeProperty(const Name &name, PropertyTraits &traits)
{
    Entry *entry = nullptr;
    forgetAll();
    if (resolveAnew(name, entry) == Found::nowhere)
        return Reply(false);
    const Entry found = *entry;
    Tavrin::SimpleArray ids;
    if (const int code = object.enumerate(ids, enumerated))
        return engine.fail(code);
    const Tavrin::LiveProperty *added = object.findProperty(found.id);
    traits = {.isWritable = isWritable(found.type),
              .isEnumerable = ids.indexOf(found.id) >= 0,
              .isRemovable =
                  added != nullptr && (added->getFlags() & Tavrin::kPropertyPermanent) == 0};
    return Reply(true);
}

Reply LiveRecord::enumerate(bool &isSame) noexcept
{
    return engine.steady([&] {
        isSame = false;
        if (!object.isValid())
            return invalid();
        const Locked locked(object);
        dropIfStale();
        unsigned length = 0;
        if (collection != nullptr)
            if (const int code = collection->getLength(length))
                return engine.fail(code);
        Tavrin::SimpleArray ids;
        if (const int code = object.enumerate(ids, enumerated))
            return engine.fail(code);
        isSame = hasNames && length == listedLength && ids == listed;
        listed = std::move(ids);
        listedLength = length;
        hasNames = true;
        return Reply(static_cast<double>(listed.length()));
    });
}

Reply LiveRecord::enumeratedName(unsigned int at) noexcept
{
    return engine.steady([&] {
        Variant &slot = engine.takeSlot();
        String name;
        const auto id = static_cast<int>(std::as_const(listed)[static_cast<int>(at)]);
        const Locked locked(object);
        if (object.getNameForID(id, name, Tavrin::kDefaultLanguage) != 0 || name.length() == 0)
            return Reply();
        slot.setString(name);
        return Reply(&slot);
    });
}

// Calls.

Reply LiveRecord::callMethod(duk_context *ctx, duk_idx_t count, const Name &name)
{
    if (!object.isValid())
        return invalid();
    Arguments args(engine);
    if (!args.read(ctx, 0, count))
        return Reply(Reply::Kind::thrown);
    const Locked locked(object);
    Entry *entry = nullptr;
    const Found found = resolve(name, entry);
    for (bool isRetry = found != Found::cached; entry != nullptr; isRetry = true) {
        Variant result;
        Error error;
        const int id = entry->id;
        const int code =
            isMethod(entry->type) ? object.call(id, args.get(), result, &error) : noFunction;
        if (code == 0) [[likely]]
            return engine.replyWith(result);
        if (code != noFunction || isRetry || (entry = lookUp(name.serial)) == nullptr ||
            !hasMoved(name, entry))
            return failed(code, id, false, error);
    }
    return engine.fail(noSuchProperty, name.text);
}

// A method of this object, on another one: the object decides whether that fits.
Reply LiveRecord::applyMethod(duk_context *ctx, duk_idx_t count, const Name &name,
                              LiveObject &thisObject)
{
    if (!object.isValid() || !thisObject.isValid())
        return invalid();
    Arguments args(engine);
    if (!args.read(ctx, 0, count))
        return Reply(Reply::Kind::thrown);
    const Locked locked(object);
    Entry *entry = nullptr;
    if (resolve(name, entry) == Found::nowhere)
        return engine.fail(wrongClass, thisObject.getClassName());
    Variant result;
    Error error;
    const int id = entry->id;
    if (const int code = object.apply(thisObject, id, args.get(), result, &error))
        return failed(code, id, false, error);
    return engine.replyWith(result);
}

Reply LiveRecord::callSelf(duk_context *ctx) noexcept
{
    return ifValid([&] {
        Arguments args(engine);
        if (!args.read(ctx, 0, duk_get_top(ctx)))
            return Reply(Reply::Kind::thrown);
        const Locked locked(object);
        Variant result;
        Error error;
        if (const int code = object.call(Tavrin::functionID, args.get(), result, &error))
            return failed(code, Tavrin::functionID, false, error);
        return engine.replyWith(result);
    });
}

// The first argument is the name, the others are those of the method.
Reply LiveRecord::callByName(duk_context *ctx) noexcept
{
    return ifValid([&] {
        Variant name;
        Arguments args(engine);
        if (!readValue(engine, ctx, 0, name) || !args.read(ctx, 1, duk_get_top(ctx) - 1))
            return Reply(Reply::Kind::thrown);
        const Locked locked(object);
        Variant result;
        Error error;
        if (const int code = object.call(name.toString(), args.get(), result, &error))
            return engine.fail(code, error);
        return engine.replyWith(result);
    });
}

Reply LiveRecord::toText() noexcept
{
    return ifValid([&] {
        String text;
        const Locked locked(object);
        object.toString(text);
        Variant value(text);
        return engine.replyWith(value);
    });
}

Reply LiveRecord::toPrimitive() noexcept
{
    return ifValid([&] {
        Variant value;
        const Locked locked(object);
        object.valueOf(value);
        return engine.replyWith(value);
    });
}

} // namespace TvScript
