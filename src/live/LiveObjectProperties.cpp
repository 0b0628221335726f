// SPDX-License-Identifier: MIT
// The dynamic properties of an object.
//
// They stand in a list, and whoever is found moves to its front, so that the property that a script
// works with is found at once. The order is observable: it decides which of several properties of
// an id counts, or of names that differ only in case, and in which order they are deleted and
// cloned. A long list has an index beside it, from ids and from names to properties. Where several
// properties answer to one id or one name, the index cannot tell which of them was used last, and
// the list is searched instead. Pinned by tests/live/LiveObjectPropertiesTest.cpp.
#include <limits>
#include <new>
#include <utility>

#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

using detail::LivePropertyAccess;

namespace {

// A list up to this length is searched faster than an index.
constexpr int longestWithoutIndex = 8;

LiveProperty *nextOf(LiveProperty *property)
{
    return LivePropertyAccess::next(*property);
}

bool isPermanent(const LiveProperty &property)
{
    return (property.getFlags() & kPropertyPermanent) != 0;
}

bool hasName(const LiveProperty &property, const String &name, bool ignoresCase)
{
    if (!ignoresCase)
        return detail::isSameName(property.getName(), name);
    return property.getName().length() == name.length() && property.getName().ucmp(name) == 0;
}

} // namespace

struct LiveObjectData::Index : Heap
{
    SparseArray ids; // from an id to its LiveProperty
    THashTable<LiveProperty> names;
    bool hasTwins = false;     // several properties have one id
    bool hasNamesakes = false; // the names of several differ only in case
    bool hasSameNames = false; // or do not differ

    static std::int64_t slotOf(const LiveProperty *property)
    {
        return THashTable<LiveProperty>::toValue(property);
    }

    LiveProperty *find(int id) const { return THashTable<LiveProperty>::fromValue(ids.find(id)); }
    bool canTell(bool ignoresCase) const
    {
        return !hasSameNames && (!ignoresCase || !hasNamesakes);
    }
    void add(LiveProperty &property)
    {
        if (ids.hasKey(property.getID()))
            hasTwins = true;
        if (names.hasKey(property.getName(), false))
            hasSameNames = true;
        else if (names.hasKey(property.getName(), true))
            hasNamesakes = true;
        ids.set(property.getID(), slotOf(&property));
        names.set(property.getName(), &property, false);
    }
};

LiveObjectData::~LiveObjectData()
{
    dropIndex();
}

LiveProperty *LiveObjectData::findFurtherByID(int id)
{
    LiveProperty *found = index != nullptr && !index->hasTwins ? index->find(id) : search(id);
    return found == nullptr ? nullptr : moveToFront(found);
}

LiveProperty *LiveObjectData::findFurtherByName(const String &name, bool ignoresCase)
{
    LiveProperty *found = properties;
    if (ignoresCase && hasName(*found, name, true))
        return found;
    found = index != nullptr && index->canTell(ignoresCase) ? index->names.find(name, ignoresCase)
                                                            : search(name, ignoresCase);
    return found == nullptr ? nullptr : moveToFront(found);
}

LiveProperty *LiveObjectData::search(int id)
{
    LiveProperty *property = properties;
    while (property != nullptr && property->getID() != id)
        property = nextOf(property);
    return property;
}

LiveProperty *LiveObjectData::search(const String &name, bool ignoresCase)
{
    LiveProperty *property = properties;
    while (property != nullptr && !hasName(*property, name, ignoresCase))
        property = nextOf(property);
    return property;
}

void LiveObjectData::link(LiveProperty &property) noexcept
{
    LivePropertyAccess::previous(property) = nullptr;
    LivePropertyAccess::next(property) = properties;
    if (properties != nullptr)
        LivePropertyAccess::previous(*properties) = &property;
    properties = &property;
    ++length;
    if (index != nullptr) {
        try {
            index->add(property);
        } catch (const std::bad_alloc &) {
            dropIndex();
        }
    } else if (length > longestWithoutIndex) {
        buildIndex();
    }
}

void LiveObjectData::add(LiveProperty &property) noexcept
{
    if (propertyCount == std::numeric_limits<int>::max())
        renumber();
    LivePropertyAccess::index(property) = propertyCount++;
    link(property);
}

