// SPDX-License-Identifier: MIT
#include <algorithm>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

namespace {

class Layer : public Bound<Layer>
{
public:
    Layer() : Bound("Layer") {}

    String name = u"Background";
    double opacity = 100;

    double fade(double by) { return opacity = std::clamp(opacity - by, 0.0, 100.0); }

    static constexpr Member members[] = {
        {"name", property<&Layer::name>, "string\tThe name."},
        {"opacity", property<&Layer::opacity>.between(0, 100), "number;0;100\tIn percent."},
        {"fade", method<&Layer::fade>.defaults(10), "number\tFades.,by:number;;;10\tHow far."},
    };
};

} // namespace

int addBoundLayer(int flags);
int addBoundLayer(int flags)
{
    return Layer::addFactory(flags);
}
