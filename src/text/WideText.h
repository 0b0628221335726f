// SPDX-License-Identifier: MIT
#pragma once

#include "text/StringAccess.h"

namespace Tavrin::detail {

// WideText: a byte text as units, for the length of one call. Short ones stay off the heap.
class WideText
{
public:
    explicit WideText(const char *bytes) : length(lengthOrZero(bytes))
    {
        if (length > shortLength) {
            longText = String(bytes);
        } else {
            widen(bytes, shortText, length);
            shortText[length] = 0;
        }
    }
    WideText(const WideText &) = delete;
    WideText &operator=(const WideText &) = delete;

    // With a 0 unit behind it.
    UnitView view() const { return {length > shortLength ? longText.wstr() : shortText, length}; }

private:
    static constexpr int shortLength = 128;

    int length;
    unsigned short shortText[shortLength + 1];
    String longText;
};

} // namespace Tavrin::detail
