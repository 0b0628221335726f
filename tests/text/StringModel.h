// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

#include <tavrin/UnicodeUtils.h>

// The rules of String on plain standard strings, which share nothing, written down one by one.
namespace Tavrin::test::rules {

using Model = std::u16string;

inline std::size_t sizeOf(int count)
{
    return static_cast<std::size_t>(count);
}

inline int lengthOf(const Model &text)
{
    return static_cast<int>(text.size());
}

inline Model upToZero(const Model &text)
{
    return text.substr(0, std::min(text.find(u'\0'), text.size()));
}

// The text without units behind `length`, or longer by zeros.
inline void adjust(Model &text, int length)
{
    text.resize(sizeOf(std::max(length, 0)), u'\0');
}

inline void erase(Model &text, int start, int count)
{
    const int length = lengthOf(text);
    start = start < 0 ? length : start;
    count = count < 0 ? length : count;
    if (start < length)
        text.erase(sizeOf(start), sizeOf(count));
}

inline void insert(Model &text, const Model &added, int pos)
{
    const std::size_t at = sizeOf(std::clamp(pos, 0, lengthOf(text)));
    text = text.substr(0, at) + added + text.substr(at);
}

inline Model substr(const Model &text, int start, int count)
{
    if (start >= lengthOf(text))
        return Model();
    return text.substr(sizeOf(start), count < 0 ? Model::npos : sizeOf(count));
}

inline int find(const Model &text, const Model &pattern, int start, bool reverse)
{
    const int last = lengthOf(text) - lengthOf(pattern);
    if (!reverse) {
        for (int at = std::max(start, 0); at <= last; ++at)
            if (text.compare(sizeOf(at), pattern.size(), pattern) == 0)
                return at;
        return -1;
    }
    for (int at = start < 0 || start > last ? last : start; at >= 0; --at)
        if (text.compare(sizeOf(at), pattern.size(), pattern) == 0)
            return at;
    return -1;
}

inline int findAny(const Model &text, const Model &set, int start)
{
    if (set.empty())
        return start;
    if (start < 0 || start > lengthOf(text))
        return -1;
    const std::size_t at = text.find_first_of(set, sizeOf(start));
    return at == Model::npos ? -1 : static_cast<int>(at);
}

inline int replace(Model &text, const Model &from, const Model &to, int start)
{
    const int at = from.empty() ? 0 : find(text, from, start, false);
    if (at >= 0)
        text.replace(sizeOf(at), from.size(), to);
    return at;
}

inline int replaceAll(Model &text, const Model &from, const Model &to, int start)
{
    if (from.empty())
        return 0;
    int count = 0;
    for (int at = find(text, from, start, false); at >= 0;
         at = find(text, from, at + lengthOf(to), false)) {
        text.replace(sizeOf(at), from.size(), to);
        ++count;
    }
    return count;
}

inline Model stripped(const Model &text)
{
    const auto isKept = [](char16_t unit) { return unit > 32; };
    const auto first = std::find_if(text.begin(), text.end(), isKept);
    const auto last = std::find_if(text.rbegin(), text.rend(), isKept).base();
    return first < last ? Model(first, last) : Model();
}

inline Model split(Model &text, const Model &delimiter)
{
    const int at = delimiter.empty() ? -1 : find(text, delimiter, 0, false);
    const Model piece = stripped(at < 0 ? text : text.substr(0, sizeOf(at)));
    text.erase(0, at < 0 ? Model::npos : sizeOf(at) + delimiter.size());
    return piece;
}

inline Model mapped(const Model &text, unsigned short (*map)(unsigned short))
{
    Model result = text;
    for (char16_t &unit : result)
        unit = static_cast<char16_t>(map(unit));
    return result;
}

inline Model mixed(const Model &text)
{
    const Model upper = mapped(text, UnicodeUtils::towupper);
    Model result = mapped(text, UnicodeUtils::towlower);
    for (std::size_t at = 0; at < text.size(); ++at)
        if (at == 0 || Model(u" ,;.").find(result[at - 1]) != Model::npos)
            result[at] = upper[at];
    return result;
}

inline int compare(const Model &a, const Model &b)
{
    for (std::size_t at = 0; at < std::min(a.size(), b.size()); ++at)
        if (a[at] != b[at])
            return a[at] - b[at];
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

// Of the first `count` units.
inline int compare(const Model &a, const Model &b, int count)
{
    const std::size_t size = sizeOf(std::max(count, 0));
    return compare(a.substr(0, size), b.substr(0, size));
}

} // namespace Tavrin::test::rules
