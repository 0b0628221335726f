// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/BindReport.h>
#include <tavrin/BindValues.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Variant.h>

// What stands behind a row of a bound class. All that depends on types alone is compiled once for
// each type: a row by itself adds functions of a few instructions. See Bind.h.

namespace Tavrin::detail {

// Binding: the operations of a row; those that it does not have are null.
struct Binding
{
    static constexpr unsigned mostDefaults = 4;

    // The function itself, which gets a BoundArguments.
    using Step = int (*)(LiveObject &object, void *arguments, Variant &result);

    int (*read)(const LiveObject &object, Variant &out) = nullptr;
    int (*write)(LiveObject &object, const Variant &value, const Binding &binding,
                 BoundReport &report) = nullptr;
    Step set = nullptr;
    int (*run)(LiveObject &object, const Array &args, Variant &result, const Binding &binding,
               BoundReport &report) = nullptr;
    Step invoke = nullptr;
    BoundLimits limits = {};   // of the value
    unsigned defaultCount = 0; // of the last parameters
    std::array<BoundDefault, mostDefaults> defaults = {};

    // Told apart from the pointers, which not every compiler compares in constants.
    bool isReadable = false;
    bool isWritable = false;
    bool isCallable = false;

    constexpr int getType() const noexcept
    {
        if (!isReadable)
            return kInfoMethod;
        if (!isWritable)
            return isCallable ? kInfoReadOnlyMethod : kInfoReadOnly;
        return isCallable ? kInfoReadWriteMethod : kInfoReadWrite;
    }
    // A property that can also be called.
    constexpr Binding operator|(const Binding &method) const noexcept
    {
        Binding both = *this;
        both.isCallable = true;
        both.run = method.run;
        both.invoke = method.invoke;
        both.defaultCount = method.defaultCount;
        both.defaults = method.defaults;
        return both;
    }
};

// BoundArgument: an argument on its way from the array to the function.
template <class Parameter>
struct BoundArgument
{
    using T = std::remove_cvref_t<Parameter>;
    using Value = BoundValue<T>;

    static_assert(!std::is_lvalue_reference_v<Parameter> ||
                      std::is_const_v<std::remove_reference_t<Parameter>> || isLiveObject<T>,
                  "arguments are not handed back: take a value or a const reference");

    typename Value::Stored stored;

    // `fromEnd` is the place of the parameter, counted from the last one. D-351: what is undefined
    // counts as left out.
    int take(const Array &args, unsigned index, unsigned fromEnd, const Binding &binding,
             BoundReport &report)
    {
        const Variant &given = args[index];
        if constexpr (!isOptional<T>)
            if (!given.isDefined()) [[unlikely]]
                return takeDefault(index, fromEnd, binding, report);
        const int code = Value::take(given, stored);
        if (code == 0) [[likely]]
            return 0;
        const bool isRange = code == bindOutOfRange;
        return report.refuse(isRange ? code : bindBadArgument, Value::expected,
                             isRange ? Value::limits : BoundLimits(), static_cast<int>(index));
    }
    // The value of a property.
    int take(const Variant &given, const Binding &binding, BoundReport &report)
    {
        int code = Value::take(given, stored);
        if constexpr (std::is_arithmetic_v<T>)
            if (code == 0 && !binding.limits.hold(static_cast<double>(stored)))
                code = bindOutOfRange;
        if (code == 0) [[likely]]
            return 0;
        const BoundLimits &limits = binding.limits.areSet() ? binding.limits : Value::limits;
        const bool showsLimits = code == bindOutOfRange || binding.limits.areSet();
        return report.refuse(code, Value::expected, showsLimits ? limits : BoundLimits());
    }
    decltype(auto) pass() { return Value::pass(stored); }

private:
    int takeDefault(unsigned index, unsigned fromEnd, const Binding &binding, BoundReport &report)
    {
        if constexpr (requires { Value::takeDefault(BoundDefault(), stored); }) {
            if (fromEnd < binding.defaultCount) {
                Value::takeDefault(binding.defaults[fromEnd], stored);
                return 0;
            }
        }
        return report.refuse(bindBadArguments, Value::expected, {}, static_cast<int>(index));
    }
};

// Behind its other parameters a function may take all the arguments, and the Error of the call.
template <>
struct BoundArgument<const BasicArray &>
{
    const BasicArray *stored;

