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

// The same door, for the usual encoder.
#include "encoders/Utf8.h"
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

// Decoding. Each run of escapes is decoded by itself, and what it gives may depend on where it
// ends. It does not when all of the text, its plain units taken as bytes, is well-formed: then no
// character reaches beyond its run, and one call decodes everything.

constexpr int notAnEscape = -1;

// The byte of the escape in front of `end`, or notAnEscape.
int escapedByte(const unsigned short *escape, const unsigned short *end)
{
    if (end - escape < escapeLength || (escape[1] | escape[2]) >= asciiCount)
        return notAnEscape;
    const unsigned high = detail::hexDigitValues[escape[1]];
    const unsigned low = detail::hexDigitValues[escape[2]];
    return (high | low) > 15 ? notAnEscape : static_cast<int>(high << 4 | low);
}

// Room for so many bytes, on the stack if they are few.
class ByteBuffer
{
public:
    explicit ByteBuffer(int count)
    {
        if (count > fewBytes)
            storage.init(count / 2 + 1);
        place = count > fewBytes ? reinterpret_cast<char *>(StringAccess::units(storage)) : few;
    }
    ByteBuffer(const ByteBuffer &) = delete;
    ByteBuffer &operator=(const ByteBuffer &) = delete;

    char *bytes() { return place; }

private:
    static constexpr int fewBytes = 2048;

    char *place;
    String storage;
    char few[fewBytes];
};

enum class Outcome
{
    done,
    wrongEscape,
    undecided, // the runs have to be taken one by one
};

Outcome decodeWhole(UnitView text, String &result)
{
    ByteBuffer buffer(text.length);
    char *const bytes = buffer.bytes();
    char *byte = bytes;
    const unsigned short *const end = text.units + text.length;
    for (const unsigned short *unit = text.units; unit != end;) {
        if (*unit != '%') {
            if (*unit >= asciiCount)
                return Outcome::undecided;
            *byte++ = static_cast<char>(*unit++);
            continue;
        }
        const int value = escapedByte(unit, end);
        if (value == notAnEscape)
            return Outcome::wrongEscape;
        *byte++ = static_cast<char>(value);
        unit += escapeLength;
    }
    const auto count = static_cast<int>(byte - bytes);
    result.init(count);
    const detail::Conversion conversion =
        detail::decodeUtf8(bytes, count, StringAccess::units(result), count);
    result.adjust(conversion.produced);
    return conversion.code == 0 ? Outcome::done : Outcome::undecided;
}

// How many escapes follow each other from here on; notAnEscape if one is none.
int countEscapes(UnitView text, int at)
{
    int count = 0;
    for (; at < text.length && text.units[at] == '%'; at += escapeLength, ++count)
        if (escapedByte(text.units + at, text.units + text.length) == notAnEscape)
            return notAnEscape;
    return count;
}

// What the bytes of so many escapes stand for.
String decodedRun(const unsigned short *escapes, int count, const Encoder *encoder)
{
    ByteBuffer buffer(count);
    char *const bytes = buffer.bytes();
    for (int at = 0; at < count; ++at, escapes += escapeLength)
        bytes[at] = static_cast<char>(escapedByte(escapes, escapes + escapeLength));
    String decoded;
    if (encoder != nullptr)
        decoded.decode(bytes, count, encoder);
    // D-141: one for all of them.
    if (decoded.length() == 0)
        decoded = '?';
    return decoded;
}

Outcome decodeByRuns(UnitView text, const Encoder *encoder, String &result)
{
    result.erase();
    for (int at = 0; at < text.length;) {
        const int found = detail::findUnit(text.units + at, text.length - at, '%');
        const int plain = found < 0 ? text.length - at : found;
        result.append(text.units + at, plain);
        at += plain;
        const int count = countEscapes(text, at);
        if (count == notAnEscape)
            return Outcome::wrongEscape;
        if (count > 0)
            result.append(decodedRun(text.units + at, count, encoder));
        at += count * escapeLength;
    }
    return Outcome::done;
}

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
    if (detail::findUnit(text.units, text.length, '%') < 0)
        return true;
    const Encoder *encoder = utf8();
    String result;
    Outcome outcome = Outcome::undecided;
    if (encoder == &Encoder::getUtf8())
        outcome = decodeWhole(text, result);
    if (outcome == Outcome::undecided)
        outcome = decodeByRuns(text, encoder, result);
    if (outcome == Outcome::wrongEscape)
        return false;
    StringAccess::take(*this, std::move(result));
    return true;
}

} // namespace Tavrin
