// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Context.h>
#include <tavrin/InitTerm.h>
#include <tavrin/Lock.h>

namespace Tavrin::link {

// What of the agreement between this module and the library does not hold, or null. Each side
// writes what the other one reads, so both have to mean one object. Brings the library up and down.
inline const char *disagreement()
{
    InitTerm::init();
    Globals *seenHere = Globals::get();
    const char *problem = nullptr;

    Context &own = Context::get();
    seenHere->context = &own;
    InitTerm::setMT();
    if (&Context::get() != &own)
        problem = "the library does not follow the context that this module set";
    seenHere->context = nullptr;
    if (seenHere->locks == nullptr || seenHere->locks != Context::get().locks)
        problem = "this module does not see the lock table that the library made";

    int count = 41;
    if (detail::addReference(&count) != TvAtomicInc(&count) - 1)
        problem = "inline and exported counting differ";

    InitTerm::exit();
    if (seenHere->locks != nullptr)
        problem = "this module still sees a lock table after exit";
    return problem;
}

} // namespace Tavrin::link
