// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Array.h>
#include <tavrin/Bind.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Variant.h>

namespace bench {

// What the generated classes of the host have in common.
class LiveHost : public Tavrin::LiveObject
{
public:
    static constexpr int scaledID = 10000;

    LiveHost() : LiveObject("Host", false) {}

    int call(int id, const Tavrin::Array &args, Tavrin::Variant &result,
             Tavrin::Error *error) override
    {
        if (id != scaledID || !isValid())
            return LiveObject::call(id, args, result, error);
        if (const int code = args[0].validate(Tavrin::kNumber))
            return setError(code, id, error, false);
        result = factor *= args[0].getDouble();
        return 0;
    }
    using LiveObject::call;

    double factor = 1;

protected:
    int store(int &field, int id, const Tavrin::Variant &value, Tavrin::Error *error)
    {
        if (const int code = value.validate(-1'000'000, 1'000'000))
            return setError(code, id, error, false);
        field = value.getInteger();
        return invokeAutostore(error);
    }
};

// A class that is written for one purpose: the limit.
class VirtualHost
{
public:
    virtual ~VirtualHost() = default;
    virtual bool get(int id, int &out) const = 0;
    virtual bool call(double by, double &result) = 0;
};

} // namespace bench
