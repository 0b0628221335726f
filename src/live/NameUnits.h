// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>

#include <tavrin/String.h>

// Names are short: they are compared in a few wide steps, of which the last overlaps the one
// before.
namespace Tavrin::detail {

// All units of a text of one to three.
inline std::uint64_t fewUnits(const unsigned short *units, int length) noexcept
{
    return units[0] | std::uint64_t{units[length / 2]} << 16 |
           std::uint64_t{units[length - 1]} << 32;
}

inline bool hasSameUnits(const unsigned short *units, const unsigned short *others,
                         int length) noexcept
{
    if (length >= 8) {
        for (int at = 0; at + 8 < length; at += 8)
            if (std::memcmp(units + at, others + at, 16) != 0)
                return false;
        return std::memcmp(units + length - 8, others + length - 8, 16) == 0;
    }
    if (length >= 4)
        return std::memcmp(units, others, 8) == 0 &&
               std::memcmp(units + length - 4, others + length - 4, 8) == 0;
    return length == 0 || fewUnits(units, length) == fewUnits(others, length);
}

// The units of a name of four to sixteen, in four steps of four.
class NameQuads
{
public:
    static constexpr int shortest = 4;
    static constexpr int longest = 16;

    static bool fit(int length) noexcept { return length >= shortest && length <= longest; }

    NameQuads(const unsigned short *units, int length) noexcept
    {
        const int second = length < 8 ? 0 : 4;
        first[0] = quadAt(units);
        first[1] = quadAt(units + second);
        last[0] = quadAt(units + length - 4 - second);
        last[1] = quadAt(units + length - 4);
    }

    bool operator==(const NameQuads &other) const noexcept
    {
        return ((first[0] ^ other.first[0]) | (first[1] ^ other.first[1]) |
                (last[0] ^ other.last[0]) | (last[1] ^ other.last[1])) == 0;
    }

    // The same in both cases of an ASCII letter.
    std::uint64_t hash() const noexcept { return mix(first[0], first[1]) + mix(last[0], last[1]); }
    // Both halves of a product: the lower bits of the upper one depend on all units, and numbered
    // names spread over them.
    static std::uint64_t mix(std::uint64_t one, std::uint64_t other) noexcept
    {
        constexpr std::uint64_t caseBits = 0x0020'0020'0020'0020;
        // Numbers without a pattern: fractions of the golden ratio and of the root of 2.
        const std::uint64_t left = (one | caseBits) ^ 0x9E37'79B9'7F4A'7C15;
        const std::uint64_t right = (other | caseBits) ^ 0x6A09'E667'F3BC'C908;
        const auto product = static_cast<Product>(left) * right;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    }

private:
    __extension__ using Product = unsigned __int128;

    static std::uint64_t quadAt(const unsigned short *units) noexcept
    {
        std::uint64_t quad;
        std::memcpy(&quad, units, sizeof quad);
        return quad;
    }

    std::uint64_t first[2];
    std::uint64_t last[2];
};

inline bool isSameName(const String &name, const String &other) noexcept
{
    return name.length() == other.length() &&
           hasSameUnits(name.wstr(), other.wstr(), name.length());
}

} // namespace Tavrin::detail
