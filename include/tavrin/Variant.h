// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include <tavrin/Export.h>
#include <tavrin/String.h>

namespace TvScript {
class Engine;
class Object;
} // namespace TvScript

namespace Tavrin {

class Array;
class Encoder;
class Error;
class FileSpec;
class LiveCollection;
class LiveObject;
class RegExp;
class Root;
class UnitValue;
struct Point;
struct Rect;
template <class T>
class InterfacePtr;
template <class T>
class THashTable;

namespace detail {

struct VariantAccess;

// The slots of a Variant that most values leave at zero.
struct VariantSlots
{
    TvScript::Object *jsObject = nullptr;
    // A String, once there has been one: the value of a string, the class name of an unassigned
    // object, else the last text. Zero bytes mean that there is none.
    alignas(String) mutable std::byte textStorage[sizeof(String)] = {};

    // In one store of 16 bytes.
    void clear() noexcept { std::memset(this, 0, sizeof *this); }
};

} // namespace detail

// The kinds of value. The order is fixed: kinds from kObject on have a payload to release.
enum VariantType : unsigned short
{
    kUndefined,
    kNull,
    kBoolean,
    kNumber,
    kString,
    kObject,
    kLiveObject,
    kPoint,
    kRect,
    kArray,
    kFileSpec,
    kRegExp,
    kUnitValue,
};

// Variant: the dynamic value that interpreters, applications and this library exchange.
// Owns:    a private copy of its string, point, rectangle, array or regular expression, or one
//          reference to its script object or live object. Its last text stays with it as a cache.
// Threads: one value is one thread's at a time; script objects are for their engine's thread.
// Cost:    a few plain instructions to construct, copy and destroy undefined, null, booleans and
//          numbers. Strings and arrays are copied in O(1) by sharing. The text of a number is made
//          once, other texts each time.
// Units:   every number is a double.
// Failure: never throws. Without memory, a payload stays null, and then reads as an empty one. A
//          getter that does not fit the kind converts or answers null.
// All bytes zero is a valid, undefined value without text.
class TAVRIN_API Variant : detail::VariantSlots
{
public:
    constexpr Variant() noexcept = default;
    Variant(bool flag) noexcept : Variant(kBoolean, 0) { value.bits = flag; }
    Variant(int number) noexcept : Variant(kNumber, NUM_INTEGER) { value.number = number; }
    Variant(double number) noexcept : Variant(kNumber, 0) { value.number = number; }
    // Any other integer, as the nearest double.
    template <std::integral Integer>
    Variant(Integer number) noexcept : Variant(static_cast<double>(number))
    {}
    Variant(const String &string) noexcept : Variant(kString, 0) { makeText(string); }
    Variant(const char *bytes) noexcept : Variant() { setString(bytes); }
    // Decoded; a null encoder means the calling thread's default one.
    Variant(const char *bytes, const Encoder *encoder) noexcept : Variant()
    {
        setString(bytes, encoder);
    }
    Variant(const unsigned short *units) noexcept : Variant() { setString(units); }
    Variant(const Point &point) noexcept : Variant() { setPoint(point); }
    Variant(const Rect &rect) noexcept : Variant() { setRect(rect); }
    Variant(const Array &array) noexcept;
    Variant(const RegExp &expression) noexcept : Variant() { setRegExp(expression); }
    // An object of the application, with a number of the caller's; a null pointer gives null.
    Variant(LiveObject &object, int id = 0) noexcept : Variant() { setLiveObject(object, id); }
    Variant(LiveObject *object, int id = 0) noexcept : Variant() { setLiveObject(object, id); }
    // A script object that the interpreter has not made yet: see setObject.
    Variant(int id, const String &className, Root *data) noexcept : Variant()
    {
        setObject(id, className, data);
    }
    // D-153: the copy of a regular expression is of that kind, and has no expression. So it is with
    // assignment.
    Variant(const Variant &other) noexcept : Variant(other, PlainPart())
    {
        if (other.type >= kString) [[unlikely]]
            copyPayload(other);
    }
    // Hands over what the other value held.
    Variant(Variant &&other) noexcept : Variant(other, PlainPart())
    {
        if (other.type >= kString) [[unlikely]]
            movePayload(other);
    }
    // A copy; a null pointer gives undefined.
    Variant(const Variant *other) noexcept : Variant()
    {
        if (other != nullptr)
            *this = *other;
    }
    // No pointer is a boolean.
    Variant(const volatile void *) = delete;
    template <class Function, class = std::enable_if_t<std::is_function_v<Function>>>
    Variant(Function *) = delete;
    ~Variant()
    {
        if (type >= kObject || hasText()) [[unlikely]]
            destroyPayload();
    }

