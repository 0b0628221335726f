// SPDX-License-Identifier: MIT
// The UTF-8 routines for processors with AVX2.
//
// Decoding. A block of 64 bytes begins where a character begins. One bit per byte tells leads from
// continuation bytes and proves that every sequence has the length it announces. Then each byte
// becomes the unit that it would give as a lead, together with the two bytes behind it; the byte
// behind the lead of a four-byte sequence becomes the trail surrogate. What came out too small for
// its length, or as no lead surrogate, was overlong or too large, and the block is left to the
// steps. Otherwise a shuffle drops the lanes that began nothing. A character that the block cuts
// begins the next block.
//
// Encoding. Sixteen units become their last two bytes and, apart from them, the first of three; a
// shuffle drops what shorter sequences do not have. Each half of a surrogate pair gives two of
// the four bytes; a pair that the block cuts begins the next one. Units that are not paired are
// left to the steps.
//
// Both write whole vectors, which may reach behind what they produce; where the room is too small
// for that, they write to a spare place and copy. The SSE2 set does what is left. Only what stands
// between the target pragmas may use AVX2: whatever other files share is included in front. Pinned
// by tests/encoders/Utf8Test.cpp.

#include "encoders/Utf8.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include <immintrin.h>

#include "encoders/Utf8Blocks.h"
#include "encoders/Utf8Sse2.h"
#include "encoders/Utf8Steps.h"
#include "encoders/Utf8Tables.h"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,bmi,popcnt"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,bmi,popcnt")
#endif

#include "encoders/Utf8CountKernels.h"

namespace Tavrin::detail {
namespace {

__m256i loadVector(const void *from)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(from));
}

void storeVector(void *to, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i *>(to), value);
}

void storeHalf(void *to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i *>(to), value);
}

__m256i fill(unsigned unit)
{
    return _mm256_set1_epi16(static_cast<short>(unit));
}

unsigned maskOf(__m256i bytes)
{
    return static_cast<unsigned>(_mm256_movemask_epi8(bytes));
}

__m256i shufflesOf(const ShuffleTable &table, unsigned low, unsigned high)
{
    const auto *lowRow = reinterpret_cast<const __m128i *>(&table[low]);
    const auto *highRow = reinterpret_cast<const __m128i *>(&table[high]);
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_load_si128(lowRow)),
                                   _mm_load_si128(highRow), 1);
}

// Each lane becomes the one before it; the first comes from the end of `before`.
__m256i previousLanes(__m256i lanes, __m256i before)
{
    return _mm256_alignr_epi8(lanes, _mm256_permute2x128_si256(before, lanes, 0x21), 14);
}

int popcountOf(std::uint64_t bits)
{
    return __builtin_popcountll(bits);
}

struct Lanes16
{
    static constexpr int width = 16;

    static __m256i load(const unsigned short *units) { return loadVector(units); }
    static __m256i zero() { return _mm256_setzero_si256(); }
    static __m256i fill(unsigned unit) { return detail::fill(unit); }
    static __m256i both(__m256i a, __m256i b) { return _mm256_and_si256(a, b); }
    static __m256i butNot(__m256i a, __m256i b) { return _mm256_andnot_si256(b, a); }
    static __m256i equal(__m256i a, __m256i b) { return _mm256_cmpeq_epi16(a, b); }
    static __m256i isZero(__m256i a) { return _mm256_cmpeq_epi16(a, zero()); }
    static __m256i plus(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
    static __m256i minus(__m256i a, __m256i b) { return _mm256_sub_epi16(a, b); }
    static __m256i minusClamped(__m256i a, __m256i b) { return _mm256_subs_epu16(a, b); }
    static unsigned mask(__m256i lanes) { return maskOf(lanes); }

    static std::int64_t sum(__m256i lanes)
    {
        const __m256i pairs = _mm256_madd_epi16(lanes, _mm256_set1_epi16(1));
        __m128i sums =
            _mm_add_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
        sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0x4E));
        sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0xB1));
        return _mm_cvtsi128_si32(sums);
    }

    static int popcount(std::uint64_t bits) { return popcountOf(bits); }

    static std::uint64_t bitOf(__m256i first, __m256i second, int shift)
    {
        return maskOf(_mm256_slli_epi16(first, shift)) |
               std::uint64_t{maskOf(_mm256_slli_epi16(second, shift))} << 32;
    }

    // The top bit of each byte is what counts, so bits that a shift brings in do no harm.
    static Utf8Block classify(__m256i first, __m256i second)
    {
        const std::uint64_t bit7 = bitOf(first, second, 0);
        if (bit7 == 0)
            return {};
        return Utf8Block::fromBits(bit7, bitOf(first, second, 1), bitOf(first, second, 2),
                                   bitOf(first, second, 3), bitOf(first, second, 4));
    }

    static Utf8Block classify(const char *src)
    {
        return classify(loadVector(src), loadVector(src + 32));
    }
};

