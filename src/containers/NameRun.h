// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// A name of 1 to 24 units in the registers of the processor.
//
// Names of eight units and more are runs, and read in the same few steps: three blocks of eight
// units, which overlap where the name is shorter than 24. No processor could foresee branches on
// the length, and they would cost more than all the rest. A short name is two halves of four units
// that may overlap as well, or up to three single units.
//
// The sums are what hashes are made of. They are meant for units of 8 bits: those of a run see
// nothing else. Names that differ only in the case of ASCII letters have the same caseless sums.
namespace Tavrin::detail {

inline constexpr std::size_t unitsPerHalf = 4;
inline constexpr std::size_t unitsPerBlock = 8;
inline constexpr std::size_t mostUnitsOfRun = 3 * unitsPerBlock;

inline constexpr unsigned lowestNonAscii = 0x80;
// Without the other bits, upper and lower case of a letter are the same.
inline constexpr unsigned caselessAsciiBits = 0x5F;

// Where the parts of a name begin, as far as its length decides; names of the same length share it.
struct NamePlaces
{
    explicit NamePlaces(std::size_t lengthOfName)
        : length(lengthOfName),
          last(length - unitsPerBlock),
          middle(last < unitsPerBlock ? last : unitsPerBlock)
    {}

    std::size_t length;
    // Of the blocks of a run.
    std::size_t last;
    std::size_t middle;
};

// A name of 1 to 7 units.
class ShortName
{
public:
    static bool fits(std::size_t length) { return length - 1 < unitsPerBlock - 1; }

    ShortName(const unsigned short *name, const NamePlaces &places)
    {
        const std::size_t length = places.length;
        if (length >= unitsPerHalf) {
            std::memcpy(&front, name, sizeof front);
            std::memcpy(&back, name + length - unitsPerHalf, sizeof back);
        } else {
            front = name[0] | std::uint64_t{name[length / 2]} << 16 |
                    std::uint64_t{name[length - 1]} << 32;
            back = 0;
        }
    }

    bool isAscii() const { return ((front | back) & everyUnit * nonAsciiBits) == 0; }
    std::uint64_t sums() const { return sumsOf(front, back); }
    std::uint64_t caselessSums() const
    {
        constexpr std::uint64_t mask = everyUnit * caselessAsciiBits;
        return sumsOf(front & mask, back & mask);
    }
    bool operator==(const ShortName &other) const
    {
        return ((front ^ other.front) | (back ^ other.back)) == 0;
    }

private:
    static constexpr std::uint64_t everyUnit = 0x0001'0001'0001'0001;
    static constexpr std::uint64_t nonAsciiBits = 0x10000 - lowestNonAscii;

    // The factors are pieces of the fractional part of e, made odd.
    static std::uint64_t sumsOf(std::uint64_t front, std::uint64_t back)
    {
        return front * 0xB7E1'5162'8AED'2A6B + back * 0xBF71'5880'9CF4'F3C7;
    }

    std::uint64_t front;
    std::uint64_t back;
};

// The plain form of a name of 8 to 24 units, for processors without SSE2 and for the tests.
//
// The units of the first two blocks are packed into bytes, and two at a time are multiplied with a
// number of their own; so is each unit of the last block. The first two of every four products go
// into the lower half of the result, the other two into the upper half, both modulo 2^32.
class PlainNameRun
{
public:
    static bool fits(std::size_t length)
    {
        return length - unitsPerBlock <= mostUnitsOfRun - unitsPerBlock;
    }

    PlainNameRun(const unsigned short *name, const NamePlaces &places)
    {
        read(0, name);
        read(unitsPerBlock, name + places.middle);
        read(2 * unitsPerBlock, name + places.last);
    }

    bool isAscii() const
    {
        unsigned all = 0;
        for (const unsigned short unit : units)
            all |= unit;
        return all < lowestNonAscii;
    }
    std::uint64_t sums() const { return sumsWith(0xFF); }
    std::uint64_t caselessSums() const { return sumsWith(caselessAsciiBits); }
    bool operator==(const PlainNameRun &other) const
    {
        return std::memcmp(units, other.units, sizeof units) == 0;
    }

