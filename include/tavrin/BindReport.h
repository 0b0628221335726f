// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <new>

#include <tavrin/BindValues.h>
#include <tavrin/Error.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Reflection.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

// The sentences about what a bound function or field refuses, in the user's language as far as the
// texts of the codes are. See Bind.h.

namespace Tavrin::detail {

// What an operation says beside its code.
struct BoundReport
{
    Error *error;
    const char *expected = nullptr; // null if it was the function itself that failed
    int argument = -1;              // -1 for the value of a property
    BoundLimits limits = {};

    int refuse(int code, const char *word, const BoundLimits &range, int index = -1)
    {
        expected = word;
        limits = range;
        argument = index;
        return code;
    }
};

// A value as an error shows it. It does not ask objects, which may run scripts.
inline String boundText(const Variant &value)
{
    constexpr int longest = 40;
    switch (value.getType()) {
    case kString: {
        const String &text = value.getString();
        return text.length() <= longest ? text.escape(true)
                                        : (text.substr(0, longest) + "...").escape(true);
    }
    case kLiveObject:
        return String("[object ") + value.getLiveObject()->getClassName() + "]";
    case kUndefined:
    case kNull:
    case kBoolean:
    case kNumber:
    case kPoint:
    case kRect:
        return value.getString();
    default:
        return TypeInfo::convertDataTypeToString(value.getType());
    }
}

inline String boundText(double number)
{
    return Variant(number).getString();
}

// The text of a code, about what is wrong.
inline String boundSentence(int code, const String &about)
{
    String sentence;
    TvGetErrorMsg(code, sentence);
    if (sentence.replaceAll("%1", about) == 0)
        sentence.append(": ").append(about);
    return sentence;
}

// What would have been right: the name of the class, if the description knows it, or the type.
inline String boundExpectation(const BoundReport &report, const char *description)
{
    String text = report.expected;
    if (text.find("object") == 0 && description != nullptr) {
        const TypeInfo *type =
            TypeInfo::parse(description, report.argument, nullptr, nullptr, nullptr, nullptr);
        String className;
        if (type != nullptr)
            type->getDataClass(className);
        delete type;
        if (className.length() > 0)
            text.replace("object", className);
    }
    if (report.limits.areSet())
        text.append(" ")
            .append(boundText(report.limits.lowest))
            .append("..")
            .append(boundText(report.limits.highest));
    return text;
}

// `name = value`, or `name(parameter = value)`.
inline String boundSubject(const BoundReport &report, const String &name, const char *description,
                           const Variant &value)
{
    if (report.argument < 0)
        return name + " = " + boundText(value);
    String parameter;
    delete TypeInfo::parse(description, report.argument, &parameter, nullptr, nullptr, nullptr);
    return name + "(" + parameter + " = " + boundText(value) + ")";
}

// Words a refusal. Returns the code.
inline int reportBound(const BoundReport &report, int code, const String &name,
                       const char *description, const Variant &value)
{
    String text = boundSentence(code, boundSubject(report, name, description, value));
    if (report.expected != nullptr)
        text.append(". ").append(
            boundSentence(bindExpected, boundExpectation(report, description)));
    report.error->push(code, text, nullptr, false);
    return code;
}

inline int reportBoundException(Error *error, int code, const char *what)
{
    if (error != nullptr && error->getCode() == 0)
        error->push(code, what, nullptr, true);
    return code;
}

// The code of an operation of the host, which may throw. What is no exception of C++ is let
// through: it ends the thread.
template <class Operation>
[[gnu::always_inline]] inline int guardBound(Error *error, Operation operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return reportBoundException(error, bindOutOfMemory, "");
    } catch (const std::exception &thrown) {
        return reportBoundException(error, bindUncaught, thrown.what());
    } catch (...) {
        if (std::current_exception() == nullptr)
            throw;
        return reportBoundException(error, bindUncaught, "");
    }
}

} // namespace Tavrin::detail