unsigned bitOf(__m128i bytes, int shift)
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_slli_epi16(bytes, shift)));
}

Utf8Block classifySmall(const unsigned char *src)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src));
    return Utf8Block::fromBits(bitOf(bytes, 0), bitOf(bytes, 1), bitOf(bytes, 2), bitOf(bytes, 3),
                               bitOf(bytes, 4));
}

__m256i widen(const void *bytes)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(static_cast<const __m128i *>(bytes)));
}

void widenBlock(const unsigned char *src, unsigned short *dst)
{
    for (int index = 0; index < utf8BlockSize; index += 16)
        storeVector(dst + index, widen(src + index));
}

// What sixteen bytes give, each as if it were a lead.
class UnitsOfBytes
{
public:
    explicit UnitsOfBytes(const unsigned char *src)
        : first(widen(src)),
          second(_mm256_and_si256(widen(src + 1), fill(0x3F))),
          third(_mm256_and_si256(widen(src + 2), fill(0x3F))),
          secondBits(_mm256_slli_epi16(second, 6))
    {
        const __m256i isMultiple = _mm256_cmpgt_epi16(first, fill(0xBF));
        const __m256i isThree = _mm256_cmpgt_epi16(first, fill(0xDF));
        const __m256i ofTwo =
            _mm256_and_si256(_mm256_or_si256(_mm256_slli_epi16(first, 6), second), fill(0x7FF));
        const __m256i ofThree =
            _mm256_or_si256(_mm256_slli_epi16(first, 12), _mm256_or_si256(secondBits, third));
        units = _mm256_blendv_epi8(first, ofTwo, isMultiple);
        units = _mm256_blendv_epi8(units, ofThree, isThree);
        const __m256i least = _mm256_add_epi16(_mm256_and_si256(isMultiple, fill(0x80)),
                                               _mm256_and_si256(isThree, fill(0x780)));
        bad = _mm256_subs_epu16(least, units);
    }

    // Puts the surrogates of four-byte sequences in. `leads` are those of the sixteen bytes before,
    // and then of these.
    void addSurrogates(__m256i &leads)
    {
        const __m256i isFour = _mm256_cmpgt_epi16(first, fill(0xEF));
        // The ten bits above the trail's, less 0x40 for the offset of the pair.
        const __m256i topBits = _mm256_slli_epi16(_mm256_and_si256(first, fill(0x07)), 8);
        const __m256i highBits =
            _mm256_or_si256(_mm256_slli_epi16(second, 2), _mm256_srli_epi16(third, 4));
        const __m256i lead =
            _mm256_add_epi16(_mm256_or_si256(topBits, highBits), fill(0xD800 - 0x40));
        const __m256i isLead =
            _mm256_cmpeq_epi16(_mm256_and_si256(lead, fill(0xFC00)), fill(0xD800));
        const __m256i trail = _mm256_or_si256(
            _mm256_or_si256(_mm256_and_si256(secondBits, fill(0x3C0)), third), fill(0xDC00));
        const __m256i isTrail = previousLanes(isFour, leads);
        units = _mm256_blendv_epi8(units, lead, isFour);
        units = _mm256_blendv_epi8(units, trail, isTrail);
        bad = _mm256_blendv_epi8(bad, _mm256_andnot_si256(isLead, isFour), isFour);
        leads = isFour;
    }

