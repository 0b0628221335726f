// SPDX-License-Identifier: MIT
// The handle on a stack of records; ErrorPush.h tells how a record comes to be.
// Pinned by tests/values/ErrorSharingTest.cpp and tests/values/ErrorGuardTest.cpp.
#include <tavrin/Error.h>

#include <utility>

#include <tavrin/Lock.h>
#include <tavrin/Variant.h>

#include "runtime/OnHeap.h"
#include "values/ErrorPush.h"
#include "values/ErrorRecords.h"

namespace Tavrin {

using detail::ErrorRecords;

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

void Error::push(int code, const String &text, const Cloneable *data, bool useTemplate)
{
    detail::OwnedData owned(data);
    pushMade([&] { return owned.moveTo(ErrorRecords::make(code, text, useTemplate)); });
}

void Error::push(int code, const Variant &value, const Cloneable *data)
{
    detail::OwnedData owned(data);
    pushMade([&] { return owned.moveTo(ErrorRecords::make(code, value)); });
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
    detail::runGuarded([&] {
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
