// SPDX-License-Identifier: MIT
// Pinned by tests/engine/EngineValueTest.cpp.
#include "duktape/Text.h"

#include <algorithm>
#include <utility>

using Tavrin::String;

namespace TvScript {

namespace {

bool isAscii(const char *bytes, std::size_t length)
{
    return std::all_of(bytes, bytes + length,
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

char *putUnit(char *to, unsigned unit)
{
    if (unit < 0x80) {
        *to++ = static_cast<char>(unit);
        return to;
    }
    if (unit < 0x800) {
        *to++ = static_cast<char>(0xC0 | unit >> 6);
    } else {
        *to++ = static_cast<char>(0xE0 | unit >> 12);
        *to++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
    }
    *to++ = static_cast<char>(0x80 | (unit & 0x3F));
    return to;
}

// How many bytes follow the lead byte of Duktape's extended UTF-8; -1 if it is none.
int trailersOf(unsigned lead)
{
    if (lead < 0x80)
        return 0;
    if (lead < 0xC0 || lead == 0xFF)
        return -1;
    int count = 1;
    for (unsigned bit = 0x20; (lead & bit) != 0; bit >>= 1)
        ++count;
    return count;
}

void appendCharacter(String &text, unsigned long long character)
{
    if (character > 0x10FFFF)
        character = 0xFFFD;
    if (character < 0x10000) {
        text.append(static_cast<unsigned short>(character));
        return;
    }
    character -= 0x10000;
    text.append(static_cast<unsigned short>(0xD800 + (character >> 10)));
    text.append(static_cast<unsigned short>(0xDC00 + (character & 0x3FF)));
}

} // namespace

char *ByteBuffer::room(std::size_t size)
{
    if (size > capacity) {
        const std::size_t wanted = std::max(size, std::size_t{248});
        auto *grown = static_cast<char *>(Tavrin::Heap::operator new(wanted));
        Tavrin::Heap::operator delete(std::exchange(bytes, grown));
        capacity = wanted;
    }
    return bytes;
}

void ByteBuffer::trim() noexcept
{
    if (capacity <= keptSize)
        return;
    Tavrin::Heap::operator delete(std::exchange(bytes, nullptr));
    capacity = 0;
}

Bytes bytesOf(const String &text, ByteBuffer &buffer)
{
    const unsigned short *units = text.wstr();
    const unsigned short *end = units + text.length();
    char *begin = buffer.room(static_cast<std::size_t>(text.length()) * 3 + 1);
    char *to = begin;
    while (units != end)
        to = putUnit(to, *units++);
    return {begin, static_cast<std::size_t>(to - begin)};
}

String textOf(const char *bytes, std::size_t length)
{
    String text;
    if (isAscii(bytes, length)) {
        text.append(bytes, static_cast<int>(length));
        return text;
    }
    const char *end = bytes + length;
    while (bytes != end) {
        const unsigned lead = static_cast<unsigned char>(*bytes++);
        int trailers = trailersOf(lead);
        if (trailers < 0) {
            appendCharacter(text, 0xFFFD);
            continue;
        }
        unsigned long long character = trailers == 0 ? lead : lead & (0x3Fu >> trailers);
        for (; trailers > 0 && bytes != end && (*bytes & 0xC0) == 0x80; --trailers)
            character = character << 6 | (static_cast<unsigned char>(*bytes++) & 0x3Fu);
        appendCharacter(text, trailers == 0 ? character : 0xFFFD);
    }
    return text;
}

unsigned int indexOf(const String &name) noexcept
{
    const int length = name.length();
    if (length == 0 || length > 10 || (length > 1 && name.wstr()[0] == '0'))
        return noIndex;
    unsigned long long index = 0;
    for (int at = 0; at < length; ++at) {
        const unsigned digit = name.wstr()[at] - unsigned{'0'};
        if (digit > 9)
            return noIndex;
        index = index * 10 + digit;
    }
    return index < noIndex ? static_cast<unsigned int>(index) : noIndex;
}

} // namespace TvScript
