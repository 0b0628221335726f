// SPDX-License-Identifier: MIT
// Pinned by tests/live/LivePropertyTest.cpp.
#include <tavrin/LivePropertyManager.h>

#include "live/ErrorCodes.h"

namespace Tavrin {

namespace {

constexpr unsigned int oddTypeBit = 1;

// D-226: no type is read-write, and whatever has an odd type takes one value.
unsigned int completed(unsigned int flags)
{
    if ((flags & oddTypeBit) != 0)
        flags |= kPropertyFirstPut;
    if ((flags & kPropertyTypeMask) == 0)
        flags |= kInfoReadWrite;
    return flags;
}

} // namespace

LiveProperty::LiveProperty(LiveObject &forOwner, const String &withName, int withID,
                           unsigned int withFlags)
    : owner(&forOwner), name(withName), id(withID), flags(completed(withFlags))
{}

LiveProperty::~LiveProperty() = default;

bool LiveProperty::operator==(const LiveProperty &other) const
{
    return value == other.value;
}

int LiveProperty::compare(const LiveProperty &other) const
{
    return value.compare(other.value);
}

int LiveProperty::get(Variant &out) const
{
    out = value;
    return 0;
}

int LiveProperty::put(const Variant &newValue)
{
    if ((flags & (oddTypeBit | kPropertyFirstPut)) == oddTypeBit)
        return detail::errorReadOnly; // D-227: the first value is the last one
    flags &= ~static_cast<unsigned int>(kPropertyFirstPut);
    value = newValue;
    return 0;
}

int LiveProperty::call(const Array &, Variant &result)
{
    result.erase();
    return detail::errorNoFunction;
}

} // namespace Tavrin
