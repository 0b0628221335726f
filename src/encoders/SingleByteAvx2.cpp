// SPDX-License-Identifier: MIT
// The single-byte routines for processors with AVX2: the decoders, thirty-two bytes at a time, and
// the encoders of the SSE2 set.
//
// Decoders that need a table look every byte up, whatever it is.
// The special bytes begin at 128 and fill whole rows of sixteen, and a shuffle is a lookup in one
// row. Its index keeps the top bit clear only for bytes of that row; all others give 0, so the rows
// are just put together.

#include "encoders/SingleByte.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <algorithm>
#include <array>

#include <immintrin.h>

#include "encoders/SingleByteRules.h"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

#include "encoders/SingleByteLoops.h"

namespace Tavrin::detail {
namespace {

// The low or the high bytes of `rowCount` rows of units, each row twice: for both halves of a
// vector.
template <unsigned rowCount>
struct alignas(32) ByteRows
{
    std::array<std::array<unsigned char, 32>, rowCount> rows{};

    constexpr ByteRows(const std::array<unsigned short, std::size_t{rowCount} * 16> &units,
                       int shift)
    {
        for (unsigned index = 0; index < units.size(); ++index) {
            const auto byte = static_cast<unsigned char>(units[index] >> shift & 0xFF);
            rows[index / 16][index % 16] = byte;
            rows[index / 16][index % 16 + 16] = byte;
        }
    }

    __m256i operator[](unsigned row) const
    {
        return _mm256_load_si256(reinterpret_cast<const __m256i *>(rows[row].data()));
    }
};

constexpr int blockSize = 32;

__m256i loadVector(const void *from)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(from));
}

void storeVector(void *to, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i *>(to), value);
}

// Stores the units whose bytes these are.
void storeUnits(unsigned short *dst, __m256i lowBytes, __m256i highBytes)
{
    const __m256i low = _mm256_permute4x64_epi64(lowBytes, 0xD8);
    const __m256i high = _mm256_permute4x64_epi64(highBytes, 0xD8);
    storeVector(dst, _mm256_unpacklo_epi8(low, high));
    storeVector(dst + 16, _mm256_unpackhi_epi8(low, high));
}

// Marks bytes of 128 and above, but below `end`: signed, they are the lowest ones.
template <int end>
__m256i isAboveAscii(__m256i bytes)
{
    return _mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(end)), bytes);
}

// The units of the bytes, and U+FFFD with `replacementCode` for those from 128 up to `badEnd`.
template <int badEnd, int replacementCode>
struct WideningBlocks
{
    static constexpr int size = blockSize;

    static bool convert(const unsigned char *src, unsigned short *dst, int &code)
    {
        const __m256i bytes = loadVector(src);
        const __m256i bad = isAboveAscii<badEnd>(bytes);
        if (_mm256_testz_si256(bad, bad) != 0) {
            storeVector(dst, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
            storeVector(dst + 16, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
            return true;
        }
        code = replacementCode;
        // The high byte of U+FFFD is 0xFF, as the mark of a bad byte is.
        const __m256i replacement = _mm256_set1_epi8(static_cast<char>(noUnit & 0xFF));
        storeUnits(dst, _mm256_blendv_epi8(bytes, replacement, bad), bad);
        return true;
    }
};

template <const auto &units>
struct ShuffledBlocks
{
    static constexpr int size = blockSize;
    static constexpr unsigned rowCount = units.size() / 16;
    static constexpr ByteRows<rowCount> lowRows{units, 0};
    static constexpr ByteRows<rowCount> highRows{units, 8};

    static bool convert(const unsigned char *src, unsigned short *dst, int &)
    {
        const __m256i bytes = loadVector(src);
        const __m256i fromFirst = _mm256_xor_si256(bytes, _mm256_set1_epi8(-128));
        __m256i low = _mm256_setzero_si256();
        __m256i high = _mm256_setzero_si256();
        for (unsigned row = 0; row < rowCount; ++row) {
            const __m256i rowBits = _mm256_set1_epi8(static_cast<char>(row << 4));
            const __m256i index =
                _mm256_adds_epu8(_mm256_xor_si256(fromFirst, rowBits), _mm256_set1_epi8(0x70));
            low = _mm256_or_si256(low, _mm256_shuffle_epi8(lowRows[row], index));
            high = _mm256_or_si256(high, _mm256_shuffle_epi8(highRows[row], index));
        }
        const __m256i isSpecial = isAboveAscii<128 + 16 * int{rowCount}>(bytes);
        storeUnits(dst, _mm256_blendv_epi8(bytes, low, isSpecial), high);
        return true;
    }
};

template <class Rules, class Blocks>
constexpr auto decode = decodeSingleBytes<Rules, Blocks>;

} // namespace
} // namespace Tavrin::detail

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

namespace Tavrin::detail {
namespace {

SingleByteSet makeSet() noexcept
{
    SingleByteSet set = *sse2SingleByteSet();
    set.ascii.decode = decode<AsciiRules, WideningBlocks<256, badCharacter>>;
    set.cp1252.decode = decode<Cp1252Rules<false>, ShuffledBlocks<cp1252Middle>>;
    set.latin1.decode = decode<Cp1252Rules<true>, WideningBlocks<cp1252MiddleEnd, cannotConvert>>;
    set.macRoman.decode = decode<MacRomanRules, ShuffledBlocks<macRomanUpper>>;
    return set;
}

} // namespace

const SingleByteSet *avx2SingleByteSet() noexcept
{
    static const SingleByteSet set = makeSet();
    static const bool isSupported = __builtin_cpu_supports("avx2");
    return isSupported ? &set : nullptr;
}

} // namespace Tavrin::detail

#else

namespace Tavrin::detail {

const SingleByteSet *avx2SingleByteSet() noexcept
{
    return nullptr;
}

} // namespace Tavrin::detail

#endif
