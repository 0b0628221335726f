// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LivePropertyManager.h>

#include "live/Exactly.h"
#include "live/InfoTypes.h"

namespace Tavrin::detail {

// The way of this library's own sources into a LiveProperty.
struct LivePropertyAccess
{
    static LiveProperty *&next(LiveProperty &property) { return property.next; }
    static LiveProperty *&previous(LiveProperty &property) { return property.previous; }
    static int &index(LiveProperty &property) { return property.index; }
    static Variant &value(LiveProperty &property) { return property.value; }
    static unsigned int &flags(LiveProperty &property) { return property.flags; }

    // Reads a property that keeps its value itself and is of no class of a host; whether it is one.
    static bool readPlain(const LiveProperty &property, Variant &out)
    {
        const bool isAsked = (property.flags & kPropertyByMessage) != 0;
        if (isAsked || !isReadable(property.getType()) || !isExactly(property))
            return false;
        out = property.value;
        return true;
    }
};

} // namespace Tavrin::detail