    // Assignment keeps what setHardRef set on this value, and does not take it from the source.
    Variant &operator=(const Variant &other)
    {
        if (type < kString && other.type < kString) [[likely]]
            takePlain(other);
        else
            assign(other);
        return *this;
    }
    Variant &operator=(Variant &&other) noexcept
    {
        if (type < kString && other.type < kString) [[likely]]
            takePlain(other);
        else
            moveFrom(other);
        return *this;
    }
    Variant &operator=(bool flag) { return setBool(flag), *this; }
    Variant &operator=(int number) { return setInteger(number), *this; }
    Variant &operator=(unsigned int number) { return setInteger(number), *this; }
    Variant &operator=(double number) { return setDouble(number), *this; }
    template <std::integral Integer>
    Variant &operator=(Integer number)
    {
        return *this = static_cast<double>(number);
    }
    Variant &operator=(const String &string) { return setString(string), *this; }
    Variant &operator=(const char *bytes) { return setString(bytes), *this; }
    Variant &operator=(const unsigned short *units) { return setString(units), *this; }
    Variant &operator=(const Point &point) { return setPoint(point), *this; }
    Variant &operator=(const Rect &rect) { return setRect(rect), *this; }
    Variant &operator=(const Array &array) { return setArray(array), *this; }
    Variant &operator=(const RegExp &expression) { return setRegExp(expression), *this; }
    Variant &operator=(LiveObject &object) { return setLiveObject(object, 0), *this; }
    Variant &operator=(LiveObject *object) { return setLiveObject(object, 0), *this; }
    Variant &operator=(const volatile void *) = delete;
    template <class Function, class = std::enable_if_t<std::is_function_v<Function>>>
    Variant &operator=(Function *) = delete;

    // The stored kind. getDataType looks through script objects at what they stand for.
    VariantType getType() const noexcept { return type; }
    VariantType getDataType() const;
    bool isDefined() const noexcept { return type != kUndefined; }
    bool isNull() const noexcept { return type == kNull; }
    // Whether it holds a script object or live object that is still valid.
    bool isValidObject() const;
    bool hasUnassignedObjectData() const noexcept
    {
        return type == kObject && jsObject == nullptr && value.data != nullptr;
    }

    // What is no number is converted first. Minus zero is finite, and an integer of either kind.
    bool isNaN() const;
    bool isFinite() const;
    bool isMinus0() const;
    // Whether it is a number, whole, and in the range of the type. D-154: a hard holder answers
    // from what is known already.
    bool isInteger() const;
    bool isUInteger() const;
    // Completes what is known about a number.
    void setNumAttrs() const;

    // For property handlers: 47 if it is not a number of that type or a value of that kind, 41 if
    // it is out of the inclusive range, else 0. Nothing is converted.
    int validate(int lo, int hi) const
    {
        const bool isValid = isSeenInteger() && value.number >= lo && value.number <= hi;
        return isValid ? 0 : validateSlowly(lo, hi);
    }
    int validate(unsigned int lo, unsigned int hi) const;
    int validate(double lo, double hi) const;
    int validate(VariantType kind) const;

    // The payload, or null if the kind does not match. It stays this value's own.
    Point *getPoint() const noexcept { return type == kPoint ? value.point : nullptr; }
    Rect *getRect() const noexcept { return type == kRect ? value.rect : nullptr; }
    TvScript::Object *getJSObject() const noexcept { return type == kObject ? jsObject : nullptr; }
    Array *getArray() const;
    // Makes `out` share the array; false if there is none.
    bool getArray(Array &out) const;
    Root *getObjectData() const;
    // The live object that it holds, or that its script object wraps; or null.
    LiveObject *getLiveObject() const;
    LiveCollection *getLiveCollection() const;
    // Through a script object that is one, too.
    RegExp *getRegExp() const;
    // The live object or collection, held. An array gives a new LiveArray of its elements. False if
    // there is none.
    bool getAsLiveObject(InterfacePtr<LiveObject> &object) const;
    bool getAsLiveCollection(InterfacePtr<LiveCollection> &collection) const;
    // All properties of a live object or script object, by name, as far as `flags` asks for them.
    // The values are new and the table's: eraseProperties deletes them. A value that is there
    // already is replaced. 0, or the code of the first failure, which `error` tells too, if there
    // is one; 21 for any other kind.
    int getObjectProperties(THashTable<Variant> &properties, int flags, Error *error) const;
    int setObjectProperties(const THashTable<Variant> &properties, Error *error);
    static void eraseProperties(THashTable<Variant> &properties);
    // The interpreter of the script object; else null.
    TvScript::Engine *getTavrinscriptEngine() const;

