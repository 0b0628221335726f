// SPDX-License-Identifier: MIT
// Failures that an object words itself. Pinned by tests/live/LiveObjectErrorTest.cpp.
#include <tavrin/LiveObject.h>

#include "live/ErrorCodes.h"
#include "runtime/BlockCache.h"
#include "values/ErrorPush.h"

namespace Tavrin {

// An object that has no memory for its sentence may say so by its code.
void Error::push(int code, const LiveObject &object, int id, bool isIndex, const Cloneable *data)
{
    detail::OwnedData owned(data);
    pushMade([&] {
        String sentence;
        if (object.getErrorText(sentence, code, id, isIndex) == detail::errorOutOfMemory)
            detail::throwOutOfMemory();
        return owned.moveTo(detail::ErrorRecords::make(code, sentence, true)); // D-249
    });
}

} // namespace Tavrin
