// SPDX-License-Identifier: MIT
#include <tavrin/Refcountable.h>

namespace Tavrin {

Refcountable::~Refcountable() = default;

void Refcountable::release() const
{
    if (detail::dropReference(&refCount) > 0)
        return;
    WeakRefBase::release(this);
    delete this;
}

Cloneable::~Cloneable() = default;

} // namespace Tavrin
