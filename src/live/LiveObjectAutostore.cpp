// SPDX-License-Identifier: MIT
// Objects that store themselves to an owner on each change.
//
// The lock of liveClasses guards the target and its id, and is held for nothing else: lists of
// listeners have locks of their own, and a target is called under its own lock alone. Whether a
// target may still be held, while another thread lets it go, a weak reference tells; and a pin lets
// an object leave the listeners of a target that is dying meanwhile. Objects that store themselves
// in a circle come back to one that is storing already, where it ends; a chain of them ends where
// the thread has gone deep enough.
// Pinned by tests/live/LiveObjectAutostoreTest.cpp.
#include <utility>

#include <tavrin/Variant.h>

#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/Locked.h"
#include "live/SelfHold.h"
#include "runtime/LockTable.h"

namespace Tavrin {

using detail::LockSlot;
using detail::tableLock;

namespace {

struct Target
{
    LiveObject *object;
    int id;

    bool operator==(const Target &) const = default;
};

// D-268: how many owners in a row one write is put on to.
constexpr int deepestStore = 256;
constinit thread_local int storeDepth __attribute__((tls_model("initial-exec"))) = 0;

// An object that is being put to its target.
class Storing
{
public:
    explicit Storing(bool &isStoring) : mark(isStoring)
    {
        mark = true;
        ++storeDepth;
    }
    ~Storing()
    {
        mark = false;
        --storeDepth;
    }
    Storing(const Storing &) = delete;
    Storing &operator=(const Storing &) = delete;

private:
    bool &mark;
};

Target targetOf(const LiveObjectData &data)
{
    const CriticalSection section(tableLock(LockSlot::liveClasses));
    return {data.autostoreTarget, data.autostoreID};
}

void setTarget(LiveObjectData &data, const Target &target)
{
    const CriticalSection section(tableLock(LockSlot::liveClasses));
    __atomic_store_n(&data.autostoreTarget, target.object, __ATOMIC_RELAXED);
    data.autostoreID = target.id;
}

} // namespace

int LiveObject::setAutostore(LiveObject *target, int id) const
{
    if (data == nullptr)
        return detail::errorInvalid;
    return detail::guarded(nullptr, [&] {
        if (targetOf(*data).object == target) {
            setTarget(*data, {target, id});
            return 0;
        }
        detail::BroadcasterPin pin;
        if (target != nullptr)
            pin.enter(*target, const_cast<LiveObject &>(*this), lastFarewell);
        data->liveTarget = target;
        data->targetPin.swap(pin);
        setTarget(*data, {target, id});
        return 0;
    });
}

// For the destructor.
void LiveObject::endAutostore() noexcept
{
    data->targetPin.leave();
    setTarget(*data, {nullptr, 0});
}

bool LiveObject::hasSameAutostore(const LiveObject &other) const
{
    return targetOf(*data) == targetOf(*other.data);
}

int LiveObject::invokeAutostore(Error *error)
{
    // Most objects have none, which is seen without the lock.
    if (data == nullptr || __atomic_load_n(&data->autostoreTarget, __ATOMIC_RELAXED) == nullptr)
        return 0;
    if (data->isStoring)
        return 0;
    const Target wanted = targetOf(*data);
    if (wanted.object == nullptr)
        return 0;
    const InterfacePtr<LiveObject> target = data->liveTarget.lock();
    if (target != wanted.object)
        return 0;
    if (storeDepth == deepestStore)
        return target->setError(detail::errorStackOverrun, wanted.id, error, false);
    const detail::SelfHold self(*this);
    const Storing storing(data->isStoring);
    return detail::guarded(error, [&] {
        const Variant value(*this, 0);
        const detail::Locked locked(*target);
        return target->put(wanted.id, value, error);
    });
}

bool LiveObject::notify(Message &message)
{
    const Broadcaster *sender = message.getSender();
    if (message.getID() != lastFarewell || data == nullptr)
        return false;
    const CriticalSection section(tableLock(LockSlot::liveClasses));
    if (sender == nullptr || sender == static_cast<const Broadcaster *>(data->autostoreTarget))
        setTarget(*data, {nullptr, 0}); // the lock is recursive
    return false;
}

} // namespace Tavrin
