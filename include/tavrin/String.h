// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <compare>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <string_view>
#include <type_traits>
#include <version>
#ifdef __cpp_lib_format
#include <format>
#include <string>
#endif

#include <tavrin/Export.h>
#include <tavrin/HeapCache.h>
#include <tavrin/Lock.h>

namespace Tavrin {

class Array;
class Encoder;
class String;

namespace detail {

struct StringAccess;
struct UnitView;

// The 16-bit text of the standard: views, strings, literals and pointers, of which a null one reads
// as empty.
template <class Text>
concept StandardText = !std::derived_from<Text, String> && !std::same_as<Text, std::nullptr_t> &&
                       std::convertible_to<const Text &, std::u16string_view>;

template <StandardText Text>
constexpr std::u16string_view viewOf(const Text &text) noexcept
{
    if constexpr (std::is_pointer_v<Text>)
        if (text == nullptr)
            return {};
    return text;
}

} // namespace detail

// StringBuffer: the record behind a String, one block of Heap with the text at its end.
struct StringBuffer
{
    int length;             // units in use
    unsigned capacityWord;  // the greatest length that fits the block; the top bit says pinned
    int refCount;           // how many String objects refer to it; read and changed atomically
    unsigned short text[1]; // `length` units and a 0 unit

    static constexpr unsigned pinnedFlag = 0x8000'0000U;
    // D-040: a block with fewer units than this to spare is kept.
    static constexpr unsigned slackLimit = 2049;

    int capacity() const noexcept { return static_cast<int>(capacityWord & ~pinnedFlag); }
    bool isPinned() const noexcept { return (capacityWord & pinnedFlag) != 0; }
    bool isShared() const noexcept { return __atomic_load_n(&refCount, __ATOMIC_ACQUIRE) > 1; }
    // Whether a sole owner that sets the length to `units` keeps the block. One that would get a
    // block of the same size again, because it uses more than half of this one, keeps it too.
    bool keepsBlockFor(int units) const noexcept
    {
        const int room = capacity();
        return units <= room &&
               (static_cast<unsigned>(room - units) < slackLimit || units > room / 2);
    }
    // The same for one unit more than `end`, the present length, in as few steps as it takes: a
    // text that keeps its block keeps it for one more if there is room. False for an empty one,
    // since clear keeps blocks of any size.
    bool takesOneMoreAt(int end) const noexcept
    {
        return static_cast<unsigned>(end) - 1 < static_cast<unsigned>(capacity()) - 1;
    }
    // A unit and the 0 behind it.
    void writeLast(int at, unsigned short unit) noexcept
    {
        const auto pair =
            std::endian::native == std::endian::little ? unsigned{unit} : unsigned{unit} << 16;
        std::memcpy(text + at, &pair, sizeof pair);
    }
};
static_assert(offsetof(StringBuffer, text) == 12, "block sizes count on the fixed head");

namespace detail {

// The record of every empty String. D-031: nothing is counted on it; its count reads as shared, so
// that every writer leaves it alone. Of unknown extent, lest compilers warn of the writes to it
// that the count prevents.
TAVRIN_API extern const StringBuffer emptyBuffer[];

} // namespace detail

// String: a shared, copy-on-write text of 16-bit code units, one pointer in size.
// Owns:    one reference on its buffer.
// Threads: copies may live on different threads after InitTerm::setMT; one object is one thread's.
// Cost:    copy O(1); a change O(length) when the buffer is shared; append amortised O(added).
// Units:   code units, as signed 32-bit counts. Surrogates are not interpreted. Bytes in `const
//          char *` and `char` become the units of the same value, without sign extension.
// Failure: indexes out of range are clamped or ignored; a null text reads as an empty one;
//          std::bad_alloc from Heap, also for a length above 2^31 - 1, and the String is as before
//          then. Empty strings work outside InitTerm::init and exit.
class TAVRIN_API String
{
public:
    constexpr String() noexcept : buffer(emptyRecord()) {}
    String(const String &other) : buffer(other.buffer)
    {
        const int word = static_cast<int>(buffer->capacityWord);
        if (word > 0) [[likely]]
            detail::addReference(&buffer->refCount);
        else if (word < 0)
            buffer = copyBuffer(*buffer);
    }
    // Leaves `other` empty. D-033: a pin stays with the buffer, also in a move.
    String(String &&other) noexcept : buffer(other.buffer) { other.buffer = emptyRecord(); }
    String(const char *bytes);
    // A negative length means up to the 0 unit.
    // D-030: text that begins with a 0 unit gives the empty string, whatever the length says.
    String(const unsigned short *units, int length = -1);
    // What decode makes of the bytes up to the 0, or of `length` characters of 32 bits; a negative
    // length means up to the 0. The result codes are dropped.
    String(const char *bytes, const Encoder *encoder);
    String(const unsigned int *utf32, int length = -1);
    // Exactly these units. So whatever takes a String takes u"..." as well.
    template <detail::StandardText Text>
    String(const Text &text) : String(fromView(detail::viewOf(text)))
    {}
    constexpr ~String() { drop(buffer); }

