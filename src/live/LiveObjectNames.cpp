// SPDX-License-Identifier: MIT
// Names, ids and types, and their enumeration. The providers are asked in one order: dynamic
// properties, the table of the class, the components from the last one to the first, and listeners.
// Pinned by tests/live/LiveObjectNameTest.cpp and LiveObjectEnumerateTest.cpp.
#include <algorithm>
#include <cstdint>

#include <tavrin/LiveComponent.h>
#include <tavrin/Message.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>

#include "live/ComponentWalk.h"
#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/Locked.h"
#include "live/SelfHold.h"
#include "live/StaticPropertyManager.h"

namespace Tavrin {

using detail::ComponentWalk;
using detail::guarded;
using detail::guardedOr;
using detail::isUsable;
using detail::LivePropertyAccess;
using detail::LivePropertyManagerAccess;
using detail::Locked;

namespace {

// Adds ids to a list unless they are there. A short list is searched one by one.
class IDList
{
public:
    explicit IDList(SimpleArray &list) : ids(list) { note(); }

    void add(std::int64_t id)
    {
        if (isLong ? known.hasKey(id) : ids.indexOf(id) >= 0)
            return;
        ids.append(id);
        if (isLong)
            known.set(id, 1);
        else
            note();
    }
    void add(const SimpleArray &more)
    {
        for (const std::int64_t id : more)
            add(id);
    }

private:
    static constexpr int longestSearched = 32;

    void note()
    {
        isLong = ids.length() > longestSearched;
        if (isLong)
            for (const std::int64_t id : std::as_const(ids))
                known.set(id, 1);
    }

