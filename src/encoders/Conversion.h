// SPDX-License-Identifier: MIT
#pragma once

// What the conversion routines between bytes and code units have in common. They work on raw
// pointers; a length or a room below 1 counts as 0, and its pointer is never read.
namespace Tavrin::detail {

// Result codes of conversions, as the message table words them.
inline constexpr int noError = 0;
inline constexpr int badCharacter = 37;     // a character that the other side cannot express
inline constexpr int partialCharacter = 38; // the input or the room ends within a character
inline constexpr int cannotConvert = 44;    // bytes that stand for nothing in this encoding
inline constexpr int notImplemented = -33;  // an operation that the encoder does not offer

// What a conversion did: how much of the input it took, and how much it wrote, each counted in
// units of its side. Room behind what it wrote may have served it as working space.
struct Conversion
{
    int consumed;
    int produced;
    int code;

    bool operator==(const Conversion &) const = default;
};

// A length found ahead of a conversion, with a result code of its own.
struct Measure
{
    int length;
    int code;

    bool operator==(const Measure &) const = default;
};

} // namespace Tavrin::detail