    String &operator=(const String &other)
    {
        if (buffer != other.buffer)
            *this = String(other);
        return *this;
    }
    String &operator=(String &&other) noexcept
    {
        StringBuffer *taken = other.buffer;
        other.buffer = emptyRecord();
        StringBuffer *dropped = buffer;
        buffer = taken;
        drop(dropped);
        return *this;
    }
    // A string of that one unit, also for the unit 0.
    String &operator=(char unit);
    String &operator=(unsigned short unit);
    // Here and below, a unit may be written u'x'.
    String &operator=(char16_t unit) { return *this = unitOf(unit); }
    String &operator=(const char *bytes);
    String &operator=(const unsigned short *units);
    String &operator=(const unsigned int *utf32);

    int length() const noexcept { return buffer->length; }
    // The text, with a 0 unit behind it. It stays in place until the next change of this String.
    const unsigned short *wstr() const noexcept { return buffer->text; }
    operator const unsigned short *() const noexcept { return buffer->text; }
    // The text for the standard library; as long in place as that of wstr.
    operator std::u16string_view() const noexcept
    {
        const unsigned short *units = buffer->text;
        // char16_t is another type than the code unit: what was written as the one before is to be
        // in memory when it is read as the other.
        __asm__ __volatile__("" : : "r"(units) : "memory");
        return {reinterpret_cast<const char16_t *>(units),
                static_cast<std::size_t>(buffer->length)};
    }
    // The pointer would make every string true; ask for length().
    explicit operator bool() const = delete;

    // D-042: the difference of the first unequal units, this minus x. If one text ends before that:
    // 0 if both do, -1 if this one does, 1 if x does. ncmp compares the first n units only; ucmp
    // and nucmp pass each unit through UnicodeUtils::towupper first.
    int cmp(const String &x) const noexcept;
    int cmp(const char *x) const noexcept;
    int cmp(const unsigned short *x) const noexcept;
    int ncmp(const String &x, int n) const noexcept;
    int ncmp(const char *x, int n) const noexcept;
    int ncmp(const unsigned short *x, int n) const noexcept;
    int ucmp(const String &x) const noexcept;
    int ucmp(const char *x) const noexcept;
    int ucmp(const unsigned short *x) const noexcept;
    int nucmp(const String &x, int n) const noexcept;
    int nucmp(const char *x, int n) const noexcept;
    int nucmp(const unsigned short *x, int n) const noexcept;

    bool operator==(const String &x) const noexcept
    {
        if (buffer == x.buffer)
            return true;
        const auto bytes = static_cast<unsigned>(buffer->length) * sizeof(unsigned short);
        return buffer->length == x.buffer->length &&
               std::memcmp(buffer->text, x.buffer->text, bytes) == 0;
    }
    bool operator==(const char *x) const noexcept { return cmp(x) == 0; }
    bool operator==(const unsigned short *x) const noexcept { return cmp(x) == 0; }
    std::strong_ordering operator<=>(const String &x) const noexcept { return cmp(x) <=> 0; }
    std::strong_ordering operator<=>(const char *x) const noexcept { return cmp(x) <=> 0; }
    std::strong_ordering operator<=>(const unsigned short *x) const noexcept
    {
        return cmp(x) <=> 0;
    }

    // All of both texts counts, be there a 0 in them.
    template <detail::StandardText Text>
    bool operator==(const Text &x) const noexcept
    {
        return compareView(detail::viewOf(x)) == 0;
    }
    template <detail::StandardText Text>
    std::strong_ordering operator<=>(const Text &x) const noexcept
    {
        return compareView(detail::viewOf(x)) <=> 0;
    }

    String operator+(const String &x) const;
    String operator+(char unit) const { return *this + widened(unit); }
    String operator+(unsigned short unit) const;
    String operator+(char16_t unit) const { return *this + unitOf(unit); }
    String operator+(const char *x) const;
    String operator+(const unsigned short *x) const;

