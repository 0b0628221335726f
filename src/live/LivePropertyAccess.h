// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LivePropertyManager.h>

namespace Tavrin::detail {

// The way of this library's own sources into a LiveProperty.
struct LivePropertyAccess
{
    static LiveProperty *&next(LiveProperty &property) { return property.next; }
    static LiveProperty *&previous(LiveProperty &property) { return property.previous; }
    static int &index(LiveProperty &property) { return property.index; }
    static Variant &value(LiveProperty &property) { return property.value; }
    static unsigned int &flags(LiveProperty &property) { return property.flags; }
};

} // namespace Tavrin::detail
