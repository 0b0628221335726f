// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <string_view>
#include <type_traits>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/BindCalls.h>
#include <tavrin/BindReport.h>
#include <tavrin/BindTable.h>
#include <tavrin/BindValues.h>
#include <tavrin/Error.h>
#include <tavrin/LiveObject.h>
#include <tavrin/LivePropertyManager.h>
#include <tavrin/Refcountable.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

namespace Tavrin {

// The id of an operator, such as "+" or "==". A row with it is a method of the other operand and of
// a bool, which is true if this object stands on the right.
consteval int operatorID(std::string_view text)
{
    constexpr std::pair<std::string_view, int> operators[] = {
        {"~", 0x00}, {"!", 0x01}, {"*", 0x04},  {"/", 0x05},  {"%", 0x06},  {"+", 0x07},
        {"-", 0x08}, {"<", 0x0C}, {"<=", 0x0D}, {"==", 0x12}, {"===", 0x14}};
    for (const auto &[known, place] : operators)
        if (known == text)
            return firstOperatorID + place;
    throw "there is no such operator";
}

// Bound: a LiveObject whose properties and methods are fields and functions of its class, bound at
// compile time:
//
//   class Layer : public Bound<Layer>
//   {
//   public:
//       Layer() : Bound("Layer") {}
//
//       String name = u"Background";
//       double opacity = 100;
//
//       double fade(double by) { return opacity = std::max(opacity - by, 0.0); }
//
//       static constexpr Member members[] = {
//           {"name", property<&Layer::name>, "string\tThe name."},
//           {"opacity", property<&Layer::opacity>.between(0, 100), "number;0;100\tIn percent."},
//           {"fade", method<&Layer::fade>.defaults(10), "number\tFades.,by:number;;;10\tPercent."},
//       };
//   };
//
// The rows of `members`, which is public, say name, binding, description (see TypeInfo::parse), id
// and flags (see LivePropertyManager); only name and binding have to be there. Rows without an id
// count from 1 on, or from the last row of the base. The base is LiveObject, a collection, or
// another bound class, whose rows come after those of this class. Whatever the rows do not know,
// the base does.
//
// Types:   bool, integers, double, float, String, std::u16string_view, Point, Rect, Array, Variant;
//          T & and T * for objects of a class T, also as InterfacePtr<T>, where a pointer may be
//          null; and std::optional of these. An object that a function answers is held by whoever
//          gets it: new ones are answered as InterfacePtr. Of a field, only what owns its value.
// Values:  nothing is converted from one kind to another: "12" is no number. D-350.
// Owns:    nothing.
// Threads: as LiveObject.
// Cost:    a row is found in O(1); no operation allocates. A few functions for each row.
// Failure: 47 for a value and 19 for an argument of another kind, 41 beyond the limits, 20 for a
//          missing argument, 46 for a write to a read-only property, and what a function answers as
//          Outcome. The error names the property, the value, and what was expected. Exceptions of
//          functions are the codes -28 and -29.
template <class Host, class Base = LiveObject>
class Bound : public Base
{
public:
    using Table = detail::BoundTable<Host, detail::BoundTableOf<Base>>;

    // One row.
    struct Member
    {
        const char *name; // that of the constructor is empty
        detail::Binding binding;
        const char *description = nullptr;
        int id = 0;
        int flags = 0; // without the type
    };

    // A field, which is read-only if it is const; or a const function without parameters, and one
    // for writing that takes the value. That one returns nothing, or Outcome<>. Functions may also
    // stand outside of the class, and then take the object first.
    template <auto get, auto set = nullptr>
    static constexpr auto property = [] {
        using Read = detail::BoundShape<decltype(get)>;
        using Write = detail::BoundShape<decltype(set)>;
        static_assert(Read::isReadable, "reading takes a field or a const function of nothing");
        detail::PropertyBinding<typename Read::Value> binding;
        binding.isReadable = true;
        binding.isWritable = Write::isSetter || Read::isWritable;
        binding.read = &Read::template read<Host, get>;
        if constexpr (Write::isSetter) {
            binding.write = &Write::write;
            binding.set = &Write::template step<Host, set>;
        } else if constexpr (Read::isWritable) {
            binding.write = &Read::template write<Host, get>;
        }
        static_assert(Write::isSetter || std::same_as<decltype(set), std::nullptr_t>,
                      "writing takes a function of the value that returns nothing or Outcome<>");
        return binding;
    }();
    // A field that scripts do not write to.
    template <auto get>
    static constexpr auto readOnly = [] {
        auto binding = property<get>;
        binding.isWritable = false;
        return binding;
    }();
    // A function. Behind its other parameters it may take a const BasicArray &, which is all of the
    // arguments, and the Error * of the call. The constructor's is called by `initialize`.
    template <auto function>
    static constexpr auto method = [] {
        using Shape = detail::BoundShape<decltype(function)>;
        static_assert(Shape::isCallable, "only a function can be called");
        detail::MethodBinding<typename Shape::List> binding;
        binding.isCallable = true;
        binding.run = &Shape::run;
        binding.invoke = &Shape::template step<Host, function>;
        return binding;
    }();

    // The id of a row of this class.
    static constexpr int idOf(std::string_view name) { return Table::idOf(name); }

    int get(int id, Variant &out, Error *error) const override;
    int put(int id, const Variant &value, Error *error) override;
    int call(int id, const Array &args, Variant &result, Error *error) override;
    // Also of other objects of the class; 26 for those of another one.
    int apply(LiveObject &thisObject, int id, const Array &args, Variant &result,
              Error *error) const override;
    using Base::call;
    using Base::get;
    using Base::put;

    // Calls the row of the constructor.
    int initialize(const Array &args, Error *error) override;
    // D-352: a clone, of a class with a default constructor, has the properties that can be
    // written.
    int clone(LiveObject **out, bool isDeep) const override;

