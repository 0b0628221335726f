// SPDX-License-Identifier: MIT
#pragma once

// The rules of UTF-8 conversion, one character at a time. All routine sets agree with these, and
// fall back to them for whatever is not plainly valid.
//
// D-106: surrogates that are encoded one by one pass through as units.
// D-115: a bad sequence is taken by the length that its lead byte announces, up to six bytes.
#include <bit>
#include <cstdint>
#include <limits>

#include "encoders/Conversion.h"
#include "encoders/Surrogates.h"

namespace Tavrin::detail {

inline constexpr unsigned short replacementUnit = 0xFFFD;
inline constexpr int longestUtf8Sequence = 6;

// The length of the sequence that a byte leads, 1 to 6; 0 for a byte that leads none.
constexpr int utf8SequenceLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    const int ones = std::countl_one(lead);
    return ones >= 2 && ones <= longestUtf8Sequence ? ones : 0;
}

constexpr bool isUtf8Continuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The length of what one code point becomes.
constexpr int utf8LengthOf(char32_t codePoint)
{
    return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

constexpr int largestInt = std::numeric_limits<int>::max();

constexpr int clampToInt(std::int64_t length)
{
    return length < largestInt ? static_cast<int>(length) : largestInt;
}

// Utf8Decoding: the state of a conversion to code units. A routine set moves `src` and `dst` on by
// whole valid characters where it can, and takes a step where it cannot.
class Utf8Decoding
{
public:
    Utf8Decoding(const char *bytes, int byteCount, unsigned short *units, int room)
        : src(reinterpret_cast<const unsigned char *>(bytes)),
          dst(units),
          srcBegin(src),
          srcEnd(byteCount > 0 ? src + byteCount : src),
          dstBegin(dst),
          dstEnd(room > 0 ? dst + room : dst)
    {}

    const unsigned char *src;
    unsigned short *dst;

    std::ptrdiff_t bytesLeft() const { return srcEnd - src; }
    std::ptrdiff_t roomLeft() const { return dstEnd - dst; }
    bool isDone() const { return src == srcEnd || dst == dstEnd; }

    // Converts one character; false when that ended the conversion.
    bool step()
    {
        const int length = utf8SequenceLength(*src);
        if (length == 0)
            return stop(badCharacter);
        if (length > bytesLeft())
            return stop(partialCharacter);
        const char32_t codePoint = codePointAt(length);
        if (codePoint >= firstPairedCodePoint && codePoint != bad && roomLeft() < 2)
            return stop(partialCharacter);
        src += length;
        if (codePoint == bad) {
            *dst++ = replacementUnit;
            return stop(badCharacter);
        }
        write(codePoint);
        return true;
    }

    Conversion result() const
    {
        return {static_cast<int>(src - srcBegin), static_cast<int>(dst - dstBegin), code};
    }

private:
    static constexpr char32_t bad = 0xFFFFFFFF;
    static constexpr char32_t lowest[longestUtf8Sequence + 1] = {0,       0,        0x80,    0x800,
                                                                 0x10000, 0x200000, 0x200000};
    static constexpr char32_t highest = 0x10FFFF;

    bool stop(int reason)
    {
        code = reason;
        return false;
    }

    // What the complete sequence at `src` stands for, or `bad`.
    char32_t codePointAt(int length) const
    {
        if (length == 1)
            return *src;
        char32_t value = *src & (0x7Fu >> length);
        for (int index = 1; index < length; ++index) {
            if (!isUtf8Continuation(src[index]))
                return bad;
            value = value << 6 | (src[index] & 0x3Fu);
        }
        return value < lowest[length] || value > highest ? bad : value;
    }

    void write(char32_t codePoint)
    {
        if (codePoint < firstPairedCodePoint) {
            *dst++ = static_cast<unsigned short>(codePoint);
            return;
        }
        *dst++ = leadSurrogateOf(codePoint);
        *dst++ = trailSurrogateOf(codePoint);
    }

    const unsigned char *srcBegin;
    const unsigned char *srcEnd;
    unsigned short *dstBegin;
    unsigned short *dstEnd;
    int code = noError;
};

// Utf8Encoding: the state of a conversion to bytes, by the same rules.
class Utf8Encoding
{
public:
    Utf8Encoding(const unsigned short *units, int unitCount, char *bytes, int room)
        : src(units),
          dst(reinterpret_cast<unsigned char *>(bytes)),
          srcBegin(src),
          srcEnd(unitCount > 0 ? src + unitCount : src),
          dstBegin(dst),
          dstEnd(room > 0 ? dst + room : dst)
    {}

    const unsigned short *src;
    unsigned char *dst;

    std::ptrdiff_t unitsLeft() const { return srcEnd - src; }
    std::ptrdiff_t roomLeft() const { return dstEnd - dst; }
    bool isDone() const { return src == srcEnd || dst == dstEnd; }

    // Converts one character; false when that ended the conversion.
    bool step()
    {
        char32_t codePoint = *src;
        int units = 1;
        if (isSurrogate(*src)) {
            if (isTrailSurrogate(*src))
                return stop(badCharacter);
            if (unitsLeft() < 2)
                return stop(partialCharacter);
            if (!isTrailSurrogate(src[1]))
                return stop(badCharacter);
            codePoint = codePointOf(src[0], src[1]);
            units = 2;
        }
        if (utf8LengthOf(codePoint) > roomLeft())
            return stop(noError);
        src += units;
        write(codePoint);
        return true;
    }

    Conversion result() const
    {
        return {static_cast<int>(src - srcBegin), static_cast<int>(dst - dstBegin), code};
    }

private:
    bool stop(int reason)
    {
        code = reason;
        return false;
    }

    void put(char32_t byte) { *dst++ = static_cast<unsigned char>(byte); }
    void putContinuation(char32_t bits) { put(0x80 | (bits & 0x3F)); }

    void write(char32_t codePoint)
    {
        switch (utf8LengthOf(codePoint)) {
        case 1:
            put(codePoint);
            return;
        case 2:
            put(0xC0 | codePoint >> 6);
            break;
        case 3:
            put(0xE0 | codePoint >> 12);
            putContinuation(codePoint >> 6);
            break;
        default:
            put(0xF0 | codePoint >> 18);
            putContinuation(codePoint >> 12);
            putContinuation(codePoint >> 6);
            break;
        }
        putContinuation(codePoint);
    }

    const unsigned short *srcBegin;
    const unsigned short *srcEnd;
    unsigned char *dstBegin;
    unsigned char *dstEnd;
    int code = noError;
};

// The scans behind the length operations, from a place in the text on and with what was counted up
// to there.
inline Measure countUtf8UnitsFrom(const char *src, std::int64_t position, std::int64_t srcLen,
                                  std::int64_t units)
{
    while (position < srcLen) {
        const int length = utf8SequenceLength(static_cast<unsigned char>(src[position]));
        units += length > 3 ? 2 : 1;
        if (length == 0 || length > 4)
            return {clampToInt(units), badCharacter};
        position += length;
    }
    return {clampToInt(units), noError};
}

inline Measure countUtf8BytesFrom(const unsigned short *src, std::int64_t position,
                                  std::int64_t srcLen, std::int64_t bytes)
{
    while (position < srcLen) {
        const unsigned unit = src[position++];
        if (!isLeadSurrogate(unit)) {
            bytes += utf8LengthOf(unit);
            continue;
        }
        // D-101: a lead without its partner counts as it stands, so that the conversion that
        // follows has room enough to come upon it and to report it.
        const bool isLast = position >= srcLen;
        if (isLast || !isTrailSurrogate(src[position]))
            return {clampToInt(bytes + utf8LengthOf(unit)),
                    isLast ? partialCharacter : badCharacter};
        bytes += 4;
        ++position;
    }
    return {clampToInt(bytes), noError};
}

} // namespace Tavrin::detail
