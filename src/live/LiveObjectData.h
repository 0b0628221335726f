// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include <tavrin/HashTable.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Refcountable.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>
#include <tavrin/Variant.h>

#include "live/BroadcasterPin.h"
#include "live/LivePropertyAccess.h"
#include "live/NameUnits.h"

namespace Tavrin {

// LiveObjectData: what a LiveObject owns. See LiveObjectProperties.cpp for the list of properties.
class LiveObjectData : public Root
{
public:
    LiveObjectData() = default;
    ~LiveObjectData() override;

    // The dynamic property, which then is the first of the list; null if there is none. Without
    // regard to case, and with several properties of an id, the one that was used last counts.
    LiveProperty *findByID(int id)
    {
        LiveProperty *first = properties;
        if (first == nullptr || first->getID() == id) [[likely]]
            return first;
        return findFurtherByID(id);
    }
    LiveProperty *findByName(const String &name, bool ignoresCase)
    {
        LiveProperty *first = properties;
        if (first == nullptr || detail::isSameName(first->getName(), name)) [[likely]]
            return first;
        return findFurtherByName(name, ignoresCase);
    }

    // Puts a property into the front of the list and gives it the next index.
    void add(LiveProperty &property) noexcept;
    // Puts it there as it is.
    void link(LiveProperty &property) noexcept;
    // Take a property, or all of them, or all that are not permanent, out of the list.
    void remove(LiveProperty &property) noexcept;
    LiveProperty *takeAll() noexcept;
    LiveProperty *takeImpermanent() noexcept;
    void dropClassInfo();
    // Deletes a property and those behind it, now or at the end of the uses that are under way.
    void dispose(LiveProperty *first) noexcept;

    TSimpleArray<LiveComponent> components; // each with a reference
    LiveObject *autostoreTarget = nullptr;  // guarded by the lock of liveClasses, but for a test
    int autostoreID = 0;                    // likewise
    LiveProperty *properties = nullptr;     // owned; the one that was used last is the first
    int propertyCount = 0;                  // the next index
    const ClassInfo *classInfo = nullptr;   // with a reference
    Variant *value = nullptr;               // owned
    Root *userData = nullptr;               // as LiveObject::setData says
    int objectID = 0;

    WeakRef<LiveObject> liveTarget;   // tells whether autostoreTarget may still be held
    detail::BroadcasterPin targetPin; // to hear of its end
    bool isStoring = false;           // is being put to its autostore target
    bool isTelling = false;           // is being asked for its text
    bool isValuing = false;           // is being asked for its value
    int uses = 0;                     // how many PropertyUse there are

private:
    struct Index;

    LiveProperty *findFurtherByID(int id);
    LiveProperty *findFurtherByName(const String &name, bool ignoresCase);
    LiveProperty *search(int id);
    LiveProperty *search(const String &name, bool ignoresCase);
    void unlink(LiveProperty &property) noexcept;
    LiveProperty *moveToFront(LiveProperty *property) noexcept;
    void buildIndex() noexcept;
    void dropIndex() noexcept;
    void renumber() noexcept;

    int length = 0;
    Index *index = nullptr;         // from a certain length on
    LiveProperty *doomed = nullptr; // to be deleted when nobody uses one any more

    friend class PropertyUse;
};

namespace detail {

// The way of this library's own sources into a LiveObject.
struct LiveObjectAccess
{
    static LiveObjectData *data(const LiveObject &object) { return object.data; }
};

// A plain dynamic object; std::bad_alloc if there is no memory for all of it.
InterfacePtr<LiveObject> newPlainObject(const String &className);

// The component that serves the elements of an object with data, or null. Components of the host
// may throw.
InterfacePtr<LiveComponent> indexableComponent(const LiveObject &object);

inline bool isUsable(const LiveObject &object)
{
    return LiveObjectAccess::data(object) != nullptr && object.isValid();
}

} // namespace detail

// Keeps the properties of an object alive while one of them is called, whatever the call does. The
// object itself is held by whoever uses this.
class PropertyUse
{
public:
    explicit PropertyUse(LiveObjectData &owner) : data(owner) { ++data.uses; }
    ~PropertyUse()
    {
        if (--data.uses == 0 && data.doomed != nullptr) [[unlikely]]
            data.dispose(std::exchange(data.doomed, nullptr));
    }
    PropertyUse(const PropertyUse &) = delete;
    PropertyUse &operator=(const PropertyUse &) = delete;

private:
    LiveObjectData &data;
};

// The bit of LiveObject's flags that allows dynamic properties, the one that remembers operators,
// and those that a reset keeps.
inline constexpr unsigned dynamicFlag = 1;
inline constexpr unsigned operatorsFlag = 0x0080'0000;
inline constexpr unsigned resetMask = 0xFF00'0003;

} // namespace Tavrin
