// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <tavrin/Reflection.h>
#include <tavrin/UnicodeUtils.h>

// The rules of descriptions over plain standard strings, for tests and the fuzzer to compare with.
namespace Tavrin::test {

using Units = std::u16string;

inline String toString(const Units &units)
{
    String string;
    const std::vector<unsigned short> copy(units.begin(), units.end());
    string.append(copy.data(), static_cast<int>(copy.size()));
    return string;
}

inline Units toUnits(const String &string)
{
    return Units(string.wstr(), string.wstr() + string.length());
}

inline std::vector<Units> splitAt(const Units &text, char16_t delimiter)
{
    std::vector<Units> parts(1);
    for (const char16_t unit : text) {
        if (unit == delimiter)
            parts.emplace_back();
        else
            parts.back() += unit;
    }
    return parts;
}

// The part of that number, or an empty text; the last one that is wanted takes all that follow.
inline Units partOf(const std::vector<Units> &parts, std::size_t at, char16_t delimiter,
                    bool isLast = false)
{
    if (at >= parts.size())
        return {};
    Units part = parts[at];
    while (isLast && ++at < parts.size())
        part += delimiter + parts[at];
    return part;
}

inline Units withoutBlanks(Units text)
{
    while (!text.empty() && text.front() <= ' ')
        text.erase(0, 1);
    while (!text.empty() && text.back() <= ' ')
        text.pop_back();
    return text;
}

// As bytes, with "?" for what is not ASCII.
inline std::string toBytes(const Units &units)
{
    std::string bytes;
    for (const char16_t unit : units)
        bytes += unit < 128 ? static_cast<char>(unit) : '?';
    return bytes;
}

// A number as bits that tell the zeros apart, and all NaNs the same.
inline std::uint64_t bitsOf(double number)
{
    return std::isnan(number) ? ~std::uint64_t{0} : std::bit_cast<std::uint64_t>(number);
}

inline double numberIn(const Units &text)
{
    return Variant::scanDouble(toString(text), 0, nullptr);
}

struct DescribedType
{
    int dataType = 127;
    Units dataClass;
    std::uint64_t min = bitsOf(-std::numeric_limits<double>::infinity());
    std::uint64_t max = bitsOf(std::numeric_limits<double>::infinity());
    bool hasRange = false;
    bool hasDefault = false;
    int standardKind = 0;
    Units standardText;
    std::uint64_t standardBits = 0; // of a number or a boolean
    bool isCollection = false;
    Units shortText;

    bool operator==(const DescribedType &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const DescribedType &type)
    {
        return out << " type " << type.dataType << ' ' << toBytes(type.dataClass) << ' '
                   << std::bit_cast<double>(type.min) << ".." << std::bit_cast<double>(type.max)
                   << " default " << type.standardKind << ' ' << toBytes(type.standardText) << ' '
                   << type.standardBits << ' ' << toBytes(type.shortText) << ' ' << type.hasRange
                   << type.hasDefault << type.isCollection;
    }

    static DescribedType of(const Units &text, const Units &shortText)
    {
        struct Word
        {
            std::u16string_view word;
            int dataType;
        };
        static constexpr Word words[] = {
            {u"undefined", 0}, {u"boolean", 2}, {u"bool", 2},   {u"number", 3}, {u"int", 3},
            {u"uint", 3},      {u"string", 4},  {u"object", 5}, {u"Object", 5}, {u"any", 126},
        };
        DescribedType type;
        const std::vector<Units> fields = splitAt(text, u';');
        const Units word = withoutBlanks(fields[0]);
        type.dataType = 126;
        if (!word.empty() && UnicodeUtils::iswalpha(word[0])) {
            type.dataType = 5;
            type.dataClass = word;
        }
        for (const Word &known : words) {
            if (known.word == word) {
                type.dataType = known.dataType;
                type.dataClass.clear();
            }
        }
        const Units min = partOf(fields, 1, u';'), max = partOf(fields, 2, u';');
        if (!min.empty())
            type.min = bitsOf(numberIn(min));
        if (!max.empty())
            type.max = bitsOf(numberIn(max));
        type.hasRange = !min.empty() || !max.empty();
        const Units standard = partOf(fields, 3, u';');
        type.hasDefault = !standard.empty();
        type.setStandard(standard);
        type.isCollection = !partOf(fields, 4, u';', true).empty();
        type.shortText = shortText;
        return type;
    }