    // Stores the units that `kept` names, a bit for each, and returns the place behind them.
    unsigned short *store(unsigned short *dst, unsigned kept) const
    {
        const unsigned low = kept & 0xFF;
        const unsigned high = kept >> 8;
        const __m256i packed = _mm256_shuffle_epi8(units, shufflesOf(keptLanes, low, high));
        storeHalf(dst, _mm256_castsi256_si128(packed));
        dst += popcountOf(low);
        storeHalf(dst, _mm256_extracti128_si256(packed, 1));
        return dst + popcountOf(high);
    }

    __m256i bad; // not 0 where a unit comes from bytes that are not valid

private:
    __m256i first;
    __m256i second;
    __m256i third;
    __m256i secondBits;
    __m256i units;
};

// The bytes that units are made of may stand this far behind the last byte of a block.
constexpr int decodeLookahead = 2;
constexpr int smallBlockSize = 16;
// Vectors are stored whole: the last one may reach this far behind the last unit.
constexpr int decodeSlack = 8;

// Which bytes of a block give units, and how many bytes that takes: all but a character that the
// block cuts.
template <int size, bool hasPairs>
struct KeptBytes
{
    std::uint64_t kept;
    int whole;

    explicit KeptBytes(const Utf8Block &block)
    {
        const std::uint64_t cut = block.cut<size>();
        whole = cut == 0 ? size : std::countr_zero(cut);
        kept = ~block.continuation;
        if constexpr (hasPairs)
            kept |= block.lead4 << 1;
        kept &= ~std::uint64_t{0} >> (utf8BlockSize - whole);
    }

    int units() const { return popcountOf(kept); }
};

// Writes the units of a block; false when some come from bytes that are not valid.
template <int size, bool hasPairs>
bool writeUnits(const unsigned char *src, std::uint64_t kept, unsigned short *dst)
{
    __m256i bad = _mm256_setzero_si256();
    [[maybe_unused]] __m256i leads = _mm256_setzero_si256();
    for (int index = 0; index < size; index += 16) {
        UnitsOfBytes units(src + index);
        if constexpr (hasPairs)
            units.addSurrogates(leads);
        bad = _mm256_or_si256(bad, units.bad);
        dst = units.store(dst, static_cast<unsigned>(kept >> index & 0xFFFF));
    }
    return _mm256_testz_si256(bad, bad) != 0;
}

// Converts one block; false when it has to be left to the steps.
template <int size, bool hasPairs>
bool decodeBlock(Utf8Decoding &decoding, const Utf8Block &block)
{
    const KeptBytes<size, hasPairs> bytes(block);
    const int units = bytes.units();
    if (decoding.roomLeft() >= units + decodeSlack) {
        if (!writeUnits<size, hasPairs>(decoding.src, bytes.kept, decoding.dst))
            return false;
    } else {
        unsigned short spare[size + decodeSlack];
        if (decoding.roomLeft() < units ||
            !writeUnits<size, hasPairs>(decoding.src, bytes.kept, spare))
            return false;
        std::memcpy(decoding.dst, spare, static_cast<unsigned>(units) * sizeof *spare);
    }
    decoding.src += bytes.whole;
    decoding.dst += units;
    return true;
}

template <int size>
bool decodeBlock(Utf8Decoding &decoding, const Utf8Block &block)
{
    if (!block.isWellFormed<size>(0))
        return false;
    return block.lead4 == 0 ? decodeBlock<size, false>(decoding, block)
                            : decodeBlock<size, true>(decoding, block);
}

