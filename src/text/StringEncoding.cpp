// SPDX-License-Identifier: MIT
// String to bytes and back, through encoders.
//
// An encoder that tells the length ahead converts straight into the text, or into the thread's
// scratch buffer. One that does not may keep state from call to call; it converts by chunks, under
// the encoders' lock. Encoders may be the host's: they may convert strings themselves while they
// are asked, throw, or report lengths that cannot be true.
//
// UTF-8 by the built-in encoder is most of all conversions. It does not look at the text twice when
// there is a bound of its length that wastes little; the outcome is the same. Pinned by
// tests/encoders/StringEncodingTest.cpp and tests/encoders/StringUtf8Test.cpp.
#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

// The door to the encoders: these operations are String's, and what they do is the encoders'.
#include <tavrin/Encoder.h>
#include <tavrin/Lock.h>
#include <tavrin/String.h>

// The same door, for UTF-8.
#include "encoders/Utf8.h"
#include "runtime/ContextState.h"
#include "runtime/LockTable.h"
#include "text/StringAccess.h"

namespace Tavrin {

using detail::StringAccess;

namespace {

using detail::ContextState;

constexpr int chunkSize = 2048; // units or bytes
constexpr int utf32Size = 4;
static_assert(sizeof(unsigned int) == utf32Size);
static_assert(std::endian::native == std::endian::little, "the UTF-32 encoder is little-endian");

// What one call of an encoder did.
struct Outcome
{
    int consumed;
    int produced;
    int code;
};

// A call that failed before it did anything may have left the lengths as they were, and says so by
// a negative code or by nothing consumed.
Outcome trusted(Outcome outcome, int offered, int room)
{
    const bool hasDoneNothing = outcome.code < 0 || (outcome.code != 0 && outcome.consumed <= 0);
    if (hasDoneNothing)
        return {0, 0, outcome.code};
    return {std::clamp(outcome.consumed, 0, offered), std::clamp(outcome.produced, 0, room),
            outcome.code};
}

Outcome toUnicode(const Encoder &encoder, const char *src, int srcLen, unsigned short *dst,
                  int room, bool continued)
{
    Outcome outcome{srcLen, room, 0};
    outcome.code = encoder.toUnicode(src, outcome.consumed, dst, outcome.produced, continued);
    return trusted(outcome, srcLen, room);
}

Outcome toBytes(const Encoder &encoder, const unsigned short *src, int srcLen, char *dst, int room,
                bool continued)
{
    Outcome outcome{srcLen, room, 0};
    outcome.code = encoder.toMBCS(src, outcome.consumed, dst, outcome.produced, continued);
    return trusted(outcome, srcLen, room);
}

const Encoder &encoderOrDefault(const Encoder *encoder)
{
    return encoder != nullptr ? *encoder : Encoder::getDefault();
}

Lock *conversionLock()
{
    return detail::tableLock(detail::LockSlot::encoders);
}

// The thread's scratch buffer, taken out of the context while an encoder works on it: if the
// encoder converts strings itself, those get a buffer of their own.
class Scratch
{
public:
    Scratch() : context(detail::currentContext()) {}
    ~Scratch() { giveBack(); }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    char *bytes() const { return buffer; }

    // Makes room for so many bytes and a 0 of any width behind them, keeping the contents.
    void reserve(int bytes)
    {
        giveBack();
        context.growScratch(bytes);
        buffer = std::exchange(context.scratch, nullptr);
        size = std::exchange(context.scratchSize, 0);
    }

    // Appends to the first `used` bytes. Growth is by half at least, so that it stays linear.
    void append(int used, const char *more, int count)
    {
        const int needed = detail::checkedLength(std::int64_t{used} + count);
        if (needed > size - terminatorSize)
            reserve(detail::checkedLength(std::int64_t{needed} + used / 2));
        std::copy_n(more, count, buffer + used);
    }

    // Ends the text, leaves the buffer to the context and returns it.
    const char *finish(int length)
    {
        if (buffer == nullptr)
            reserve(length);
        std::fill_n(buffer + length, terminatorSize, '\0');
        context.encodedLength = length;
        giveBack();
        return context.scratch;
    }

private:
    static constexpr int terminatorSize = 4;

    void giveBack()
    {
        if (buffer == nullptr)
            return;
        Heap::operator delete(std::exchange(context.scratch, std::exchange(buffer, nullptr)));
        context.scratchSize = size;
    }

