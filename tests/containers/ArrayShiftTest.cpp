// SPDX-License-Identifier: MIT
// insertAt and removeAt, also beside a plain map of what is where.
#include <tavrin/Array.h>

#include <climits>
#include <cstdint>
#include <map>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::listOf;
using test::textOf;

namespace {

using ArrayShiftTest = test::LibraryTest;

// The same in the simplest way.
class Model
{
public:
    void set(unsigned index, int value)
    {
        values[index] = value;
        length = std::max<std::uint64_t>(length, std::uint64_t{index} + 1);
    }
    void setLength(std::uint64_t newLength)
    {
        values.erase(values.lower_bound(newLength), values.end());
        length = newLength;
    }
    void insertAt(std::uint64_t start, std::uint64_t count)
    {
        std::map<std::uint64_t, int> moved;
        for (const auto &[index, value] : values)
            moved[index >= start ? index + count : index] = value;
        values = moved;
        length += count;
    }
    void removeAt(std::uint64_t start, std::uint64_t count)
    {
        if (start >= length)
            return;
        count = std::min(count, length - start);
        std::map<std::uint64_t, int> moved;
        for (const auto &[index, value] : values)
            if (index < start)
                moved[index] = value;
            else if (index >= start + count)
                moved[index - count] = value;
        values = moved;
        length -= count;
    }

    std::map<std::uint64_t, int> values;
    std::uint64_t length = 0;
};

void expectSame(const Array &array, const Model &model)
{
    ASSERT_EQ(array.length(), model.length);
    for (const auto &[index, value] : model.values) {
        ASSERT_TRUE(array.isDefined(static_cast<unsigned>(index))) << index;
        ASSERT_EQ(array[static_cast<unsigned>(index)].getInteger(), value) << index;
    }
    std::uint64_t defined = 0;
    const auto bound = std::min<std::uint64_t>(model.length, 20000);
    for (unsigned index = 0; index < bound; ++index)
        defined += array.isDefined(index) ? 1 : 0;
    std::uint64_t expected = 0;
    for (const auto &[index, value] : model.values)
        expected += index < bound ? 1 : 0;
    ASSERT_EQ(defined, expected);
}

} // namespace

TEST_F(ArrayShiftTest, RemoveAtClosesTheGap)
{
    Array array = listOf({0, 1, 2, 3, 4});
    array.removeAt(1, 2);
    EXPECT_EQ(textOf(array), "0,3,4");
    array.deleteAt(0);
    EXPECT_EQ(textOf(array), "3,4");
    array.deleteAt(1);
    EXPECT_EQ(textOf(array), "3");
}

TEST_F(ArrayShiftTest, RemovingNothingChangesNothing)
{
    Array array = listOf({0, 1, 2});
    const Array copy(array);
    array.removeAt(1, 0);
    array.removeAt(3, 1);
    array.removeAt(UINT_MAX, UINT_MAX);
    array.deleteAt(7);
    EXPECT_EQ(textOf(array), "0,1,2");
    EXPECT_EQ(array.get(0), copy.get(0));
}

TEST_F(ArrayShiftTest, RemovingMoreThanThereIsRemovesTheRest)
{
    Array array = listOf({0, 1, 2});
    array.removeAt(1, 100);
    EXPECT_EQ(textOf(array), "0");
    EXPECT_EQ(array.length(), 1U);
    array = listOf({0, 1, 2});
    array.removeAt(2, UINT_MAX);
    EXPECT_EQ(textOf(array), "0,1");
    array.removeAt(0, UINT_MAX);
    EXPECT_EQ(array.length(), 0U);
}

TEST_F(ArrayShiftTest, RemovingEverythingGoesBackToTheEmptyArray)
{
    Array array = listOf({0, 1, 2});
    array.makeUnique();
    array.removeAt(0, 3);
    EXPECT_EQ(array.length(), 0U);
    EXPECT_EQ(array.getData(), Array().getData());
}

TEST_F(ArrayShiftTest, RemovalFromASharedArrayLeavesTheOthersAlone)
{
    Array array = listOf({0, 1, 2});
    const Array copy(array);
    array.removeAt(0, 1);
    EXPECT_EQ(textOf(array), "1,2");
    EXPECT_EQ(textOf(copy), "0,1,2");
}

TEST_F(ArrayShiftTest, MissingElementsMoveAsWell)
{
    Array array(5);
    array[0] = 1;
    array[3] = 2;
    array.removeAt(0, 2);
    EXPECT_EQ(textOf(array), "undefined,2,undefined");
    array.insertAt(1, 2);
    EXPECT_EQ(textOf(array), "undefined,undefined,undefined,2,undefined");
}

TEST_F(ArrayShiftTest, InsertAtMakesAGap)
{
    Array array = listOf({0, 1, 2});
    array.insertAt(1, 2);
    EXPECT_EQ(textOf(array), "0,undefined,undefined,1,2");
    array.insertAt(0, 1);
    EXPECT_EQ(textOf(array), "undefined,0,undefined,undefined,1,2");
    array.insertAt(6, 1);
    EXPECT_EQ(array.length(), 7U);
    array.insertAt(0, 0);
    EXPECT_EQ(array.length(), 7U);
}

TEST_F(ArrayShiftTest, InsertBehindTheEndOnlyMakesTheArrayLonger)
{
    Array array = listOf({0});
    array.insertAt(10, 2);
    EXPECT_EQ(array.length(), 3U);
    EXPECT_EQ(textOf(array), "0,undefined,undefined");
}