// Returns whether all went well so far; if not, the steps have to find out what is wrong.
bool decodeBlocks(Utf8Decoding &decoding)
{
    while (decoding.bytesLeft() >= utf8BlockSize) {
        const __m256i first = loadVector(decoding.src);
        const __m256i second = loadVector(decoding.src + 32);
        const bool isAscii = maskOf(_mm256_or_si256(first, second)) == 0;
        if (isAscii && decoding.roomLeft() >= utf8BlockSize) {
            widenBlock(decoding.src, decoding.dst);
            decoding.src += utf8BlockSize;
            decoding.dst += utf8BlockSize;
            continue;
        }
        if (decoding.bytesLeft() < utf8BlockSize + decodeLookahead)
            return true;
        if (!decodeBlock<utf8BlockSize>(decoding, Lanes16::classify(first, second)))
            return false;
    }
    return true;
}

// The rest of a text in smaller blocks, for short texts above all.
void decodeSmallBlocks(Utf8Decoding &decoding)
{
    while (decoding.bytesLeft() >= smallBlockSize) {
        const Utf8Block block = classifySmall(decoding.src);
        const bool isAscii = (block.continuation | block.lead2) == 0;
        if (isAscii && decoding.roomLeft() >= smallBlockSize) {
            storeVector(decoding.dst, widen(decoding.src));
            decoding.src += smallBlockSize;
            decoding.dst += smallBlockSize;
            continue;
        }
        if (decoding.bytesLeft() < smallBlockSize + decodeLookahead ||
            !decodeBlock<smallBlockSize>(decoding, block))
            return;
    }
}

Conversion decode(const char *src, int srcLen, unsigned short *dst, int room) noexcept
{
    Utf8Decoding decoding(src, srcLen, dst, room);
    if (decodeBlocks(decoding))
        decodeSmallBlocks(decoding);
    return decoding.isDone() ? decoding.result() : finishDecoding(decoding);
}

// The last two bytes of each unit's sequence in one 16-bit lane; the first one alone when it is the
// only one. No surrogates.
__m256i lastTwoBytes(__m256i units, __m256i isAscii, __m256i isTwo)
{
    const __m256i firsts = _mm256_and_si256(_mm256_srli_epi16(units, 6), fill(0x003F));
    const __m256i seconds = _mm256_and_si256(_mm256_slli_epi16(units, 8), fill(0x3F00));
    const __m256i marks = _mm256_or_si256(fill(0x8080), _mm256_and_si256(isTwo, fill(0x0040)));
    const __m256i bytes = _mm256_or_si256(_mm256_or_si256(firsts, seconds), marks);
    return _mm256_blendv_epi8(bytes, units, isAscii);
}

// The two bytes that each half of a pair gives, in place of what lanes of surrogates hold.
__m256i withSurrogates(__m256i bytes, __m256i units, __m256i isLead, __m256i isTrail)
{
    // The lead's ten bits plus the offset of the pair, which are the code point's above the
    // trail's.
    const __m256i highBits = _mm256_add_epi16(_mm256_and_si256(units, fill(0x3FF)), fill(0x40));
    const __m256i ofLead = _mm256_or_si256(
        _mm256_or_si256(_mm256_srli_epi16(highBits, 8),
                        _mm256_and_si256(_mm256_slli_epi16(highBits, 6), fill(0x3F00))),
        fill(0x80F0));
    const __m256i before = previousLanes(units, _mm256_setzero_si256());
    const __m256i ofTrail = _mm256_or_si256(
        _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(before, 4), fill(0x30)),
                        _mm256_and_si256(_mm256_srli_epi16(units, 6), fill(0x0F))),
        _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(units, 8), fill(0x3F00)), fill(0x8080)));
    return _mm256_blendv_epi8(_mm256_blendv_epi8(bytes, ofLead, isLead), ofTrail, isTrail);
}

// Sixteen units of up to three bytes, in four vectors whose last one begins 36 bytes on at most.
constexpr int unitsPerBlock = 16;
constexpr int encodeRoom = 36 + 16;

// What became of a block.
struct EncodedBlock
{
    int units; // taken; 0 when the block has to be left to the steps
    int bytes; // written
};

// The three that follow are inlined always: the loop over the blocks of a long text lives on it.

