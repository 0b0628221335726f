// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Refcountable.h>
#include <tavrin/String.h>

#include "regexp/Program.h"

namespace Tavrin {

// RegExpData: what the copies of a RegExp share; it never changes.
class RegExpData final : public Refcountable
{
public:
    RegExpData();
    RegExpData(const String &itsPattern, int itsFlags);
    ~RegExpData() override;

    const String pattern;
    const int flags;
    detail::Program program;
};

} // namespace Tavrin
