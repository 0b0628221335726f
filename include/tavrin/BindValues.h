// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Refcountable.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

// How the values of scripts become those of bound functions and fields, and back. See Bind.h.

namespace Tavrin {

// Failed: the code of an error, as the answer of a bound function.
struct Failed
{
    int code;
};

// Outcome: the answer of a bound function that may fail: a value, or the code of an error.
//
//   Outcome<double> Layer::fade(double by) { return isLocked ? Failed{46} : opacity -= by; }
template <class Value = void>
class Outcome
{
public:
    Outcome(Value answer) : value(std::move(answer)) {}
    Outcome(Failed failed) : code(failed.code) {}

    int getCode() const { return code; }
    const std::optional<Value> &getValue() const { return value; }

private:
    std::optional<Value> value;
    int code = 0;
};

template <>
class Outcome<void>
{
public:
    Outcome() = default;
    Outcome(Failed failed) : code(failed.code) {}

    int getCode() const { return code; }

private:
    int code = 0;
};

namespace detail {

// What a binding may answer by itself.
inline constexpr int bindBadArgument = 19;
inline constexpr int bindBadArguments = 20;
inline constexpr int bindExpected = 25;
inline constexpr int bindWrongClass = 26;
inline constexpr int bindOutOfMemory = -28;
inline constexpr int bindUncaught = -29;
inline constexpr int bindOutOfRange = 41;
inline constexpr int bindReadOnly = 46;
inline constexpr int bindMismatch = 47;

// The inclusive limits of a number.
struct BoundLimits
{
    double lowest = -std::numeric_limits<double>::infinity();
    double highest = std::numeric_limits<double>::infinity();

    constexpr bool areSet() const noexcept { return *this != BoundLimits(); }
    constexpr bool hold(double number) const noexcept
    {
        return (number >= lowest && number <= highest) || (number != number && !areSet());
    }
    constexpr bool operator==(const BoundLimits &) const noexcept = default;
};

// A default: which of the two it is, the type of the parameter tells.
union BoundDefault
{
    double number;
    const char16_t *text;
};

template <class T>
inline constexpr bool isLiveObject = std::derived_from<T, LiveObject>;

// BoundValue: how a value of scripts becomes a T. Nothing is converted from one kind to another.
//   Stored                  what holds it meanwhile; it may refer to the given value
//   take(given, stored)     0, or the code of what is wrong
//   pass(stored)            the argument or the new value
//   takeDefault(...)        where there can be one
//   expected, limits        in words and numbers, for errors
template <class T>
struct BoundValue
{
    static_assert(sizeof(T) == 0, "a value of scripts does not become one of this type");
};

template <class T>
requires std::integral<T> || std::floating_point<T>
struct BoundValue<T>
{
    using Stored = T;

    static constexpr bool isWhole = std::integral<T>;
    static constexpr const char *expected = isWhole ? "integer" : "number";
    static constexpr BoundLimits limits = [] {
        using Limits = std::numeric_limits<T>;
        if constexpr (isWhole && Limits::digits > std::numeric_limits<double>::digits) {
            constexpr double highest = 9007199254740992; // all integers up to it are numbers
            return BoundLimits{std::is_signed_v<T> ? -highest : 0, highest};
        } else if constexpr (isWhole) {
            return BoundLimits{static_cast<double>(Limits::lowest()),
                               static_cast<double>(Limits::max())};
        } else if constexpr (!std::same_as<T, float>) {
            return BoundLimits();
        } else {
            return BoundLimits{Limits::lowest(), Limits::max()};
        }
    }();

    static int take(const Variant &given, T &stored)
    {
        if (given.getType() != kNumber)
            return bindMismatch;
        const double number = given.getDouble();
        if (limits.areSet() && !limits.hold(number))
            return number != number ? bindMismatch : bindOutOfRange;
        stored = static_cast<T>(number);
        return !isWhole || static_cast<double>(stored) == number ? 0 : bindMismatch;
    }
    static constexpr BoundDefault makeDefault(double number) { return {.number = number}; }
    static void takeDefault(const BoundDefault &given, T &stored)
    {
        stored = static_cast<T>(given.number);
    }
    static T &pass(T &stored) { return stored; }
};

template <>
struct BoundValue<bool>
{
    using Stored = bool;

    static constexpr const char *expected = "boolean";
    static constexpr BoundLimits limits = {};

    static int take(const Variant &given, bool &stored)
    {
        if (given.getType() != kBoolean)
            return bindMismatch;
        stored = given.getBool();
        return 0;
    }
    static constexpr BoundDefault makeDefault(bool flag) { return {.number = flag ? 1.0 : 0.0}; }
    static void takeDefault(const BoundDefault &given, bool &stored) { stored = given.number != 0; }
    static bool &pass(bool &stored) { return stored; }
};

template <>
struct BoundValue<std::u16string_view>
{
    using Stored = std::u16string_view;

    static constexpr const char *expected = "string";
    static constexpr BoundLimits limits = {};

    static int take(const Variant &given, std::u16string_view &stored)
    {
        if (given.getType() != kString)
            return bindMismatch;
        stored = given.getString();
        return 0;
    }
    static constexpr BoundDefault makeDefault(const char16_t *text) { return {.text = text}; }
    static void takeDefault(const BoundDefault &given, std::u16string_view &stored)
    {
        stored = given.text;
    }
    static std::u16string_view &pass(std::u16string_view &stored) { return stored; }
};

template <>
struct BoundValue<String>
{
    struct Stored
    {
        const String *text;
        String ownText;
    };

