// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include <tavrin/RegExp.h>
#include <tavrin/String.h>

namespace Tavrin::test {

// A list of captures that gives itself back.
class CaptureList
{
public:
    explicit CaptureList(const RegExp &expression)
        : length(expression.getCaptureLength()), list(expression.createCaptureList())
    {}
    ~CaptureList() { delete[] list; }
    CaptureList(const CaptureList &) = delete;
    CaptureList &operator=(const CaptureList &) = delete;

    Capture &first() { return *list; }
    Capture &operator[](int index) { return list[index]; }

    // Each entry as "start-end", or "-" for an unset one, separated by blanks. A list without
    // entries, as that of the default expression, shows its one place.
    std::string text() const
    {
        std::string shown;
        for (int index = 0; index < (length == 0 ? 1 : length); ++index) {
            if (index > 0)
                shown += ' ';
            if (list[index].isSet())
                shown += std::to_string(list[index].start) + '-' + std::to_string(list[index].end);
            else
                shown += '-';
        }
        return shown;
    }

private:
    int length;
    Capture *list;
};

inline String stringOf(std::u16string_view units)
{
    String text;
    for (const char16_t unit : units)
        text.append(static_cast<unsigned short>(unit));
    return text;
}

// What a search finds: "bad" for a pattern with an error, "no", or the captures as above.
inline std::string found(std::u16string_view pattern, std::u16string_view subject, int flags = 0,
                         int start = 0)
{
    const RegExp expression(stringOf(pattern), flags);
    if (!expression.good())
        return "bad";
    CaptureList captures(expression);
    return expression.match(stringOf(subject), start, captures.first()) ? captures.text() : "no";
}

inline bool compiles(std::u16string_view pattern)
{
    return RegExp(stringOf(pattern), 0).good();
}

// All code units in order, so that each stands at the position of its number.
inline String allUnits()
{
    String units;
    for (int unit = 0; unit <= 0xFFFF; ++unit)
        units.append(static_cast<unsigned short>(unit));
    return units;
}

// The units that a pattern for one unit matches, as ranges in decimal.
inline std::string unitsMatchedBy(std::u16string_view pattern, int flags = 0)
{
    const RegExp expression(stringOf(pattern), flags);
    if (!expression.good())
        return "bad";
    const String subject = allUnits();
    CaptureList captures(expression);
    std::string shown;
    int from = 0;
    while (expression.match(subject, from, captures.first())) {
        const int first = captures[0].start;
        for (from = captures[0].end;
             expression.match(subject, from, captures.first()) && captures[0].start == from;)
            ++from;
        shown += (shown.empty() ? "" : " ") + std::to_string(first);
        if (from - 1 > first)
            shown += '-' + std::to_string(from - 1);
    }
    return shown;
}

// One row of a table of searches.
struct Search
{
    const char *name;
    const char16_t *pattern;
    const char16_t *subject;
    const char *expected;
    int flags = 0;
    int start = 0;
};

inline std::string found(const Search &search)
{
    return found(search.pattern, search.subject, search.flags, search.start);
}

} // namespace Tavrin::test
