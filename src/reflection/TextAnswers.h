// SPDX-License-Identifier: MIT
#pragma once

#include <new>
#include <utility>

#include "text/StringAccess.h"

// The texts that records store in the strings of their callers.
namespace Tavrin::detail {

// Empty without memory.
inline void answer(String &out, const char *bytes) noexcept
try {
    out = bytes;
} catch (const std::bad_alloc &) {
    out.erase();
}

// A null pointer is ignored.
inline void answer(String *out, String &&text) noexcept
{
    if (out != nullptr)
        StringAccess::take(*out, std::move(text));
}

} // namespace Tavrin::detail
