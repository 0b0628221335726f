// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LivePropertyManager.h>

namespace Tavrin::detail {

// What a property of a type can be used for.
inline bool isReadable(InfoType type)
{
    return type == kInfoReadOnly || type == kInfoReadWrite || type == kInfoReadWriteMethod ||
           type == kInfoReadOnlyMethod;
}

inline bool isWritable(InfoType type)
{
    return type == kInfoReadWrite || type == kInfoReadWriteMethod;
}

inline bool isCallable(InfoType type)
{
    return type == kInfoMethod || type == kInfoReadWriteMethod || type == kInfoReadOnlyMethod;
}

} // namespace Tavrin::detail