TEST_F(ArrayShiftTest, InsertIntoASharedArrayLeavesTheOthersAlone)
{
    Array array = listOf({0, 1});
    const Array copy(array);
    array.insertAt(1, 1);
    EXPECT_EQ(textOf(array), "0,undefined,1");
    EXPECT_EQ(textOf(copy), "0,1");
}

TEST_F(ArrayShiftTest, CountsAreCutWhereTheyWouldWrap)
{
    Array array = listOf({0, 1, 2});
    array.insertAt(1, UINT_MAX);
    EXPECT_EQ(array.length(), UINT_MAX);
    EXPECT_EQ(std::as_const(array)[UINT_MAX - 1].getInteger(), 2);
    EXPECT_EQ(std::as_const(array)[UINT_MAX - 2].getInteger(), 1);
    array.insertAt(0, 5);
    EXPECT_EQ(array.length(), UINT_MAX);
    array.removeAt(1, UINT_MAX - 3);
    EXPECT_EQ(textOf(array), "0,1,2");
    Array empty;
    empty.insertAt(UINT_MAX, 5);
    EXPECT_EQ(empty.length(), 0U);
}

TEST_F(ArrayShiftTest, ElementsCrossTheLineBetweenDenseAndSparse)
{
    Array array;
    for (int number = 0; number < 1200; ++number)
        array += number;
    array.insertAt(10, 100);
    for (unsigned index = 10; index < 110; ++index)
        ASSERT_FALSE(array.isDefined(index));
    for (unsigned index = 110; index < 1300; ++index)
        ASSERT_EQ(array[index].getInteger(), static_cast<int>(index) - 100);
    array.removeAt(10, 100);
    for (unsigned index = 0; index < 1200; ++index)
        ASSERT_EQ(array[index].getInteger(), static_cast<int>(index));
    EXPECT_EQ(array.length(), 1200U);
}

TEST_F(ArrayShiftTest, AFarElementMovesWithoutAWalkThroughAllIndexes)
{
    Array array;
    array[4000000000U] = "far";
    array.insertAt(0, 10);
    EXPECT_EQ(test::bytesOf(array[4000000010U].getString()), "far");
    array.removeAt(5, 3999999999U);
    EXPECT_EQ(test::bytesOf(array[11].getString()), "far");
    EXPECT_EQ(array.length(), 12U);
}

TEST_F(ArrayShiftTest, PayloadsMoveAndAreNotCopied)
{
    Array array = listOf({listOf({1}), listOf({2}), listOf({3})});
    const Array *last = array[2].getArray();
    array.removeAt(0, 1);
    EXPECT_EQ(array[1].getArray(), last);
    array.insertAt(0, 3);
    EXPECT_EQ(array[4].getArray(), last);
    array.insertAt(0, 2000);
    EXPECT_EQ(array[2004].getArray(), last);
    array.removeAt(0, 2000);
    EXPECT_EQ(array[4].getArray(), last);
}

TEST_F(ArrayShiftTest, TheHardMarkBelongsToThePlaceAndNotToTheElement)
{
    Array array = listOf({1, 2, 3});
    array[1].setHardRef(true);
    array.removeAt(0, 1);
    EXPECT_FALSE(array[0].isHardRef());
    EXPECT_TRUE(array[1].isHardRef());
    EXPECT_EQ(textOf(array), "2,3");
}

TEST_F(ArrayShiftTest, RemovedObjectsAreDestroyedWhenTheArrayIsWhole)
{
    Array array = listOf({0, Variant(), 2, 3});
    array[3000] = 5;
    auto *object = new test::FakeObject;
    object->onDestroy = [&] {
        EXPECT_EQ(array.length(), 3000U);
        EXPECT_EQ(array[1].getInteger(), 2);
        EXPECT_EQ(array[2999].getInteger(), 5);
    };
    array[1].setJSObject(object);
    array.removeAt(1, 1);
    EXPECT_EQ(test::FakeObject::living(), 0);
    auto *far = new test::FakeObject;
    far->onDestroy = [&] { EXPECT_EQ(array.length(), 2999U); };
    array[2999].setJSObject(far);
    array.removeAt(2999, 1);
    EXPECT_EQ(test::FakeObject::living(), 0);
}

TEST_F(ArrayShiftTest, RandomChangesGiveWhatAPlainMapGives)
{
    std::mt19937 random(7);
    const auto below = [&random](unsigned bound) {
        return static_cast<unsigned>(random() % bound);
    };
    const unsigned spans[] = {8, 40, 1100, 6000};
    for (int round = 0; round < 60; ++round) {
        const unsigned span = spans[round % 4];
        Array array;
        Array sharer;
        Model model;
        for (int step = 0; step < 60; ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            const unsigned start = below(span);
            const unsigned count = below(span / 4 + 2);
            switch (below(7)) {
            case 0:
            case 1:
                array[start] = step;
                model.set(start, step);
                break;
            case 2:
                array += step;
                model.set(static_cast<unsigned>(model.length), step);
                break;
            case 3:
                array.insertAt(start, count);
                model.insertAt(start, count);
                break;
            case 4:
                array.removeAt(start, count);
                model.removeAt(start, count);
                break;
            case 5:
                array.setLength(start);
                model.setLength(start);
                break;
            default:
                // A copy that shares; the existing elements are not written to then.
                sharer = array;
                sharer.insertAt(start, count);
                sharer = array;
                array.makeUnique();
                EXPECT_EQ(sharer, array);
                sharer = Array();
                break;
            }
            expectSame(array, model);
            if (testing::Test::HasFatalFailure())
                return;
        }
    }
}