    // Strings are true if they are not empty, numbers unless 0 or NaN, objects always; null and
    // undefined are false.
    bool getBool() const;
    // Numbers from strings follow scanDouble; what has no number gives NaN.
    double getDouble() const { return type == kNumber ? value.number : doGetDouble(); }
    // The number without its fraction, modulo 2^32; NaN, the infinities and what is beyond 64 bits
    // give 0. D-155: a script object gives its id.
    int getInteger() const
    {
        return isSeenInteger() ? static_cast<int>(value.number) : static_cast<int>(getUInteger());
    }
    unsigned int getUInteger() const;
    // Limited to lo and hi. D-156: a finite number beyond 32 bits gives lo, also a large one.
    int getInteger(int lo, int hi) const;

    // The text form. The reference holds until this value changes or is asked for a text again.
    const String &getString() const;
    // With another base, 2 to 36, for numbers. D-157: the text of a number is made once, in the
    // base that was asked for first, until the number is set again.
    const String &getString(int radix) const;
    // A number as the shortest text (mode 0), fixed (1) or exponential (2).
    const String &getString(int mode, int precision) const;
    // The text that a script would see: script objects are asked for a primitive value first.
    String toString() const;
    void toString(String &out) const;

    // Turns this value into one of the other kind; what cannot be turned becomes null or empty.
    void convert(VariantType to);

    // Values of different kinds are different: 1 is not "1". NaN equals nothing.
    // D-158: any two regular expressions are equal; compare looks at their patterns.
    bool operator==(const Variant &other) const;
    // Negative, 0, positive, or `unordered` if a NaN is among them.
    // D-159: operator< is the same, a number and not a truth value.
    int compare(const Variant &other) const;
    int operator<(const Variant &other) const { return compare(other); }
    static constexpr int unordered = 0x7FFFFFFF;

    // Back to undefined.
    void erase()
    {
        if (type != kUndefined)
            become(kUndefined, {});
    }

    void setBool(bool flag) { become(kBoolean, {.bits = flag}); }
    void setDouble(double number) { become(kNumber, {.number = number}); }
    void setInteger(int number)
    {
        become(kNumber, {.number = static_cast<double>(number)}, NUM_INTEGER);
    }
    void setInteger(unsigned int number)
    {
        const unsigned known = number > 0x7FFFFFFF ? NUM_UINTEGER : NUM_UINTEGER | NUM_INTEGER;
        become(kNumber, {.number = static_cast<double>(number)}, known);
    }
    void setBool(const volatile void *) = delete;
    void setNull() { become(kNull, {}); }
    void setNaN();
    void setPosInfinity();
    void setNegInfinity();
    void setMinus0();
    void setString(const String &string);
    void setString(const char *bytes);
    void setString(const char *bytes, const Encoder *encoder);
    void setString(const unsigned short *units);
    void setPoint(const Point &point);
    void setRect(const Rect &rect);
    void setArray(const Array &array);
    void setRegExp(const RegExp &expression);

    // Holds the live object, with a number of the caller's; a null pointer gives null.
    void setLiveObject(LiveObject &object, int id);
    void setLiveObject(LiveObject *object, int id);
    // Holds the script object; a null pointer gives null.
    void setJSObject(TvScript::Object &object);
    void setJSObject(TvScript::Object *object);
    // A script object that the interpreter has not made yet: its id, class name and data, which
    // this value does not own.
    void setObject(int id, const String &className, Root *data);
    // For a script object, made or not; other kinds ignore them.
    // D-160: ids from -10 to -1 are reserved, and ignored.
    void setObjectData(Root *data);
    void setObjectID(int id);

    // Whether this value counts as a hard holder of the script objects that it holds. It is a
    // property of the holder: it stays when the value changes, and copies do not take it.
    bool isHardRef() const noexcept { return (attrs & HARD_REF) != 0; }
    void setHardRef(bool hard);

    // Numbers in text. Leading white space is skipped. With flags 0 the whole text has to be the
    // number, with 1 white space may follow, else anything; it goes to `rest`, which may be null,
    // or the text itself. An empty text is 0, a text that does not begin with a number is NaN. "0x"
    // makes a number hexadecimal, unless 0x200 is added to the flags.
    static double scanDouble(const String &text, int flags, String *rest);
    // In base 2 to 36; 0 takes the base from the prefix, 0x or 0. With 0x100 added to the flags, a
    // 0 alone is no prefix, and with 0x200 neither is 0x.
    static double scanInteger(const String &text, int radix, int flags, String *rest);

    // What is known about a number, and about its holder.
    static constexpr unsigned short NUM_FINITE = 0x0001;
    static constexpr unsigned short NUM_INTEGER = 0x0002;
    static constexpr unsigned short NUM_UINTEGER = 0x0004;
    static constexpr unsigned short NUM_NAN = 0x0008;
    static constexpr unsigned short NUM_POSINF = 0x0010;
    static constexpr unsigned short NUM_NEGINF = 0x0020;
    static constexpr unsigned short NUM_MINUS0 = 0x0040;
    static constexpr unsigned short NUM_ATTRS_SET = 0x0080;
    static constexpr unsigned short TEXT_VALID = 0x0100;
    static constexpr unsigned short HARD_REF = 0x0200;

protected:
    void doErase() noexcept;
    void doSetNumAttrs() const noexcept;
    bool doIsNaN() const;
    bool doIsFinite() const;
    bool doIsMinus0() const;
    double doGetDouble() const;
    void doToString(int radix) const;

private:
    friend struct detail::VariantAccess;
    class Released;

