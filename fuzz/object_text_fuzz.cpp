// SPDX-License-Identifier: MIT
// An object text, read by the library and by the plain rules; and the same as the elements of an
// array and as a new object, which have to end.
#include <tavrin/Array.h>
#include <tavrin/LiveObject.h>

#include "fuzz/FuzzText.h"
#include "fuzz/FuzzTools.h"
#include "live/ObjectTextModel.h"

using namespace Tavrin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    const String text = fuzz::textOf(data, size);
    const std::string gap = test::objectTextGap(text);
    fuzz::require(gap.empty(), gap);
    Array elements;
    elements.parse(text, 1);
    LiveObject *object = nullptr;
    const int code = LiveObject::parseNew(text, object, 1);
    fuzz::require(object == nullptr || code == 0, "a fault gives no object");
    if (object != nullptr)
        object->release();
    return 0;
}