void LiveObjectData::unlink(LiveProperty &property) noexcept
{
    LiveProperty *next = LivePropertyAccess::next(property);
    LiveProperty *previous = LivePropertyAccess::previous(property);
    if (next != nullptr)
        LivePropertyAccess::previous(*next) = previous;
    if (previous != nullptr)
        LivePropertyAccess::next(*previous) = next;
    else
        properties = next;
}

// From somewhere behind it.
LiveProperty *LiveObjectData::moveToFront(LiveProperty *property) noexcept
{
    unlink(*property);
    LivePropertyAccess::previous(*property) = nullptr;
    LivePropertyAccess::next(*property) = properties;
    LivePropertyAccess::previous(*properties) = property;
    properties = property;
    return property;
}

void LiveObjectData::remove(LiveProperty &property) noexcept
{
    unlink(property);
    LivePropertyAccess::next(property) = nullptr;
    --length;
    if (index == nullptr)
        return;
    if (index->hasTwins || index->hasSameNames) {
        dropIndex(); // the next property that is added makes a new one
        return;
    }
    index->ids.remove(property.getID());
    index->names.remove(property.getName(), false);
    if (length == 0)
        dropIndex();
}

LiveProperty *LiveObjectData::takeAll() noexcept
{
    dropIndex();
    length = 0;
    return std::exchange(properties, nullptr);
}

LiveProperty *LiveObjectData::takeImpermanent() noexcept
{
    LiveProperty *taken = nullptr;
    LiveProperty **end = &taken;
    dropIndex();
    for (LiveProperty *property = properties; property != nullptr;) {
        LiveProperty *next = nextOf(property);
        if (!isPermanent(*property)) {
            remove(*property);
            *end = property;
            end = &LivePropertyAccess::next(*property);
        }
        property = next;
    }
    if (length > longestWithoutIndex)
        buildIndex();
    return taken;
}

void LiveObjectData::dispose(LiveProperty *first) noexcept
{
    if (uses > 0) {
        LiveProperty **end = &doomed;
        while (*end != nullptr)
            end = &LivePropertyAccess::next(**end);
        *end = first;
        return;
    }
    while (first != nullptr)
        delete std::exchange(first, nextOf(first));
}

void LiveObjectData::buildIndex() noexcept
{
    try {
        index = new Index;
        for (LiveProperty *property = properties; property != nullptr; property = nextOf(property))
            index->add(*property);
    } catch (const std::bad_alloc &) {
        dropIndex();
    }
}

void LiveObjectData::dropIndex() noexcept
{
    delete std::exchange(index, nullptr);
}

// Closes the gaps between the indexes, in their order, so that there are numbers again.
void LiveObjectData::renumber() noexcept
{
    int number = 0;
    for (int after = -1;;) {
        LiveProperty *lowest = nullptr;
        for (LiveProperty *each = properties; each != nullptr; each = nextOf(each))
            if (each->getIndex() > after &&
                (lowest == nullptr || each->getIndex() < lowest->getIndex()))
                lowest = each;
        if (lowest == nullptr)
            break;
        after = lowest->getIndex();
        LivePropertyAccess::index(*lowest) = number++;
    }
    propertyCount = number;
}

LiveProperty *LiveObject::createProperty(const String &name, int id, unsigned int propertyFlags)
{
    return detail::guardedOr<LiveProperty *>(
        nullptr, [&] { return new LiveProperty(*this, name, id, propertyFlags); });
}

LiveProperty *LiveObject::findProperty(int id) const
{
    return detail::isUsable(*this) ? data->findByID(id) : nullptr;
}

void LiveObject::deleteDynamicProperties(bool all)
{
    if (!detail::isUsable(*this))
        return;
    const detail::SelfHold self(*this);
    data->dispose(all ? data->takeAll() : data->takeImpermanent());
}

int LiveObject::deleteID(int id)
{
    if (!detail::isUsable(*this))
        return detail::errorInvalid;
    LiveProperty *property = data->findByID(id);
    if (property == nullptr || isPermanent(*property))
        return detail::errorUndefined;
    const detail::SelfHold self(*this);
    data->remove(*property);
    data->dispose(property);
    return 0;
}

} // namespace Tavrin
