// SPDX-License-Identifier: MIT
#pragma once

#include <duktape.h>

#include "duktape/EngineData.h"

namespace TvScript {

// Arguments: those that a script gives to one call, in a list of the engine that later calls use
// again, so that most calls allocate nothing for them.
// There is one at most in a steady half.
class Arguments
{
public:
    explicit Arguments(EngineData &itsEngine) : engine(itsEngine), list(engine.argumentList()) {}
    ~Arguments()
    {
        if (count != 0)
            drop();
    }
    Arguments(const Arguments &) = delete;
    Arguments &operator=(const Arguments &) = delete;

    // Takes `wanted` of them from the value stack, from `first` on. False if reading one of them
    // threw: the exception is on top of the value stack then. May throw.
    bool read(duk_context *ctx, duk_idx_t first, duk_idx_t wanted);
    // As long as this lasts; the application may keep copies.
    const Tavrin::Array &get() const { return count != 0 ? list.array : engine.noArguments; }

private:
    void setLength(unsigned int length);
    void drop() noexcept;

    EngineData &engine;
    ArgumentList &list;
    unsigned int count = 0; // the list has not been touched if that is 0
};

} // namespace TvScript