    String &operator+=(const String &x) { return append(x); }
    String &operator+=(char unit) { return append(unit); }
    String &operator+=(unsigned short unit) { return append(unit); }
    String &operator+=(char16_t unit) { return append(unit); }
    String &operator+=(const char *x) { return append(x); }
    String &operator+=(const unsigned short *x) { return append(x); }

    // The unit 0 is appended like any other, and counts. With a length, exactly so many units are
    // taken; a negative length means up to the 0 unit.
    String &append(const String &x);
    String &append(char unit) { return append(widened(unit)); }
    String &append(unsigned short unit)
    {
        StringBuffer &own = *buffer;
        const int end = own.length;
        if (own.takesOneMoreAt(end) && !own.isShared()) [[likely]] {
            own.writeLast(end, unit);
            own.length = end + 1;
            return *this;
        }
        return appendSlowly(unit);
    }
    String &append(char16_t unit) { return append(unitOf(unit)); }
    String &append(const char *x) { return append(x, -1); }
    String &append(const unsigned short *x) { return append(x, -1); }
    String &append(const char *bytes, int count);
    String &append(const unsigned short *units, int count);

    // Sets the length, keeping the text up to it; new units hold no defined value. 0 or less makes
    // the string empty. Only a block with 2049 or more units to spare is given back in part.
    void adjust(int newLength);
    // Sets the length and gives all units up.
    void init(int newLength);
    // Empties the string and keeps its block; erase gives the block up. D-043: a string that shares
    // its buffer, as every empty one does, gets a block of its own.
    void clear();
    void erase() noexcept;
    // D-032: a negative start means the end, a negative count as many units as there are.
    void erase(int start, int count);
    // A negative pos counts as 0; one at or past the end appends.
    void insert(const String &x, int pos);
    void insert(char unit, int pos);
    void insert(unsigned short unit, int pos);
    void insert(char16_t unit, int pos) { insert(unitOf(unit), pos); }
    void insert(const char *x, int pos);
    void insert(const unsigned short *x, int pos);
    // Overwrites one unit; an index out of range is ignored.
    void set(int index, unsigned short unit);
    // Makes the string `count` times `unit`.
    void setup(unsigned short unit, int count);
    // The part from start on, at most count units long; a negative count means to the end. The
    // whole text shares the buffer.
    String substr(int start, int count = -1) const;
    // Pins the buffer: from here on copies get buffers of their own, so that a raw pointer into
    // this text may be written through. Changing the length may still move it.
    void makeUnique();

    // The position of the first x at or after start, or -1; a negative start counts as 0. Backward,
    // the position of the last x at or before start; a negative start means the end. An empty x is
    // found at start. D-035: an empty `const unsigned short *` is found at 0, going forward.
    int find(const String &x, int start = 0, bool reverse = false) const noexcept;
    int find(unsigned short unit, int start = 0, bool reverse = false) const noexcept;
    int find(const char *x, int start = 0, bool reverse = false) const;
    int find(const unsigned short *x, int start = 0, bool reverse = false) const noexcept;
    template <std::same_as<char> Byte>
    int find(Byte unit, int start = 0, bool reverse = false) const noexcept
    {
        return find(widened(unit), start, reverse);
    }
    // The position of the first unit at or after start that occurs in the set; -1 if there is none,
    // or if start is out of range. D-036: an empty set answers start, whatever it is.
    int findAny(const String &set, int start = 0) const noexcept;
    int findAny(const char *set, int start = 0) const;
    int findAny(const unsigned short *set, int start = 0) const noexcept;

    // Replaces the first `from` at or after start and returns its position, or -1.
    // D-037: an empty `from` inserts `to` at the very front, whatever start says.
    int replace(const String &from, const String &to, int start = 0);
    int replace(const String &from, const char *to, int start = 0);
    int replace(const String &from, const unsigned short *to, int start = 0);
    int replace(const char *from, const char *to, int start = 0);
    int replace(const char *from, const String &to, int start = 0);
    int replace(const unsigned short *from, const unsigned short *to, int start = 0);
    int replace(const unsigned short *from, const String &to, int start = 0);
    int replace(unsigned short from, unsigned short to, int start = 0);
    template <std::same_as<char> Byte>
    int replace(Byte from, Byte to, int start = 0)
    {
        return replace(widened(from), widened(to), start);
    }
    // Replaces every `from` at or after start and returns how many there were. What was inserted is
    // not searched again. An empty `from` is never found.
    int replaceAll(const String &from, const String &to, int start = 0);
    int replaceAll(const String &from, const char *to, int start = 0);
    int replaceAll(const String &from, const unsigned short *to, int start = 0);
    int replaceAll(const char *from, const char *to, int start = 0);
    int replaceAll(const char *from, const String &to, int start = 0);
    int replaceAll(const unsigned short *from, const unsigned short *to, int start = 0);
    int replaceAll(const unsigned short *from, const String &to, int start = 0);
    int replaceAll(unsigned short from, unsigned short to, int start = 0);
    template <std::same_as<char> Byte>
    int replaceAll(Byte from, Byte to, int start = 0)
    {
        return replaceAll(widened(from), widened(to), start);
    }

