// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include <tavrin/String.h>

#include "runtime/BlockCache.h"
#include "text/UnitScan.h"

// What the sources of String share: sizes, records and runs of units.
namespace Tavrin::detail {

// A run of units that belongs to someone else.
struct UnitView
{
    const unsigned short *units;
    int length;
};

// The one check of a length: what does not fit a signed 32-bit count cannot be served.
inline int checkedLength(std::int64_t length)
{
    if (length > std::numeric_limits<int>::max())
        throwOutOfMemory();
    return static_cast<int>(length);
}

// The units of room in a block for `length` units and the 0 behind them: the smallest power of two,
// 16 or more, that is above `length`.
inline std::size_t roomFor(int length)
{
    constexpr unsigned smallestRoom = 16;
    return std::size_t{1} << std::bit_width(static_cast<unsigned>(length) | (smallestRoom - 1));
}

inline constexpr std::size_t bytesForRoom(std::size_t room)
{
    return offsetof(StringBuffer, text) + room * sizeof(unsigned short);
}

inline std::size_t bytesOf(int units)
{
    return static_cast<std::size_t>(units) * sizeof(unsigned short);
}

// Copies a short text by a few overlapping moves from both ends, without a call.
inline void copyFewUnits(unsigned short *to, const unsigned short *from, int count)
{
    const std::size_t bytes = bytesOf(count);
    auto *target = reinterpret_cast<char *>(to);
    const auto *source = reinterpret_cast<const char *>(from);
    const auto moveBoth = [=](auto size, std::size_t at) {
        std::memcpy(target + at, source + at, size);
        const std::size_t fromEnd = bytes - size - at;
        std::memcpy(target + fromEnd, source + fromEnd, size);
    };
    constexpr std::integral_constant<std::size_t, 16> wide;
    if (bytes >= wide) {
        moveBoth(wide, 0);
        if (bytes <= 2 * wide)
            return;
        moveBoth(wide, wide);
        if (bytes <= 4 * wide)
            return;
        moveBoth(wide, 2 * wide);
        for (std::size_t at = 3 * wide; 2 * at < bytes; at += wide)
            moveBoth(wide, at);
    } else if (bytes >= 8) {
        moveBoth(std::integral_constant<std::size_t, 8>(), 0);
    } else if (bytes >= 4) {
        moveBoth(std::integral_constant<std::size_t, 4>(), 0);
    } else if (bytes != 0) {
        std::memcpy(target, source, sizeof(unsigned short));
    }
}

// The runs do not overlap.
inline void copyUnits(unsigned short *to, const unsigned short *from, int count)
{
    constexpr int few = 64;
    if (count <= few)
        copyFewUnits(to, from, count);
    else
        std::memcpy(to, from, bytesOf(count));
}

inline void moveUnits(unsigned short *to, const unsigned short *from, int count)
{
    std::memmove(to, from, bytesOf(count));
}

// The number of units of a text that ends with a 0 unit; null is empty.
inline int lengthOrZero(const unsigned short *units)
{
    return units == nullptr ? 0 : lengthOf(units);
}

inline int lengthOrZero(const char *bytes)
{
    return bytes == nullptr ? 0 : checkedLength(static_cast<std::int64_t>(std::strlen(bytes)));
}

// The rules of String::find: the position of the pattern, or -1.
int findForward(UnitView text, UnitView pattern, int start) noexcept;
int findBackward(UnitView text, UnitView pattern, int start) noexcept;

// The way of this library's own sources into a String.
struct StringAccess
{
    static StringBuffer *buffer(const String &string) { return string.buffer; }
    // The text of a string that its caller has made its own, as init and makeUnique do.
    static unsigned short *units(String &string) { return string.buffer->text; }
    static UnitView view(const String &string)
    {
        return {string.buffer->text, string.buffer->length};
    }
    // A string of exactly these units, also when they begin with a 0.
    static String make(UnitView text);
    // Makes it a string of exactly these units, which may be a part of it; keeps its block if the
    // text fits.
    static void assign(String &string, UnitView text) { string.assignUnits(text); }
    // Gives the old text up and returns the place for so many units, at least one; keeps the block
    // if they fit.
    static unsigned short *overwrite(String &string, int length)
    {
        StringBuffer &own = *string.buffer;
        if (own.isShared() || !own.keepsBlockFor(length)) {
            const unsigned pin = own.capacityWord & StringBuffer::pinnedFlag;
            string.init(length);
            string.buffer->capacityWord |= pin;
            return string.buffer->text;
        }
        own.length = length;
        own.text[length] = 0;
        return own.text;
    }
    // Moves a text that shares its buffer with no other, and keeps the string pinned if it is.
    static void take(String &string, String &&text)
    {
        if (text.length() > 0)
            text.buffer->capacityWord |= string.buffer->capacityWord & StringBuffer::pinnedFlag;
        string = std::move(text);
    }
};

} // namespace Tavrin::detail
