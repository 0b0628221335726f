// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <tavrin/InitTerm.h>

namespace Tavrin::fuzz {

// Ends the process, which the fuzzer takes for a finding, unless the claim holds.
inline void require(bool holds, std::string_view claim)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %.*s\n", static_cast<int>(claim.size()), claim.data());
    std::abort();
}

// The library, from the first input of a process to its end. A target begins with
//   static const fuzz::Library library;
class Library
{
public:
    Library() { InitTerm::init(); }
    ~Library() { InitTerm::exit(); }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
};

// ByteScript: an input, read as a list of choices. Behind its end every choice is 0.
class ByteScript
{
public:
    ByteScript(const std::uint8_t *data, std::size_t size) : next(data), end(data + size) {}

    bool isOver() const { return next == end; }
    unsigned byte() { return isOver() ? 0 : *next++; }
    // A number from 0 to limit - 1, of one byte, or of two for a limit above 256.
    int below(int limit)
    {
        unsigned number = byte();
        if (limit > 256)
            number = number << 8 | byte();
        return static_cast<int>(number % static_cast<unsigned>(limit));
    }

private:
    const std::uint8_t *next;
    const std::uint8_t *end;
};

} // namespace Tavrin::fuzz
