// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

// The system's code pages, by the numbers that Windows gave them.
namespace Tavrin::platform {

// What decoding does with bytes that stand for nothing.
enum class InvalidBytes
{
    fail,
    replace, // with U+FFFD: one for each byte, and one for a character that the end cuts
};

// CodePage: the conversions of one code page. Threads may convert at the same time.
class CodePage
{
public:
    explicit CodePage(unsigned number);
    ~CodePage();
    CodePage(const CodePage &) = delete;
    CodePage &operator=(const CodePage &) = delete;

    // Whether the system converts both ways. The conversions of other code pages fail.
    bool isKnown() const;

    // Convert a whole text and return how many units of the other side it gives; -1 when it cannot
    // be converted, does not fit the room, or gives more than an int holds. What the code page does
    // not hold is encoded as "?", once for each unit; as the byte of that value where "?" is not in
    // the code page either. With a null `dst` they only count.
    int decode(const char *src, int srcLen, unsigned short *dst, int room,
               InvalidBytes invalidBytes) const;
    int encode(const unsigned short *src, int srcLen, char *dst, int room) const;

private:
    const char *systemName; // null when unknown
    char nameStorage[16];
    // A converter for each direction that no thread is using, or null.
    mutable std::atomic<void *> spareDecoder{nullptr};
    mutable std::atomic<void *> spareEncoder{nullptr};
};

// The name of the code page that the system's own 8-bit text is in.
const char *activeCodePageName();

} // namespace Tavrin::platform