    ContextState &context;
    char *buffer = nullptr;
    int size = 0;
};

// The built-in UTF-8 encoder; no other one ever takes its place.
bool isUtf8(const Encoder &encoder)
{
    return &encoder == &Encoder::getUtf8();
}

// UTF-8 has no more units than bytes, and no more than three bytes for each unit.
constexpr int shortAscii = 128;      // bytes that are looked at for ASCII first
constexpr int shortUtf8 = 2048;      // bytes that are decoded on the stack
constexpr int longestUtf8 = 4 << 20; // bytes that are decoded to a block of as many units
constexpr int shortText = 5000;      // units that are encoded to three times the room
constexpr int longestUnitInUtf8 = 3;

// Whether so many bytes are ASCII, for texts too short for vectors to pay.
bool isShortAscii(const char *bytes, int count)
{
    constexpr std::uint64_t otherBits = 0x8080'8080'8080'8080;
    constexpr int word = sizeof otherBits;
    std::uint64_t all = 0;
    const auto take = [&](int at) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, bytes + at, word);
        all |= eight;
    };
    if (count < word) {
        for (int at = 0; at < count; ++at)
            all |= static_cast<unsigned char>(bytes[at]);
    } else {
        for (int at = 0; at < count - word; at += word)
            take(at);
        take(count - word);
    }
    return (all & otherBits) == 0;
}

// These return the code and store how many bytes stand in the buffer.
int encodeUtf8(Scratch &scratch, detail::UnitView text, int &outLength)
{
    const int room = text.length <= shortText ? text.length * longestUnitInUtf8 : text.length;
    scratch.reserve(detail::checkedLength(std::int64_t{room} + 1));
    detail::Conversion done = detail::encodeUtf8(text.units, text.length, scratch.bytes(), room);
    outLength = done.produced;
    if (done.code != 0 || done.consumed == text.length)
        return done.code;
    // A long text that is not ASCII: what is left is measured.
    const detail::UnitView rest{text.units + done.consumed, text.length - done.consumed};
    const int restBytes = detail::countUtf8Bytes(rest.units, rest.length).length;
    scratch.reserve(detail::checkedLength(std::int64_t{outLength} + restBytes + 1));
    done = detail::encodeUtf8(rest.units, rest.length, scratch.bytes() + outLength, restBytes);
    outLength += done.produced;
    return done.code;
}

int encodeAtOnce(Scratch &scratch, detail::UnitView text, const Encoder &encoder, int bytes,
                 int &outLength)
{
    scratch.reserve(detail::checkedLength(std::int64_t{bytes} + 1));
    const Outcome outcome =
        toBytes(encoder, text.units, text.length, scratch.bytes(), bytes, false);
    outLength = outcome.produced;
    return outcome.code;
}

int encodeInChunks(Scratch &scratch, detail::UnitView text, const Encoder &encoder, int &outLength)
{
    CriticalSection section(conversionLock());
    char chunk[chunkSize] = {};
    Outcome outcome{};
    int done = 0;
    do {
        outcome =
            toBytes(encoder, text.units + done, text.length - done, chunk, chunkSize, done > 0);
        scratch.append(outLength, chunk, outcome.produced);
        outLength += outcome.produced;
        done += outcome.consumed;
    } while (outcome.code == 0 && outcome.consumed > 0 && done < text.length);
    return outcome.code;
}

int encodeBy(const Encoder &encoder, Scratch &scratch, detail::UnitView text, int &outLength)
{
    int bytes = -1;
    // The code of the conversion is what counts; it goes further than the length does.
    static_cast<void>(encoder.getMBCSLength(text.units, text.length, bytes));
    return bytes >= 1 ? encodeAtOnce(scratch, text, encoder, bytes, outLength)
                      : encodeInChunks(scratch, text, encoder, outLength);
}

} // namespace

String::String(const char *bytes, const Encoder *encoder) : String()
{
    decode(bytes, -1, encoder);
}

String::String(const unsigned int *utf32, int length) : String()
{
    if (length < 0)
        decode(utf32);
    else
        decode(reinterpret_cast<const char *>(utf32),
               detail::checkedLength(std::int64_t{length} * utf32Size), &Encoder::getUtf32());
}

String &String::operator=(const unsigned int *utf32)
{
    decode(utf32);
    return *this;
}

