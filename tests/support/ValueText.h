// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <ostream>
#include <string>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/RegExp.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

#include "support/TextUnits.h"

// Values for people: what tests compare with literals, and what the test framework prints.
namespace Tavrin::test {

// The messages of an error, as a host shows them.
inline String fullText(const Error &error)
{
    String text("before");
    error.getFullText(text);
    return text;
}

inline const char *kindName(VariantType kind)
{
    constexpr const char *names[] = {"undefined", "null",        "boolean",   "number", "string",
                                     "object",    "live object", "point",     "rect",   "array",
                                     "file",      "regexp",      "unit value"};
    return names[kind];
}

// The kind and the text, as in `number 1`. It works on a copy, so that no text is cached.
inline std::string described(const Variant &value)
{
    const std::string kind = kindName(value.getType());
    if (value.getType() <= kNull)
        return kind;
    if (value.getType() == kRegExp) // a copy would have no expression
        return kind + ' ' + (value.getRegExp() ? bytesOf(value.getRegExp()->getPattern()) : "");
    const Variant copy(value);
    return kind + ' ' + bytesOf(copy.getString());
}

inline std::string textOf(const BasicArray &array)
{
    String text;
    array.toString(text);
    return bytesOf(text);
}

inline Array listOf(std::initializer_list<Variant> elements)
{
    Array list;
    for (const Variant &element : elements)
        list += element;
    return list;
}

} // namespace Tavrin::test

namespace Tavrin {

inline void PrintTo(const Variant &value, std::ostream *out)
{
    *out << test::described(value);
}

inline void PrintTo(const Array &array, std::ostream *out)
{
    *out << '[' << test::textOf(array) << "] (" << array.length() << ')';
}

} // namespace Tavrin
