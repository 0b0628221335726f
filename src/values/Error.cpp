// SPDX-License-Identifier: MIT
// The handle on a stack of records.
//
// Making a record runs code of the host: localisers word it, values and data are copied. That code
// may throw, and it may push to this very Error or erase it. So a record is complete before the
// stack is looked at, and the stack is held meanwhile: what goes into the record may come from it.
// Pinned by tests/values/ErrorSharingTest.cpp and tests/values/ErrorGuardTest.cpp.
#include <tavrin/Error.h>

#include <exception>
#include <memory>
#include <new>

#include <tavrin/Lock.h>
#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "runtime/OnHeap.h"
#include "values/ErrorRecords.h"

namespace Tavrin {

using detail::ErrorRecords;

namespace {

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

using OwnedData = std::unique_ptr<Cloneable>;

OwnedData takeOver(const Cloneable *data)
{
    return OwnedData(const_cast<Cloneable *>(data));
}

ErrorRecords withData(ErrorRecords record, OwnedData &data)
{
    record.setData(data.release());
    return record;
}

// What `make` makes, with the records of `error` held until it is done.
template <class Make>
ErrorRecords makeHolding(const Error &error, Make make)
{
    const Error held(error); // NOLINT(performance-unnecessary-copy-initialization)
    return make();
}

} // namespace

Error::Error(int code, const String &text, bool useTemplate)
{
    push(code, text, nullptr, useTemplate);
}

Error::Error(const Error &other) noexcept : body(other.body)
{
    if (body != nullptr)
        detail::addReference(&body->refCount);
}

Error &Error::operator=(const Error &other) noexcept
{
    if (body != other.body)
        *this = Error(other);
    return *this;
}

void Error::drop(ErrorData *dropped) noexcept
{
    if (detail::dropReference(&dropped->refCount) != 0)
        return;
    const ErrorRecords records(dropped->head);
    detail::deleteOnHeap(dropped);
}

bool Error::isFixed() const noexcept
{
    return body == &detail::outOfMemoryError || body == &detail::uncaughtExceptionError;
}

void Error::become(ErrorData &fixed) noexcept
{
    erase();
    detail::addReference(&fixed.refCount);
    body = &fixed;
}

// The one place that ends sharing. False when this Error is, or has become, a fixed one. A clone in
// the making may change this Error: then its copy is out of date.
bool Error::unique()
{
    while (body != nullptr && !isFixed() && body->isShared()) {
        const Error original(*this);
        ErrorRecords copies = ErrorRecords::copiesFrom(original.body->head);
        if (body != original.body)
            continue;
        auto *own = detail::newOnHeap<ErrorData>(ErrorData{nullptr, 1});
        copies.linkTo(own->head);
        erase();
        body = own;
    }
    return !isFixed();
}

template <class Make>
void Error::pushMade(Make make)
{
    // D-190: the first failure of this kind stays in sight.
    if (isFixed())
        return;
    const Outcome outcome = runGuarded([&] {
        ErrorRecords records = makeHolding(*this, make);
        if (!unique())
            return;
        if (body == nullptr)
            body = detail::newOnHeap<ErrorData>(ErrorData{nullptr, 1});
        records.linkTo(body->head);
    });
    if (outcome != Outcome::done && !isFixed())
        become(outcome == Outcome::outOfMemory ? detail::outOfMemoryError
                                               : detail::uncaughtExceptionError);
}

void Error::push(int code, const String &text, const Cloneable *data, bool useTemplate)
{
    OwnedData owned = takeOver(data);
    pushMade([&] { return withData(ErrorRecords::make(code, text, useTemplate), owned); });
}

void Error::push(int code, const Variant &value, const Cloneable *data)
{
    OwnedData owned = takeOver(data);
    pushMade([&] { return withData(ErrorRecords::make(code, value), owned); });
}

void Error::push(int code, const Cloneable *data)
{
    push(code, String(), data, true);
}

void Error::push(const ErrorInfo &record)
{
    pushMade([&] { return ErrorRecords::make(record); });
}

void Error::push(const Error &other)
{
    const Error source(other); // the copying may change the other one, too
    if (source.getError() != nullptr)
        pushMade([&] { return ErrorRecords::copiesFrom(source.getError()); });
}

const ErrorInfo *Error::getError() const noexcept
{
    return body == nullptr ? nullptr : body->head;
}

int Error::getCode() const noexcept
{
    const ErrorInfo *newest = getError();
    return newest == nullptr ? 0 : newest->getCode();
}

Variant *Error::getErrorData() const noexcept
{
    const ErrorInfo *newest = getError();
    return newest == nullptr ? nullptr : &newest->getErrorData();
}

void Error::getFullText(String &text) const
{
    String all;
    const ErrorInfo *newest = getError();
    for (const ErrorInfo *record = newest; record != nullptr; record = record->getNext()) {
        if (record != newest)
            all.append("\n- ");
        all.append(record->getText());
    }
    text = std::move(all);
}

// Without memory, or when a clone throws, the record stays as it is: it is worth more than its
// place. The text may be that of a record which goes when sharing ends.
template <class Change>
void Error::changeNewest(const String &text, Change change)
{
    runGuarded([&] {
        String kept(text);
        if (unique() && body != nullptr)
            change(*body->head, std::move(kept));
    });
}

void Error::setMoreInfo(const String &source, int line, int offset, int column,
                        unsigned short length)
{
    changeNewest(source, [=](ErrorInfo &newest, String &&text) {
        newest.source = std::move(text);
        newest.line = line;
        newest.offset = offset;
        newest.column = column;
        newest.length = length;
    });
}

void Error::setFile(const String &file)
{
    changeNewest(file, [](ErrorInfo &newest, String &&text) { newest.file = std::move(text); });
}

} // namespace Tavrin
