// SPDX-License-Identifier: MIT
#include <tavrin/Array.h>

#include <string>

#include <gtest/gtest.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::listOf;
using test::textOf;

namespace {

using ArrayTextTest = test::LibraryTest;

// A list of a host's own making: the numbers below its length, every third one missing.
class HostList : public BasicArray
{
public:
    explicit HostList(unsigned int itsLength) : count(itsLength) {}
    unsigned int length() const override { return count; }
    bool isDefined(unsigned int index) const override { return get(index) != nullptr; }
    Variant *get(unsigned int index) const override
    {
        if (index >= count || index % 3 == 2)
            return nullptr;
        element = static_cast<int>(index);
        return &element;
    }

    mutable Variant element;

private:
    unsigned int count;
};

} // namespace

TEST_F(ArrayTextTest, ElementsAreSeparatedByCommas)
{
    EXPECT_EQ(textOf(Array()), "");
    EXPECT_EQ(textOf(listOf({1})), "1");
    EXPECT_EQ(textOf(listOf({1, "a,b", true, 0.5})), "1,a,b,true,0.5");
    EXPECT_EQ(textOf(listOf({Point(1, 2), Rect(1, 2, 3, 4)})), "1:2,1:2-3:4");
    EXPECT_EQ(textOf(listOf({Variant(7, "Foo", nullptr)})), "Foo");
}

TEST_F(ArrayTextTest, TheTextIsAppended)
{
    String out("before ");
    listOf({1, 2}).toString(out);
    EXPECT_EQ(test::bytesOf(out), "before 1,2");
}

TEST_F(ArrayTextTest, UndefinedElementsPrintAsUndefined)
{
    Array array = listOf({1, Variant(), 2});
    EXPECT_EQ(textOf(array), "1,undefined,2");
    EXPECT_EQ(test::bytesOf(Variant(array).getString()), "[1,undefined,2]");
    Array missing;
    missing.setLength(2000);
    missing.setLength(2);
    EXPECT_EQ(textOf(missing), "undefined,undefined");
    array[1].setNull();
    EXPECT_EQ(textOf(array), "1,null,2");
}

TEST_F(ArrayTextTest, AThousandElementsAreWrittenAndNotOneMore)
{
    Array array;
    for (int number = 0; number < 1000; ++number)
        array += 1;
    EXPECT_EQ(textOf(array).size(), 1999U);
    array += 1;
    EXPECT_EQ(textOf(array), "[too many elements]");
    EXPECT_EQ(textOf(listOf({1, array, 2})), "1,[[too many elements]],2");
    EXPECT_EQ(textOf(Array(4294967295U)), "[too many elements]");
}

TEST_F(ArrayTextTest, NestedArraysStandInBrackets)
{
    EXPECT_EQ(textOf(listOf({listOf({1, listOf({})}), 2})), "[1,[]],2");
}

TEST_F(ArrayTextTest, AnArrayThatContainsItselfPrintsThis)
{
    Array array(2);
    array[0] = array;
    array[1] = 5;
    EXPECT_EQ(textOf(array), "[this],5");
    EXPECT_EQ(test::bytesOf(Variant(array).getString()), "[[this],5]");
    array[0].erase();
}

TEST_F(ArrayTextTest, ArraysThatContainEachOtherPrintThis)
{
    Array a(1);
    Array b(2);
    a[0] = b;
    b[0] = a;
    b[1] = 5;
    EXPECT_EQ(textOf(a), "[[this],5]");
    EXPECT_EQ(textOf(b), "[[this]],5");
    a[0].erase();
}

TEST_F(ArrayTextTest, ACycleIsFoundHoweverFarInItBegins)
{
    for (const int depth : {1, 14, 15, 16, 17, 18, 40}) {
        Array inner(1);
        inner[0] = inner;
        Array array = inner;
        for (int level = 0; level < depth; ++level)
            array = listOf({array});
        const auto count = static_cast<std::size_t>(depth);
        EXPECT_EQ(textOf(array), std::string(count, '[') + "[this]" + std::string(count, ']'));
        inner[0].erase();
    }
}

TEST_F(ArrayTextTest, ALongCycleIsFound)
{
    Array first(1);
    Array current = first;
    for (int link = 1; link < 40; ++link) {
        Array next(1);
        current[0] = next;
        current = next;
    }
    current[0] = first;
    EXPECT_EQ(textOf(first), std::string(39, '[') + "[this]" + std::string(39, ']'));
    first[0].erase();
}

TEST_F(ArrayTextTest, TheSameArrayTwiceIsNoCycle)
{
    const Array twice = listOf({1});
    EXPECT_EQ(textOf(listOf({twice, twice, listOf({twice})})), "[1],[1],[[1]]");
    EXPECT_EQ(textOf(listOf({Array(), listOf({Array()})})), "[],[[]]");
}

TEST_F(ArrayTextTest, AListOfTheHostIsWrittenThroughItsFace)
{
    HostList list(5);
    EXPECT_EQ(textOf(list), "0,1,undefined,3,4");
    EXPECT_EQ(textOf(HostList(1001)), "[too many elements]");
    EXPECT_EQ(textOf(HostList(0)), "");
    EXPECT_FALSE(list[2].isDefined());
    EXPECT_EQ(list[3].getInteger(), 3);
    EXPECT_TRUE(list.isDefined(4));
}

TEST_F(ArrayTextTest, WritingKeepsNoTextInTheElements)
{
    const Array array = listOf({255});
    EXPECT_EQ(textOf(array), "255");
    EXPECT_EQ(test::bytesOf(array[0].getString(16)), "ff");
    // What an element has kept is used.
    EXPECT_EQ(textOf(array), "ff");
}

TEST_F(ArrayTextTest, ObjectsAreAskedForTheirText)
{
    const Array array = listOf({test::holding(new test::FakeObject("it")), 1});
    EXPECT_EQ(textOf(array), "[object it],1");
}

TEST_F(ArrayTextTest, AnElementMayChangeTheArrayWhileItIsWritten)
{
    Array array = listOf({listOf({Variant(), 1}), 2});
    auto *object = new test::FakeObject("it");
    object->onToString = [&](String &text) {
        array.erase();
        text = "gone";
    };
    (*array[0].getArray())[0].setJSObject(object);
    EXPECT_EQ(textOf(array), "[gone,1],2");
    EXPECT_EQ(array.length(), 0U);
}
