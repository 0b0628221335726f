// SPDX-License-Identifier: MIT
#include <tavrin/SimpleArray.h>

#include <cstdint>
#include <initializer_list>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

using namespace Tavrin;

namespace {

class SimpleArrayTest : public testing::Test
{
protected:
    SimpleArrayTest() { InitTerm::init(); }
    ~SimpleArrayTest() override { InitTerm::exit(); }
};

SimpleArray arrayOf(std::initializer_list<std::int64_t> values)
{
    SimpleArray result;
    for (std::int64_t value : values)
        result.append(value);
    return result;
}

} // namespace

TEST_F(SimpleArrayTest, WritePastTheEndLandsOnTheSpareSlot)
{
    SimpleArray array = arrayOf({1, 2, 3});
    array[5] = 7;
    EXPECT_EQ(array, arrayOf({1, 2, 3}));
    EXPECT_EQ(array[100], 7);
    EXPECT_EQ(std::as_const(array)[100], 0);
}

TEST_F(SimpleArrayTest, AnEmptyArrayHasASpareSlotOfItsOwn)
{
    SimpleArray array;
    const SimpleArray other;
    array[5] = 7;
    EXPECT_EQ(array[100], 7);
    EXPECT_EQ(array.length(), 0);
    SimpleArray third;
    EXPECT_EQ(third[100], 0);
}

TEST_F(SimpleArrayTest, ACopySharesTheRecordUntilAWrite)
{
    SimpleArray array = arrayOf({1, 2, 3});
    SimpleArray twin = array;
    EXPECT_EQ(array.getData(), twin.getData());
    twin[0] = 9;
    EXPECT_NE(array.getData(), twin.getData());
    EXPECT_EQ(array, arrayOf({1, 2, 3}));
    EXPECT_EQ(twin, arrayOf({9, 2, 3}));
}

TEST_F(SimpleArrayTest, AppendingAnArrayToItselfDoublesIt)
{
    SimpleArray array = arrayOf({1, 2, 3});
    array.append(array);
    array += array;
    EXPECT_EQ(array, arrayOf({1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
}

TEST_F(SimpleArrayTest, RemoveAtPastTheEndStillShortensTheArray)
{
    SimpleArray array = arrayOf({1, 2, 3});
    EXPECT_EQ(array.removeAt(100), 0);
    EXPECT_EQ(array, arrayOf({1, 2}));
    EXPECT_EQ(array.removeAt(-1), 1);
    EXPECT_EQ(array, arrayOf({2}));
}

TEST_F(SimpleArrayTest, MergeAppendsWhatIsMissing)
{
    SimpleArray array = arrayOf({2});
    array.merge(arrayOf({1, 0, 2}), false);
    EXPECT_EQ(array, arrayOf({2, 1}));
    array.merge(arrayOf({1, 0, 2}), true);
    EXPECT_EQ(array, arrayOf({2, 1, 0}));
}
