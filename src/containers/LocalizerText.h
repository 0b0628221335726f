// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/String.h>

namespace Tavrin {
class Array;
}

namespace Tavrin::detail {

// Whether a text is a key of a localised text.
bool isLocalizerKey(const String &text);

// Replaces "$$$/key=text" by "text", and a key without "=" by nothing.
void takeBuiltInText(String &key);

// Turns the escapes of a localised text into what they stand for.
void resolveLocalizerEscapes(String &text);

// The text with its placeholders filled in; null is an empty list.
String fillPlaceholders(const String &text, const Array *args);

} // namespace Tavrin::detail
