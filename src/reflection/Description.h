// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "text/StringAccess.h"

// The layout of the description of a service: segments between commas, fields between tabs, and in
// the head of a segment a name and a type. Everything is a view of the description.
namespace Tavrin::detail {

// One segment: of the result, or of a parameter.
struct DescriptionSegment
{
    UnitView head;
    UnitView shortText;
    UnitView longText;
    bool isEmpty; // nothing at all was written
};

// Whether the first segment is that of the result. D-281: it is not if its head has a name.
bool hasResult(UnitView description) noexcept;
// How many parameters there are; empty segments count.
int countParams(UnitView description) noexcept;
// The segment of a parameter, or with -1 that of the result. Nothing stands in one that is missing;
// that of a result, in a description which has none by D-281, still counts as written.
DescriptionSegment segmentOf(UnitView description, int index) noexcept;

// Cuts off what stands before the first `delimiter` and returns it; `rest` keeps what stands behind
// it. Without one, everything is cut off.
UnitView cutAt(UnitView &rest, unsigned short delimiter) noexcept;
// Whether there is one, and then the same.
bool cutIfAt(UnitView &rest, unsigned short delimiter, UnitView &front) noexcept;
// Without the blanks at both ends.
UnitView stripped(UnitView text) noexcept;
bool isText(UnitView text, const char *bytes) noexcept;

} // namespace Tavrin::detail
