// SPDX-License-Identifier: MIT
#include <algorithm>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

namespace {

// A layer of a drawing, as scripts see it.
class Layer : public LiveObject
{
public:
    Layer() : LiveObject("Layer", false) { setPropertyManager(&table()); }

    int get(int id, Variant &out, Error *error) const override
    {
        switch (isValid() ? id : 0) {
        case nameID:
            out = name;
            return 0;
        case opacityID:
            out = opacity;
            return 0;
        }
        return LiveObject::get(id, out, error);
    }
    int put(int id, const Variant &value, Error *error) override
    {
        int code = 0;
        switch (isValid() ? id : 0) {
        case nameID:
            if (code = value.validate(kString); code == 0)
                name = value.getString();
            break;
        case opacityID:
            if (code = value.validate(0.0, 100.0); code == 0)
                opacity = value.getDouble();
            break;
        default:
            return LiveObject::put(id, value, error);
        }
        return code != 0 ? setError(code, id, error, false) : invokeAutostore(error);
    }
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        const Variant by = args.length() > 0 ? args[0] : Variant(10);
        switch (isValid() ? id : 0) {
        case fadeID:
            if (const int code = by.validate(0.0, 100.0))
                return setError(code, id, error, false);
            opacity = std::max(opacity - by.getDouble(), 0.0);
            result = opacity;
            return 0;
        case constructorID:
            result = InterfacePtr<Layer>::adopt(new Layer).get();
            return 0;
        }
        return LiveObject::call(id, args, result, error);
    }

private:
    enum : int
    {
        nameID = 1,
        opacityID,
        fadeID,
    };

    static const LivePropertyManager &table()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"name", nameID, kInfoReadWrite, "string\tThe name."},
            {"opacity", opacityID, kInfoReadWrite, "number;0;100\tIn percent."},
            {"fade", fadeID, kInfoMethod, "number\tFades.,by:number;0;100;10\tHow far."},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        return manager;
    }

    String name = u"Background";
    double opacity = 100;
};

} // namespace

// From now on scripts can construct layers.
int addLayerByHand(int flags);
int addLayerByHand(int flags)
{
    return LiveObject::addFactory(*InterfacePtr<Layer>::adopt(new Layer), flags);
}
