// SPDX-License-Identifier: MIT
#include "encoders/BuiltInEncoders.h"

#include <atomic>
#include <iterator>
#include <limits>

#include <tavrin/String.h>

#include "encoders/Utf8.h"

namespace Tavrin {

namespace {

// Puts the outcome of a conversion where the caller of an encoder looks for it.
int report(const detail::Conversion &conversion, int &srcLen, int &dstLen)
{
    srcLen = conversion.consumed;
    dstLen = conversion.produced;
    return conversion.code;
}

int report(const detail::Measure &measure, int &out)
{
    out = measure.length;
    return measure.code;
}

// A product that an int does not hold becomes the largest int, for which there is no memory.
int clampedProduct(int length, int factor)
{
    constexpr int largest = std::numeric_limits<int>::max();
    return length > largest / factor ? largest : length < 0 ? 0 : length * factor;
}

} // namespace

void BuiltInEncoder::getNames(String &out) const
{
    out = names;
}

int SingleByteEncoder::getUnicodeLength(const char *, int srcLen, int &out) const
{
    out = srcLen;
    return detail::noError;
}

int SingleByteEncoder::getMBCSLength(const unsigned short *, int srcLen, int &out) const
{
    out = srcLen;
    return detail::noError;
}

int SingleByteEncoder::toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                                 bool) const
{
    return report((detail::activeSingleByteSet.*routines).decode(src, srcLen, dst, dstLen), srcLen,
                  dstLen);
}

int SingleByteEncoder::toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
                              bool) const
{
    return report((detail::activeSingleByteSet.*routines).encode(src, srcLen, dst, dstLen), srcLen,
                  dstLen);
}

int UCS2Encoder::getUnicodeLength(const char *, int srcLen, int &out) const
{
    out = srcLen / 2;
    return detail::noError;
}

int UCS2Encoder::getMBCSLength(const unsigned short *, int srcLen, int &out) const
{
    out = clampedProduct(srcLen, 2);
    return detail::noError;
}

int UCS2Encoder::toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                           bool) const
{
    return report(detail::decodeUcs2(src, srcLen, dst, dstLen, byteOrder), srcLen, dstLen);
}

int UCS2Encoder::toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen, bool) const
{
    return report(detail::encodeUcs2(src, srcLen, dst, dstLen, byteOrder), srcLen, dstLen);
}

int UCS4Encoder::getUnicodeLength(const char *, int srcLen, int &out) const
{
    out = srcLen / 4;
    return detail::noError;
}

int UCS4Encoder::getMBCSLength(const unsigned short *, int srcLen, int &out) const
{
    out = clampedProduct(srcLen, 4);
    return detail::noError;
}

int UCS4Encoder::toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                           bool) const
{
    return report(detail::decodeUcs4(src, srcLen, dst, dstLen, byteOrder), srcLen, dstLen);
}

int UCS4Encoder::toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen, bool) const
{
    return report(detail::encodeUcs4(src, srcLen, dst, dstLen, byteOrder), srcLen, dstLen);
}

int UTF8Encoder::getUnicodeLength(const char *src, int srcLen, int &out) const
{
    return report(detail::countUtf8Units(src, srcLen), out);
}

int UTF8Encoder::getMBCSLength(const unsigned short *src, int srcLen, int &out) const
{
    return report(detail::countUtf8Bytes(src, srcLen), out);
}

int UTF8Encoder::toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                           bool) const
{
    return report(detail::decodeUtf8(src, srcLen, dst, dstLen), srcLen, dstLen);
}

int UTF8Encoder::toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen, bool) const
{
    return report(detail::encodeUtf8(src, srcLen, dst, dstLen), srcLen, dstLen);
}

namespace detail {

namespace {

struct Encoders
{
    AsciiEncoder ascii;
    BinaryEncoder binary;
    CP1252Encoder cp1252;
    ISO88591Encoder latin1;
    UCS2Encoder ucs2;
    UCS2beEncoder ucs2be;
    UCS2leEncoder ucs2le;
    UCS4Encoder ucs4;
    UCS4beEncoder ucs4be;
    UCS4leEncoder ucs4le;
    UTF8Encoder utf8;
    MacRomanEncoder macRoman;
};

// Keeps the encoders from being destroyed at the end of the process.
union Everlasting
{
    constexpr Everlasting() : encoders() {}
    ~Everlasting() {} // NOLINT(modernize-use-equals-default): that would delete it

    Encoders encoders;
};

constinit const Everlasting everlasting;
constexpr const Encoders &all = everlasting.encoders;

constexpr const Encoder *inOrder[] = {&all.ascii,  &all.binary, &all.cp1252, &all.latin1,
                                      &all.ucs2,   &all.ucs2be, &all.ucs2le, &all.ucs4,
                                      &all.ucs4be, &all.ucs4le, &all.utf8,   &all.macRoman};

constexpr const Encoder *atStart[] = {&all.ascii, &all.binary, &all.utf8, &all.ucs4, nullptr};
constinit std::atomic<const Encoder *> fixedEncoders[] = {atStart[0], atStart[1], atStart[2],
                                                          atStart[3], atStart[4]};

} // namespace

std::span<const Encoder *const> builtInEncoders()
{
    return inOrder;
}

const Encoder *fixedEncoder(FixedEncoder which)
{
    return fixedEncoders[static_cast<int>(which)].load(std::memory_order_acquire);
}

void setFixedEncoder(FixedEncoder which, const Encoder *encoder)
{
    fixedEncoders[static_cast<int>(which)].store(encoder, std::memory_order_release);
}

void resetFixedEncoders()
{
    for (std::size_t index = 0; index < std::size(atStart); ++index)
        fixedEncoders[index].store(atStart[index], std::memory_order_release);
}

} // namespace detail

} // namespace Tavrin
