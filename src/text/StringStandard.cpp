// SPDX-License-Identifier: MIT
// String beside the text of the standard library: views, comparison, streams. The UTF-8 that is
// printed is for people and never fails, which is why it is not the encoders'. Pinned by
// tests/text/StringStandardTest.cpp.
#include <tavrin/String.h>

#include <limits>
#include <ostream>

#include "text/StringAccess.h"

namespace Tavrin {

using detail::StringAccess;

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isLead(unsigned short unit)
{
    return (unit & 0xFC00) == 0xD800;
}

bool isTrail(unsigned short unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Calls `visit` with each character.
template <class Visit>
void forEachCharacter(const String &text, Visit visit)
{
    const unsigned short *unit = text.wstr();
    const unsigned short *const end = unit + text.length();
    while (unit != end) {
        const unsigned short first = *unit++;
        // The 0 unit behind the text is no trail.
        if (isLead(first) && isTrail(*unit))
            visit(static_cast<char32_t>(0x10000 + ((first & 0x3FF) << 10 | (*unit++ & 0x3FF))));
        else
            visit(isLead(first) || isTrail(first) ? replacement : char32_t{first});
    }
}

int utf8BytesOf(char32_t character)
{
    if (character < 0x80)
        return 1;
    if (character < 0x800)
        return 2;
    return character < 0x10000 ? 3 : 4;
}

char *writeCharacter(char *to, char32_t character)
{
    constexpr unsigned leadMarks[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const int count = utf8BytesOf(character);
    for (int at = count - 1; at > 0; --at, character >>= 6)
        to[at] = static_cast<char>(0x80 | (character & 0x3F));
    to[0] = static_cast<char>(leadMarks[count] | character);
    return to + count;
}

} // namespace

namespace detail {

std::size_t utf8Length(const String &text) noexcept
{
    std::size_t length = 0;
    forEachCharacter(text, [&](char32_t character) {
        length += static_cast<std::size_t>(utf8BytesOf(character));
    });
    return length;
}

void copyUtf8(const String &text, char *to) noexcept
{
    forEachCharacter(text, [&](char32_t character) { to = writeCharacter(to, character); });
}

} // namespace detail

String String::fromView(std::u16string_view text)
{
    const auto length = static_cast<std::int64_t>(text.size());
    return StringAccess::make(
        {reinterpret_cast<const unsigned short *>(text.data()), detail::checkedLength(length)});
}

int String::compareView(std::u16string_view text) const noexcept
{
    // A text that is too long for a String is greater than its front, which is compared.
    constexpr std::size_t most = std::numeric_limits<int>::max();
    const int length = static_cast<int>(text.size() < most ? text.size() : most);
    const int order = detail::compareUnits(buffer->text, buffer->length,
                                           reinterpret_cast<const unsigned short *>(text.data()),
                                           length, std::numeric_limits<int>::max());
    return order == 0 && text.size() > most ? -1 : order;
}

std::ostream &operator<<(std::ostream &out, const String &text)
{
    constexpr std::size_t shortLength = 512;
    char shortText[shortLength];
    const std::size_t length = detail::utf8Length(text);
    if (length <= shortLength) {
        detail::copyUtf8(text, shortText);
        return out << std::string_view(shortText, length);
    }
    // Storage of Heap for the bytes.
    String storage;
    storage.init(detail::checkedLength(static_cast<std::int64_t>(length / 2 + 1)));
    char *const bytes = reinterpret_cast<char *>(StringAccess::units(storage));
    detail::copyUtf8(text, bytes);
    return out << std::string_view(bytes, length);
}

} // namespace Tavrin
