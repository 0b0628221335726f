// SPDX-License-Identifier: MIT
// The arrays are unique ones, so that a copy which the application keeps has elements of its own,
// and nothing else refers to those that the next call gets.
// Pinned by tests/engine/LiveCallTest.cpp.
#include "duktape/Arguments.h"

#include <cmath>

#include "duktape/Values.h"

namespace TvScript {

// Makes an array with all its elements in a row.
void Arguments::setLength(unsigned int length)
{
    if (list.length == length) [[likely]]
        return;
    list.length = 0; // until all are there
    list.array.setLength(length);
    if (list.items == nullptr)
        list.array.makeUnique();
    for (unsigned int at = 0; at < length; ++at)
        list.array[at].erase();
    list.items = list.array.getData();
    list.length = length;
}

bool Arguments::read(duk_context *ctx, duk_idx_t first, duk_idx_t wanted)
{
    if (wanted <= 0)
        return true;
    setLength(static_cast<unsigned int>(wanted));
    count = list.length;
    for (unsigned int at = 0; at < count; ++at) {
        const duk_idx_t place = first + static_cast<duk_idx_t>(at);
        const double number = duk_get_number(ctx, place); // NaN if it is none
        if (!std::isnan(number)) [[likely]]
            list.items[at].setDouble(number);
        else if (!readValue(engine, ctx, place, list.items[at]))
            return false;
    }
    return true;
}

// Lets go what the arguments hold; numbers stay where they are.
void Arguments::drop() noexcept
{
    constexpr unsigned int mostKept = 64;
    if (count > mostKept) {
        list.items = nullptr;
        list.length = 0;
        list.array.erase();
        return;
    }
    for (unsigned int at = 0; at < count; ++at)
        if (list.items[at].getType() > Tavrin::kNumber)
            list.items[at].erase();
}

} // namespace TvScript