    SimpleArray &ids;
    bool isLong = false;
    SparseArray known;
};

bool isListed(const LiveProperty &property, int flags)
{
    const unsigned own = property.getFlags();
    if ((own & kPropertyUnlisted) != 0)
        return (flags & kListUnlisted) != 0;
    return (flags & ((own & kPropertyListedReadOnly) != 0 ? kListReadOnly : kListReadWrite)) != 0;
}

// One number, by which properties sort in the order of their indexes.
std::int64_t placeOf(const LiveProperty &property)
{
    return static_cast<std::int64_t>(property.getIndex()) << 32 |
           static_cast<unsigned>(property.getID());
}

void addDynamic(const LiveProperty *first, int flags, IDList &list)
{
    SimpleArray places;
    for (const LiveProperty *property = first; property != nullptr; property = property->getNext())
        if (isListed(*property, flags))
            places.append(placeOf(*property));
    if (places.length() == 0)
        return;
    std::sort(&places[0], &places[0] + places.length());
    for (const std::int64_t place : std::as_const(places))
        list.add(static_cast<int>(place & 0xFFFF'FFFF));
}

int addFromManager(const LivePropertyManager *manager, int flags, IDList &list)
{
    if (manager == nullptr)
        return 0;
    const Locked locked(*manager);
    SimpleArray ids;
    const int code = manager->enumerate(ids, flags);
    list.add(ids);
    return code;
}

int addFromComponents(const LiveObject &object, int flags, IDList &list)
{
    int firstCode = 0;
    for (ComponentWalk walk(object); LiveComponent *component = walk.next();) {
        SimpleArray ids;
        const int code = component->enumerate(object, ids, flags);
        list.add(ids);
        if (firstCode == 0)
            firstCode = code;
    }
    return firstCode;
}

bool isHidden(const LiveObject &object, int id)
{
    for (ComponentWalk walk(object); LiveComponent *component = walk.next();)
        if (component->getType(object, id) == kInfoHidden)
            return true;
    return false;
}

void removeHidden(const LiveObject &object, SimpleArray &ids)
{
    for (int at = ids.length() - 1; at >= 0; --at)
        if (isHidden(object, static_cast<int>(std::as_const(ids)[at])))
            ids.removeAt(at);
}

int addFromListeners(const LiveObject &object, int flags, SimpleArray &ids)
{
    if (!object.isListening(askIDs))
        return 0;
    const int lengthBefore = ids.length();
    LiveMessage message(object, askIDs, ids);
    message.getLanguage() = flags;
    object.broadcast(message);
    if (ids.length() > lengthBefore) {
        const SimpleArray all = ids;
        ids.erase();
        IDList(ids).add(all);
    }
    return message.getError();
}

// Success ends a search, and so does what is no failure of the one who was asked.
bool isFinal(int code)
{
    return code <= 0;
}

int typeFrom(const Variant &answer)
{
    return answer.getInteger() & kPropertyTypeMask;
}

} // namespace

int LiveObject::getIDForName(const String &name, int &id, InfoType &type, int flags) const
{
    const LivePropertyManager *manager = getPropertyManager();
    const StaticPropertyManager *table = nullptr;
    if (isUsable(*this) && data->properties == nullptr) [[likely]]
        table = LivePropertyManagerAccess::table(manager);
    if (table == nullptr)
        return findName(manager, name, id, type, flags);
    // Most names are those of a table, and nothing of a host runs then.
    const detail::PropertyIndex *index = table->madeIndex();
    const bool isUsual = detail::NameQuads::fit(name.length()) && !detail::isCaselessLookup(flags);
    if (index == nullptr || !isUsual)
        return findOddName(*table, name, id, type, flags);
    if (const LivePropertyInfo *row = index->findUsualName(name, flags)) [[likely]] {
        id = row->id;
        type = detail::typeOf(row->flags);
        return 0;
    }
    return findName(nullptr, name, id, type, flags);
}

// A name that is short or long, or that is sought without regard to case.
[[gnu::noinline]] int LiveObject::findOddName(const StaticPropertyManager &table,
                                              const String &name, int &id, InfoType &type,
                                              int flags) const
{
    if (table.getIDForName(name, id, type, flags) == 0)
        return 0;
    return findName(nullptr, name, id, type, flags);
}

// The manager is null if it has been asked.
[[gnu::noinline]] int LiveObject::findName(const LivePropertyManager *manager, const String &name,
                                           int &id, InfoType &type, int flags) const
{
    id = 0;
    type = kInfoNone;
    if (!isUsable(*this))
        return detail::errorInvalid;
    if (const LiveProperty *property = data->findByName(name, isCaseless(flags))) {
        id = property->getID();
        type = property->getType();
        return 0;
    }
    const detail::SelfHold hold(*this);
    const int code = guarded(nullptr, [&] { return lookUp(manager, name, id, type, flags); });
    if (code != 0) {
        id = 0;
        type = kInfoNone;
    }
    return code;
}

int LiveObject::lookUp(const LivePropertyManager *manager, const String &name, int &id,
                       InfoType &type, int flags) const
{
    if (manager != nullptr && name.length() > 0) {
        const Locked locked(*manager);
        if (manager->getIDForName(name, id, type, flags) == 0)
            return 0;
    }
    for (ComponentWalk walk(*this); LiveComponent *component = walk.next();) {
        const int code = component->getIDForName(*this, name, id, type, flags);
        if (code != detail::errorUndefined)
            return type == kInfoHidden ? detail::errorUndefined : code;
    }
    if ((this->flags & dynamicFlag) == 0 || !isListening(askID))
        return detail::errorUndefined;
    return lookUpByMessage(name, id, type, flags);
}

// A listener that knows the name gets a property, so that the next access goes straight to it.
int LiveObject::lookUpByMessage(const String &name, int &id, InfoType &type, int flags) const
{
    LiveMessage message(*this, askID, 0, Variant(name), nullptr);
    message.getLanguage() = flags;
    if (!broadcast(message))
        return detail::errorUndefined;
    if (message.getError() != 0)
        return message.getError();
    auto &self = const_cast<LiveObject &>(*this);
    const int propertyFlags = typeFrom(*message.getData()) | kPropertyUnlisted;
    LiveProperty *property =
        self.createProperty(name, message.getPropertyID(), static_cast<unsigned>(propertyFlags));
    if (property == nullptr)
        return detail::errorOutOfMemory;
    LivePropertyAccess::flags(*property) |= kPropertyByMessage;
    self.adoptProperty(*property);
    id = property->getID();
    type = property->getType();
    return 0;
}

void LiveObject::adoptProperty(LiveProperty &property)
{
    data->add(property);
    if (isOperatorID(property.getID()))
        flags |= operatorsFlag;
}

int LiveObject::createIDForName(const String &name, int &id, int propertyFlags)
{
    id = getNextID();
    return guarded(nullptr, [&] { return defineIDForName(name, id, propertyFlags); });
}

int LiveObject::defineIDForName(const String &name, int id, int propertyFlags)
{
    if (!isUsable(*this))
        return detail::errorInvalid;
    if ((flags & dynamicFlag) == 0)
        return detail::errorNotSupported;
    if (data->findByName(name, isCaseless(propertyFlags)) != nullptr)
        return detail::errorRedeclared;
    const detail::SelfHold hold(*this);
    return guarded(nullptr, [&] {
        LiveProperty *property = createProperty(name, id, static_cast<unsigned>(propertyFlags));
        if (property == nullptr)
            return detail::errorOutOfMemory;
        adoptProperty(*property);
        return 0;
    });
}

int LiveObject::getNameForID(int id, String &name, int flags) const
{
    if (!isUsable(*this)) {
        name.erase();
        return detail::errorInvalid;
    }
    const detail::SelfHold hold(*this);
    const int code = guarded(nullptr, [&] { return lookUpName(id, name, flags); });
    if (code != 0)
        name.erase();
    return code;
}

int LiveObject::lookUpName(int id, String &name, int flags) const
{
    if (id == functionID) {
        name = getClassName();
        return 0;
    }
    if (const LiveProperty *property = data->findByID(id)) {
        name = property->getName();
        return 0;
    }
    if (const LivePropertyManager *manager = getPropertyManager()) {
        const Locked locked(*manager);
        if (const int code = manager->getNameForID(id, name, flags); isFinal(code))
            return code;
    }
    for (ComponentWalk walk(*this); LiveComponent *component = walk.next();)
        if (const int code = component->getNameForID(*this, id, name, flags); isFinal(code))
            return code;
    return detail::errorUndefined;
}

InfoType LiveObject::getType(int id)
{
    if (!isUsable(*this))
        return kInfoNone;
    if (id == functionID)
        return kInfoMethod;
    if (const LiveProperty *property = data->findByID(id))
        return property->getType();
    const detail::SelfHold hold(*this);
    return guardedOr(kInfoNone, [&] {
        if (const LivePropertyManager *manager = getPropertyManager()) {
            const Locked locked(*manager);
            const InfoType type = manager->getType(id);
            if (type != kInfoNone)
                return type;
        }
        for (ComponentWalk walk(*this); LiveComponent *component = walk.next();) {
            const InfoType type = component->getType(*this, id);
            if (type != kInfoNone)
                return type == kInfoHidden ? kInfoNone : type;
        }
        return kInfoNone;
    });
}

int LiveObject::enumerate(SimpleArray &ids, int flags) const
{
    if (!isUsable(*this))
        return detail::errorInvalid;
    const detail::SelfHold hold(*this);
    return guarded(nullptr, [&] {
        IDList list(ids);
        addDynamic(data->properties, flags, list);
        int code = addFromManager(getPropertyManager(), flags, list);
        if (const int componentCode = addFromComponents(*this, flags, list); code == 0)
            code = componentCode;
        removeHidden(*this, ids);
        const int listenerCode = addFromListeners(*this, flags, ids);
        return code != 0 ? code : listenerCode;
    });
}

} // namespace Tavrin