    static constexpr std::size_t factorCount = 2 * unitsPerBlock;
    // Primes of the upper half of their range, so that no two products of two pairs of letters make
    // up for each other.
    alignas(16) static constexpr short factors[factorCount] = {
        0x6A07, -0x619D, 0x7D3F, -0x7771, 0x73BD, -0x676F, 0x6B75, -0x7F43,
        0x7151, -0x6D93, 0x6571, -0x7A7D, 0x7F13, -0x6F1F, 0x675B, -0x74DD};

private:
    void read(std::size_t at, const unsigned short *from)
    {
        std::memcpy(units + at, from, unitsPerBlock * sizeof *units);
    }
    std::uint64_t sumsWith(unsigned mask) const
    {
        std::uint32_t halves[2] = {};
        for (std::size_t at = 0; at < factorCount; ++at) {
            const unsigned unit = at < unitsPerBlock
                                      ? (units[2 * at] & mask) | (units[2 * at + 1] & mask) << 8
                                      : units[unitsPerBlock + at] & mask;
            halves[at / 2 % 2] +=
                static_cast<std::uint32_t>(static_cast<short>(unit) * factors[at]);
        }
        return halves[0] | std::uint64_t{halves[1]} << 32;
    }

    unsigned short units[mostUnitsOfRun];
};

#if defined(__SSE2__)

#if defined(__AVX__)

// The compiler does it, and the instructions below do not wait.
inline void clearWideRegisters() {}

#else

// Whether the processor has registers wider than those of SSE2; false before this library is up.
extern const bool hasWideRegisters;

// Code of others may leave the upper halves of wide registers in use. Every instruction below would
// then wait for the one before it that wrote to the same register.
inline void clearWideRegisters()
{
    if (hasWideRegisters) [[likely]] {
        asm volatile("vzeroupper");
    }
}

#endif

class Sse2NameRun
{
public:
    static bool fits(std::size_t length) { return PlainNameRun::fits(length); }

    Sse2NameRun(const unsigned short *name, const NamePlaces &places)
        : first(load(name)), middle(load(name + places.middle)), last(load(name + places.last))
    {}

    bool isAscii() const
    {
        const __m128i all = _mm_or_si128(_mm_or_si128(first, middle), last);
        // An addition that stops at the largest value carries those bits to the top one.
        constexpr unsigned topsOfUnits = 0xAAAA;
        const __m128i carried =
            _mm_adds_epu16(all, _mm_set1_epi16(static_cast<short>(0x8000 - lowestNonAscii)));
        return (static_cast<unsigned>(_mm_movemask_epi8(carried)) & topsOfUnits) == 0;
    }
    std::uint64_t sums() const { return sumsOf(_mm_packus_epi16(first, middle), last); }
    std::uint64_t caselessSums() const
    {
        const __m128i mask = _mm_set1_epi8(caselessAsciiBits);
        return sumsOf(_mm_and_si128(_mm_packus_epi16(first, middle), mask),
                      _mm_and_si128(last, mask));
    }
    bool operator==(const Sse2NameRun &other) const
    {
        const __m128i same = _mm_and_si128(
            _mm_and_si128(_mm_cmpeq_epi8(first, other.first), _mm_cmpeq_epi8(middle, other.middle)),
            _mm_cmpeq_epi8(last, other.last));
        return _mm_movemask_epi8(same) == 0xFFFF;
    }

private:
    static __m128i load(const unsigned short *units)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(units));
    }
    static std::uint64_t sumsOf(__m128i pairs, __m128i singles)
    {
        const auto *factors = reinterpret_cast<const __m128i *>(PlainNameRun::factors);
        const __m128i sums = _mm_add_epi32(_mm_madd_epi16(pairs, _mm_load_si128(factors)),
                                           _mm_madd_epi16(singles, _mm_load_si128(factors + 1)));
        const __m128i both = _mm_add_epi32(sums, _mm_unpackhi_epi64(sums, sums));
        return static_cast<std::uint64_t>(_mm_cvtsi128_si64(both));
    }

    __m128i first, middle, last;
};

using NameRun = Sse2NameRun;

#else

using NameRun = PlainNameRun;

inline void clearWideRegisters() {}

#endif

} // namespace Tavrin::detail
