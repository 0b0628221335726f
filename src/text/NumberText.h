// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/String.h>

// Numbers to text and back, by the rules that scripts see. Every number is a double. Nothing here
// knows the C locale.
//
// Threads: pure functions of their arguments.
// Failure: a text that is no number gives NaN; std::bad_alloc from Heap for the text that is
//          written, which is as before then.
namespace Tavrin::detail {

enum class NumberForm
{
    shortest,    // fixed or exponential, by size, without trailing zeros
    fixed,       // so many places behind the point
    exponential, // one digit before it and so many behind
};

// Replaces `out` by the text of the number. A radix of 0 is 10; one outside 2 to 36 gives "NaN".
// In a radix other than 10 the form and the precision play no part, and the fraction is dropped.
void formatNumber(double value, int radix, int precision, NumberForm form, String &out);
// The decimal digits of the integer; what formatNumber gives in radix 10, without its tests.
void formatInteger(int value, String &out);

// What the word of flags says about a scan. Without these bits, 0 demands that the number is the
// whole text, 1 allows white space behind it, and any other value allows every text.
inline constexpr int leadingZeroIsDecimal = 0x100;
inline constexpr int noHexPrefix = 0x200;
// The flags of the conversion of text to a number.
inline constexpr int conversionFlags = leadingZeroIsDecimal | 1;

// Read the number at the front of the text, behind white space. What stands behind it goes to
// `rest`, if that is not null; `rest` may be the text itself. A radix of 0 goes by the prefix.
double scanDouble(const String &text, int flags, String *rest);
double scanInteger(const String &text, int radix, int flags, String *rest);

} // namespace Tavrin::detail
