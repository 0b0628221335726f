// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <new>
#include <utility>

#include <tavrin/Variant.h>

#include "runtime/OnHeap.h"

namespace Tavrin::detail {

// A heap copy of a payload, or null without memory.
template <class T>
T *copyOrNull(const T &source) noexcept
{
    try {
        return newOnHeap<T>(source);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

// The way of this library's own sources into a Variant.
struct VariantAccess
{
    // The array of an array value; null for other kinds, and without a payload.
    static Array *payloadArray(const Variant &variant)
    {
        return variant.type == kArray ? variant.value.array : nullptr;
    }
    // Makes an undefined value own the array; null is what an array value has without memory.
    static void giveArray(Variant &variant, Array *array)
    {
        variant.become(kArray, {.array = array});
    }
    // Takes the array out of an array value, which becomes undefined.
    static Array *takeArray(Variant &variant)
    {
        Array *array = variant.value.array;
        variant.type = kUndefined;
        variant.value.bits = 0;
        return array;
    }

    // Whether both hold the same script object or live object.
    static bool isSame(const Variant &a, const Variant &b)
    {
        return a.type == b.type && a.jsObject == b.jsObject &&
               (a.type != kLiveObject || a.value.liveObject == b.value.liveObject);
    }

    // Moves an element of a list to another place of it, where nothing is left behind.
    static void relocate(Variant &to, Variant &from)
    {
        to = std::move(from);
        from.erase(); // NOLINT(bugprone-use-after-move): back to no value
    }

    // Back to all zero bytes.
    static void reset(Variant &variant)
    {
        std::destroy_at(&variant);
        std::construct_at(&variant);
    }

    // Replaces `out` by the text form, without keeping it: this does not change the value, so that
    // elements that several threads share can be written.
    static void writeText(const Variant &variant, int radix, String &out);
};

} // namespace Tavrin::detail
