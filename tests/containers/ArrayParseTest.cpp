// SPDX-License-Identifier: MIT
#include <tavrin/Array.h>

#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;

namespace {

using ArrayParseTest = test::LibraryTest;

// The kinds and texts of the elements, nested ones in parentheses.
std::string elementsOf(const Array &array)
{
    std::string result;
    for (unsigned index = 0; index < array.length(); ++index) {
        if (index > 0)
            result += "; ";
        const Array *nested = array[index].getArray();
        result +=
            nested != nullptr ? '(' + elementsOf(*nested) + ')' : test::described(array[index]);
    }
    return result;
}

struct Row
{
    const char *text;
    const char *elements;
};

} // namespace

TEST_F(ArrayParseTest, WellFormedLiteralsGiveTheirElements)
{
    const Row rows[] = {
        {"1", "number 1"},
        {"1,2", "number 1; number 2"},
        {"  1 ,\t2\n", "number 1; number 2"},
        {"null,true,false", "null; boolean true; boolean false"},
        {"1,", "number 1"},
        {",1", "number 0; number 1"},
        {",", "number 0"},
        {"1,,2", "number 1; number 0; number 2"},
        {"'x'", "string x"},
        {"\"a,b]\", 'it\\'s'", "string a,b]; string it's"},
        {"'a' 'b'", "string a; string b"},
        {"'a' b", "string a; number NaN"},
        {"''", "string "},
        {"[]", "()"},
        {"[ ]", "()"},
        {"[1,2],3", "(number 1; number 2); number 3"},
        {"[1,]", "(number 1)"},
        {"[[],[[1]]]", "((); ((number 1)))"},
        {"['a' 'b' c]", "(string a; string b; number NaN)"},
        {"[1]2", "(number 1); number 2"},
        {"[[1]'a'[2]]", nullptr},
        {"[[1],'a',[2]]", "((number 1); string a; (number 2))"},
        {"0x1F, -5, 1e3, .5", "number 31; number -5; number 1000; number 0.5"},
        {"12px", "number NaN"},
        {"undefined", "number NaN"},
        {"Null", "number NaN"},
        {"1 2", "number NaN"},
        {"1[2", "number NaN"},
        {"1{2", "number NaN"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        Array array;
        EXPECT_EQ(array.parse(row.text, 0x10000), row.elements != nullptr);
        if (row.elements != nullptr) {
            EXPECT_EQ(elementsOf(array), row.elements);
        }
    }
}

TEST_F(ArrayParseTest, MalformedLiteralsGiveTheElementsBeforeTheFault)
{
    const Row rows[] = {
        {"", ""},
        {"   ", ""},
        {"]", ""},
        {"}", ""},
        {"1,]", "number 1"},
        {"1]", "number 1"},
        {"[1", ""},
        {"[", ""},
        {"[1,", ""},
        {"[1}", ""},
        {"[1 [2]]", "(number NaN)"},
        {"2,['a' 5]", "number 2"},
        {"'open", ""},
        {"'line\nend'", ""},
        {"3,\"open", "number 3"},
        {"{a:1", ""},
        {"4,Foo{a:1}", "number 4"},
        {"Foo {a:1}", ""},
        {"[Foo{}]", ""},
        {"'\\xZZ'", ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        Array array;
        EXPECT_FALSE(array.parse(row.text, 0x10000));
        EXPECT_EQ(elementsOf(array), row.elements);
    }
}

TEST_F(ArrayParseTest, ElementsAreAppended)
{
    Array array = test::listOf({1});
    const Array copy(array);
    EXPECT_TRUE(array.parse("2,3", 0));
    EXPECT_EQ(test::textOf(array), "1,2,3");
    EXPECT_EQ(test::textOf(copy), "1");
}

TEST_F(ArrayParseTest, TheTextMayBeThatOfAnElement)
{
    Array array = test::listOf({"5,6"});
    EXPECT_TRUE(array.parse(array[0].getString(), 0));
    EXPECT_EQ(elementsOf(array), "string 5,6; number 5; number 6");
}

TEST_F(ArrayParseTest, WhatIsWrittenCanBeRead)
{
    const Array array = test::listOf({1, true, 0.5, test::listOf({test::listOf({}), -3})});
    Array read;
    EXPECT_TRUE(read.parse(Variant(array).getString(), 0));
    EXPECT_EQ(read, test::listOf({array}));
}

TEST_F(ArrayParseTest, EveryTextEndsTheParse)
{
    const std::string alphabet = "[],1 'a{}";
    const std::size_t letters = alphabet.size();
    std::size_t count = 1;
    for (int length = 0; length <= 5; ++length, count *= letters)
        for (std::size_t number = 0; number < count; ++number) {
            std::string text;
            std::size_t left = number;
            for (int at = 0; at < length; ++at, left /= letters)
                text += alphabet[left % letters];
            Array array;
            array.parse(text.c_str(), 0);
            ASSERT_LE(array.length(), text.size());
        }
}
