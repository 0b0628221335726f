// SPDX-License-Identifier: MIT
// Failures that an object words itself. Pinned by tests/live/LiveObjectErrorTest.cpp.
#include <tavrin/LiveObject.h>

#include "live/Guarded.h"

namespace Tavrin {

void Error::push(int code, const LiveObject &object, int id, bool isIndex, const Cloneable *data)
{
    String sentence;
    detail::guarded(nullptr, [&] { return object.getErrorText(sentence, code, id, isIndex); });
    push(code, sentence, data, true); // D-249
}

} // namespace Tavrin