    int take(const Array &args, unsigned, unsigned, const Binding &, BoundReport &)
    {
        stored = &args;
        return 0;
    }
    const BasicArray &pass() { return *stored; }
};

template <>
struct BoundArgument<Error *>
{
    Error *stored;

    int take(const Array &, unsigned, unsigned, const Binding &, BoundReport &report)
    {
        stored = report.error;
        return 0;
    }
    Error *pass() { return stored; }
};

// Whether a parameter takes no argument of its own.
template <class Parameter>
inline constexpr bool isExtra =
    std::same_as<Parameter, const BasicArray &> || std::same_as<Parameter, Error *>;

// BoundParameters: what can be said about the parameters of a function before their types, such as
// the class that is being bound, are complete.
template <class... Parameters>
struct BoundParameters
{
    static constexpr unsigned count = (0U + ... + !isExtra<Parameters>);
    // Whether they are a value and nothing, or a value and the Error.
    static constexpr bool areForValue =
        count == 1 && (sizeof...(Parameters) == 1 ||
                       (sizeof...(Parameters) == 2 && (... || std::same_as<Parameters, Error *>)));

    // Puts defaults in their places; that of the last parameter comes first.
    template <std::size_t... place, class... Defaults>
    static constexpr void setDefaults(Binding &binding, std::index_sequence<place...>,
                                      Defaults... values)
    {
        constexpr std::size_t given = sizeof...(Defaults);
        static_assert(given <= count, "more defaults than parameters");
        static_assert(given <= Binding::mostDefaults, "std::optional has no limit");
        binding.defaultCount = given;
        ((binding.defaults[given - 1 - place] = BoundValue<std::remove_cvref_t<std::tuple_element_t<
              count - given + place, std::tuple<Parameters...>>>>::makeDefault(values)),
         ...);
    }
};

// BoundArguments: those of a function, in the order of its parameters.
template <class Indexes, class... Parameters>
struct BoundArguments;

template <std::size_t... index, class... Parameters>
struct BoundArguments<std::index_sequence<index...>, Parameters...>
{
    static constexpr unsigned count = BoundParameters<Parameters...>::count;
    static_assert((... && (isExtra<Parameters> == (index >= count))),
                  "all arguments and the Error stand behind the other parameters");

    std::tuple<BoundArgument<Parameters>...> arguments;

    int take(const Array &args, const Binding &binding, BoundReport &report)
    {
        int code = 0;
        static_cast<void>((true && ... &&
                           ((code = std::get<index>(arguments).take(
                                 args, place(index), fromEnd(index), binding, report)) == 0)));
        return code;
    }
    static constexpr unsigned place(std::size_t at) { return static_cast<unsigned>(at); }
    static constexpr unsigned fromEnd(std::size_t at) { return count - 1U - place(at); }
    // The value of a property, for the first of them.
    int takeValue(const Variant &given, const Binding &binding, BoundReport &report)
    {
        if constexpr (sizeof...(Parameters) == 2)
            std::get<1>(arguments).stored = report.error;
        return std::get<0>(arguments).take(given, binding, report);
    }
    template <auto function, class Host>
    decltype(auto) call(Host &host)
    {
        if constexpr (std::is_member_pointer_v<decltype(function)>)
            return (host.*function)(std::get<index>(arguments).pass()...);
        else
            return function(host, std::get<index>(arguments).pass()...);
    }
};

// FunctionShape: a function of the class, or one that takes the object first.
template <bool takesConst, class Result, class... Parameters>
struct FunctionShape
{
    using Arguments = BoundArguments<std::index_sequence_for<Parameters...>, Parameters...>;
    using List = BoundParameters<Parameters...>;
    using Value = std::remove_cvref_t<Result>; // of a getter

    static constexpr bool isReadable =
        takesConst && sizeof...(Parameters) == 0 && !std::is_void_v<Result>;
    static constexpr bool isWritable = false;
    static constexpr bool isCallable = true;
    static constexpr bool isSetter =
        List::areForValue && (std::is_void_v<Result> || std::same_as<Result, Outcome<>>);

