// SPDX-License-Identifier: MIT
// The table of the powers of ten, computed by the compiler in whole numbers: a power of five grows
// by multiplication, or 2^scale shrinks by division, and its 128 top bits are the entry. Dividing
// the quotient again, cut off each time, gives the quotient by the product, so that every entry is
// cut off only once. Pinned by tests/text/DecimalDigitsTest.cpp.
#include "text/PowersOfTen.h"

#include <array>
#include <bit>

namespace Tavrin::detail {

namespace {

constexpr int scale = 896; // leaves 128 bits and more of 2^scale / 5^308
constexpr int limbBits = 32;
constexpr int limbCount = scale / limbBits + 1;

struct BigNumber
{
    std::array<std::uint32_t, limbCount> limbs{}; // the lowest first
    int used = 0;

    constexpr void multiplyByFive()
    {
        std::uint64_t carry = 0;
        for (int at = 0; at < used; ++at) {
            carry += std::uint64_t{5} * limb(at);
            limb(at) = static_cast<std::uint32_t>(carry);
            carry >>= limbBits;
        }
        if (carry != 0)
            limb(used++) = static_cast<std::uint32_t>(carry);
    }
    constexpr void divideByFive()
    {
        std::uint64_t rest = 0;
        for (int at = used - 1; at >= 0; --at) {
            rest = rest << limbBits | limb(at);
            limb(at) = static_cast<std::uint32_t>(rest / 5);
            rest %= 5;
        }
        if (limb(used - 1) == 0)
            --used;
    }
    constexpr PowerOfTen topBits() const
    {
        const int spare = std::countl_zero(limbs[static_cast<std::size_t>(used - 1)]);
        std::uint64_t words[2] = {};
        for (int word = 0; word < 2; ++word)
            words[word] =
                std::uint64_t{shifted(2 * word, spare)} << limbBits | shifted(2 * word + 1, spare);
        return {words[0], words[1]};
    }

private:
    constexpr std::uint32_t &limb(int at) { return limbs[static_cast<std::size_t>(at)]; }
    // The limb that stands so many below the top, after a shift to the left.
    constexpr std::uint32_t shifted(int below, int by) const
    {
        const std::uint64_t pair = std::uint64_t{fromTop(below)} << limbBits | fromTop(below + 1);
        return static_cast<std::uint32_t>(pair << by >> limbBits);
    }
    constexpr std::uint32_t fromTop(int below) const
    {
        return below < used ? limbs[static_cast<std::size_t>(used - 1 - below)] : 0;
    }
};

constexpr PowersOfTen makeTable()
{
    PowersOfTen table{};
    BigNumber power;
    power.limbs[0] = 1;
    power.used = 1;
    for (int exponent = 0; exponent <= greatestPowerOfTen; ++exponent) {
        table.from[exponent - leastPowerOfTen] = power.topBits();
        power.multiplyByFive();
    }
    BigNumber quotient;
    quotient.limbs[limbCount - 1] = 1;
    quotient.used = limbCount;
    for (int exponent = -1; exponent >= leastPowerOfTen; --exponent) {
        quotient.divideByFive();
        table.from[exponent - leastPowerOfTen] = quotient.topBits();
    }
    return table;
}

} // namespace

constexpr PowersOfTen powersOfTen = makeTable();

} // namespace Tavrin::detail
