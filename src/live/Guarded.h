// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <new>

#include <tavrin/Error.h>
#include <tavrin/String.h>

#include "live/ErrorCodes.h"

// Between the code of hosts, which may throw, and that of callers, which gets codes.
namespace Tavrin::detail {

// Words an exception, unless the error says something already.
inline int reportOutOfMemory(Error *error)
{
    if (error != nullptr && error->getCode() == 0)
        error->push(errorOutOfMemory, nullptr);
    return errorOutOfMemory;
}
inline int reportUncaught(Error *error, const char *what)
{
    if (error == nullptr || error->getCode() != 0)
        return errorUncaught;
    try {
        error->push(errorUncaught, String(what), nullptr, true);
    } catch (const std::bad_alloc &) {
        error->push(errorUncaught, nullptr);
    }
    return errorUncaught;
}

// The code of the operation; also if it throws. What is no exception of C++ is let through: it ends
// the thread.
template <class Operation>
int guarded(Error *error, Operation operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return reportOutOfMemory(error);
    } catch (const std::exception &thrown) {
        return reportUncaught(error, thrown.what());
    } catch (...) {
        if (std::current_exception() == nullptr)
            throw;
        return reportUncaught(error, "");
    }
}

// What the operation gives, or the fallback if it throws.
template <class Result, class Operation>
Result guardedOr(Result fallback, Operation operation)
{
    guarded(nullptr, [&] {
        fallback = operation();
        return 0;
    });
    return fallback;
}

// For operations without a result, which then stop where they are.
template <class Operation>
void guardedAlone(Operation operation)
{
    guarded(nullptr, [&] {
        operation();
        return 0;
    });
}

} // namespace Tavrin::detail