    // Cuts off and returns, stripped, what stands before the first delimiter; the string keeps what
    // stands behind it. Without a delimiter the whole text is cut off.
    // D-038: an empty delimiter is never found, so that a loop over the pieces ends.
    String split(const String &delimiter);
    String split(char delimiter) { return split(widened(delimiter)); }
    String split(unsigned short delimiter);
    String split(char16_t delimiter) { return split(unitOf(delimiter)); }
    String split(const char *delimiter);
    String split(const unsigned short *delimiter);
    // Removes leading and trailing blanks. D-044: those are the units of value 32 or below.
    void strip();

    // Map each unit through UnicodeUtils; true if any changed. toMixed makes the first unit, and
    // each one behind a space, comma, semicolon or full stop, upper case and all others lower case.
    bool toLower();
    bool toUpper();
    bool toMixed();

    // Reads a literal of the script language from `pos` on and sets `pos` behind it: a quoted one
    // up to its closing quote, or else everything up to the end of the line, which is taken too.
    // True if the literal is complete; `out` has what was read in any case. D-140: after a digit
    // that is none `pos` is -1, and after an escape that the end of the text cuts it is 0.
    // A key that begins with "$$$" becomes its localised text, unless a line end stands behind it.
    bool parse(String &out, int &pos) const;
    // The same from the front, and cuts off what was read; everything after a wrong digit.
    bool parse(String &out);
    // The text as a literal between double quotes; on demand with what is not ASCII as "\\u....".
    String escape(bool unicodeEscapes) const;

    // Percent-encodes what is neither a digit, an ASCII letter nor in `keep`, over UTF-8. False,
    // and no change, if the encoder fails, as it does for half a surrogate pair.
    bool encodeURI(const char *keep);
    bool encodeURI(const unsigned short *keep);
    // Decodes percent signs, each with two hexadecimal digits; false, and no change, if one is not.
    // D-141: bytes that give no text at all become one "?".
    bool decodeURI();

    // Turns each line end into the wanted one and returns how many there are. CR LF is one.
    enum CRLFEncoding : int
    {
        kCRLF = 1, // and every other value
        kCR = 2,
        kLF = 3,
    };
    int convertLF(CRLFEncoding encoding);
    // Makes the text Localizer::localize of itself: resolves a key, and fills in the arguments.
    void localize(const Array *args);

    // Replace the text by what the bytes stand for; null is empty, a negative count means up to the
    // 0. The result is 0 or the encoder's code. With a code the string holds what was converted up
    // to there; it is unchanged if the encoder refuses to tell the length. A null encoder means the
    // calling thread's default one. The second form decodes characters of 32 bits, up to the 0.
    int decode(const char *bytes, int count, const Encoder *encoder);
    int decode(const unsigned int *utf32);
    // Convert the text to bytes, with a 0 behind them. They belong to the calling thread and stay
    // until its next conversion. The result is 0 or the encoder's code; with a code, `out` holds
    // what was converted up to there.
    int encode(const char *&out, int &outLength, const Encoder *encoder) const;
    const char *encode(const Encoder *encoder) const;
    const unsigned int *encodeUtf32() const;
    // The bytes that the calling thread's last encode gave.
    static int getEncodedLength();
    // Replace the text by the format, with the fields in it replaced by the arguments: "%", flags
    // "-" and "+", a "0" that makes zeros of the padding, width, "." with precision, "l" or an "h"
    // that says nothing, and a conversion. Width and precision may be "*" for an int argument.
    //   d u o x b   an int; all but "%d" take its low 16 bits only, unless there is an "l"
    //   p c         a pointer, a code unit
    //   s           a const char * in the default encoding; "%ls" a const unsigned short *
    //   e f g n     a double; at most 14 places, 6 by default
    // An upper-case letter prints in upper case. Any other conversion prints itself, so that "%%"
    // is "%". The arguments are not checked, by the compiler neither: formats are not printf's.
    void print(const char *format, ...);
    void print(const unsigned short *format, ...);
    void vprint(const char *format, std::va_list args);
    void vprint(const unsigned short *format, std::va_list args);

