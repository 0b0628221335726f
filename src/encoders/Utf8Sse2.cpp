// SPDX-License-Identifier: MIT
// The UTF-8 routines for every x86-64 processor: vectors for runs of ASCII and for the length
// scans, steps for the rest.

#include "encoders/Utf8Sse2.h"

#include "encoders/Utf8.h"

#if defined(__SSE2__)

#include <algorithm>
#include <bit>

#include <emmintrin.h>

#include "encoders/Utf8CountKernels.h"

namespace Tavrin::detail {
namespace {

__m128i loadVector(const void *from)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

void storeVector(void *to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i *>(to), value);
}

unsigned maskOf(__m128i bytes)
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

struct Lanes8
{
    static constexpr int width = 8;

    static __m128i load(const unsigned short *units) { return loadVector(units); }
    static __m128i zero() { return _mm_setzero_si128(); }
    static __m128i fill(unsigned unit) { return _mm_set1_epi16(static_cast<short>(unit)); }
    static __m128i both(__m128i a, __m128i b) { return _mm_and_si128(a, b); }
    static __m128i butNot(__m128i a, __m128i b) { return _mm_andnot_si128(b, a); }
    static __m128i equal(__m128i a, __m128i b) { return _mm_cmpeq_epi16(a, b); }
    static __m128i isZero(__m128i a) { return _mm_cmpeq_epi16(a, zero()); }
    static __m128i plus(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
    static __m128i minus(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
    static __m128i minusClamped(__m128i a, __m128i b) { return _mm_subs_epu16(a, b); }
    static unsigned mask(__m128i lanes) { return maskOf(lanes); }

    static std::int64_t sum(__m128i lanes)
    {
        __m128i pairs = _mm_madd_epi16(lanes, _mm_set1_epi16(1));
        pairs = _mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 0x4E));
        pairs = _mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 0xB1));
        return _mm_cvtsi128_si32(pairs);
    }

    static int popcount(std::uint64_t bits) { return std::popcount(bits); }

    static std::uint64_t bitOf(const __m128i *quarters, int shift)
    {
        std::uint64_t bits = 0;
        for (int index = 3; index >= 0; --index)
            bits = bits << 16 | maskOf(_mm_slli_epi16(quarters[index], shift));
        return bits;
    }

    // The top bit of each byte is what counts, so bits that a shift brings in do no harm.
    static Utf8Block classify(const char *src)
    {
        const __m128i quarters[4] = {loadVector(src), loadVector(src + 16), loadVector(src + 32),
                                     loadVector(src + 48)};
        const std::uint64_t bit7 = bitOf(quarters, 0);
        if (bit7 == 0)
            return {};
        return Utf8Block::fromBits(bit7, bitOf(quarters, 1), bitOf(quarters, 2), bitOf(quarters, 3),
                                   bitOf(quarters, 4));
    }
};

// Widens ASCII until something else comes, or fewer than 8 bytes or units are left.
void widenAscii(Utf8Decoding &decoding)
{
    const __m128i zero = _mm_setzero_si128();
    while (decoding.bytesLeft() >= 16 && decoding.roomLeft() >= 16) {
        const __m128i bytes = loadVector(decoding.src);
        storeVector(decoding.dst, _mm_unpacklo_epi8(bytes, zero));
        storeVector(decoding.dst + 8, _mm_unpackhi_epi8(bytes, zero));
        const unsigned others = maskOf(bytes);
        const int count = others == 0 ? 16 : std::countr_zero(others);
        decoding.src += count;
        decoding.dst += count;
        if (others != 0)
            return;
    }
    if (decoding.bytesLeft() >= 8 && decoding.roomLeft() >= 8) {
        const auto *half = reinterpret_cast<const __m128i *>(decoding.src);
        const __m128i bytes = _mm_loadl_epi64(half);
        storeVector(decoding.dst, _mm_unpacklo_epi8(bytes, zero));
        const int count = std::min(8, std::countr_zero(maskOf(bytes)));
        decoding.src += count;
        decoding.dst += count;
    }
}

// The same the other way round.
void narrowAscii(Utf8Encoding &encoding)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i otherBits = _mm_set1_epi16(static_cast<short>(0xFF80));
    while (encoding.unitsLeft() >= 8 && encoding.roomLeft() >= 8) {
        const __m128i units = loadVector(encoding.src);
        auto *half = reinterpret_cast<__m128i *>(encoding.dst);
        _mm_storel_epi64(half, _mm_packus_epi16(units, units));
        const __m128i isAscii = _mm_cmpeq_epi16(_mm_and_si128(units, otherBits), zero);
        const unsigned others = ~maskOf(isAscii) & 0xFFFFu;
        const int count = others == 0 ? 8 : std::countr_zero(others) / 2;
        encoding.src += count;
        encoding.dst += count;
        if (others != 0)
            return;
    }
}

// One step, with the valid sequences of two and three bytes up front.
bool quickStep(Utf8Decoding &decoding)
{
    const unsigned char *src = decoding.src;
    if (src[0] >= 0xC2 && src[0] <= 0xDF && decoding.bytesLeft() >= 2 &&
        isUtf8Continuation(src[1])) {
        *decoding.dst++ = static_cast<unsigned short>((src[0] & 0x1F) << 6 | (src[1] & 0x3F));
        decoding.src += 2;
        return true;
    }
    if (src[0] >= 0xE1 && src[0] <= 0xEF && decoding.bytesLeft() >= 3 &&
        isUtf8Continuation(src[1]) && isUtf8Continuation(src[2])) {
        *decoding.dst++ = static_cast<unsigned short>((src[0] & 0x0F) << 12 | (src[1] & 0x3F) << 6 |
                                                      (src[2] & 0x3F));
        decoding.src += 3;
        return true;
    }
    return decoding.step();
}

Conversion decode(const char *src, int srcLen, unsigned short *dst, int room) noexcept
{
    return finishDecoding(Utf8Decoding(src, srcLen, dst, room));
}

Conversion encode(const unsigned short *src, int srcLen, char *dst, int room) noexcept
{
    return finishEncoding(Utf8Encoding(src, srcLen, dst, room));
}

constexpr Utf8Routines routines = {decode, encode, countUtf8UnitsBy<Lanes8>,
                                   countUtf8BytesBy<Lanes8>};

} // namespace

Conversion finishDecoding(Utf8Decoding decoding) noexcept
{
    while (!decoding.isDone()) {
        if (*decoding.src < 0x80)
            widenAscii(decoding);
        if (decoding.isDone() || !quickStep(decoding))
            break;
    }
    return decoding.result();
}

Conversion finishEncoding(Utf8Encoding encoding) noexcept
{
    while (!encoding.isDone()) {
        if (*encoding.src < 0x80)
            narrowAscii(encoding);
        if (encoding.isDone() || !encoding.step())
            break;
    }
    return encoding.result();
}

const Utf8Routines *sse2Utf8Routines() noexcept
{
    return &routines;
}

} // namespace Tavrin::detail

#else

namespace Tavrin::detail {

const Utf8Routines *sse2Utf8Routines() noexcept
{
    return nullptr;
}

} // namespace Tavrin::detail

#endif
