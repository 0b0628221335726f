// SPDX-License-Identifier: MIT
// What a component answers from its table. Pinned by tests/live/LiveComponentTest.cpp.
#include <tavrin/LiveComponent.h>

#include <type_traits>

#include <tavrin/Variant.h>

#include "live/Guarded.h"
#include "live/Locked.h"
#include "live/SelfHold.h"

namespace Tavrin {

namespace {

// What the table answers under its lock; without a table, that nothing is known. A table of a host
// may throw.
template <class Answer, class Question>
Answer askTable(const LivePropertyManager *manager, Answer unknown, Question question)
{
    if (manager == nullptr)
        return unknown;
    const detail::Locked locked(*manager);
    if constexpr (std::is_same_v<Answer, int>)
        return detail::guarded(nullptr, question);
    else
        return detail::guardedOr(unknown, question);
}

} // namespace

LiveComponent::~LiveComponent() = default;

void LiveComponent::reset() {}

int LiveComponent::getIDForName(const LiveObject &, const String &name, int &id, InfoType &type,
                                int flags) const
{
    id = 0;
    type = kInfoNone;
    const LivePropertyManager *manager = name.length() > 0 ? getPropertyManager() : nullptr;
    return askTable(manager, detail::errorUndefined,
                    [&] { return manager->getIDForName(name, id, type, flags); });
}

int LiveComponent::getNameForID(const LiveObject &, int id, String &name, int flags) const
{
    name.erase();
    const LivePropertyManager *manager = getPropertyManager();
    return askTable(manager, detail::errorUndefined,
                    [&] { return manager->getNameForID(id, name, flags); });
}

InfoType LiveComponent::getType(const LiveObject &, int id)
{
    const LivePropertyManager *manager = getPropertyManager();
    return askTable(manager, kInfoNone, [&] { return manager->getType(id); });
}

bool LiveComponent::hasOperators() const
{
    return getPropertyManager() != nullptr && getPropertyManager()->hasOperators();
}

int LiveComponent::enumerate(const LiveObject &, SimpleArray &ids, int flags) const
{
    const LivePropertyManager *manager = getPropertyManager();
    return askTable(manager, 0, [&] { return manager->enumerate(ids, flags); });
}

const ServiceInfo *LiveComponent::getServiceInfo(const LiveObject &, int id, int flags) const
{
    const LivePropertyManager *manager = getPropertyManager();
    return askTable<const ServiceInfo *>(manager, nullptr,
                                         [&] { return manager->getServiceInfo(id, flags); });
}

int LiveComponent::get(const LiveObject &object, int id, Variant &out, Error *error) const
{
    const detail::SelfHold held(object);
    out.erase();
    return object.setError(detail::errorUndefined, id, error, false);
}

int LiveComponent::put(LiveObject &object, int id, const Variant &, Error *error)
{
    return object.setError(detail::errorUndefined, id, error, false);
}

int LiveComponent::call(LiveObject &object, int id, const Array &, Variant &result, Error *error)
{
    const detail::SelfHold held(object);
    result.erase();
    return object.setError(detail::errorUndefined, id, error, false);
}

bool LiveComponent::isGeneric(int) const
{
    return false;
}

bool LiveComponent::isIndexable() const
{
    return false;
}

int LiveComponent::getLength(const LiveObject &, unsigned int &length) const
{
    length = 0;
    return detail::errorUndefined;
}

int LiveComponent::putLength(LiveObject &, unsigned int)
{
    return detail::errorUndefined;
}

int LiveComponent::getByIndex(const LiveObject &object, unsigned int index, Variant &out,
                              Error *error) const
{
    const detail::SelfHold held(object);
    out.erase();
    return object.setError(detail::errorNoIndex, static_cast<int>(index), error, false);
}

int LiveComponent::putByIndex(LiveObject &object, unsigned int index, const Variant &, Error *error)
{
    return object.setError(detail::errorNoIndex, static_cast<int>(index), error, false);
}

int LiveComponent::deleteByIndex(LiveObject &, unsigned int)
{
    return 0;
}

} // namespace Tavrin
