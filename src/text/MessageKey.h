// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/String.h>

namespace Tavrin::detail {

// Whether the text stands for another one in the user's language.
inline bool isMessageKey(const String &text)
{
    return text.ncmp("$$$", 3) == 0;
}

// Replaces a message key by its text.
void resolveMessageKey(String &text);

} // namespace Tavrin::detail
