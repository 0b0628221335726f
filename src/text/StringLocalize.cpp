// SPDX-License-Identifier: MIT
// The way of a String to the localisers. Pinned by tests/containers/LocalizerArgumentsTest.cpp.
#include <tavrin/String.h>

// A door: the operation is String's, and what it does is the localisers'.
#include <tavrin/Localizer.h>

#include "text/MessageKey.h"

namespace Tavrin {

void String::localize(const Array *args)
{
    *this = Localizer::localize(*this, args);
}

void detail::resolveMessageKey(String &text)
{
    Localizer::getZString(text);
}

} // namespace Tavrin
