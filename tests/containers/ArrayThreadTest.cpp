// SPDX-License-Identifier: MIT
// Copies of one array on several threads.
#include <tavrin/Array.h>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::listOf;

namespace {

using ArrayThreadTest = test::MultiThreadedLibraryTest;

Array sample()
{
    Array array = listOf({1, 2.5, "text", listOf({listOf({3}), true})});
    array[2000] = "far";
    array.setLength(900);
    array[5] = Point(1, 2);
    array[800] = Rect(1, 2, 3, 4);
    return array;
}

} // namespace

TEST_F(ArrayThreadTest, CopiesAreReadCopiedComparedAndWrittenAtTheSameTime)
{
    const Array shared = sample();
    const Array equal = sample();
    const std::string text = test::textOf(equal);
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 200; ++round) {
            const Array copy(shared);
            ASSERT_EQ(copy.length(), 900U);
            ASSERT_TRUE(copy == equal);
            ASSERT_EQ(test::textOf(copy), text);
            ASSERT_EQ(copy[0].getType(), kNumber);
            ASSERT_FALSE(copy[850].isDefined());
            ASSERT_FALSE(copy[5000].isDefined());
        }
    });
}

TEST_F(ArrayThreadTest, EachThreadGetsARecordOfItsOwnWhenItWrites)
{
    const Array shared = sample();
    test::runOnThreads(4, [&](int index) {
        for (int round = 0; round < 200; ++round) {
            Array own(shared);
            own += index;
            own[3000] = round;
            own.insertAt(0, 2);
            own.removeAt(1, 1);
            ASSERT_EQ(own.length(), 3002U);
            ASSERT_EQ(own[901].getInteger(), index);
            ASSERT_EQ(own[3001].getInteger(), round);
        }
    });
    EXPECT_EQ(shared.length(), 900U);
    EXPECT_EQ(shared, sample());
}

TEST_F(ArrayThreadTest, EachThreadHasItsOwnMissingElement)
{
    const Array shared = listOf({1});
    const Variant *here = &shared[5];
    test::runOnThread([&] {
        EXPECT_NE(&shared[5], here);
        EXPECT_EQ(test::bytesOf(shared[5].getString()), "undefined");
    });
}

TEST_F(ArrayThreadTest, ValuesWithSharedTextAndArraysLiveOnManyThreads)
{
    const Variant string("a text that all threads share");
    const Variant array(sample());
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 500; ++round) {
            const Variant text(string);
            Variant list(array);
            ASSERT_EQ(text, string);
            ASSERT_EQ(list.getArray()->length(), 900U);
            list = text;
            ASSERT_EQ(list.getType(), kString);
        }
    });
}