    // Lets scripts construct the class, which has a default constructor: adds a factory.
    static int addFactory(int flags);
    using Base::addFactory;

protected:
    explicit Bound(const char *className,
                   bool isDynamic = false) requires std::same_as<Base, LiveObject>
        : Base(className, isDynamic)
    {
        this->setPropertyManager(&manager());
    }
    template <class... Arguments>
    explicit Bound(Arguments &&...arguments) requires(!std::same_as<Base, LiveObject>)
        : Base(std::forward<Arguments>(arguments)...)
    {
        this->setPropertyManager(&manager());
    }
    ~Bound() override = default;

private:
    static const LivePropertyManager &manager()
    {
        static_assert(std::same_as<typename Table::Member, Member>,
                      "each bound class has an array `members` of its own");
        static const LivePropertyManager made(Table::rows.data());
        return made;
    }

    // Words a refusal, unless the error says something already. Returns the code.
    int refuse(const detail::BoundReport &report, int code, const Member &member,
               const Variant &value) const
    {
        if (report.error == nullptr || report.error->getCode() != 0)
            return code;
        const String name = *member.name != 0 ? String(member.name) : this->getClassName();
        return detail::reportBound(report, code, name, member.description, value);
    }
    int run(const Member &member, int id, const Array &args, Variant &result, Error *error);
    int copyMembers(Host &target) const;
};

template <class Host, class Base>
int Bound<Host, Base>::get(int id, Variant &out, Error *error) const
{
    const Member *member = Table::find(id);
    if (member == nullptr || !member->binding.isReadable || !this->isValid()) [[unlikely]]
        return Base::get(id, out, error);
    return detail::guardBound(error, [&] {
        const int code = member->binding.read(*this, out);
        if (code == 0) [[likely]]
            return 0;
        out.erase();
        return this->setError(code, id, error, false);
    });
}

template <class Host, class Base>
int Bound<Host, Base>::put(int id, const Variant &value, Error *error)
{
    const Member *member = Table::find(id);
    if (member == nullptr || !member->binding.isReadable || !this->isValid()) [[unlikely]]
        return Base::put(id, value, error);
    if (!member->binding.isWritable)
        return this->setError(detail::bindReadOnly, id, error, false);
    return detail::guardBound(error, [&] {
        detail::BoundReport report = {error};
        const int code = member->binding.write(*this, value, member->binding, report);
        if (code == 0) [[likely]]
            return this->invokeAutostore(error);
        return refuse(report, code, *member, value);
    });
}

template <class Host, class Base>
int Bound<Host, Base>::run(const Member &member, int id, const Array &args, Variant &result,
                           Error *error)
{
    return detail::guardBound(error, [&] {
        detail::BoundReport report = {error};
        const int code = member.binding.run(*this, args, result, member.binding, report);
        if (code == 0) [[likely]]
            return 0;
        result.erase();
        if (report.expected == nullptr)
            return this->setError(code, id, error, false);
        return refuse(report, code, member, args[static_cast<unsigned>(report.argument)]);
    });
}

template <class Host, class Base>
int Bound<Host, Base>::call(int id, const Array &args, Variant &result, Error *error)
{
    const Member *member = Table::find(id);
    if (member != nullptr && member->binding.isCallable && this->isValid()) [[likely]] {
        result.erase();
        return run(*member, id, args, result, error);
    }
    if constexpr (requires { new Host(); }) {
        if (id == constructorID && this->isValid()) {
            result.erase();
            return detail::guardBound(error, [&] {
                result = InterfacePtr<LiveObject>::adopt(new Host()).get();
                return 0;
            });
        }
    }
    return Base::call(id, args, result, error);
}

template <class Host, class Base>
int Bound<Host, Base>::apply(LiveObject &thisObject, int id, const Array &args, Variant &result,
                             Error *error) const
{
    const Member *member = Table::find(id);
    if (member == nullptr || !member->binding.isCallable || !this->isValid())
        return Base::apply(thisObject, id, args, result, error);
    result.erase();
    if (auto *host = dynamic_cast<Host *>(&thisObject))
        return static_cast<Bound *>(host)->run(*member, id, args, result, error);
    return this->setError(detail::bindWrongClass, id, error, false);
}

template <class Host, class Base>
int Bound<Host, Base>::initialize(const Array &args, Error *error)
{
    if constexpr (Table::constructor < 0) {
        return Base::initialize(args, error);
    } else {
        Variant unused;
        return run(Host::members[Table::constructor], constructorID, args, unused, error);
    }
}

template <class Host, class Base>
int Bound<Host, Base>::clone(LiveObject **out, bool isDeep) const
{
    if (const int code = Base::clone(out, isDeep))
        return code;
    auto *host = dynamic_cast<Host *>(*out);
    const int code = host != nullptr ? copyMembers(*host) : 0;
    if (code != 0)
        std::exchange(*out, nullptr)->release();
    return code;
}

template <class Host, class Base>
int Bound<Host, Base>::copyMembers(Host &target) const
{
    return detail::guardBound(nullptr, [&] {
        for (const Member &member : Host::members) {
            if (!member.binding.isWritable)
                continue;
            Variant value;
            detail::BoundReport report = {nullptr};
            int code = member.binding.read(*this, value);
            if (code == 0)
                code = member.binding.write(target, value, member.binding, report);
            if (code != 0)
                return code;
        }
        return 0;
    });
}

template <class Host, class Base>
int Bound<Host, Base>::addFactory(int flags)
{
    return detail::guardBound(
        nullptr, [&] { return Base::addFactory(*InterfacePtr<Host>::adopt(new Host()), flags); });
}

} // namespace Tavrin
