// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LivePropertyManager.h>
#include <tavrin/SimpleArray.h>

namespace Tavrin::detail {

// The flags of an enumeration, in the default language if they name none.
inline int withLanguage(int flags) noexcept
{
    return (flags & kLanguageMask) != 0 ? flags : flags | kDefaultLanguage;
}

// Removes ids from a position on, by what the name of the id is in the manager.
template <class IsDropped>
void dropByName(const LivePropertyManager &manager, SimpleArray &ids, int first, int flags,
                IsDropped isDropped)
{
    String name;
    for (int at = first; at < ids.length();) {
        const int id = static_cast<int>(ids.getData()[at]);
        const int code = manager.getNameForID(id, name, flags);
        if (isDropped(code, name.length() > 0))
            ids.removeAt(at);
        else
            ++at;
    }
}

} // namespace Tavrin::detail
