// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include <tavrin/Heap.h>
#include <tavrin/String.h>

namespace TvScript {

// ByteBuffer: room for one text as bytes, used again and again.
// Owns:    a block of Heap.
// Failure: std::bad_alloc.
class ByteBuffer
{
public:
    ByteBuffer() = default;
    ByteBuffer(const ByteBuffer &) = delete;
    ByteBuffer &operator=(const ByteBuffer &) = delete;
    ~ByteBuffer() { Tavrin::Heap::operator delete(bytes); }

    // At least that many bytes; what was there before is gone.
    char *room(std::size_t size);
    // A block larger than this is given back when the text is no longer needed.
    static constexpr std::size_t keptSize = 64 * 1024;
    void trim() noexcept;

private:
    char *bytes = nullptr;
    std::size_t capacity = 0;
};

// The bytes by which Duktape stores a text: each unit by itself as UTF-8, halves of surrogate pairs
// too (CESU-8), so that no unit is lost.
struct Bytes
{
    const char *data;
    std::size_t length;
};
Bytes bytesOf(const Tavrin::String &text, ByteBuffer &buffer);

// The text of such bytes. Characters beyond 16 bits become pairs, and what is no character U+FFFD.
Tavrin::String textOf(const char *bytes, std::size_t length);

// The array index that a name stands for, as in "17"; noIndex if it is none.
inline constexpr unsigned int noIndex = 0xFFFF'FFFF;
unsigned int indexOf(const Tavrin::String &name) noexcept;

} // namespace TvScript
