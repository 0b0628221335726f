// SPDX-License-Identifier: MIT
// The description of a service, read by the library and by the rules over plain strings. The first
// byte says how the rest becomes units: as they are, or in pairs.
#include <tavrin/Reflection.h>

#include <climits>

#include "fuzz/FuzzTools.h"
#include "reflection/DescriptionModel.h"

using namespace Tavrin;
using test::Described;
using test::Units;

namespace {

Units unitsOf(fuzz::ByteScript &script)
{
    const bool isWide = script.below(4) == 0;
    Units units;
    while (!script.isOver()) {
        unsigned unit = script.byte();
        if (isWide)
            unit = unit << 8 | script.byte();
        units += static_cast<char16_t>(unit);
    }
    return units;
}

void compareAt(const Units &text, int index)
{
    bool isRead = false;
    const Described read = Described::read(text, index, isRead);
    fuzz::require(isRead, "there is a type for every text");
    fuzz::require(read == Described::of(text, index), "a segment is read by the rules");
}

void compareService(const Units &text)
{
    const InterfacePtr<const ServiceInfo> service = InterfacePtr<const ServiceInfo>::adopt(
        new PropServiceInfo(1, "service", kInfoMethod, test::toString(text)));
    const int count = service->getParamCount();
    fuzz::require(count == Described::countParams(text), "parameters are counted by the rules");
    fuzz::require(service->getParamInfo(count) == nullptr, "there are no more than those");
    for (int index = 0; index < count && index < 8; ++index) {
        const InterfacePtr<const ParamInfo> param =
            InterfacePtr<const ParamInfo>::adopt(service->getParamInfo(index));
        String name;
        param->getName(name);
        fuzz::require(name.length() > 0, "every parameter has a name");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    fuzz::ByteScript script(data, size);
    const Units text = unitsOf(script);
    const int anywhere = static_cast<int>(text.size() % 7) - 3;
    for (const int index : {-1, 0, anywhere, text.size() % 2 == 0 ? INT_MIN : INT_MAX})
        compareAt(text, index);
    compareService(text);
    return 0;
}
