// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LiveComponent.h>

#include "live/LiveObjectData.h"
#include "live/Locked.h"

namespace Tavrin::detail {

// The components of an object, from the last one to the first. Each one is kept alive and locked
// until the next one is asked for. Components may be added and removed meanwhile: none is met
// twice, and one that was removed is not met any more.
class ComponentWalk
{
public:
    explicit ComponentWalk(const LiveObject &object)
        : data(*LiveObjectAccess::data(object)),
          components(data.components),
          place(components.length()),
          owner(place > 0 && object.getRefCount() > 0 ? &object : nullptr)
    {
        if (owner != nullptr)
            owner->addRef();
    }
    ~ComponentWalk()
    {
        letGo();
        if (owner != nullptr)
            owner->release();
    }
    ComponentWalk(const ComponentWalk &) = delete;
    ComponentWalk &operator=(const ComponentWalk &) = delete;

    LiveComponent *next()
    {
        if (place == 0) [[likely]]
            return nullptr;
        return take();
    }

private:
    LiveComponent *take();
    void letGo();

    bool isStillThere(LiveComponent *component) const;

    LiveObjectData &data;
    const TSimpleArray<LiveComponent> components; // as they were at first
    int place;                                    // of the current one, or behind the last one
    const LiveObject *owner;
    LiveComponent *current = nullptr;
};

} // namespace Tavrin::detail
