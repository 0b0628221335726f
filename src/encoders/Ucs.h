// SPDX-License-Identifier: MIT
#pragma once

// Conversion between code units and the encodings of two and of four bytes per character, in either
// byte order and without byte order marks.
//
// Threads: pure functions of their arguments.
// Cost:    linear.
// Failure: by result code. Too little room for a whole character is one when encoding; when
//          decoding it is the end.
#include "encoders/Conversion.h"

namespace Tavrin::detail {

enum class ByteOrder
{
    littleEndian,
    bigEndian,
};

// Two bytes per unit, surrogates as they are. A single last byte is left with code 38.
Conversion decodeUcs2(const char *src, int srcLen, unsigned short *dst, int room,
                      ByteOrder order) noexcept;
Conversion encodeUcs2(const unsigned short *src, int srcLen, char *dst, int room,
                      ByteOrder order) noexcept;

// Four bytes per character. D-104: decoding keeps the low 16 bits of each and makes no pairs;
// encoding joins pairs, and stops with code 37 at a surrogate without its partner.
Conversion decodeUcs4(const char *src, int srcLen, unsigned short *dst, int room,
                      ByteOrder order) noexcept;
Conversion encodeUcs4(const unsigned short *src, int srcLen, char *dst, int room,
                      ByteOrder order) noexcept;

} // namespace Tavrin::detail
