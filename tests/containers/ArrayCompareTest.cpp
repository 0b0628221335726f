// SPDX-License-Identifier: MIT
#include <tavrin/Array.h>

#include <climits>
#include <limits>

#include <gtest/gtest.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::listOf;

namespace {

using ArrayCompareTest = test::LibraryTest;

const Variant notANumber(std::numeric_limits<double>::quiet_NaN());

// An array whose only element is itself; breakCycle releases it.
Array cycle()
{
    Array array(1);
    array[0] = array;
    return array;
}

void breakCycle(Array &array)
{
    array[0].erase();
}

} // namespace

TEST_F(ArrayCompareTest, ArraysAreEqualIfTheirElementsAre)
{
    EXPECT_EQ(listOf({1, "x"}), listOf({1, "x"}));
    EXPECT_NE(listOf({1, "x"}), listOf({1, "y"}));
    EXPECT_NE(listOf({1}), listOf({1, 2}));
    EXPECT_NE(listOf({1}), listOf({"1"}));
    EXPECT_EQ(Array(), Array());
    EXPECT_NE(listOf({notANumber}), listOf({notANumber}));
}

TEST_F(ArrayCompareTest, AnArrayEqualsItselfWhateverItHolds)
{
    const Array array = listOf({notANumber});
    const Array copy(array);
    EXPECT_EQ(array, array);
    EXPECT_EQ(array, copy);
}

TEST_F(ArrayCompareTest, AMissingElementEqualsAnUndefinedOne)
{
    Array missing;
    missing.setLength(2000);
    missing.setLength(3);
    Array undefined = listOf({Variant(), Variant(), Variant()});
    EXPECT_EQ(missing, undefined);
    EXPECT_EQ(undefined, missing);
    undefined[2].setNull();
    EXPECT_NE(missing, undefined);
    EXPECT_NE(undefined, missing);
}

TEST_F(ArrayCompareTest, SparseElementsAreComparedFromBothSides)
{
    Array a;
    Array b;
    a.setLength(UINT_MAX);
    b.setLength(UINT_MAX);
    EXPECT_EQ(a, b);
    a[3000000000U] = 1;
    EXPECT_NE(a, b);
    EXPECT_NE(b, a);
    b[3000000000U] = 1;
    EXPECT_EQ(a, b);
    b[4000000000U];
    EXPECT_EQ(a, b);
    b[4000000000U] = 2;
    EXPECT_NE(a, b);
}

TEST_F(ArrayCompareTest, DenseAndSparseElementsAreComparedWithEachOther)
{
    Array dense(3000);
    dense[2000] = 1;
    dense[10] = 2;
    Array sparse;
    sparse[0] = Variant();
    sparse.setLength(3000);
    sparse[2000] = 1;
    sparse[10] = 2;
    EXPECT_NE(dense.getData(), nullptr);
    EXPECT_EQ(sparse.getData(), nullptr);
    EXPECT_EQ(dense, sparse);
    EXPECT_EQ(sparse, dense);
    sparse[2001] = 1;
    EXPECT_NE(dense, sparse);
    EXPECT_NE(sparse, dense);
}

TEST_F(ArrayCompareTest, NestedArraysAreComparedInDepth)
{
    EXPECT_EQ(listOf({1, listOf({2, listOf({3})})}), listOf({1, listOf({2, listOf({3})})}));
    EXPECT_NE(listOf({1, listOf({2, listOf({3})})}), listOf({1, listOf({2, listOf({4})})}));
    EXPECT_NE(listOf({listOf({1})}), listOf({1}));
    EXPECT_NE(listOf({listOf({1})}), listOf({listOf({1, 2})}));
}

TEST_F(ArrayCompareTest, ArraysThatContainThemselvesAreEqualIfNoDifferenceIsFound)
{
    Array a = cycle();
    Array b = cycle();
    EXPECT_EQ(a, b);
    Array longer(1);
    longer[0] = listOf({longer});
    EXPECT_EQ(a, longer);
    EXPECT_EQ(longer, b);
    Array different(2);
    different[0] = different;
    different[1] = 1;
    Array other(2);
    other[0] = other;
    other[1] = 2;
    EXPECT_NE(different, other);
    EXPECT_NE(a, different);
    for (Array *array : {&a, &b, &longer, &different, &other})
        breakCycle(*array);
}

TEST_F(ArrayCompareTest, CyclesOfManyArraysAreCompared)
{
    // A chain of arrays whose last one holds the first one again.
    const auto ring = [](int length, int mark) {
        Array first(2);
        Array current = first;
        for (int link = 1; link < length; ++link) {
            Array next(2);
            next[1] = link == length / 2 ? mark : 0;
            current[0] = next;
            current = next;
        }
        first[1] = 0;
        current[0] = first;
        return first;
    };
    Array a = ring(300, 1);
    Array b = ring(300, 1);
    Array c = ring(300, 2);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    for (Array *array : {&a, &b, &c})
        breakCycle(*array);
}

TEST_F(ArrayCompareTest, SharedElementsAreComparedOnce)
{
    // 2^60 leaves, if every way to them were gone.
    const auto doubled = [](int leaf) {
        Array array = listOf({leaf});
        for (int level = 0; level < 60; ++level)
            array = listOf({array, array});
        return array;
    };
    EXPECT_EQ(doubled(1), doubled(1));
    EXPECT_NE(doubled(1), doubled(2));
}

TEST_F(ArrayCompareTest, AnElementMayChangeTheArraysWhileTheyAreCompared)
{
    Array a = listOf({listOf({Variant()}), 1});
    Array b = listOf({listOf({Variant(7, "Foo", nullptr)}), 1});
    auto *object = new test::FakeObject;
    object->objectID = 7;
    object->onToString = [&](String &) {
        a.erase();
        b.erase();
    };
    (*a[0].getArray())[0].setJSObject(object);
    const Array &left = a;
    EXPECT_EQ(left, b);
    EXPECT_EQ(a.length(), 0U);
}
