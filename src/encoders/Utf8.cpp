// SPDX-License-Identifier: MIT
// The UTF-8 routines for any processor, and the choice between the sets.
//
// The portable set takes the steps of Utf8Steps.h one after the other and is what the others are
// measured by. Pinned by tests/encoders/Utf8Test.cpp.
#include "encoders/Utf8.h"

#include "encoders/Utf8Steps.h"

namespace Tavrin::detail {
namespace {

Conversion decode(const char *src, int srcLen, unsigned short *dst, int room) noexcept
{
    Utf8Decoding decoding(src, srcLen, dst, room);
    while (!decoding.isDone() && decoding.step()) {}
    return decoding.result();
}

Conversion encode(const unsigned short *src, int srcLen, char *dst, int room) noexcept
{
    Utf8Encoding encoding(src, srcLen, dst, room);
    while (!encoding.isDone() && encoding.step()) {}
    return encoding.result();
}

Measure countUnits(const char *src, int srcLen) noexcept
{
    return countUtf8UnitsFrom(src, 0, srcLen, 0);
}

Measure countBytes(const unsigned short *src, int srcLen) noexcept
{
    return countUtf8BytesFrom(src, 0, srcLen, 0);
}

constexpr Utf8Routines portable = {decode, encode, countUnits, countBytes};

const Utf8Routines &bestRoutines() noexcept
{
    if (const Utf8Routines *routines = avx2Utf8Routines())
        return *routines;
    if (const Utf8Routines *routines = sse2Utf8Routines())
        return *routines;
    return portable;
}

} // namespace

const Utf8Routines *portableUtf8Routines() noexcept
{
    return &portable;
}

constinit Utf8Routines activeUtf8Routines = portable;

namespace {

[[maybe_unused]] const bool isChosen = (activeUtf8Routines = bestRoutines(), true);

} // namespace
} // namespace Tavrin::detail
