// SPDX-License-Identifier: MIT
// The registry of weak references: from the address of a target to the list of those who point at
// it. A list never shrinks; the slot of a reference that let go is 0, and the next one takes it.
// Both searches begin where the last change was, so that references that are made and dropped in
// one order, forward or backward, do not walk the list each time.
//
// Everything happens under the registry's lock, which is taken last. Whoever dies clears its weak
// references under it before it is deleted; a reader who holds the lock can therefore look at the
// count of a target, and may add to it as long as it is above zero.
// Pinned by tests/runtime/WeakRefTest.cpp.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

#include <tavrin/Refcountable.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>

#include "runtime/LockTable.h"
#include "runtime/OnHeap.h"
#include "runtime/Startup.h"

namespace Tavrin {

namespace {

constexpr int listIncrement = 16;

// The weak references to one target.
class WeakList
{
public:
    WeakList() { slots.setIncrement(listIncrement); }

    const TSimpleArray<WeakRefBase> &references() const { return slots; }

    int indexOf(const WeakRefBase *reference) const
    {
        // Outward from the last change. Indexes outside give null, which is no reference.
        for (int step = 0; step <= slots.length(); ++step) {
            if (slots[lastChanged - step] == reference)
                return lastChanged - step;
            if (slots[lastChanged + step] == reference)
                return lastChanged + step;
        }
        return -1;
    }

    // Makes sure that the next put succeeds.
    void reserve()
    {
        if (holes > 0)
            return;
        slots.append(nullptr);
        holes = 1;
        firstHole = slots.length() - 1;
    }

    void put(WeakRefBase *reference)
    {
        while (std::as_const(slots)[firstHole] != nullptr)
            ++firstHole;
        slots[firstHole] = reference;
        lastChanged = firstHole;
        --holes;
    }

    void remove(const WeakRefBase *reference)
    {
        const int index = indexOf(reference);
        if (index < 0)
            return;
        slots[index] = nullptr;
        lastChanged = index;
        firstHole = std::min(firstHole, index);
        ++holes;
    }

private:
    TSimpleArray<WeakRefBase> slots;
    int holes = 0;
    int firstHole = 0; // no hole lies before it
    int lastChanged = 0;
};

struct DeleteOnHeap
{
    void operator()(WeakList *list) const { detail::deleteOnHeap(list); }
};

using OwnedList = std::unique_ptr<WeakList, DeleteOnHeap>;

// From the address of a target to its WeakList. Written under the lock; null until first needed.
constinit SparseArray *registry = nullptr;

SparseArray *currentRegistry()
{
    return __atomic_load_n(&registry, __ATOMIC_ACQUIRE);
}

void setRegistry(SparseArray *lists)
{
    __atomic_store_n(&registry, lists, __ATOMIC_RELEASE);
}

std::int64_t keyOf(const Refcountable *target)
{
    return reinterpret_cast<std::intptr_t>(target);
}

WeakList *fromSlot(std::int64_t slot)
{
    return reinterpret_cast<WeakList *>(static_cast<std::intptr_t>(slot));
}

WeakList *listOf(const Refcountable *target)
{
    const SparseArray *lists = currentRegistry();
    return lists == nullptr ? nullptr : fromSlot(lists->find(keyOf(target)));
}

// The list of `target`, made if there is none, with room for one reference more.
WeakList &listWithRoom(const Refcountable *target)
{
    if (WeakList *list = listOf(target)) {
        list->reserve();
        return *list;
    }
    if (currentRegistry() == nullptr)
        setRegistry(detail::newOnHeap<SparseArray>());
    OwnedList list(detail::newOnHeap<WeakList>());
    list->reserve();
    currentRegistry()->set(keyOf(target), reinterpret_cast<std::intptr_t>(list.get()));
    return *list.release();
}

// Adds a reference to an object that has some.
bool addReferenceIfAlive(int &count)
{
    int seen = __atomic_load_n(&count, __ATOMIC_RELAXED);
    while (seen > 0)
        if (__atomic_compare_exchange_n(&count, &seen, seen + 1, true, __ATOMIC_RELAXED,
                                        __ATOMIC_RELAXED))
            return true;
    return false;
}

} // namespace

WeakRefBase::~WeakRefBase()
{
    if (get() != nullptr)
        assign(nullptr);
}

void WeakRefBase::release(const Refcountable *object)
{
    // A weak reference to `object` was made by someone who held the object, so if there is one,
    // the registry is in sight.
    if (object == nullptr || currentRegistry() == nullptr)
        return;
    CriticalSection section(detail::tableLock(detail::LockSlot::weakRegistry));
    const OwnedList list(fromSlot(currentRegistry()->remove(keyOf(object))));
    if (list == nullptr)
        return;
    for (WeakRefBase *reference : list->references())
        if (reference != nullptr)
            reference->setTarget(nullptr);
}

// Room is made before anything changes, so that a failure leaves the old target.
Refcountable *WeakRefBase::assign(Refcountable *object)
{
    CriticalSection section(detail::tableLock(detail::LockSlot::weakRegistry));
    WeakList *oldList = target == nullptr ? nullptr : listOf(target);
    if (oldList != nullptr && object == target && oldList->indexOf(this) >= 0)
        return object;
    WeakList *newList = object == nullptr ? nullptr : &listWithRoom(object);
    if (oldList != nullptr)
        oldList->remove(this);
    if (newList != nullptr)
        newList->put(this);
    setTarget(object);
    return object;
}

Refcountable *WeakRefBase::assign(const WeakRefBase &other)
{
    // The lock keeps the target of `other` from dying in between.
    CriticalSection section(detail::tableLock(detail::LockSlot::weakRegistry));
    return assign(other.get());
}

Refcountable *WeakRefBase::get_r() const
{
    CriticalSection section(detail::tableLock(detail::LockSlot::weakRegistry));
    // Without a registry, the target is left from before an exit.
    if (target == nullptr || currentRegistry() == nullptr)
        return nullptr;
    return addReferenceIfAlive(target->refCount) ? target : nullptr;
}

namespace detail {

void stopWeakReferences()
{
    SparseArray *lists = currentRegistry();
    if (lists == nullptr)
        return;
    setRegistry(nullptr);
    lists->forEach(
        [](std::int64_t, std::int64_t *slot, std::int64_t) {
            deleteOnHeap(fromSlot(*slot));
            return true;
        },
        0);
    deleteOnHeap(lists);
}

} // namespace detail

} // namespace Tavrin