// All units below 0x800.
[[gnu::always_inline]] inline EncodedBlock encodeShortBlock(unsigned char *dst, __m256i units,
                                                            __m256i isAscii)
{
    const __m256i isTwo = _mm256_cmpeq_epi16(isAscii, _mm256_setzero_si256());
    const __m256i bytes = lastTwoBytes(units, isAscii, isTwo);
    const unsigned bits = maskOf(_mm256_packs_epi16(isAscii, isAscii));
    const unsigned low = bits & 0xFF;
    const unsigned high = bits >> 16 & 0xFF;
    const __m256i packed = _mm256_shuffle_epi8(bytes, shufflesOf(shortLanes, low, high));
    const int lowLength = unitsPerBlock - popcountOf(low);
    const int highLength = unitsPerBlock - popcountOf(high);
    storeHalf(dst, _mm256_castsi256_si128(packed));
    storeHalf(dst + lowLength, _mm256_extracti128_si256(packed, 1));
    return {unitsPerBlock, lowLength + highLength};
}

// Four units in each half, packed by their lengths.
struct LongLanes
{
    __m256i packed;
    int lowLength;
    int highLength;

    LongLanes(__m256i lanes, unsigned low, unsigned high)
        : packed(_mm256_shuffle_epi8(lanes, shufflesOf(longLanes, low, high))),
          lowLength(4 + popcountOf(low)),
          highLength(4 + popcountOf(high))
    {}
};

// Any units.
[[gnu::always_inline]] inline EncodedBlock encodeLongBlock(unsigned char *dst, __m256i units,
                                                           __m256i isAscii)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i topBits = _mm256_and_si256(units, fill(0xF800));
    const __m256i isShort = _mm256_cmpeq_epi16(topBits, zero);
    const __m256i isHalf = _mm256_cmpeq_epi16(topBits, fill(0xD800));
    __m256i bytes = lastTwoBytes(units, isAscii, isShort);
    __m256i isThree = _mm256_cmpeq_epi16(isShort, zero);
    EncodedBlock block{unitsPerBlock, 0};
    if (maskOf(isHalf) != 0) {
        const __m256i isTrail =
            _mm256_cmpeq_epi16(_mm256_and_si256(units, fill(0xFC00)), fill(0xDC00));
        const __m256i isLead = _mm256_andnot_si256(isTrail, isHalf);
        // Two bits per unit. A lead in the last place is taken back, with its two bytes.
        const unsigned leads = maskOf(isLead);
        if (leads << 2 != maskOf(isTrail))
            return {0, 0};
        if (leads >> 30 != 0)
            block = {unitsPerBlock - 1, -2};
        bytes = withSurrogates(bytes, units, isLead, isTrail);
        isThree = _mm256_andnot_si256(isHalf, isThree);
    }
    // Bit 2n: unit n has a second byte; bit 2n + 1: it has a third one.
    const __m256i isMultiple = _mm256_cmpeq_epi16(isAscii, zero);
    const unsigned lengths = maskOf(_mm256_blendv_epi8(isMultiple, isThree, fill(0xFF00)));
    const __m256i firsts =
        _mm256_slli_epi16(_mm256_or_si256(_mm256_srli_epi16(units, 12), fill(0xE0)), 8);
    const LongLanes even(_mm256_unpacklo_epi16(firsts, bytes), lengths & 0xFF,
                         lengths >> 16 & 0xFF);
    const LongLanes odd(_mm256_unpackhi_epi16(firsts, bytes), lengths >> 8 & 0xFF, lengths >> 24);
    unsigned char *place = dst;
    storeHalf(place, _mm256_castsi256_si128(even.packed));
    place += even.lowLength;
    storeHalf(place, _mm256_castsi256_si128(odd.packed));
    place += odd.lowLength;
    storeHalf(place, _mm256_extracti128_si256(even.packed, 1));
    place += even.highLength;
    storeHalf(place, _mm256_extracti128_si256(odd.packed, 1));
    place += odd.highLength;
    block.bytes += static_cast<int>(place - dst);
    return block;
}