    // What the library read.
    static DescribedType of(const TypeInfo &info)
    {
        DescribedType type;
        String text;
        double min = 0, max = 0;
        type.dataType = info.getDataType();
        info.getDataClass(text);
        type.dataClass = toUnits(text);
        type.hasRange = info.getValidRange(min, max);
        type.min = bitsOf(min);
        type.max = bitsOf(max);
        Variant standard;
        type.hasDefault = info.getDefaultValue(standard);
        type.standardKind = standard.getType();
        if (standard.getType() == kString)
            type.standardText = toUnits(standard.getString());
        else if (standard.getType() == kNumber || standard.getType() == kBoolean)
            type.standardBits = bitsOf(standard.getDouble());
        type.isCollection = info.isCollection();
        info.getDescription(text);
        type.shortText = toUnits(text);
        return type;
    }

private:
    void setStandard(const Units &text)
    {
        if (text.empty() || text == u"undefined")
            return;
        if (text == u"null") {
            standardKind = kNull;
        } else if (text == u"true" || text == u"false") {
            standardKind = kBoolean;
            standardBits = bitsOf(text == u"true" ? 1 : 0);
        } else if (text.find_first_of(u"-+0123456789") == 0) {
            standardKind = kNumber;
            standardBits = bitsOf(numberIn(text));
        } else {
            standardKind = kString;
            standardText = text;
        }
    }
};

// Everything that a description says about its result, with -1, or a parameter.
struct Described
{
    Units name;
    Units shortText;
    Units longText;
    DescribedType type;
    std::optional<DescribedType> setter;

    bool operator==(const Described &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const Described &described)
    {
        out << toBytes(described.name + u" short " + described.shortText + u" long " +
                       described.longText)
            << described.type;
        return described.setter ? out << " written as" << *described.setter : out;
    }

    static bool hasResult(const std::vector<Units> &segments)
    {
        const std::size_t colon = splitAt(segments[0], u'\t')[0].find(u':');
        return colon == Units::npos || colon == 0;
    }

    static int countParams(const Units &text)
    {
        const std::vector<Units> segments = splitAt(text, u',');
        if (text.empty())
            return 0;
        return static_cast<int>(segments.size()) - (hasResult(segments) ? 1 : 0);
    }

    static Described of(const Units &text, int index)
    {
        Described described;
        const std::vector<Units> segments = splitAt(text, u',');
        const bool isParam = index >= 0;
        if (!isParam && !hasResult(segments)) {
            described.type.dataType = 126;
            return described;
        }
        if (isParam)
            described.name =
                u"arg" + toUnits(String(std::to_string(std::int64_t{index} + 1).c_str()));
        const std::int64_t at =
            isParam ? std::int64_t{index} + (hasResult(segments) ? 1 : 0) : std::int64_t{0};
        const Units segment = partOf(segments, static_cast<std::size_t>(at), u',');
        if (segment.empty())
            return described;
        const std::vector<Units> fields = splitAt(segment, u'\t');
        described.shortText = partOf(fields, 1, u'\t');
        described.longText = partOf(fields, 2, u'\t', true);
        Units type = fields[0];
        if (const std::size_t colon = type.find(u':'); colon != Units::npos) {
            described.name = withoutBlanks(type.substr(0, colon));
            type.erase(0, colon + 1);
        }
        if (const std::size_t slash = type.find(u'/'); !isParam && slash != Units::npos) {
            if (slash + 1 < type.size())
                described.setter = DescribedType::of(type.substr(slash + 1), described.shortText);
            type.resize(slash);
        }
        described.type = DescribedType::of(type, described.shortText);
        return described;
    }

    // What the library reads; `isRead` is false if it gave no type.
    static Described read(const Units &text, int index, bool &isRead)
    {
        String name("x"), shortText("x"), longText("x");
        TypeInfo *setter = nullptr;
        const std::unique_ptr<TypeInfo> type(
            TypeInfo::parse(toString(text), index, &name, &shortText, &longText, &setter));
        const std::unique_ptr<TypeInfo> ownSetter(setter);
        isRead = type != nullptr;
        Described described;
        if (!isRead)
            return described;
        described.name = toUnits(name);
        described.shortText = toUnits(shortText);
        described.longText = toUnits(longText);
        described.type = DescribedType::of(*type);
        if (setter != nullptr)
            described.setter = DescribedType::of(*setter);
        return described;
    }
};

} // namespace Tavrin::test
