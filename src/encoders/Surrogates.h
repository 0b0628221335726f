// SPDX-License-Identifier: MIT
#pragma once

// Surrogate pairs (Unicode Standard, section 3.9, UTF-16).
namespace Tavrin::detail {

inline constexpr char32_t firstPairedCodePoint = 0x10000;

constexpr bool isLeadSurrogate(unsigned unit)
{
    return (unit & 0xFC00u) == 0xD800u;
}

constexpr bool isTrailSurrogate(unsigned unit)
{
    return (unit & 0xFC00u) == 0xDC00u;
}

constexpr bool isSurrogate(unsigned unit)
{
    return (unit & 0xF800u) == 0xD800u;
}

constexpr char32_t codePointOf(unsigned lead, unsigned trail)
{
    return (char32_t{lead & 0x3FFu} << 10) + (trail & 0x3FFu) + firstPairedCodePoint;
}

constexpr unsigned short leadSurrogateOf(char32_t codePoint)
{
    return static_cast<unsigned short>(0xD800u + ((codePoint - firstPairedCodePoint) >> 10));
}

constexpr unsigned short trailSurrogateOf(char32_t codePoint)
{
    return static_cast<unsigned short>(0xDC00u + (codePoint & 0x3FFu));
}

} // namespace Tavrin::detail
