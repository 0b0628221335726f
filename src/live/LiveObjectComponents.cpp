// SPDX-License-Identifier: MIT
// The components of an object. Pinned by tests/live/LiveObjectComponentTest.cpp.
#include <utility>

#include "live/ComponentWalk.h"
#include "live/Guarded.h"
#include "live/SelfHold.h"

namespace Tavrin {

using detail::ComponentWalk;
using detail::guarded;
using detail::guardedOr;
using detail::isUsable;

namespace detail {

LiveComponent *ComponentWalk::take()
{
    letGo();
    while (place > 0)
        if (LiveComponent *component = components[--place]; isStillThere(component)) {
            current = component;
            current->addRef();
            current->lock();
            return current;
        }
    return nullptr;
}

bool ComponentWalk::isStillThere(LiveComponent *component) const
{
    const auto &now = std::as_const(data.components);
    const bool isSameList = now.begin() == components.begin();
    return isSameList || now.indexOf(component) >= 0;
}

void ComponentWalk::letGo()
{
    LiveComponent *left = std::exchange(current, nullptr);
    if (left == nullptr)
        return;
    left->unlock();
    left->release();
}

InterfacePtr<LiveComponent> indexableComponent(const LiveObject &object)
{
    for (ComponentWalk walk(object); LiveComponent *component = walk.next();)
        if (component->isIndexable())
            return component;
    return nullptr;
}

} // namespace detail

int LiveObject::addComponent(LiveComponent &component)
{
    if (!isUsable(*this))
        return detail::errorInvalid;
    if (data->components.indexOf(&component) >= 0)
        return 0;
    const detail::SelfHold self(*this);
    return guarded(nullptr, [&] {
        data->components.append(&component);
        component.addRef();
        const detail::SelfHold held(component); // it may be removed again
        const detail::Locked locked(component);
        if (component.hasOperators())
            flags |= operatorsFlag;
        return 0;
    });
}

int LiveObject::removeComponent(LiveComponent &component)
{
    if (!isUsable(*this))
        return detail::errorInvalid;
    const int place = data->components.indexOf(&component);
    if (place < 0)
        return 0;
    return guarded(nullptr, [&] {
        data->components.removeAt(place);
        component.release();
        return 0;
    });
}

LiveComponent *LiveObject::getComponent(int id, const LiveComponent *skip) const
{
    if (!isUsable(*this))
        return nullptr;
    return guardedOr<LiveComponent *>(nullptr, [&]() -> LiveComponent * {
        for (ComponentWalk walk(*this); LiveComponent *component = walk.next();) {
            if (component == skip)
                continue;
            const InfoType type = component->getType(*this, id);
            if (type != kInfoNone)
                return type == kInfoHidden ? nullptr : component;
        }
        return nullptr;
    });
}

LiveComponent *LiveObject::lookupIndexableComponent() const
{
    if (data == nullptr)
        return nullptr;
    return guardedOr<LiveComponent *>(nullptr,
                                      [&] { return detail::indexableComponent(*this).get(); });
}

} // namespace Tavrin
