// SPDX-License-Identifier: MIT
#pragma once

#include <duktape.h>

#include <tavrin/Error.h>

#include "duktape/EngineData.h"

namespace TvScript {

// Failure: the records of an error code, attached to the exception that it has become.
class Failure final : public Mortal
{
public:
    static constexpr Kind itsKind = Kind::failure;

    Failure(EngineData &itsEngine, int itsCode, const Tavrin::Error &itsRecords)
        : Mortal(itsKind), code(itsCode), records(itsRecords), engine(itsEngine)
    {}

    void blockFreed(void *) noexcept override { engine.mourn(*this); }

    const int code;
    const Tavrin::Error records;

private:
    EngineData &engine;
};

// Throws the failure that the engine has noted as an exception of the fitting class. Jumps.
[[noreturn]] void throwFailure(duk_context *ctx, EngineData &engine);
// Notes a failure and throws it. Jumps.
[[noreturn]] void throwCode(duk_context *ctx, EngineData &engine, int code);
// Pushes a Reply, or throws it: the value of the native function that got it. Jumps.
duk_ret_t pushReply(duk_context *ctx, EngineData &engine, Reply reply);
// Makes the classes of errors that the language lacks, and the property `line`. Jumps.
void defineErrorClasses(duk_context *ctx);

// Turns the exception on top of the value stack into records. Returns its code. Steady.
int reportException(EngineData &engine, duk_context *ctx, Tavrin::Error *error);

} // namespace TvScript
