// SPDX-License-Identifier: MIT
#pragma once

// Lanes of SSE2 for the block routines. Target is a type of the including file, so that no other
// file, compiled for another processor, shares an instantiation with it.

#include <cstring>

#include <emmintrin.h>

namespace Tavrin::detail {

template <class Target>
struct Lanes4;

template <class Target>
struct Lanes8
{
    using Vector = __m128i;
    using Shorter = Lanes4<Target>;

    static constexpr int width = 8;
    static constexpr int bitsPerLane = 2;

    static Vector load(const unsigned short *units) noexcept
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(units));
    }
    static Vector loadAligned(const unsigned short *units) noexcept
    {
        return _mm_load_si128(reinterpret_cast<const __m128i *>(units));
    }
    static void store(unsigned short *units, Vector value) noexcept
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(units), value);
    }
    static Vector widen(const char *bytes) noexcept
    {
        const __m128i narrow = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(bytes));
        return _mm_unpacklo_epi8(narrow, _mm_setzero_si128());
    }
    static Vector fill(unsigned short unit) noexcept
    {
        return _mm_set1_epi16(static_cast<short>(unit));
    }

    static Vector equal(Vector a, Vector b) noexcept { return _mm_cmpeq_epi16(a, b); }
    static Vector either(Vector a, Vector b) noexcept { return _mm_or_si128(a, b); }
    static Vector both(Vector a, Vector b) noexcept { return _mm_and_si128(a, b); }
    static Vector differing(Vector a, Vector b) noexcept { return _mm_xor_si128(a, b); }
    static Vector plus(Vector a, Vector b) noexcept { return _mm_add_epi16(a, b); }
    static Vector minus(Vector a, Vector b) noexcept { return _mm_sub_epi16(a, b); }
    static Vector minusClamped(Vector a, Vector b) noexcept { return _mm_subs_epu16(a, b); }

    static unsigned mask(Vector lanes) noexcept
    {
        return static_cast<unsigned>(_mm_movemask_epi8(lanes));
    }
    static bool isZero(Vector value) noexcept
    {
        return mask(_mm_cmpeq_epi8(value, _mm_setzero_si128())) == 0xFFFF;
    }
};

// The lower half of a vector; what is loaded has zeros above.
template <class Target>
struct Lanes4 : Lanes8<Target>
{
    using Vector = __m128i;
    using Shorter = void;

    static constexpr int width = 4;

    static Vector load(const unsigned short *units) noexcept
    {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(units));
    }
    static Vector loadAligned(const unsigned short *units) noexcept { return load(units); }
    static void store(unsigned short *units, Vector value) noexcept
    {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(units), value);
    }
    static Vector widen(const char *bytes) noexcept
    {
        int four;
        std::memcpy(&four, bytes, sizeof(four));
        return _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
    }
    static unsigned mask(Vector lanes) noexcept { return Lanes8<Target>::mask(lanes) & 0xFF; }
};

} // namespace Tavrin::detail
