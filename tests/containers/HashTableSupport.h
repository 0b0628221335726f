// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include <tavrin/HashTable.h>

#include "text/StringSupport.h"

namespace Tavrin::test {

using Names = std::vector<std::u16string>;

// The keys in walking order.
inline Names namesOf(const HashTable &table)
{
    TSimpleArray<const String> keys;
    table.getKeys(keys);
    Names names;
    for (const String *key : keys)
        names.push_back(unitsOf(*key));
    return names;
}

// A key of one ideograph, which has no case: its hash is a multiple of 512 plus `number`.
inline std::u16string nameOf(int number)
{
    return {static_cast<char16_t>(0x4E00 + number)};
}

inline String keyOf(int number)
{
    return textOf(nameOf(number));
}

inline Names namesOf(std::initializer_list<int> numbers)
{
    Names names;
    for (const int number : numbers)
        names.push_back(nameOf(number));
    return names;
}

// The keys of these numbers, set one after the other; the values are the numbers.
inline HashTable tableOf(std::initializer_list<int> numbers)
{
    HashTable table;
    for (const int number : numbers)
        table.set(keyOf(number), number, false);
    return table;
}

inline HashTable tableUpTo(int end)
{
    HashTable table;
    for (int number = 0; number < end; ++number)
        table.set(keyOf(number), number, false);
    return table;
}

using Visitor = std::function<bool(const String &key, std::int64_t *value)>;

inline void walk(HashTable &table, Visitor visitor)
{
    table.forEach([](const String &key, std::int64_t *value,
                     std::int64_t arg) { return (*reinterpret_cast<Visitor *>(arg))(key, value); },
                  reinterpret_cast<std::intptr_t>(&visitor));
}

} // namespace Tavrin::test
