// SPDX-License-Identifier: MIT
// The routines for processors with AVX2. Only what stands between the two target pragmas is
// compiled for them: everything that other files share must be included in front.

#include "text/UnitScan.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <immintrin.h>

#include "text/CaseRules.h"
#include "text/TwoWaySearch.h"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

#include "text/UnitLanes128.h"
#include "text/UnitScanKernels.h"

namespace Tavrin::detail {
namespace {

struct Avx2;

struct Lanes16
{
    using Vector = __m256i;
    using Shorter = Lanes8<Avx2>;

    static constexpr int width = 16;
    static constexpr int bitsPerLane = 2;

    static Vector load(const unsigned short *units) noexcept
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(units));
    }
    static Vector loadAligned(const unsigned short *units) noexcept
    {
        return _mm256_load_si256(reinterpret_cast<const __m256i *>(units));
    }
    static void store(unsigned short *units, Vector value) noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(units), value);
    }
    static Vector widen(const char *bytes) noexcept
    {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes)));
    }
    static Vector fill(unsigned short unit) noexcept
    {
        return _mm256_set1_epi16(static_cast<short>(unit));
    }

    static Vector equal(Vector a, Vector b) noexcept { return _mm256_cmpeq_epi16(a, b); }
    static Vector either(Vector a, Vector b) noexcept { return _mm256_or_si256(a, b); }
    static Vector both(Vector a, Vector b) noexcept { return _mm256_and_si256(a, b); }
    static Vector differing(Vector a, Vector b) noexcept { return _mm256_xor_si256(a, b); }
    static Vector plus(Vector a, Vector b) noexcept { return _mm256_add_epi16(a, b); }
    static Vector minus(Vector a, Vector b) noexcept { return _mm256_sub_epi16(a, b); }
    static Vector minusClamped(Vector a, Vector b) noexcept { return _mm256_subs_epu16(a, b); }

    static unsigned mask(Vector lanes) noexcept
    {
        return static_cast<unsigned>(_mm256_movemask_epi8(lanes));
    }
    static bool isZero(Vector value) noexcept { return _mm256_testz_si256(value, value) != 0; }
};

constexpr const UnitRoutines *routines = &kernels::routines<Lanes16>;

} // namespace
} // namespace Tavrin::detail

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

const Tavrin::detail::UnitRoutines *Tavrin::detail::avx2Routines() noexcept
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") ? routines : nullptr;
}

#else

const Tavrin::detail::UnitRoutines *Tavrin::detail::avx2Routines() noexcept
{
    return nullptr;
}

#endif
