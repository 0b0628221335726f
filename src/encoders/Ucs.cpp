// SPDX-License-Identifier: MIT
// The loops over whole characters have no exit and no call, so that compilers turn them into vector
// instructions. Pinned by tests/encoders/UcsTest.cpp.
#include "encoders/Ucs.h"

#include <algorithm>

#include "encoders/Surrogates.h"

namespace Tavrin::detail {
namespace {

constexpr int ucs2Size = 2;
constexpr int ucs4Size = 4;

const unsigned char *bytesOf(const char *text)
{
    return reinterpret_cast<const unsigned char *>(text);
}

// Where the two low bytes of a character stand.
template <int size, ByteOrder order>
struct Layout
{
    static constexpr int lowest = order == ByteOrder::littleEndian ? 0 : size - 1;
    static constexpr int second = order == ByteOrder::littleEndian ? 1 : size - 2;
};

template <int size, ByteOrder order>
void readUnits(const unsigned char *src, unsigned short *dst, int count)
{
    using Place = Layout<size, order>;
    for (int index = 0; index < count; ++index) {
        const unsigned char *bytes = src + std::ptrdiff_t{index} * size;
        dst[index] = static_cast<unsigned short>(bytes[Place::lowest] | bytes[Place::second] << 8);
    }
}

template <ByteOrder order>
void writeUnits(const unsigned short *src, unsigned char *dst, int count)
{
    using Place = Layout<ucs2Size, order>;
    for (int index = 0; index < count; ++index) {
        unsigned char *bytes = dst + std::ptrdiff_t{index} * ucs2Size;
        bytes[Place::lowest] = static_cast<unsigned char>(src[index] & 0xFF);
        bytes[Place::second] = static_cast<unsigned char>(src[index] >> 8);
    }
}

template <ByteOrder order>
void writeCodePoint(char32_t codePoint, unsigned char *dst)
{
    for (int index = 0; index < ucs4Size; ++index) {
        const int place = order == ByteOrder::littleEndian ? index : ucs4Size - 1 - index;
        dst[place] = static_cast<unsigned char>(codePoint >> (8 * index) & 0xFF);
    }
}

template <int size, ByteOrder order>
Conversion decode(const char *src, int srcLen, unsigned short *dst, int room)
{
    srcLen = std::max(srcLen, 0);
    room = std::max(room, 0);
    const int count = std::min(srcLen / size, room);
    readUnits<size, order>(bytesOf(src), dst, count);
    const int consumed = count * size;
    const bool isCut = count < room && consumed < srcLen;
    return {consumed, count, isCut ? partialCharacter : noError};
}

template <ByteOrder order>
Conversion encodeTwo(const unsigned short *src, int srcLen, char *dst, int room)
{
    srcLen = std::max(srcLen, 0);
    const int count = std::min(srcLen, std::max(room, 0) / ucs2Size);
    writeUnits<order>(src, reinterpret_cast<unsigned char *>(dst), count);
    return {count, count * ucs2Size, count < srcLen ? partialCharacter : noError};
}

template <ByteOrder order>
Conversion encodeFour(const unsigned short *src, int srcLen, char *dst, int room)
{
    int consumed = 0;
    int produced = 0;
    while (consumed < srcLen) {
        char32_t codePoint = src[consumed];
        int units = 1;
        if (isSurrogate(src[consumed])) {
            // D-105: a lead that ends the text has no partner either, so it is no partial
            // character here.
            const bool isPair = isLeadSurrogate(src[consumed]) && consumed + 1 < srcLen &&
                                isTrailSurrogate(src[consumed + 1]);
            if (!isPair)
                return {consumed, produced, badCharacter};
            codePoint = codePointOf(src[consumed], src[consumed + 1]);
            units = 2;
        }
        if (room - produced < ucs4Size)
            return {consumed, produced, partialCharacter};
        writeCodePoint<order>(codePoint, reinterpret_cast<unsigned char *>(dst) + produced);
        consumed += units;
        produced += ucs4Size;
    }
    return {consumed, produced, noError};
}

} // namespace

Conversion decodeUcs2(const char *src, int srcLen, unsigned short *dst, int room,
                      ByteOrder order) noexcept
{
    return order == ByteOrder::littleEndian
               ? decode<ucs2Size, ByteOrder::littleEndian>(src, srcLen, dst, room)
               : decode<ucs2Size, ByteOrder::bigEndian>(src, srcLen, dst, room);
}

Conversion encodeUcs2(const unsigned short *src, int srcLen, char *dst, int room,
                      ByteOrder order) noexcept
{
    return order == ByteOrder::littleEndian
               ? encodeTwo<ByteOrder::littleEndian>(src, srcLen, dst, room)
               : encodeTwo<ByteOrder::bigEndian>(src, srcLen, dst, room);
}

Conversion decodeUcs4(const char *src, int srcLen, unsigned short *dst, int room,
                      ByteOrder order) noexcept
{
    return order == ByteOrder::littleEndian
               ? decode<ucs4Size, ByteOrder::littleEndian>(src, srcLen, dst, room)
               : decode<ucs4Size, ByteOrder::bigEndian>(src, srcLen, dst, room);
}

Conversion encodeUcs4(const unsigned short *src, int srcLen, char *dst, int room,
                      ByteOrder order) noexcept
{
    return order == ByteOrder::littleEndian
               ? encodeFour<ByteOrder::littleEndian>(src, srcLen, dst, room)
               : encodeFour<ByteOrder::bigEndian>(src, srcLen, dst, room);
}

} // namespace Tavrin::detail
