// SPDX-License-Identifier: MIT
#include "encoders/Utf8Naive.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace Tavrin::test {
namespace {

struct LeadRow
{
    unsigned first, last; // lead bytes
    int length;
    unsigned bits; // of the lead that belong to the character
    std::uint64_t lowest;
};

constexpr LeadRow leadRows[] = {
    {0x00, 0x7F, 1, 0x7F, 0},        {0xC0, 0xDF, 2, 0x1F, 0x80},
    {0xE0, 0xEF, 3, 0x0F, 0x800},    {0xF0, 0xF7, 4, 0x07, 0x10000},
    {0xF8, 0xFB, 5, 0x03, 0x200000}, {0xFC, 0xFD, 6, 0x01, 0x200000},
};

const LeadRow *rowOf(char byte)
{
    const auto lead = static_cast<unsigned char>(byte);
    for (const LeadRow &row : leadRows)
        if (lead >= row.first && lead <= row.last)
            return &row;
    return nullptr;
}

bool isLead(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isTrail(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The character of a complete sequence; false when it is bad.
bool readSequence(std::string_view sequence, const LeadRow &row, std::uint64_t &character)
{
    character = static_cast<unsigned char>(sequence[0]) & row.bits;
    bool isGood = true;
    for (const char byte : sequence.substr(1)) {
        if (static_cast<unsigned char>(byte) / 0x40 != 2)
            isGood = false;
        character = character * 0x40 + static_cast<unsigned char>(byte) % 0x40;
    }
    return isGood && character >= row.lowest && character <= 1114111;
}

detail::Conversion conversionOf(std::size_t consumed, std::size_t produced, int code)
{
    return {static_cast<int>(consumed), static_cast<int>(produced), code};
}

} // namespace

Decoded decodeNaively(std::string_view bytes, int room)
{
    Decoded result;
    std::size_t taken = 0;
    const auto finish = [&](int code) {
        result.conversion = conversionOf(taken, result.text.size(), code);
        return result;
    };
    while (taken < bytes.size() && static_cast<int>(result.text.size()) < room) {
        const LeadRow *row = rowOf(bytes[taken]);
        if (row == nullptr)
            return finish(37);
        const auto length = static_cast<std::size_t>(row->length);
        if (length > bytes.size() - taken)
            return finish(38);
        std::uint64_t character = 0;
        if (!readSequence(bytes.substr(taken, length), *row, character)) {
            result.text += u'\uFFFD';
            taken += length;
            return finish(37);
        }
        const std::u16string units = unitsOf(static_cast<char32_t>(character));
        if (static_cast<int>(result.text.size() + units.size()) > room)
            return finish(38);
        result.text += units;
        taken += length;
    }
    return finish(0);
}

Encoded encodeNaively(std::u16string_view units, int room)
{
    Encoded result;
    std::size_t taken = 0;
    const auto finish = [&](int code) {
        result.conversion = conversionOf(taken, result.text.size(), code);
        return result;
    };
    while (taken < units.size() && static_cast<int>(result.text.size()) < room) {
        char32_t scalar = units[taken];
        std::size_t length = 1;
        if (isTrail(units[taken]))
            return finish(37);
        if (isLead(units[taken])) {
            if (taken + 1 == units.size())
                return finish(38);
            if (!isTrail(units[taken + 1]))
                return finish(37);
            scalar = 0x10000u + (units[taken] - 0xD800u) * 0x400u + (units[taken + 1] - 0xDC00u);
            length = 2;
        }
        const std::string bytes = utf8Of(scalar);
        if (static_cast<int>(result.text.size() + bytes.size()) > room)
            return finish(0);
        result.text += bytes;
        taken += length;
    }
    return finish(0);
}

detail::Measure countUnitsNaively(std::string_view bytes)
{
    int units = 0;
    for (std::size_t taken = 0; taken < bytes.size();) {
        const LeadRow *row = rowOf(bytes[taken]);
        if (row == nullptr)
            return {units + 1, 37};
        units += row->length <= 3 ? 1 : 2;
        if (row->length > 4)
            return {units, 37};
        taken += static_cast<std::size_t>(row->length);
    }
    return {units, 0};
}

detail::Measure countBytesNaively(std::u16string_view units)
{
    int bytes = 0;
    for (std::size_t taken = 0; taken < units.size(); ++taken) {
        const char16_t unit = units[taken];
        if (!isLead(unit)) {
            bytes += unit <= 0x7F ? 1 : unit <= 0x7FF ? 2 : 3;
            continue;
        }
        if (taken + 1 == units.size())
            return {bytes + 3, 38};
        if (!isTrail(units[taken + 1]))
            return {bytes + 3, 37};
        bytes += 4;
        ++taken;
    }
    return {bytes, 0};
}

std::string utf8Of(char32_t scalar)
{
    const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
    const auto continuation = [&](char32_t bits) { return byte(0x80 + bits % 0x40); };
    if (scalar < 0x80)
        return {byte(scalar)};
    if (scalar < 0x800)
        return {byte(0xC0 + scalar / 0x40), continuation(scalar)};
    if (scalar < 0x10000)
        return {byte(0xE0 + scalar / 0x1000), continuation(scalar / 0x40), continuation(scalar)};
    return {byte(0xF0 + scalar / 0x40000), continuation(scalar / 0x1000),
            continuation(scalar / 0x40), continuation(scalar)};
}

std::u16string unitsOf(char32_t scalar)
{
    if (scalar < 0x10000)
        return {static_cast<char16_t>(scalar)};
    return {static_cast<char16_t>(0xD800 + (scalar - 0x10000) / 0x400),
            static_cast<char16_t>(0xDC00 + (scalar - 0x10000) % 0x400)};
}

const std::vector<NamedRoutines> &utf8RoutineSets()
{
    static const std::vector<NamedRoutines> sets = [] {
        std::vector<NamedRoutines> present;
        for (const NamedRoutines &set : {NamedRoutines{"portable", detail::portableUtf8Routines()},
                                         NamedRoutines{"SSE2", detail::sse2Utf8Routines()},
                                         NamedRoutines{"AVX2", detail::avx2Utf8Routines()}})
            if (set.routines != nullptr)
                present.push_back(set);
        return present;
    }();
    return sets;
}

bool decodesAlike(std::string_view bytes, int room)
{
    const Decoded expected = decodeNaively(bytes, room);
    const detail::Measure measure = countUnitsNaively(bytes);
    bool isAlike = true;
    for (const NamedRoutines &set : utf8RoutineSets()) {
        const Decoded decoded = decodeBy(set.routines->decode, bytes, room);
        const detail::Measure counted =
            set.routines->countUnits(bytes.data(), static_cast<int>(bytes.size()));
        if (decoded == expected && counted == measure)
            continue;
        isAlike = false;
        EXPECT_EQ(decoded, expected) << set.name << ", room " << room;
        EXPECT_EQ(counted, measure) << set.name;
    }
    return isAlike;
}

bool encodesAlike(std::u16string_view units, int room)
{
    const Encoded expected = encodeNaively(units, room);
    const detail::Measure measure = countBytesNaively(units);
    const auto *text = reinterpret_cast<const unsigned short *>(units.data());
    bool isAlike = true;
    for (const NamedRoutines &set : utf8RoutineSets()) {
        const Encoded encoded = encodeBy(set.routines->encode, units, room);
        const detail::Measure counted =
            set.routines->countBytes(text, static_cast<int>(units.size()));
        if (encoded == expected && counted == measure)
            continue;
        isAlike = false;
        EXPECT_EQ(encoded, expected) << set.name << ", room " << room;
        EXPECT_EQ(counted, measure) << set.name;
    }
    return isAlike;
}

} // namespace Tavrin::test
