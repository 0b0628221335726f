// SPDX-License-Identifier: MIT
// Percent-encoding over UTF-8 (RFC 3986 section 2.1), through whatever encoder has that name.
// Pinned by tests/text/StringUriTest.cpp.
#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

// The door to the encoders: the bytes behind the percent signs are UTF-8.
#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "text/HexDigits.h"
#include "text/StringAccess.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

constexpr int escapeLength = 3; // "%" and two digits
constexpr int asciiCount = 128;

const Encoder *utf8()
{
    return Encoder::get("UTF8");
}

// Which bytes stand for themselves.
class KeptBytes
{
public:
    template <class Unit>
    explicit KeptBytes(const Unit *keep) : isKept(digitsAndLetters)
    {
        for (; keep != nullptr && *keep != 0; ++keep)
            if (const auto unit = static_cast<std::make_unsigned_t<Unit>>(*keep); unit < asciiCount)
                isKept[unit] = true;
    }

    bool has(char byte) const { return isKept[static_cast<unsigned char>(byte)]; }

private:
    using Table = std::array<bool, 256>;

    static constexpr Table digitsAndLetters = [] {
        Table table{};
        for (std::size_t byte = 0; byte < asciiCount; ++byte)
            table[byte] = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                          (byte >= 'a' && byte <= 'z');
        return table;
    }();

    Table isKept;
};

unsigned short *writeEscaped(const char *bytes, int count, const KeptBytes &kept,
                             unsigned short *to)
{
    for (const char *byte = bytes; byte != bytes + count; ++byte) {
        const unsigned value = static_cast<unsigned char>(*byte);
        if (kept.has(*byte)) {
            *to++ = static_cast<unsigned short>(value);
        } else {
            to[0] = '%';
            to[1] = detail::hexDigit(value >> 4);
            to[2] = detail::hexDigit(value);
            to += escapeLength;
        }
    }
    return to;
}

bool encodeUri(String &text, const KeptBytes &kept)
{
    const Encoder *encoder = utf8();
    const char *bytes = nullptr;
    int count = 0;
    if (encoder == nullptr || text.encode(bytes, count, encoder) != 0)
        return false;
    const auto keptCount = static_cast<int>(
        std::count_if(bytes, bytes + count, [&](char byte) { return kept.has(byte); }));
    const std::int64_t length = keptCount + std::int64_t{count - keptCount} * escapeLength;
    String result;
    result.init(detail::checkedLength(length));
    writeEscaped(bytes, count, kept, StringAccess::units(result));
    StringAccess::take(text, std::move(result));
    return true;
}

// The bytes of a run of escapes.
class EscapedBytes
{
public:
    // How many there are from here on; -1 if one is no escape.
    static int countAt(UnitView text, int at)
    {
        int count = 0;
        for (; at < text.length && text.units[at] == '%'; at += escapeLength, ++count)
            // The 0 unit behind the text is no digit.
            if (detail::hexDigitValue(text.units[at + 1]) > 15 ||
                detail::hexDigitValue(text.units[at + 2]) > 15)
                return -1;
        return count;
    }

    // What the bytes of so many escapes stand for.
    const String &decode(const unsigned short *escapes, int count, const Encoder *encoder)
    {
        char *bytes = few.data();
        if (count > static_cast<int>(few.size())) {
            many.init(count / 2 + 1);
            bytes = reinterpret_cast<char *>(StringAccess::units(many));
        }
        for (int index = 0; index < count; ++index, escapes += escapeLength)
            bytes[index] = static_cast<char>(detail::hexDigitValue(escapes[1]) << 4 |
                                             detail::hexDigitValue(escapes[2]));
        text.erase();
        if (encoder != nullptr)
            text.decode(bytes, count, encoder);
        // D-141: one for all of them.
        if (text.length() == 0)
            text = '?';
        return text;
    }

private:
    std::array<char, 512> few;
    String many;
    String text;
};

} // namespace

bool String::encodeURI(const char *keep)
{
    return encodeUri(*this, KeptBytes(keep));
}

bool String::encodeURI(const unsigned short *keep)
{
    return encodeUri(*this, KeptBytes(keep));
}

bool String::decodeURI()
{
    const UnitView text = StringAccess::view(*this);
    int at = detail::findUnit(text.units, text.length, '%');
    if (at < 0)
        return true;
    const Encoder *encoder = utf8();
    EscapedBytes bytes;
    String result;
    result.append(text.units, at);
    while (at < text.length) {
        const int count = EscapedBytes::countAt(text, at);
        if (count < 0)
            return false;
        result.append(bytes.decode(text.units + at, count, encoder));
        at += count * escapeLength;
        const int found = detail::findUnit(text.units + at, text.length - at, '%');
        const int plain = found < 0 ? text.length - at : found;
        result.append(text.units + at, plain);
        at += plain;
    }
    StringAccess::take(*this, std::move(result));
    return true;
}

} // namespace Tavrin
