// SPDX-License-Identifier: MIT
// Every operation of Array with each of its requests for memory refused in turn: the array has its
// old elements then, its sharers never change, and nothing leaks.
#include <tavrin/Array.h>

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::Allocates;
using test::listOf;

namespace {

using ArrayMemoryTest = test::LibraryTest;

const char *const longText = "a text that needs a block of its own, whoever holds it";

Array full(unsigned length)
{
    Array array;
    for (unsigned index = 0; index < length; ++index)
        array += static_cast<int>(index);
    return array;
}

struct Operation
{
    const char *name;
    std::function<void(Array &)> run;
};

const Operation operations[] = {
    {"a new element", [](Array &a) { a[a.length()] = 1; }},
    {"a far element", [](Array &a) { a[9000] = 1; }},
    {"an append", [](Array &a) { a += 1; }},
    {"an append of an element", [](Array &a) { a += a[0]; }},
    {"setLength, longer", [](Array &a) { a.setLength(a.length() + 100); }},
    {"setLength, much longer", [](Array &a) { a.setLength(9000); }},
    {"setLength, shorter", [](Array &a) { a.setLength(1); }},
    {"erase", [](Array &a) { a.erase(); }},
    {"insertAt", [](Array &a) { a.insertAt(0, 3); }},
    {"insertAt that makes elements sparse",
     [](Array &a) { a.insertAt(0, a.length() < 1024 ? 1020 : 4); }},
    {"removeAt", [](Array &a) { a.removeAt(0, 1); }},
    {"makeUnique", [](Array &a) { a.makeUnique(); }},
};

struct Shape
{
    const char *name;
    std::function<Array()> make;
};
const Shape shapes[] = {
    {"two elements",
     [] {
         return listOf({1, 2});
     }},
    {"a full block", [] { return full(8); }},
    {"a full dense part", [] { return full(1024); }},
    {"a sparse part",
     [] {
         Array array = full(3);
         array[1024] = 1024;
         array[3000] = 3000;
         return array;
     }},
};

struct Observed
{
    Array array;
    Array sharer;
};

Observed observe(const Shape &shape, bool isShared)
{
    Observed observed{shape.make(), {}};
    if (isShared)
        observed.sharer = observed.array;
    return observed;
}

} // namespace

TEST_F(ArrayMemoryTest, AnOperationThatFailsKeepsTheElements)
{
    for (const Shape &shape : shapes)
        for (const Operation &operation : operations)
            for (const bool isShared : {false, true}) {
                SCOPED_TRACE(testing::Message() << operation.name << " with " << shape.name
                                                << (isShared ? ", shared" : ""));
                const Array before = shape.make();
                Array result = shape.make();
                operation.run(result);
                test::underMemoryFailure(
                    [&] { return observe(shape, isShared); },
                    [&](Observed &observed) { operation.run(observed.array); },
                    [&](Observed &observed, bool failed) {
                        EXPECT_EQ(observed.array.length(), (failed ? before : result).length());
                        EXPECT_TRUE(observed.array == (failed ? before : result));
                        if (isShared) {
                            EXPECT_TRUE(observed.sharer == before);
                        }
                        observed.array[12] = "usable";
                        EXPECT_EQ(test::bytesOf(observed.array[12].getString()), "usable");
                    },
                    Allocates::perhaps);
            }
}

// Without memory, the new element may be an array without elements.
TEST_F(ArrayMemoryTest, AnAppendOfItselfAddsOneElementOrNone)
{
    for (const Shape &shape : shapes)
        for (const bool isPinned : {false, true}) {
            SCOPED_TRACE(testing::Message() << shape.name << (isPinned ? ", pinned" : ""));
            const Array before = shape.make();
            test::underMemoryFailure(
                [&] {
                    Array array = shape.make();
                    if (isPinned)
                        array.makeUnique();
                    return array;
                },
                [](Array &array) { array += array; },
                [&](Array &array, bool failed) {
                    ASSERT_EQ(array.length(), before.length() + (failed ? 0 : 1));
                    if (!failed) {
                        EXPECT_EQ(array[before.length()].getType(), kArray);
                        array[before.length()].erase();
                        array.setLength(before.length());
                    }
                    EXPECT_TRUE(array == before);
                });
        }
}

TEST_F(ArrayMemoryTest, ConstructionThatFailsLeavesNothing)
{
    for (const unsigned length : {1U, 100U, 5000U})
        test::underMemoryFailure([] { return 0; }, [=](int) { const Array array(length); },
                                 [](int, bool) {});
}

TEST_F(ArrayMemoryTest, CopiesOfPinnedArraysAreCompleteOrHaveNullElements)
{
    Array pinned = listOf({1, longText, listOf({listOf({2})})});
    pinned[2000] = listOf({3});
    for (Array *level = &pinned; level != nullptr; level = level->get(2)->getArray()) {
        level->makeUnique();
        if (level != &pinned)
            break;
    }
    (*(*pinned[2].getArray())[0].getArray()).makeUnique();
    pinned[2000].getArray()->makeUnique();
    bool hadNull = false;
    test::underMemoryFailure([] { return Array(); }, [&](Array &copy) { copy = pinned; },
                             [&](const Array &copy, bool failed) {
                                 if (failed) {
                                     EXPECT_EQ(copy.length(), 0U);
                                     return;
                                 }
                                 EXPECT_EQ(copy.length(), pinned.length());
                                 EXPECT_EQ(copy[2].getType(), kArray);
                                 hadNull = hadNull || copy[2].getArray() == nullptr;
                                 static_cast<void>(test::textOf(listOf({copy})));
                             });
    EXPECT_TRUE(hadNull);
}

TEST_F(ArrayMemoryTest, WritingThatFailsIsTold)
{
    Array array = listOf({1, longText, Point(1, 2)});
    for (int level = 0; level < 40; ++level)
        array = listOf({array});
    const std::string whole = test::textOf(array);
    test::underMemoryFailure([] { return String("before "); },
                             [&](String &out) { array.toString(out); },
                             [&](const String &out, bool failed) {
                                 if (!failed) {
                                     EXPECT_EQ(test::bytesOf(out), "before " + whole);
                                 }
                             });
}

TEST_F(ArrayMemoryTest, ComparisonThatFailsIsTold)
{
    const auto make = [] {
        Array array = listOf({1});
        array[2000] = 2;
        for (int level = 0; level < 100; ++level)
            array = listOf({array});
        return array;
    };
    const Array left = make();
    const Array right = make();
    test::underMemoryFailure([] { return false; }, [&](bool &isEqual) { isEqual = left == right; },
                             [](bool isEqual, bool failed) { EXPECT_EQ(isEqual, !failed); });
}

TEST_F(ArrayMemoryTest, ParsingThatFailsKeepsWhatWasAppended)
{
    const String text("1,'two',[3,[4,[5,[6,[7,[8,[9,[10,[11,[12,[13,[14,[15,[16,[17,[18]]]]]]]]]]]"
                      "]]]]],19");
    Array whole;
    EXPECT_TRUE(whole.parse(text, 0));
    EXPECT_EQ(whole.length(), 4U);
    test::underMemoryFailure([] { return listOf({0}); },
                             [&](Array &array) { array.parse(text, 0); },
                             [&](const Array &array, bool failed) {
                                 ASSERT_GE(array.length(), 1U);
                                 EXPECT_LE(array.length(), 5U);
                                 EXPECT_EQ(array.length() == 5U, !failed);
                                 EXPECT_EQ(array[0].getInteger(), 0);
                             });
}
