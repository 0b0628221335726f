// SPDX-License-Identifier: MIT
// Records of errors, one and in chains. A chain may be of any length, so it is copied and deleted
// link by link. Pinned by tests/values/ErrorTest.cpp.
#include "values/ErrorRecords.h"

#include <new>

#include <tavrin/Array.h>
#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "runtime/OnHeap.h"
#include "runtime/Startup.h"
#include "values/ErrorDefinitions.h"
#include "values/ErrorMessages.h"

namespace Tavrin {

namespace {

// The text of a code, with `given` as the text that the caller left and that takes the place of the
// placeholders.
String wording(int code, const String &message, const String &given)
{
    String text(message);
    detail::wordError(code, text);
    text.replaceAll("%1", given);
    return text;
}

// An undefined value of the calling thread, for the next moment.
Variant &spareValue()
{
    const Array none;
    return const_cast<Variant &>(none[0]);
}

} // namespace

ErrorInfo::ErrorInfo(int errorCode, const String &given, bool useTemplate) : ErrorInfo(errorCode)
{
    text = useTemplate ? wording(code, given, given) : given;
}

ErrorInfo::ErrorInfo(int errorCode, const Variant &value) : ErrorInfo(errorCode)
{
    errorData = detail::newOnHeap<Variant>(value);
    text = wording(code, String(), value.toString());
}

ErrorInfo::ErrorInfo(const ErrorInfo &other) : ErrorInfo(other.code)
{
    text = other.text;
    file = other.file;
    source = other.source;
    line = other.line;
    offset = other.offset;
    column = other.column;
    length = other.length;
    if (const Variant *value = __atomic_load_n(&other.errorData, __ATOMIC_ACQUIRE))
        errorData = detail::newOnHeap<Variant>(*value);
    // D-191: without a clone the copy has no data.
    Cloneable *clone = nullptr;
    if (other.data != nullptr && other.data->clone(&clone, true) == 0)
        data = clone;
}

ErrorInfo::~ErrorInfo()
{
    detail::deleteOnHeap(errorData);
    delete data;
}

// Threads that share the record may ask at the same time.
Variant &ErrorInfo::getErrorData() const noexcept
{
    Variant *value = __atomic_load_n(&errorData, __ATOMIC_ACQUIRE);
    if (value != nullptr)
        return *value;
    // D-195: what all threads share is not written.
    if (this == detail::outOfMemoryError.head || this == detail::uncaughtExceptionError.head)
        return spareValue();
    Variant *fresh = nullptr;
    try {
        fresh = detail::newOnHeap<Variant>();
    } catch (const std::bad_alloc &) {
        return spareValue();
    }
    if (__atomic_compare_exchange_n(&errorData, &value, fresh, false, __ATOMIC_ACQ_REL,
                                    __ATOMIC_ACQUIRE))
        return *fresh;
    detail::deleteOnHeap(fresh);
    return *value;
}

namespace detail {

constinit ErrorData outOfMemoryError{nullptr, 1};
constinit ErrorData uncaughtExceptionError{nullptr, 1};

ErrorRecords::~ErrorRecords()
{
    while (newest != nullptr)
        delete std::exchange(newest, newest->next);
}

ErrorRecords ErrorRecords::copiesFrom(const ErrorInfo *first)
{
    ErrorRecords copies;
    ErrorInfo **end = &copies.newest;
    for (const ErrorInfo *record = first; record != nullptr; record = record->next) {
        *end = new ErrorInfo(*record);
        end = &(*end)->next;
    }
    return copies;
}

void ErrorRecords::linkTo(ErrorInfo *&head) noexcept
{
    ErrorInfo **end = &newest;
    while (*end != nullptr)
        end = &(*end)->next;
    *end = head;
    head = std::exchange(newest, nullptr);
}

void startErrors()
{
    ErrorRecords::make(outOfMemoryCode, String("Out of memory"), false)
        .linkTo(outOfMemoryError.head);
    ErrorRecords::make(uncaughtExceptionCode, String("Uncaught Exception"), false)
        .linkTo(uncaughtExceptionError.head);
}

void stopErrors()
{
    stopErrorDefinitions();
    const ErrorRecords outOfMemory(std::exchange(outOfMemoryError.head, nullptr));
    const ErrorRecords uncaughtException(std::exchange(uncaughtExceptionError.head, nullptr));
}

} // namespace detail

} // namespace Tavrin
