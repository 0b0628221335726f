// SPDX-License-Identifier: MIT
// The single-byte routines for every x86-64 processor. Characters that only change their width, or
// that all get the same replacement, go sixteen at a time; blocks with any other go by the rules,
// or through a table for all 256 bytes.

#include "encoders/SingleByte.h"

#if defined(__SSE2__)

#include <emmintrin.h>

#include "encoders/SingleByteLoops.h"

namespace Tavrin::detail {
namespace {

constexpr int blockSize = 16;

__m128i loadVector(const void *from)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

void storeVector(void *to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i *>(to), value);
}

// Bytes 128 to 159 are the sixteen lowest of the signed ones, twice.
__m128i isMiddle(__m128i bytes)
{
    return _mm_cmplt_epi8(bytes, _mm_set1_epi8(static_cast<char>(cp1252MiddleEnd)));
}

__m128i isNotAscii(__m128i bytes)
{
    return _mm_cmplt_epi8(bytes, _mm_setzero_si128());
}

__m128i isNothing(__m128i)
{
    return _mm_setzero_si128();
}

void widenVector(__m128i bytes, unsigned short *dst)
{
    const __m128i zero = _mm_setzero_si128();
    storeVector(dst, _mm_unpacklo_epi8(bytes, zero));
    storeVector(dst + 8, _mm_unpackhi_epi8(bytes, zero));
}

// The units of the bytes, and U+FFFD with `replacementCode` for those that `isBad` marks.
template <__m128i (*isBad)(__m128i), int replacementCode>
struct WideningBlocks
{
    static constexpr int size = blockSize;

    static bool convert(const unsigned char *src, unsigned short *dst, int &code)
    {
        const __m128i bytes = loadVector(src);
        const __m128i bad = isBad(bytes);
        if (_mm_movemask_epi8(bad) == 0) {
            widenVector(bytes, dst);
            return true;
        }
        code = replacementCode;
        // The high byte of U+FFFD is 0xFF, the low one 0xFD.
        const __m128i lowBytes =
            _mm_or_si128(_mm_andnot_si128(bad, bytes),
                         _mm_and_si128(bad, _mm_set1_epi8(static_cast<char>(noUnit & 0xFF))));
        storeVector(dst, _mm_unpacklo_epi8(lowBytes, bad));
        storeVector(dst + 8, _mm_unpackhi_epi8(lowBytes, bad));
        return true;
    }
};

template <class Rules>
constexpr std::array<unsigned short, 256> unitTable = [] {
    std::array<unsigned short, 256> table{};
    int code = noError;
    for (unsigned byte = 0; byte < table.size(); ++byte)
        table[byte] = Rules::decode(static_cast<unsigned char>(byte), code);
    return table;
}();

// For encodings that decode every byte without an error; `isSpecial` marks those that need the
// table.
template <class Rules, __m128i (*isSpecial)(__m128i)>
struct TableBlocks
{
    static constexpr int size = blockSize;

    static bool convert(const unsigned char *src, unsigned short *dst, int &)
    {
        const __m128i bytes = loadVector(src);
        if (_mm_movemask_epi8(isSpecial(bytes)) == 0) {
            widenVector(bytes, dst);
            return true;
        }
        for (int index = 0; index < size; ++index)
            dst[index] = unitTable<Rules>[src[index]];
        return true;
    }
};

// Units without any of `otherBits`, whose bytes `isBad` does not mark, are narrowed.
template <int otherBits, __m128i (*isBad)(__m128i)>
struct NarrowingBlocks
{
    static constexpr int size = blockSize;

    static bool convert(const unsigned short *src, unsigned char *dst, int &)
    {
        const __m128i first = loadVector(src);
        const __m128i second = loadVector(src + 8);
        const __m128i others = _mm_and_si128(_mm_or_si128(first, second),
                                             _mm_set1_epi16(static_cast<short>(otherBits)));
        const __m128i bytes = _mm_packus_epi16(first, second);
        const __m128i areNone =
            _mm_cmpeq_epi8(_mm_or_si128(others, isBad(bytes)), _mm_setzero_si128());
        if (_mm_movemask_epi8(areNone) != 0xFFFF)
            return false;
        storeVector(dst, bytes);
        return true;
    }
};

struct LowByteBlocks
{
    static constexpr int size = blockSize;

    static bool convert(const unsigned short *src, unsigned char *dst, int &)
    {
        const __m128i lowBytes = _mm_set1_epi16(0xFF);
        storeVector(dst, _mm_packus_epi16(_mm_and_si128(loadVector(src), lowBytes),
                                          _mm_and_si128(loadVector(src + 8), lowBytes)));
        return true;
    }
};

constexpr int notAsciiBits = 0xFF80;
constexpr int notByteBits = 0xFF00;
using Cp1252 = Cp1252Rules<false>;
using Latin1 = Cp1252Rules<true>;

constexpr SingleByteSet set = {
    {decodeSingleBytes<AsciiRules, WideningBlocks<isNotAscii, badCharacter>>,
     encodeSingleBytes<AsciiRules, NarrowingBlocks<notAsciiBits, isNothing>>},
    {decodeSingleBytes<BinaryRules, WideningBlocks<isNothing, noError>>,
     encodeSingleBytes<BinaryRules, LowByteBlocks>},
    {decodeSingleBytes<Cp1252, TableBlocks<Cp1252, isMiddle>>,
     encodeSingleBytes<Cp1252, NarrowingBlocks<notByteBits, isNothing>>},
    {decodeSingleBytes<Latin1, WideningBlocks<isMiddle, cannotConvert>>,
     encodeSingleBytes<Latin1, NarrowingBlocks<notByteBits, isMiddle>>},
    {decodeSingleBytes<MacRomanRules, TableBlocks<MacRomanRules, isNotAscii>>,
     encodeSingleBytes<MacRomanRules, NarrowingBlocks<notAsciiBits, isNothing>>},
};

} // namespace

const SingleByteSet *sse2SingleByteSet() noexcept
{
    return &set;
}

} // namespace Tavrin::detail

#else

namespace Tavrin::detail {

const SingleByteSet *sse2SingleByteSet() noexcept
{
    return nullptr;
}

} // namespace Tavrin::detail

#endif
