// SPDX-License-Identifier: MIT
#pragma once

// Conversion between UTF-8 and code units (RFC 3629, with the liberties named below), and the
// lengths of its results.
//
// Threads: pure functions of their arguments.
// Cost:    linear; valid text goes by blocks where the processor can.
// Failure: by result code; the rules stand in Utf8Steps.h.
#include "encoders/Conversion.h"

namespace Tavrin::detail {

// One set of routines per instruction set; all give the same results. The functions behind the
// table are the inline ones below; callers use those.
struct Utf8Routines
{
    Conversion (*decode)(const char *src, int srcLen, unsigned short *dst, int room) noexcept;
    Conversion (*encode)(const unsigned short *src, int srcLen, char *dst, int room) noexcept;
    Measure (*countUnits)(const char *src, int srcLen) noexcept;
    Measure (*countBytes)(const unsigned short *src, int srcLen) noexcept;
};

// The set in use: the portable one until it is exchanged for the best, once, while the library is
// loaded.
extern Utf8Routines activeUtf8Routines;

// The sets by name, for tests; null for a set that this processor or this build does not have.
const Utf8Routines *portableUtf8Routines() noexcept;
const Utf8Routines *sse2Utf8Routines() noexcept;
const Utf8Routines *avx2Utf8Routines() noexcept;

[[nodiscard]] inline Conversion decodeUtf8(const char *src, int srcLen, unsigned short *dst,
                                           int room) noexcept
{
    return activeUtf8Routines.decode(src, srcLen, dst, room);
}

[[nodiscard]] inline Conversion encodeUtf8(const unsigned short *src, int srcLen, char *dst,
                                           int room) noexcept
{
    return activeUtf8Routines.encode(src, srcLen, dst, room);
}

// The units that decoding gives, judged by lead bytes alone. A length that an int does not hold
// becomes the largest int.
[[nodiscard]] inline Measure countUtf8Units(const char *src, int srcLen) noexcept
{
    return activeUtf8Routines.countUnits(src, srcLen);
}

// The bytes that encoding gives. A length that an int does not hold becomes the largest int.
[[nodiscard]] inline Measure countUtf8Bytes(const unsigned short *src, int srcLen) noexcept
{
    return activeUtf8Routines.countBytes(src, srcLen);
}

} // namespace Tavrin::detail
