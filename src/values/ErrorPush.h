// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <memory>
#include <new>

#include <tavrin/Error.h>
#include <tavrin/Refcountable.h>

#include "runtime/OnHeap.h"
#include "values/ErrorRecords.h"

// How a push makes its record.
//
// Making one runs code of the host: localisers and objects word it, values and data are copied.
// That code may throw, and it may push to this very Error or erase it. So a record is complete
// before the stack is looked at, and the stack is held meanwhile: what goes into the record may
// come from it.
namespace Tavrin {

namespace detail {

enum class Outcome
{
    done,
    outOfMemory,
    thrown, // by a host's code
};

// What is no exception of C++ is let through: it ends the thread.
template <class Work>
Outcome runGuarded(Work work)
{
    try {
        work();
        return Outcome::done;
    } catch (const std::bad_alloc &) {
        return Outcome::outOfMemory;
    } catch (...) {
        if (std::current_exception() == nullptr)
            throw;
        return Outcome::thrown;
    }
}

// The data of a record, until that has it.
class OwnedData
{
public:
    explicit OwnedData(const Cloneable *data) : owned(const_cast<Cloneable *>(data)) {}

    // Gives it to the newest of the records.
    ErrorRecords moveTo(ErrorRecords records)
    {
        records.setData(owned.release());
        return records;
    }

private:
    std::unique_ptr<Cloneable> owned;
};

// What `make` makes, with the records of `error` held until it is done.
template <class Make>
ErrorRecords makeHolding(const Error &error, Make make)
{
    const Error held(error); // NOLINT(performance-unnecessary-copy-initialization)
    return make();
}

} // namespace detail

template <class Make>
void Error::pushMade(Make make)
{
    // D-190: the first failure of this kind stays in sight.
    if (isFixed())
        return;
    const detail::Outcome outcome = detail::runGuarded([&] {
        detail::ErrorRecords records = detail::makeHolding(*this, make);
        if (!unique())
            return;
        if (body == nullptr)
            body = detail::newOnHeap<ErrorData>(ErrorData{nullptr, 1});
        records.linkTo(body->head);
    });
    if (outcome != detail::Outcome::done && !isFixed())
        become(outcome == detail::Outcome::outOfMemory ? detail::outOfMemoryError
                                                       : detail::uncaughtExceptionError);
}

} // namespace Tavrin