    template <class Host, auto function>
    static int read(const LiveObject &object, Variant &out)
    {
        return giveBound(out,
                         Arguments().template call<function>(static_cast<const Host &>(object)));
    }
    static int write(LiveObject &object, const Variant &value, const Binding &binding,
                     BoundReport &report)
    {
        Arguments arguments;
        if (const int code = arguments.takeValue(value, binding, report); code != 0) [[unlikely]]
            return code;
        Variant unused;
        return binding.set(object, &arguments, unused);
    }
    static int run(LiveObject &object, const Array &args, Variant &result, const Binding &binding,
                   BoundReport &report)
    {
        Arguments arguments;
        if (const int code = arguments.take(args, binding, report); code != 0) [[unlikely]]
            return code;
        return binding.invoke(object, &arguments, result);
    }
    template <class Host, auto function>
    static int step(LiveObject &object, void *arguments, Variant &result)
    {
        auto &host = static_cast<Host &>(object);
        auto &given = *static_cast<Arguments *>(arguments);
        if constexpr (std::is_void_v<Result>)
            return given.template call<function>(host), 0;
        else
            return giveBound(result, given.template call<function>(host));
    }
};

// FieldShape: a field of the class.
template <class T>
struct FieldShape
{
    using Value = std::remove_cv_t<T>;

    static constexpr bool isReadable = true;
    static constexpr bool isWritable = !std::is_const_v<T>;
    static constexpr bool isCallable = false;
    static constexpr bool isSetter = false;

    static_assert(!std::is_pointer_v<T> && !std::same_as<Value, std::u16string_view>,
                  "a field that owns nothing is bound by functions; see InterfacePtr and String");

    template <class Host, auto field>
    static int read(const LiveObject &object, Variant &out)
    {
        return giveBound(out, static_cast<const Host &>(object).*field);
    }
    template <class Host, auto field>
    static int write(LiveObject &object, const Variant &value, const Binding &binding,
                     BoundReport &report)
    {
        return writeValue(static_cast<Host &>(object).*field, value, binding, report);
    }

private:
    [[gnu::noinline]] static int writeValue(T &field, const Variant &value, const Binding &binding,
                                            BoundReport &report)
    {
        BoundArgument<Value> argument;
        if (const int code = argument.take(value, binding, report); code != 0) [[unlikely]]
            return code;
        field = argument.pass();
        return 0;
    }
};

template <class Member>
struct BoundShape
{
    static_assert(sizeof(Member) == 0, "neither a field nor a function of the class");
};
template <class Class, class T>
struct BoundShape<T Class::*> : FieldShape<T>
{};
template <class Class, class Result, class... Parameters>
struct BoundShape<Result (Class::*)(Parameters...)> : FunctionShape<false, Result, Parameters...>
{};
template <class Class, class Result, class... Parameters>
struct BoundShape<Result (Class::*)(Parameters...) const>
    : FunctionShape<true, Result, Parameters...>
{};
template <class Class, class Result, class... Parameters>
struct BoundShape<Result (Class::*)(Parameters...) noexcept>
    : FunctionShape<false, Result, Parameters...>
{};
template <class Class, class Result, class... Parameters>
struct BoundShape<Result (Class::*)(Parameters...) const noexcept>
    : FunctionShape<true, Result, Parameters...>
{};
template <class Class, class Result, class... Parameters>
struct BoundShape<Result (*)(Class &, Parameters...)>
    : FunctionShape<std::is_const_v<Class>, Result, Parameters...>
{};
template <class Class, class Result, class... Parameters>
struct BoundShape<Result (*)(Class &, Parameters...) noexcept>
    : FunctionShape<std::is_const_v<Class>, Result, Parameters...>
{};
template <>
struct BoundShape<std::nullptr_t>
{
    static constexpr bool isSetter = false;
};

// PropertyBinding: a binding that may get limits.
template <class T>
struct PropertyBinding : Binding
{
    // Numbers outside of these answer 41.
    constexpr PropertyBinding between(T lowest,
                                      T highest) const noexcept requires std::is_arithmetic_v<T> &&
        (!std::same_as<T, bool>)
    {
        PropertyBinding limited = *this;
        limited.limits = {static_cast<double>(lowest), static_cast<double>(highest)};
        return limited;
    }
};

// MethodBinding: a binding that may get defaults.
template <class Parameters>
struct MethodBinding : Binding
{
    // For the last parameters, in their order: numbers, truth values and u"texts".
    template <class... Defaults>
    constexpr MethodBinding defaults(Defaults... values) const noexcept
    {
        MethodBinding complete = *this;
        Parameters::setDefaults(complete, std::index_sequence_for<Defaults...>(), values...);
        return complete;
    }
};

} // namespace Tavrin::detail
