// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Variant.h>

// What values do with live objects. The locks of the objects are held around their operations.
namespace Tavrin::detail {

void holdLiveObject(const LiveObject &object);
void dropLiveObject(const LiveObject &object);

bool isValidLiveObject(const LiveObject &object);
bool areEqualLiveObjects(const LiveObject &a, const LiveObject &b);
Root *dataOf(const LiveObject &object);
void setDataOf(LiveObject &object, Root *data);
// What the object says about itself.
void writeLiveObject(const LiveObject &object, String &out);
// What it gives for its value; see primitiveOf.
void askLiveObject(const LiveObject &object, Variant &answer);

// A live object over the array, for a value of a kind that has none; null without memory.
LiveObject *newLiveArray(const Array &array, const char *className) noexcept;

} // namespace Tavrin::detail
