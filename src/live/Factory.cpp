// SPDX-License-Identifier: MIT
// The registry of classes that scripts can construct.
//
// One record for each class name, which the table of names owns; the table of ids points at those
// records whose prototype had an id when it was registered. The lock of liveClasses guards both. No
// code of the host runs under it: class names are asked for before, and records deleted afterwards.
// Pinned by tests/live/LiveObjectFactoryTest.cpp.
#include <memory>
#include <utility>

#include <tavrin/HashTable.h>
#include <tavrin/LiveObject.h>
#include <tavrin/SparseArray.h>

#include "live/Guarded.h"
#include "live/Locked.h"
#include "runtime/LockTable.h"
#include "runtime/OnHeap.h"
#include "runtime/Startup.h"

namespace Tavrin {

using detail::deleteOnHeap;
using detail::guarded;
using detail::LockSlot;
using detail::newOnHeap;
using detail::tableLock;

// FactoryInfo: a class of the registry.
class FactoryInfo : public Root
{
public:
    FactoryInfo(LiveObject &object, int classFlags)
        : prototype(&object), flags(classFlags), id(object.getObjectID())
    {}

    InterfacePtr<LiveObject> prototype;
    int flags;
    int id; // when it was registered

    static FactoryInfo *fromSlot(std::int64_t slot)
    {
        return THashTable<FactoryInfo>::fromValue(slot);
    }
    std::int64_t slot() const { return THashTable<FactoryInfo>::toValue(this); }
};

namespace {

using Names = THashTable<FactoryInfo>;

// Null while they are empty.
constinit Names *names = nullptr;
constinit SparseArray *ids = nullptr;

// Drop a table that has become empty.
void dropEmpty()
{
    if (names != nullptr && names->length() == 0)
        deleteOnHeap(std::exchange(names, nullptr));
    if (ids != nullptr && ids->length() == 0)
        deleteOnHeap(std::exchange(ids, nullptr));
}

void forgetID(const FactoryInfo &info)
{
    if (ids != nullptr && ids->find(info.id) == info.slot())
        ids->remove(info.id);
}

// Enters the record under both keys, or under none. The result is the record that it replaces.
FactoryInfo *enter(const String &className, FactoryInfo &info)
{
    if (names == nullptr)
        names = newOnHeap<Names>();
    if (info.id != 0 && ids == nullptr)
        ids = newOnHeap<SparseArray>();
    FactoryInfo *former = names->find(className, false);
    names->set(className, &info, false);
    try {
        if (info.id != 0)
            ids->set(info.id, info.slot());
    } catch (...) {
        if (former != nullptr)
            names->set(className, former, false);
        else
            names->remove(className, false);
        throw;
    }
    return former;
}

InterfacePtr<LiveObject> fitting(const FactoryInfo *info, int flags)
{
    if (info == nullptr || (info->flags & flags) == 0)
        return nullptr;
    return info->prototype;
}

InterfacePtr<LiveObject> find(const String &className, int flags)
{
    const CriticalSection section(tableLock(LockSlot::liveClasses));
    return names == nullptr ? nullptr : fitting(names->find(className, false), flags);
}

InterfacePtr<LiveObject> find(int objectID, int flags)
{
    const CriticalSection section(tableLock(LockSlot::liveClasses));
    return ids == nullptr ? nullptr : fitting(FactoryInfo::fromSlot(ids->find(objectID)), flags);
}

int makeFrom(const InterfacePtr<LiveObject> &prototype, LiveObject **out)
{
    *out = nullptr;
    if (!prototype)
        return detail::errorNoConstructor;
    return guarded(nullptr, [&] {
        const detail::Locked locked(*prototype);
        return prototype->clone(out, true);
    });
}

} // namespace

int LiveObject::addFactory(LiveObject &prototype, int flags)
{
    return guarded(nullptr, [&] {
        auto info = std::make_unique<FactoryInfo>(prototype, flags); // holds it from here on
        const String className = prototype.getClassName();
        std::unique_ptr<FactoryInfo> former;
        const CriticalSection section(tableLock(LockSlot::liveClasses));
        try {
            former.reset(enter(className, *info));
        } catch (...) {
            dropEmpty();
            throw;
        }
        static_cast<void>(info.release());
        if (former != nullptr)
            forgetID(*former);
        dropEmpty();
        return 0;
    });
}

int LiveObject::removeFactory(const String &className)
{
    std::unique_ptr<FactoryInfo> removed;
    const CriticalSection section(tableLock(LockSlot::liveClasses));
    if (names == nullptr)
        return 0;
    removed.reset(names->remove(className, false));
    if (removed != nullptr)
        forgetID(*removed);
    dropEmpty();
    return 0;
}

LiveObject *LiveObject::getFactory(const String &className, int flags)
{
    return find(className, flags).get();
}

LiveObject *LiveObject::getFactory(int objectID, int flags)
{
    return find(objectID, flags).get();
}

int LiveObject::create(LiveObject **out, const String &className, int flags)
{
    return makeFrom(find(className, flags), out);
}

int LiveObject::create(LiveObject **out, int objectID, int flags)
{
    return makeFrom(find(objectID, flags), out);
}

int LiveObject::createLocal(LiveObject **out, const String &wantedClass, int flags)
{
    return create(out, wantedClass, flags);
}

namespace detail {

// What a prototype does when it dies may register another one.
void stopLiveObjects()
{
    while (Names *former = std::exchange(names, nullptr)) {
        deleteOnHeap(std::exchange(ids, nullptr));
        former->forEach(
            [](const String &, std::int64_t *slot, std::int64_t) {
                delete FactoryInfo::fromSlot(*slot);
                return true;
            },
            0);
        deleteOnHeap(former);
    }
}

} // namespace detail

} // namespace Tavrin