    static constexpr const char *expected = "string";
    static constexpr BoundLimits limits = {};

    static int take(const Variant &given, Stored &stored)
    {
        if (given.getType() != kString)
            return bindMismatch;
        stored.text = &given.getString();
        return 0;
    }
    static constexpr BoundDefault makeDefault(const char16_t *text) { return {.text = text}; }
    static void takeDefault(const BoundDefault &given, Stored &stored)
    {
        stored.ownText = given.text;
        stored.text = &stored.ownText;
    }
    static const String &pass(Stored &stored) { return *stored.text; }
};

// Whatever it is.
template <>
struct BoundValue<Variant>
{
    using Stored = const Variant *;

    static constexpr const char *expected = "any";
    static constexpr BoundLimits limits = {};

    static int take(const Variant &given, const Variant *&stored)
    {
        stored = &given;
        return 0;
    }
    static const Variant &pass(const Variant *stored) { return *stored; }
};

// What a Variant has a pointer to.
template <class T, T *(Variant::*get)() const>
struct BoundPayload
{
    using Stored = const T *;

    static constexpr BoundLimits limits = {};

    static int take(const Variant &given, const T *&stored)
    {
        stored = (given.*get)();
        return stored != nullptr ? 0 : bindMismatch;
    }
    static const T &pass(const T *stored) { return *stored; }
};

template <>
struct BoundValue<Array> : BoundPayload<Array, &Variant::getArray>
{
    static constexpr const char *expected = "array";
};

template <>
struct BoundValue<Point> : BoundPayload<Point, &Variant::getPoint>
{
    static constexpr const char *expected = "point";
};

template <>
struct BoundValue<Rect> : BoundPayload<Rect, &Variant::getRect>
{
    static constexpr const char *expected = "rect";
};

// An object of the class, which the given value holds.
template <class T>
requires isLiveObject<T>
struct BoundValue<T>
{
    using Stored = T *;

    static constexpr const char *expected = "object";
    static constexpr BoundLimits limits = {};

    static int take(const Variant &given, T *&stored)
    {
        stored = dynamic_cast<T *>(given.getLiveObject());
        return stored != nullptr ? 0 : bindMismatch;
    }
    static T &pass(T *stored) { return *stored; }
};

// The same, or null.
template <class T>
requires isLiveObject<T>
struct BoundValue<T *> : BoundValue<T>
{
    static constexpr const char *expected = "object or null";

    static int take(const Variant &given, T *&stored)
    {
        if (!given.isNull())
            return BoundValue<T>::take(given, stored);
        stored = nullptr;
        return 0;
    }
    static T *pass(T *stored) { return stored; }
};

template <class T>
requires isLiveObject<T>
struct BoundValue<InterfacePtr<T>> : BoundValue<T *>
{};

// Nothing, if nothing was given.
template <class T>
struct BoundValue<std::optional<T>>
{
    struct Stored
    {
        typename BoundValue<T>::Stored value;
        bool isGiven;
    };

    static constexpr const char *expected = BoundValue<T>::expected;
    static constexpr BoundLimits limits = BoundValue<T>::limits;

    static int take(const Variant &given, Stored &stored)
    {
        stored.isGiven = given.isDefined();
        return stored.isGiven ? BoundValue<T>::take(given, stored.value) : 0;
    }
    static std::optional<T> pass(Stored &stored)
    {
        if (!stored.isGiven)
            return {};
        return std::optional<T>(BoundValue<T>::pass(stored.value));
    }
};

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;
template <>
inline constexpr bool isOptional<Variant> = true;

template <class T>
inline constexpr bool isOutcome = false;
template <class T>
inline constexpr bool isOutcome<Outcome<T>> = true;

// Hands the answer of a function, or the value of a field, to scripts. The code of the answer.
template <class Answer>
[[gnu::noinline]] int giveBound(Variant &out, Answer &&answer)
{
    using T = std::remove_cvref_t<Answer>;
    if constexpr (std::same_as<T, Failed>) {
        return answer.code;
    } else if constexpr (std::same_as<T, Outcome<>>) {
        return answer.getCode();
    } else if constexpr (isOutcome<T>) {
        if (answer.getValue())
            return giveBound(out, *answer.getValue());
        out.erase(); // also of a failure with the code 0
        return answer.getCode();
    } else if constexpr (isOptional<T> && !std::same_as<T, Variant>) {
        if (answer)
            return giveBound(out, *answer);
        out.erase();
    } else if constexpr (isLiveObject<T>) {
        out = static_cast<LiveObject &>(answer);
    } else if constexpr (isLiveObject<std::remove_pointer_t<T>>) {
        out = static_cast<LiveObject *>(answer);
    } else if constexpr (requires { out = static_cast<LiveObject *>(answer.get()); }) {
        out = static_cast<LiveObject *>(answer.get());
    } else if constexpr (StandardText<T>) {
        out = String(answer);
    } else {
        out = answer;
    }
    return 0;
}

} // namespace detail

} // namespace Tavrin
