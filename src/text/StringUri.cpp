// SPDX-License-Identifier: MIT
// Percent-encoding over UTF-8 (RFC 3986 section 2.1), through whatever encoder has that name.
// Pinned by tests/text/StringUriTest.cpp.
#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>
#include <utility>

// The door to the encoders: the bytes behind the percent signs are UTF-8.
#include <tavrin/Encoder.h>
#include <tavrin/String.h>

// The same door, for the usual encoder.
#include "encoders/Utf8Steps.h"
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
// ends. It does not when all of it is well-formed: then it may as well be read character by
// character.

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

// Decodes to a place with room for as many units as there are: nothing gets longer.
class CharacterDecoding
{
public:
    CharacterDecoding(UnitView text, unsigned short *out)
        : unit(text.units), end(text.units + text.length), out(out)
    {}

    Outcome run()
    {
        for (copyPlain(); unit != end; copyPlain()) {
            const int value = readByte();
            if (value == notAnEscape)
                return Outcome::wrongEscape;
            if (value < asciiCount)
                *out++ = static_cast<unsigned short>(value);
            else if (!readCharacter(value))
                return Outcome::undecided;
        }
        return Outcome::done;
    }

    // Where the next unit would go.
    const unsigned short *place() const { return out; }

private:
    // Up to a "%"; four at a time, as far as there are so many.
    void copyPlain()
    {
        constexpr int step = 4;
        for (; end - unit >= step; unit += step, out += step) {
            std::memcpy(out, unit, step * sizeof *unit);
            for (int at = 0; at < step; ++at)
                if (unit[at] == '%') {
                    unit += at;
                    out += at;
                    return;
                }
        }
        while (unit != end && *unit != '%')
            *out++ = *unit++;
    }

    // The byte of an escape, which is left behind.
    int readByte()
    {
        const int value = escapedByte(unit, end);
        if (value != notAnEscape)
            unit += escapeLength;
        return value;
    }

    // The character beyond ASCII that begins with the byte `lead`, already read. False if it is not
    // well-formed.
    bool readCharacter(int lead)
    {
        char bytes[detail::longestUtf8Sequence] = {static_cast<char>(lead)};
        const int length = detail::utf8SequenceLength(static_cast<unsigned char>(lead));
        for (int at = 1; at < length; ++at) {
            const int value = unit != end && *unit == '%' ? readByte() : notAnEscape;
            if (value == notAnEscape)
                return false;
            bytes[at] = static_cast<char>(value);
        }
        constexpr int longestCharacter = 2; // units
        detail::Utf8Decoding decoding(bytes, length, out, longestCharacter);
        const bool isWellFormed = decoding.step();
        out = decoding.dst;
        return isWellFormed;
    }

    const unsigned short *unit;
    const unsigned short *end;
    unsigned short *out;
};

Outcome decodeWhole(UnitView text, String &result)
{
    constexpr int fewUnits = 2048;
    unsigned short few[fewUnits];
    const bool areFew = text.length <= fewUnits;
    if (!areFew)
        result.init(text.length);
    unsigned short *const units = areFew ? few : StringAccess::units(result);
    CharacterDecoding decoding(text, units);
    const Outcome outcome = decoding.run();
    const auto count = static_cast<int>(decoding.place() - units);
    if (areFew)
        StringAccess::assign(result, {units, count});
    else
        result.adjust(count);
    return outcome;
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
