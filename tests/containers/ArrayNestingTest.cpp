// SPDX-License-Identifier: MIT
// Arrays that are nested very deep: nothing may recurse. One stack frame for each level would not
// fit the stack of a thread.
#include <tavrin/Array.h>

#include <utility>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;

namespace {

using ArrayNestingTest = test::LibraryTest;

constexpr int depth = 100'000;

Array nested(int levels, int leaf)
{
    Array array;
    array += leaf;
    for (int level = 1; level < levels; ++level) {
        Array outer;
        outer += array;
        array = std::move(outer);
    }
    return array;
}

} // namespace

TEST_F(ArrayNestingTest, DeepArraysAreDestroyed)
{
    const Array array = nested(depth, 1);
    EXPECT_EQ(array.length(), 1U);
}

TEST_F(ArrayNestingTest, DeepArraysInSparseElementsAreDestroyed)
{
    Array array;
    for (int level = 0; level < depth / 4; ++level) {
        Array outer;
        outer[2000] = array;
        array = std::move(outer);
    }
    EXPECT_EQ(array.length(), 2001U);
}

TEST_F(ArrayNestingTest, DeepArraysAreAssignedFromTheirOwnElements)
{
    Variant value(nested(depth, 1));
    while (value.getArray()->get(0)->getType() == kArray)
        value = (*value.getArray())[0];
    EXPECT_EQ((*value.getArray())[0].getInteger(), 1);
}

TEST_F(ArrayNestingTest, DeepArraysAreWrittenAndRead)
{
    const Array array = nested(depth, 1);
    const Variant value(array);
    const String &text = value.getString();
    EXPECT_EQ(text.length(), 2 * depth + 1);
    Array read;
    EXPECT_TRUE(read.parse(text, 0));
    EXPECT_EQ(read.length(), 1U);
    EXPECT_TRUE(*read[0].getArray() == array);
}

TEST_F(ArrayNestingTest, DeepArraysAreCompared)
{
    EXPECT_TRUE(nested(depth, 1) == nested(depth, 1));
    EXPECT_FALSE(nested(depth, 1) == nested(depth, 2));
    EXPECT_FALSE(nested(depth, 1) == nested(depth - 1, 1));
    EXPECT_EQ(Variant(nested(depth, 1)).compare(nested(depth, 1)), 0);
}

TEST_F(ArrayNestingTest, DeepPinnedArraysAreCopied)
{
    // From the outside in, because pinning copies what is pinned further in.
    Array array = nested(depth, 1);
    for (Array *level = &array; level != nullptr; level = (*level)[0].getArray())
        level->makeUnique();
    const Variant value(array);
    const Variant copy(value);
    EXPECT_NE(copy.getArray()->get(0), value.getArray()->get(0));
    EXPECT_TRUE(*copy.getArray() == array);
    Array assigned;
    assigned = array;
    assigned += 2;
    EXPECT_EQ(assigned.length(), 2U);
}

TEST_F(ArrayNestingTest, UnterminatedDeepLiteralsAreRefused)
{
    String text;
    text.setup('[', depth);
    Array array;
    EXPECT_FALSE(array.parse(text, 0));
    EXPECT_EQ(array.length(), 0U);
}
