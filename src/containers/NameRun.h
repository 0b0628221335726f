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
// Names of eight units and more are read in the same few steps: three blocks of eight units, which
// overlap where the name is shorter than 24. No processor could foresee branches on the length, and
// they would cost more than all the rest. Of shorter names there is one block, made up of two
// halves that may overlap as well, or of three single units.
//
// The sums are what hashes are made of. Each unit of the three blocks is multiplied with a number
// of its own; the first two of every four go into the lower half of the result, the other two into
// the upper half, both modulo 2^32.
namespace Tavrin::detail {

inline constexpr std::size_t unitsPerHalf = 4;
inline constexpr std::size_t unitsPerBlock = 8;
inline constexpr std::size_t blocksPerRun = 3;
inline constexpr std::size_t mostUnitsOfRun = blocksPerRun * unitsPerBlock;

inline bool fitsRun(std::size_t length)
{
    return length - 1 < mostUnitsOfRun;
}

// Where the blocks of a name begin, as far as its length decides; names of the same length share
// it.
struct RunPlaces
{
    explicit RunPlaces(std::size_t lengthOfName)
        : length(lengthOfName),
          last(length - unitsPerBlock),
          middle(last < unitsPerBlock ? last : unitsPerBlock)
    {}

    // Then the places are not those of blocks.
    bool isShort() const { return length < unitsPerBlock; }

    std::size_t length;
    std::size_t last;
    std::size_t middle;
};

// The two halves of a short name; the second is 0 for less than four units.
struct NameHalves
{
    NameHalves(const unsigned short *name, std::size_t length)
    {
        if (length >= unitsPerHalf) {
            std::memcpy(&front, name, sizeof front);
            std::memcpy(&back, name + length - unitsPerHalf, sizeof back);
        } else {
            front = name[0] | std::uint64_t{name[length / 2]} << 16 |
                    std::uint64_t{name[length - 1]} << 32;
            back = 0;
        }
    }

    std::uint64_t front;
    std::uint64_t back;
};

inline constexpr unsigned lowestNonAscii = 0x80;
// Without the other bits, upper and lower case of a letter are the same.
inline constexpr unsigned caselessAsciiBits = 0x5F;

// The fractional part of e, in pieces of 16 bits.
alignas(16) inline constexpr unsigned short runFactors[mostUnitsOfRun] = {
    0xB7E1, 0x5162, 0x8AED, 0x2A6A, 0xBF71, 0x5880, 0x9CF4, 0xF3C7, 0x62E7, 0x160F, 0x38B4, 0xDA56,
    0xA784, 0xD904, 0x5190, 0xCFEF, 0x324E, 0x7738, 0x926C, 0xFBE5, 0xF4BF, 0x8D8D, 0x8C31, 0xD763};

// The plain form, for processors without SSE2 and for the tests.
class PlainNameRun
{
public:
    PlainNameRun(const unsigned short *name, const RunPlaces &places)
    {
        if (places.isShort()) {
            const NameHalves halves(name, places.length);
            std::memcpy(units, &halves.front, sizeof halves.front);
            std::memcpy(units + unitsPerHalf, &halves.back, sizeof halves.back);
        } else {
            read(0, name);
            read(unitsPerBlock, name + places.middle);
            read(2 * unitsPerBlock, name + places.last);
        }
    }

    bool isAscii() const
    {
        unsigned all = 0;
        for (const unsigned short unit : units)
            all |= unit;
        return all < lowestNonAscii;
    }
    std::uint64_t sums() const { return sumsWith(0xFFFF); }
    std::uint64_t caselessSums() const { return sumsWith(caselessAsciiBits); }
    bool operator==(const PlainNameRun &other) const
    {
        return std::memcmp(units, other.units, sizeof units) == 0;
    }

private:
    void read(std::size_t at, const unsigned short *from)
    {
        std::memcpy(units + at, from, unitsPerBlock * sizeof *units);
    }
    std::uint64_t sumsWith(unsigned mask) const
    {
        std::uint32_t halves[2] = {};
        for (std::size_t at = 0; at < mostUnitsOfRun; ++at) {
            const int unit = static_cast<short>(units[at] & mask);
            const int factor = static_cast<short>(runFactors[at]);
            halves[at / 2 % 2] += static_cast<std::uint32_t>(unit * factor);
        }
        return halves[0] | std::uint64_t{halves[1]} << 32;
    }

    unsigned short units[mostUnitsOfRun] = {};
};

#if defined(__SSE2__)

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

class Sse2NameRun
{
public:
    Sse2NameRun(const unsigned short *name, const RunPlaces &places)
    {
        if (places.isShort()) [[unlikely]] {
            const NameHalves halves(name, places.length);
            first = _mm_set_epi64x(static_cast<long long>(halves.back),
                                   static_cast<long long>(halves.front));
            middle = last = _mm_setzero_si128();
        } else {
            first = load(name);
            middle = load(name + places.middle);
            last = load(name + places.last);
        }
    }

    bool isAscii() const
    {
        const __m128i all = _mm_or_si128(_mm_or_si128(first, middle), last);
        // An addition that stops at the largest value carries those bits to the top one.
        constexpr unsigned topsOfUnits = 0xAAAA;
        const __m128i carried = _mm_adds_epu16(all, fill(0x8000 - lowestNonAscii));
        return (static_cast<unsigned>(_mm_movemask_epi8(carried)) & topsOfUnits) == 0;
    }
    std::uint64_t sums() const { return sumsOf(first, middle, last); }
    std::uint64_t caselessSums() const
    {
        const __m128i mask = fill(caselessAsciiBits);
        return sumsOf(_mm_and_si128(first, mask), _mm_and_si128(middle, mask),
                      _mm_and_si128(last, mask));
    }
    bool operator==(const Sse2NameRun &other) const
    {
        const __m128i difference = _mm_or_si128(
            _mm_or_si128(_mm_xor_si128(first, other.first), _mm_xor_si128(middle, other.middle)),
            _mm_xor_si128(last, other.last));
        return _mm_movemask_epi8(_mm_cmpeq_epi8(difference, _mm_setzero_si128())) == 0xFFFF;
    }

private:
    static __m128i load(const unsigned short *units)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(units));
    }
    static __m128i fill(unsigned unit) { return _mm_set1_epi16(static_cast<short>(unit)); }

    static __m128i weigh(__m128i block, std::size_t number)
    {
        const auto *factors = reinterpret_cast<const __m128i *>(runFactors);
        return _mm_madd_epi16(block, _mm_load_si128(factors + number));
    }
    static std::uint64_t sumsOf(__m128i a, __m128i b, __m128i c)
    {
        const __m128i sums = _mm_add_epi32(_mm_add_epi32(weigh(a, 0), weigh(b, 1)), weigh(c, 2));
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
