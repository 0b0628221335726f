// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LivePropertyManager.h>

// The records of reflection that properties and objects hand out. Each is new and the caller's, or
// null when memory has run out.

namespace Tavrin {

class ClassInfo;
class LiveObject;
class ServiceInfo;
class String;

namespace detail {

const ServiceInfo *newServiceRecord(int id, const String &name, InfoType type,
                                    const String &description) noexcept;

// D-280: named after the type that the description gives, "any" if it gives none.
const ServiceInfo *newConstructorRecord(const String &description) noexcept;

// The class of an object as its tables, components and dynamic properties make it. It listens to
// the object, and does not count as a reference to it.
const ClassInfo *newClassRecord(LiveObject &object) noexcept;

} // namespace detail
} // namespace Tavrin