    // Prints the text as UTF-8, with U+FFFD for half a surrogate pair. Width counts bytes.
    friend TAVRIN_API std::ostream &operator<<(std::ostream &out, const String &text);

    // The one empty String object of the library, between InitTerm::init and exit.
    static const String &emptyString() noexcept;

private:
    friend struct detail::StringAccess;

    // Takes over one reference on a complete record.
    explicit String(StringBuffer *record) noexcept : buffer(record) {}

    static constexpr StringBuffer *emptyRecord() noexcept
    {
        return const_cast<StringBuffer *>(detail::emptyBuffer);
    }
    static unsigned short widened(char unit) noexcept { return static_cast<unsigned char>(unit); }
    static unsigned short unitOf(char16_t unit) noexcept { return unit; }

    static constexpr void drop(StringBuffer *record) noexcept
    {
        if (record == detail::emptyBuffer)
            return;
        if (!record->isShared() || isLastDropped(record->refCount))
            detail::deleteBlock(record);
    }
    // Only for shared records: a sole owner needs no atomic operation.
    static bool isLastDropped(int &count) noexcept
    {
        if (detail::globals.locks == nullptr)
            return --count == 0;
        return __atomic_sub_fetch(&count, 1, __ATOMIC_ACQ_REL) == 0;
    }
    static StringBuffer *copyBuffer(const StringBuffer &original);

    int decodeUtf8(const char *bytes, int count);
    int decodeBy(const Encoder &encoder, const char *bytes, int count);
    int decodeAtOnce(const char *bytes, int count, const Encoder &encoder, int units);
    int decodeInChunks(const char *bytes, int count, const Encoder &encoder);

    static String fromView(std::u16string_view text);
    int compareView(std::u16string_view text) const noexcept;

    void unique();
    void start(const unsigned short *units, int length);
    void adopt(StringBuffer *record) noexcept;
    void resize(int newLength);
    void moveToFreshBlock(int newLength);
    void resizeBlock(int newLength);
    bool holds(const void *address) const noexcept;
    String &assignUnits(const detail::UnitView &text);
    String &appendUnits(const detail::UnitView &added);
    String &appendSlowly(unsigned short unit);
    void splice(int at, int removed, const detail::UnitView &added);
    void insertUnits(const detail::UnitView &added, int pos);
    int replaceUnits(const detail::UnitView &from, const detail::UnitView &to, int start);
    int replaceAllUnits(const detail::UnitView &from, const detail::UnitView &to, int start);
    String plus(const detail::UnitView &tail) const;
    String plusAny(const detail::UnitView &tail) const;
    String part(int start, int count) const;
    String splitAt(int at, int delimiterLength);
    bool mapUnits(int (*firstChanged)(const unsigned short *, int) noexcept,
                  bool (*copyMapped)(const unsigned short *, unsigned short *, int) noexcept);

    StringBuffer *buffer;
};

static_assert(sizeof(String) == sizeof(void *), "records hold strings by value");

namespace detail {

// The text as UTF-8: how many bytes it takes, and into a buffer of that size.
TAVRIN_API std::size_t utf8Length(const String &text) noexcept;
TAVRIN_API void copyUtf8(const String &text, char *to) noexcept;

} // namespace detail

inline namespace Literals {

// A String of all the units, u"..."_ts, or of all the bytes, without an encoding, "..."_ts.
inline String operator""_ts(const char16_t *units, std::size_t count)
{
    return std::u16string_view(units, count);
}

inline String operator""_ts(const char *bytes, std::size_t count)
{
    String text;
    text.append(bytes, static_cast<int>(count));
    return text;
}

} // namespace Literals

} // namespace Tavrin

// That of the same text as a std::u16string_view.
template <>
struct std::hash<Tavrin::String>
{
    std::size_t operator()(const Tavrin::String &text) const noexcept
    {
        return std::hash<std::u16string_view>()(text);
    }
};

#ifdef __cpp_lib_format
// As UTF-8, by the rules for std::string_view.
template <>
struct std::formatter<Tavrin::String> : std::formatter<std::string_view>
{
    template <class Context>
    auto format(const Tavrin::String &text, Context &context) const
    {
        std::string bytes(Tavrin::detail::utf8Length(text), char());
        Tavrin::detail::copyUtf8(text, bytes.data());
        return std::formatter<std::string_view>::format(bytes, context);
    }
};
#endif