[[gnu::always_inline]] inline EncodedBlock encodeBlock(const unsigned short *src,
                                                       unsigned char *dst)
{
    const __m256i units = loadVector(src);
    const __m256i isAscii =
        _mm256_cmpeq_epi16(_mm256_and_si256(units, fill(0xFF80)), _mm256_setzero_si256());
    return _mm256_testz_si256(units, fill(0xF800)) ? encodeShortBlock(dst, units, isAscii)
                                                   : encodeLongBlock(dst, units, isAscii);
}

void narrow(__m256i first, __m256i second, unsigned char *dst)
{
    const __m256i mixed = _mm256_packus_epi16(first, second);
    storeVector(dst, _mm256_permute4x64_epi64(mixed, 0xD8));
}

// Blocks of ASCII, four and then two at once, as often as possible.
void narrowBlocks(Utf8Encoding &encoding)
{
    const __m256i otherBits = fill(0xFF80);
    for (; encoding.unitsLeft() >= 64 && encoding.roomLeft() >= 64;
         encoding.src += 64, encoding.dst += 64) {
        const __m256i first = loadVector(encoding.src);
        const __m256i second = loadVector(encoding.src + 16);
        const __m256i third = loadVector(encoding.src + 32);
        const __m256i fourth = loadVector(encoding.src + 48);
        const __m256i all =
            _mm256_or_si256(_mm256_or_si256(first, second), _mm256_or_si256(third, fourth));
        if (!_mm256_testz_si256(all, otherBits))
            break;
        narrow(first, second, encoding.dst);
        narrow(third, fourth, encoding.dst + 32);
    }
    for (; encoding.unitsLeft() >= 32 && encoding.roomLeft() >= 32;
         encoding.src += 32, encoding.dst += 32) {
        const __m256i first = loadVector(encoding.src);
        const __m256i second = loadVector(encoding.src + 16);
        if (!_mm256_testz_si256(_mm256_or_si256(first, second), otherBits))
            break;
        narrow(first, second, encoding.dst);
    }
}

// Returns whether all went well so far; if not, the steps have to find out what is wrong.
bool encodeBlocks(Utf8Encoding &encoding)
{
    while (true) {
        narrowBlocks(encoding);
        if (encoding.unitsLeft() < unitsPerBlock || encoding.roomLeft() < encodeRoom)
            return true;
        const EncodedBlock block = encodeBlock(encoding.src, encoding.dst);
        if (block.units == 0)
            return false;
        encoding.src += block.units;
        encoding.dst += block.bytes;
    }
}

// The rest of a text where the room is too small for whole vectors.
void encodeTightly(Utf8Encoding &encoding)
{
    while (encoding.unitsLeft() >= unitsPerBlock) {
        unsigned char spare[encodeRoom];
        const EncodedBlock block = encodeBlock(encoding.src, spare);
        if (block.units == 0 || encoding.roomLeft() < block.bytes)
            return;
        std::memcpy(encoding.dst, spare, static_cast<unsigned>(block.bytes));
        encoding.src += block.units;
        encoding.dst += block.bytes;
    }
}

Conversion encode(const unsigned short *src, int srcLen, char *dst, int room) noexcept
{
    Utf8Encoding encoding(src, srcLen, dst, room);
    if (encodeBlocks(encoding))
        encodeTightly(encoding);
    return encoding.isDone() ? encoding.result() : finishEncoding(encoding);
}

constexpr Utf8Routines routines = {decode, encode, countUtf8UnitsBy<Lanes16>,
                                   countUtf8BytesBy<Lanes16>};

} // namespace
} // namespace Tavrin::detail

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

namespace Tavrin::detail {

const Utf8Routines *avx2Utf8Routines() noexcept
{
    static const bool isSupported = __builtin_cpu_supports("avx2") &&
                                    __builtin_cpu_supports("bmi") &&
                                    __builtin_cpu_supports("popcnt");
    return isSupported ? &routines : nullptr;
}

} // namespace Tavrin::detail

#else

namespace Tavrin::detail {

const Utf8Routines *avx2Utf8Routines() noexcept
{
    return nullptr;
}

} // namespace Tavrin::detail

#endif
