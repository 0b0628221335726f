// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include <tavrin/Encoder.h>

#include "encoders/SingleByte.h"
#include "encoders/Ucs.h"

namespace Tavrin {

// What the built-in encoders share: a fixed list of names.
class BuiltInEncoder : public Encoder
{
public:
    void getNames(String &out) const override;

protected:
    constexpr BuiltInEncoder(int bytesPerCharacter, const char *nameList)
        : Encoder(bytesPerCharacter), names(nameList)
    {}

private:
    const char *names;
};

// One byte for each unit, always: both lengths are the source's.
class SingleByteEncoder : public BuiltInEncoder
{
public:
    int getUnicodeLength(const char *src, int srcLen, int &out) const override;
    int getMBCSLength(const unsigned short *src, int srcLen, int &out) const override;
    int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                  bool continued) const override;
    int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
               bool continued) const override;

protected:
    using Routines = detail::SingleByteRoutines detail::SingleByteSet::*;

    constexpr SingleByteEncoder(const char *nameList, Routines conversion)
        : BuiltInEncoder(1, nameList), routines(conversion)
    {}

private:
    Routines routines;
};

class AsciiEncoder : public SingleByteEncoder
{
public:
    constexpr AsciiEncoder()
        : SingleByteEncoder("US-ASCII,ASCII,ISO646-US,ISO_646.IRV:1991,ISO-IR-6,ANSI_X3.4-1968,"
                            "CP367,IBM367,US,ISO646.1991-IRV",
                            &detail::SingleByteSet::ascii)
    {}
};

class BinaryEncoder : public SingleByteEncoder
{
public:
    constexpr BinaryEncoder() : SingleByteEncoder("BINARY", &detail::SingleByteSet::binary) {}
};

// Windows-1252; the strict part of it that it shares with ISO 8859-1 for that encoding.
class CP1252Encoder : public SingleByteEncoder
{
public:
    constexpr CP1252Encoder() : CP1252Encoder("CP1252,WINDOWS-1252,MS-ANSI", false) {}

    bool isStrictLatin1() const { return strictLatin1; }

protected:
    constexpr CP1252Encoder(const char *nameList, bool isStrict)
        : SingleByteEncoder(nameList, isStrict ? &detail::SingleByteSet::latin1
                                               : &detail::SingleByteSet::cp1252),
          strictLatin1(isStrict)
    {}

private:
    bool strictLatin1;
};

class ISO88591Encoder : public CP1252Encoder
{
public:
    constexpr ISO88591Encoder()
        : CP1252Encoder("ISO-8859-1,ISO-8859-1,ISO-8859-1:1987,ISO-IR-100,LATIN1", true)
    {}
};

class MacRomanEncoder : public SingleByteEncoder
{
public:
    constexpr MacRomanEncoder()
        : SingleByteEncoder("MACINTOSH,MAC-ROMAN", &detail::SingleByteSet::macRoman)
    {}
};

class UCS2Encoder : public BuiltInEncoder
{
public:
    constexpr UCS2Encoder()
        : UCS2Encoder("UCS2,UCS-2,ISO-10646-UCS-2,UTF16,UTF-16,ISO-10646-UTF-16",
                      detail::ByteOrder::littleEndian)
    {}

    int getUnicodeLength(const char *src, int srcLen, int &out) const override;
    int getMBCSLength(const unsigned short *src, int srcLen, int &out) const override;
    int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                  bool continued) const override;
    int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
               bool continued) const override;

protected:
    constexpr UCS2Encoder(const char *nameList, detail::ByteOrder order)
        : BuiltInEncoder(2, nameList), byteOrder(order)
    {}

private:
    detail::ByteOrder byteOrder;
};

class UCS2beEncoder : public UCS2Encoder
{
public:
    constexpr UCS2beEncoder()
        : UCS2Encoder("UCS2BE,UCS-2BE,ISO-10646-UCS-2BE,UTF16BE,UTF-16BE,ISO-10646-UTF16BE",
                      detail::ByteOrder::bigEndian)
    {}
};

class UCS2leEncoder : public UCS2Encoder
{
public:
    constexpr UCS2leEncoder()
        : UCS2Encoder("UCS2LE,UCS-2LE,ISO-10646-UCS-2LE,UTF16LE,UTF-16LE,ISO-10646-UTF16LE",
                      detail::ByteOrder::littleEndian)
    {}
};

class UCS4Encoder : public BuiltInEncoder
{
public:
    constexpr UCS4Encoder()
        : UCS4Encoder("UCS4,UCS-4,ISO-10646-UCS-4,UTF-32,UTF32", detail::ByteOrder::littleEndian)
    {}

    int getUnicodeLength(const char *src, int srcLen, int &out) const override;
    int getMBCSLength(const unsigned short *src, int srcLen, int &out) const override;
    int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                  bool continued) const override;
    int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
               bool continued) const override;

protected:
    constexpr UCS4Encoder(const char *nameList, detail::ByteOrder order)
        : BuiltInEncoder(4, nameList), byteOrder(order)
    {}

private:
    detail::ByteOrder byteOrder;
};

class UCS4beEncoder : public UCS4Encoder
{
public:
    constexpr UCS4beEncoder()
        : UCS4Encoder("UCS4BE,UCS-4BE,ISO-10646-UCS-4BE,UTF-32BE,UTF32BE",
                      detail::ByteOrder::bigEndian)
    {}
};

class UCS4leEncoder : public UCS4Encoder
{
public:
    constexpr UCS4leEncoder()
        : UCS4Encoder("UCS4LE,UCS-4LE,ISO-10646-UCS-4LE,UTF-32LE,UTF32LE",
                      detail::ByteOrder::littleEndian)
    {}
};

class UTF8Encoder : public BuiltInEncoder
{
public:
    constexpr UTF8Encoder()
        : BuiltInEncoder(0, "UTF-8,UTF8,UNICODE-1-1-UTF-8,UNICODE-2-0-UTF-8,UNICODE-2-0-UTF-8")
    {}

    int getUnicodeLength(const char *src, int srcLen, int &out) const override;
    int getMBCSLength(const unsigned short *src, int srcLen, int &out) const override;
    int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                  bool continued) const override;
    int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
               bool continued) const override;
};

namespace detail {

// The built-in encoders, in the order of their registration. They hold no state and are never
// destroyed, so that references to them are good outside InitTerm::init and exit too.
std::span<const Encoder *const> builtInEncoders();

// The encoders that Encoder hands out by themselves; they may be read on any thread. Outside init
// and exit they are the built-in ones, and the system's is null until it was asked for.
enum class FixedEncoder
{
    ascii,
    binary,
    utf8,
    utf32,
    system,
};

const Encoder *fixedEncoder(FixedEncoder which);
void setFixedEncoder(FixedEncoder which, const Encoder *encoder);
void resetFixedEncoders();

} // namespace detail

} // namespace Tavrin