    static constexpr unsigned holderMask = 0xFE00; // the bits that belong to the holder
    static constexpr unsigned copiedMask = 0x00FF; // those of a source that assignment takes

    union Payload
    {
        std::uint64_t bits; // of a boolean, 0 or 1
        double number;
        Root *data; // of an unassigned object
        LiveObject *liveObject;
        Point *point;
        Rect *rect;
        Array *array;
        FileSpec *fileSpec;
        RegExp *regExp;
        UnitValue *unitValue;
    };

    // With a value that the caller sets.
    Variant(VariantType kind, unsigned bits) noexcept
        : objectID(0), type(kind), attrs(static_cast<std::uint16_t>(bits))
    {
        clear();
    }
    struct PlainPart
    {};
    // All of a value of a kind below kString.
    Variant(const Variant &other, PlainPart) noexcept
        : value(other.value), objectID(0), type(other.type), attrs(other.attrs & copiedMask)
    {
        clear();
    }

    // Becomes `kind` with that payload. What a payload kind held is released last, when nothing of
    // this value is touched any more: the release may run code that ends the value.
    void become(VariantType kind, Payload payload, unsigned bits = 0)
    {
        if (type >= kObject) [[unlikely]] {
            replace(kind, payload, bits);
            return;
        }
        value = payload;
        type = kind;
        attrs = static_cast<std::uint16_t>((attrs & holderMask) | bits);
    }
    void replace(VariantType kind, Payload payload, unsigned bits);
    void takeAttrs(const Variant &other) noexcept
    {
        attrs = static_cast<std::uint16_t>((attrs & holderMask) | (other.attrs & copiedMask));
    }
    // From one kind below kString to another.
    void takePlain(const Variant &other) noexcept
    {
        value = other.value;
        type = other.type;
        takeAttrs(other);
    }

    bool hasText() const noexcept
    {
        std::uintptr_t bits;
        std::memcpy(&bits, textStorage, sizeof bits);
        return bits != 0;
    }
    String &textSlot() const noexcept
    {
        return *std::launder(reinterpret_cast<String *>(textStorage));
    }
    // Only where there is no text yet.
    void makeText(const String &string) const noexcept
    {
        try {
            ::new (static_cast<void *>(textStorage)) String(string);
        } catch (const std::bad_alloc &) { // a pinned text is copied
        }
    }
    const String &ownText() const noexcept;
    bool hasCurrentText() const noexcept;
    void assignText(const String &string) const noexcept;
    void dropText() const noexcept;
    template <class Text>
    void setText(const Text &text);

    // Complete the plain part of `other`, which is of kString or above.
    void copyPayload(const Variant &other) noexcept;
    void movePayload(Variant &other) noexcept;
    void destroyPayload() noexcept;

    void assign(const Variant &other);
    void moveFrom(Variant &other) noexcept;
    void takeString(const Variant &other) noexcept;
    void adopt(Variant &fresh);

    unsigned knownAttrs() const noexcept;
    bool hasNumAttr(unsigned bit) const;
    // Whether setInteger made the number, or setNumAttrs saw that it is an int. The bit for that is
    // one that only numbers have. All that setNumAttrs would find is noted.
    bool isSeenInteger() const noexcept
    {
        constexpr unsigned seen = NUM_ATTRS_SET | NUM_INTEGER;
        unsigned known = attrs;
        if (known == NUM_INTEGER) {
            known = seen | NUM_FINITE | (value.number >= 0 ? NUM_UINTEGER : 0U);
            attrs = static_cast<std::uint16_t>(known);
        }
        return (known & seen) == seen;
    }
    int validateSlowly(int lo, int hi) const;

    void convertToArray(Variant &converted) const;
    void convertToLiveObject(Variant &converted) const;
    void convertToRegExp(Variant &converted) const;
    void *getLiveAs(int code) const;
    static bool copyElements(const LiveCollection &collection, Array &out);
    bool isSameObject(const Variant &other) const;
    bool hasEqualArray(const Variant &other) const;

    Payload value{};
    int objectID = 0; // the tag of a live object, the id of an unassigned object
    VariantType type = kUndefined;
    mutable std::uint16_t attrs = 0;
};
static_assert(sizeof(Variant) == 32, "a block of eight elements has to fit the block cache");

} // namespace Tavrin
