// SPDX-License-Identifier: MIT
#pragma once

// Conversion between single-byte encodings and code units. Running out of room is no error, and
// whatever cannot be converted is replaced: conversion goes on to the end.
//
// Threads: pure functions of their arguments.
// Cost:    linear.
// Failure: the code of the encoding's replacements, when there was one.
#include "encoders/Conversion.h"

namespace Tavrin::detail {

struct SingleByteRoutines
{
    Conversion (*decode)(const char *src, int srcLen, unsigned short *dst, int room) noexcept;
    Conversion (*encode)(const unsigned short *src, int srcLen, char *dst, int room) noexcept;
};

// One set of routines per instruction set; all give the same results.
struct SingleByteSet
{
    SingleByteRoutines ascii;
    SingleByteRoutines binary;
    SingleByteRoutines cp1252;
    SingleByteRoutines latin1;
    SingleByteRoutines macRoman;
};

// The set in use: the portable one until it is exchanged for the best, once, while the library is
// loaded.
extern SingleByteSet activeSingleByteSet;

// The sets by name, for tests; null for a set that this processor or this build does not have.
const SingleByteSet *portableSingleByteSet() noexcept;
const SingleByteSet *sse2SingleByteSet() noexcept;
const SingleByteSet *avx2SingleByteSet() noexcept;

} // namespace Tavrin::detail
