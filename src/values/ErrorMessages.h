// SPDX-License-Identifier: MIT
#pragma once

#include <span>

namespace Tavrin::detail {

// What the library knows of one of its own codes.
struct ErrorRow
{
    int code;              // as reports record it; some are negative
    const char *text;      // in ASCII, with "%1" for the reporter's own text
    const char *className; // null: the interpreter decides
};

// The rows by the absolute value of their codes.
std::span<const ErrorRow> errorRows();

// The absolute value of a code. D-194: that of the smallest int is 2^31, which no int holds.
constexpr unsigned absoluteCode(int code)
{
    const auto bits = static_cast<unsigned>(code);
    return code < 0 ? 0 - bits : bits;
}

// Reports that have a record ready.
inline constexpr int outOfMemoryCode = -28;
inline constexpr int uncaughtExceptionCode = -29;

} // namespace Tavrin::detail