int String::decode(const char *bytes, int count, const Encoder *encoder)
{
    const int length = bytes != nullptr && count < 0 ? detail::lengthOrZero(bytes) : count;
    if (bytes == nullptr || length == 0) {
        erase();
        return 0;
    }
    const Encoder &converter = encoderOrDefault(encoder);
    if (isUtf8(converter) && length <= longestUtf8)
        return decodeUtf8(bytes, length);
    if (buffer->length == 0 || !holds(bytes))
        return decodeBy(converter, bytes, length);
    // A copy, which stays as it is when the encoder refuses to tell the length.
    String other(*this);
    const int code = other.decodeBy(converter, bytes, length);
    assignUnits(StringAccess::view(other));
    return code;
}

// Text whose length is refused must not change this string; that it is refused shows only where it
// does not convert. Neither way touches the string before all is decoded, so the bytes may be a
// part of it.
int String::decodeUtf8(const char *bytes, int count)
{
    if (count <= shortAscii && isShortAscii(bytes, count) && !holds(bytes)) {
        detail::widen(bytes, StringAccess::overwrite(*this, count), count);
        return 0;
    }
    const auto refusal = [=](int code) {
        return code == 0 ? code : detail::countUtf8Units(bytes, count).code;
    };
    if (count <= shortUtf8) {
        unsigned short units[shortUtf8];
        const detail::Conversion done = detail::decodeUtf8(bytes, count, units, count);
        if (const int code = refusal(done.code))
            return code;
        assignUnits({units, done.produced});
        return done.code;
    }
    String other;
    other.init(count);
    const detail::Conversion done = detail::decodeUtf8(bytes, count, other.buffer->text, count);
    if (const int code = refusal(done.code))
        return code;
    other.adjust(done.produced);
    if (done.produced > 0)
        other.buffer->capacityWord |= buffer->capacityWord & StringBuffer::pinnedFlag;
    *this = std::move(other);
    return done.code;
}

// The bytes are no part of the text.
int String::decodeBy(const Encoder &encoder, const char *bytes, int count)
{
    int units = -1;
    if (const int code = encoder.getUnicodeLength(bytes, count, units))
        return code;
    return units >= 1 ? decodeAtOnce(bytes, count, encoder, units)
                      : decodeInChunks(bytes, count, encoder);
}

int String::decodeAtOnce(const char *bytes, int count, const Encoder &encoder, int units)
{
    if (buffer->isShared())
        init(units);
    else
        adjust(units);
    try {
        const Outcome outcome = toUnicode(encoder, bytes, count, buffer->text, units, false);
        adjust(outcome.produced);
        return outcome.code;
    } catch (...) {
        erase();
        throw;
    }
}

int String::decodeInChunks(const char *bytes, int count, const Encoder &encoder)
{
    CriticalSection section(conversionLock());
    unsigned short chunk[chunkSize] = {};
    Outcome outcome{};
    int done = 0;
    if (buffer->isShared())
        erase();
    else
        clear();
    do {
        outcome = toUnicode(encoder, bytes + done, count - done, chunk, chunkSize, done > 0);
        append(chunk, outcome.produced);
        done += outcome.consumed;
    } while (outcome.code == 0 && outcome.consumed > 0 && done < count);
    return outcome.code;
}

int String::decode(const unsigned int *utf32)
{
    std::int64_t length = 0;
    while (utf32 != nullptr && utf32[length] != 0)
        ++length;
    return decode(reinterpret_cast<const char *>(utf32), detail::checkedLength(length * utf32Size),
                  &Encoder::getUtf32());
}

int String::encode(const char *&out, int &outLength, const Encoder *encoder) const
{
    const detail::UnitView text = StringAccess::view(*this);
    Scratch scratch;
    outLength = 0;
    int code = 0;
    if (text.length > 0) {
        const Encoder &converter = encoderOrDefault(encoder);
        code = isUtf8(converter) ? encodeUtf8(scratch, text, outLength)
                                 : encodeBy(converter, scratch, text, outLength);
    }
    out = scratch.finish(outLength);
    return code;
}

const char *String::encode(const Encoder *encoder) const
{
    const char *bytes = nullptr;
    int length = 0;
    encode(bytes, length, encoder);
    return bytes;
}

const unsigned int *String::encodeUtf32() const
{
    return reinterpret_cast<const unsigned int *>(encode(&Encoder::getUtf32()));
}

int String::getEncodedLength()
{
    return detail::currentContext().encodedLength;
}

} // namespace Tavrin
