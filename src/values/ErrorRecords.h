// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include <tavrin/Error.h>

namespace Tavrin {

// ErrorData: what the copies of an Error share.
struct ErrorData
{
    ErrorInfo *head; // the newest record
    int refCount;

    bool isShared() const noexcept { return __atomic_load_n(&refCount, __ATOMIC_ACQUIRE) > 1; }
};

namespace detail {

// The bodies that stand ready for when no other can be made, each with one record between start and
// stop. They are counted like others, but the library's own reference is never given up, so that
// an Error may outlive it.
extern constinit ErrorData outOfMemoryError;
extern constinit ErrorData uncaughtExceptionError;

// ErrorRecords: a chain of records, newest first, that no body has yet, or no longer.
class ErrorRecords
{
public:
    ErrorRecords() = default;
    // Takes over the records from `first` on.
    explicit ErrorRecords(ErrorInfo *first) noexcept : newest(first) {}
    ErrorRecords(ErrorRecords &&other) noexcept : newest(std::exchange(other.newest, nullptr)) {}
    ErrorRecords &operator=(const ErrorRecords &) = delete;
    ~ErrorRecords();

    // One record, made by one of the constructors of ErrorInfo.
    template <class... Arguments>
    static ErrorRecords make(const Arguments &...arguments)
    {
        return ErrorRecords(new ErrorInfo(arguments...));
    }
    // Copies of a record and all older ones.
    static ErrorRecords copiesFrom(const ErrorInfo *first);

    // Gives the newest record its data, and takes ownership.
    void setData(Cloneable *data) noexcept { newest->data = data; }
    // Puts the records in front of `head`, and lets them go.
    void linkTo(ErrorInfo *&head) noexcept;

private:
    ErrorInfo *newest = nullptr;
};

} // namespace detail

} // namespace Tavrin
