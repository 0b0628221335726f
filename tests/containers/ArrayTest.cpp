// SPDX-License-Identifier: MIT
#include <tavrin/Array.h>

#include <climits>
#include <new>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;
using test::listOf;
using test::textOf;

namespace {

using ArrayTest = test::LibraryTest;

// Whether two arrays share their record.
bool share(const Array &a, const Array &b)
{
    return a.get(0) != nullptr && a.get(0) == b.get(0);
}

// 0, 1, 2 ...
Array numbers(int count)
{
    Array array;
    for (int number = 0; number < count; ++number)
        array += number;
    return array;
}

} // namespace

// Life

TEST(Array, AnEmptyArrayWorksBeforeInitAndAfterExit)
{
    Array array;
    EXPECT_EQ(array.length(), 0U);
    EXPECT_FALSE(std::as_const(array)[0].isDefined());
    EXPECT_THROW(array += 1, std::bad_alloc);
    EXPECT_EQ(array.length(), 0U);
    InitTerm::init();
    array += 1;
    array.erase();
    InitTerm::exit();
    EXPECT_FALSE(std::as_const(array)[5].isDefined());
    const Array copy(array);
    EXPECT_EQ(copy, array);
}

TEST_F(ArrayTest, ANewArrayIsEmpty)
{
    const Array array;
    EXPECT_EQ(array.length(), 0U);
    EXPECT_EQ(array.get(0), nullptr);
    EXPECT_FALSE(array.isDefined(0));
    EXPECT_NE(array.getData(), nullptr);
}

TEST_F(ArrayTest, AnArrayWithALengthHasMissingElements)
{
    const Array array(5);
    EXPECT_EQ(array.length(), 5U);
    EXPECT_FALSE(array.isDefined(4));
    EXPECT_FALSE(array[4].isDefined());
    EXPECT_EQ(Array(0U).length(), 0U);
}

TEST_F(ArrayTest, UpTo4096ElementsAreDenseAtOnce)
{
    for (const unsigned length : {1U, 8U, 9U, 1024U, 1025U, 4096U}) {
        const Array array(length);
        EXPECT_EQ(array.length(), length);
        EXPECT_NE(array.getData(), nullptr) << length;
        EXPECT_NE(array.get(length - 1), nullptr) << length;
        EXPECT_EQ(array.get(length), nullptr) << length;
    }
}

TEST_F(ArrayTest, AnArrayOf5000Has16DenseElements)
{
    for (const unsigned length : {4097U, 5000U, UINT_MAX}) {
        Array array(length);
        EXPECT_EQ(array.length(), length);
        EXPECT_NE(array.get(15), nullptr);
        EXPECT_EQ(array.get(16), nullptr);
        EXPECT_EQ(array.get(length - 1), nullptr);
        EXPECT_FALSE(std::as_const(array)[length - 1].isDefined());
        EXPECT_EQ(array.getData(), nullptr);
        array[length - 1] = 5;
        EXPECT_EQ(array[length - 1].getInteger(), 5);
        EXPECT_EQ(array.length(), length);
    }
}

TEST_F(ArrayTest, CopiesShareUntilOneMakesAnElement)
{
    const Array array = listOf({1, 2});
    Array copy(array);
    Array assigned;
    assigned = array;
    EXPECT_TRUE(share(array, copy));
    EXPECT_TRUE(share(array, assigned));
    copy += 3;
    EXPECT_FALSE(share(array, copy));
    EXPECT_EQ(textOf(array), "1,2");
    EXPECT_EQ(textOf(copy), "1,2,3");
}

TEST_F(ArrayTest, WritingToAnExistingElementShowsInAllSharers)
{
    Array array = listOf({1, 2});
    const Array copy(array);
    array[0] = 9;
    EXPECT_EQ(textOf(copy), "9,2");
    array.safeGet(1) = 8;
    EXPECT_EQ(textOf(copy), "9,8");
}

TEST_F(ArrayTest, MakeUniquePreventsSharingForGood)
{
    Array array = listOf({1, 2});
    const Array before(array);
    array.makeUnique();
    EXPECT_FALSE(share(array, before));
    Array copy(array);
    EXPECT_FALSE(share(array, copy));
    const Array copyOfCopy(copy);
    EXPECT_FALSE(share(copy, copyOfCopy));
    Array assigned;
    assigned = array;
    EXPECT_FALSE(share(array, assigned));
    array[0] = 9;
    EXPECT_EQ(textOf(before), "1,2");
    EXPECT_EQ(textOf(copy), "1,2");
    const Variant *first = array.get(0);
    array.makeUnique();
    EXPECT_EQ(array.get(0), first);
}

TEST_F(ArrayTest, MakeUniqueAlwaysMakesANewRecord)
{
    Array array = listOf({1});
    const Variant *first = array.get(0);
    array.makeUnique();
    EXPECT_NE(array.get(0), first);
}

TEST_F(ArrayTest, APinnedArrayStaysSoWhileItGrows)
{
    Array array = listOf({1});
    array.makeUnique();
    for (int number = 0; number < 2000; ++number)
        array += number;
    const Array copy(array);
    EXPECT_FALSE(share(array, copy));
    EXPECT_EQ(copy, array);
}

TEST_F(ArrayTest, PinnedElementsOfPinnedArraysAreCopiedToo)
{
    Array inner = listOf({1});
    Array array = listOf({inner, 2});
    array[3000] = inner;
    array.makeUnique();
    array[0].getArray()->makeUnique();
    array[3000].getArray()->makeUnique();
    const Array copy(array);
    (*array[0].getArray())[0] = 8;
    (*array[3000].getArray())[0] = 9;
    EXPECT_EQ(textOf(*copy[0].getArray()), "1");
    EXPECT_EQ(textOf(*copy[3000].getArray()), "1");
    EXPECT_EQ(textOf(inner), "1");
}

TEST_F(ArrayTest, EmptyingEndsPinning)
{
    Array array = listOf({1});
    array.makeUnique();
    array.erase();
    array += 1;
    const Array copy(array);
    EXPECT_TRUE(share(array, copy));
}

TEST_F(ArrayTest, EmptyingAnEmptyArrayEndsPinningToo)
{
    Array array;
    array.makeUnique();
    array.erase();
    array += 1;
    const Array copy(array);
    EXPECT_TRUE(share(array, copy));
}

TEST_F(ArrayTest, AssignmentToItselfChangesNothing)
{
    Array array = listOf({1, 2});
    const Array &alias = array;
    array = alias;
    EXPECT_EQ(textOf(array), "1,2");
    array.makeUnique();
    array = alias;
    EXPECT_EQ(textOf(array), "1,2");
}

TEST_F(ArrayTest, ANestedArrayCanBeAssigned)
{
    Array array = listOf({listOf({1, 2}), 3});
    array = *array[0].getArray();
    EXPECT_EQ(textOf(array), "1,2");
}

TEST_F(ArrayTest, AMoveLeavesAnEmptyArray)
{
    Array array = listOf({1});
    Array moved(std::move(array));
    EXPECT_EQ(textOf(moved), "1");
    Array assigned = listOf({2});
    assigned = std::move(moved);
    EXPECT_EQ(textOf(assigned), "1");
    array += 5;
    EXPECT_EQ(textOf(array), "5");
    Array &alias = assigned;
    assigned = std::move(alias);
    EXPECT_EQ(textOf(assigned), "1");
}

// Reading

TEST_F(ArrayTest, AMissingElementReadsAsUndefinedWhateverWasReadBefore)
{
    const Array array = listOf({1});
    const Variant &missing = array[5];
    EXPECT_FALSE(missing.isDefined());
    EXPECT_EQ(test::bytesOf(missing.getString()), "undefined");
    const_cast<Variant &>(missing) = listOf({1, 2});
    EXPECT_FALSE(array[6].isDefined());
    EXPECT_EQ(&array[6], &missing);
    const BasicArray &face = array;
    EXPECT_EQ(&face[6], &missing);
    EXPECT_EQ(face[0].getInteger(), 1);
}

TEST_F(ArrayTest, DefinedMeansPresentAndNotUndefined)
{
    Array array(3);
    array[1] = 5;
    array[2].setNull();
    EXPECT_FALSE(array.isDefined(0));
    EXPECT_TRUE(array.isDefined(1));
    EXPECT_TRUE(array.isDefined(2));
    EXPECT_FALSE(array.isDefined(3));
    EXPECT_FALSE(array.isDefined(UINT_MAX));
}

TEST_F(ArrayTest, GetDataIsForWhollyDenseArrays)
{
    Array array = listOf({1, 2});
    ASSERT_NE(array.getData(), nullptr);
    EXPECT_EQ(array.getData()[1].getInteger(), 2);
    array[2000] = 5;
    EXPECT_EQ(array.getData(), nullptr);
}

// Writing elements

TEST_F(ArrayTest, WritingPastTheEndMakesTheArrayLonger)
{
    Array array;
    array[9] = 5;
    EXPECT_EQ(array.length(), 10U);
    EXPECT_EQ(array[9].getInteger(), 5);
    EXPECT_FALSE(array.isDefined(8));
}

TEST_F(ArrayTest, Index1023StaysDenseAndIndex1024DoesNot)
{
    Array dense;
    dense[1023] = 1;
    EXPECT_NE(dense.getData(), nullptr);
    EXPECT_EQ(dense.length(), 1024U);
    EXPECT_NE(dense.get(0), nullptr);
    Array sparse;
    sparse[1024] = 1;
    EXPECT_EQ(sparse.getData(), nullptr);
    EXPECT_EQ(sparse.length(), 1025U);
    EXPECT_EQ(sparse.get(0), nullptr);
    EXPECT_EQ(sparse[1024].getInteger(), 1);
}

TEST_F(ArrayTest, AFullDensePartIsFollowedByASparseOne)
{
    Array array;
    for (int number = 0; number < 3000; ++number)
        array += number;
    EXPECT_EQ(array.length(), 3000U);
    EXPECT_EQ(array.getData(), nullptr);
    for (int number = 0; number < 3000; ++number)
        ASSERT_EQ(array[static_cast<unsigned>(number)].getInteger(), number);
}

TEST_F(ArrayTest, ALowIndexOfALongArrayIsMadeDense)
{
    Array array;
    array[5000] = 1;
    array[3] = 2;
    array[1000] = 3;
    EXPECT_EQ(array.length(), 5001U);
    EXPECT_EQ(array[3].getInteger(), 2);
    EXPECT_EQ(array[1000].getInteger(), 3);
    EXPECT_EQ(array[5000].getInteger(), 1);
    EXPECT_NE(array.get(999), nullptr);
    EXPECT_EQ(array.get(1001), nullptr);
}

TEST_F(ArrayTest, TheHighestIndexCannotBeMade)
{
    Array array;
    array[UINT_MAX - 1] = 1;
    EXPECT_EQ(array.length(), UINT_MAX);
    EXPECT_THROW(array[UINT_MAX] = 1, std::bad_alloc);
    EXPECT_THROW(array += 1, std::bad_alloc);
    EXPECT_EQ(array.length(), UINT_MAX);
    EXPECT_EQ(array.get(UINT_MAX), nullptr);
}

TEST_F(ArrayTest, AnElementCanBeAssignedToANewOne)
{
    for (const int length : {1, 8, 9, 16, 1000}) {
        for (const unsigned index : {9U, 100U, 1023U, 1024U, 5000U}) {
            Array array = numbers(length);
            array[0] = "a text that is long enough to need a block";
            array[index] = array[0];
            EXPECT_EQ(array[index], array[0]);
            EXPECT_EQ(array[0].getType(), kString);
        }
    }
}

TEST_F(ArrayTest, AnElementOfASharedArrayCanBeAssignedToANewOne)
{
    Array array = listOf({"text"});
    const Array copy(array);
    array[9] = array[0];
    EXPECT_EQ(array[9], array[0]);
    EXPECT_EQ(textOf(copy), "text");
}

TEST_F(ArrayTest, AnElementCanBeAppended)
{
    Array array;
    array += "a text that is long enough to need a block";
    for (int round = 0; round < 1500; ++round)
        array += array[static_cast<unsigned>(round)];
    EXPECT_EQ(array.length(), 1501U);
    EXPECT_EQ(array[1500], array[0]);
    const Array copy(array);
    array += array[0];
    EXPECT_EQ(array.length(), 1502U);
    EXPECT_EQ(copy.length(), 1501U);
}

TEST_F(ArrayTest, EveryAppendingFormMakesAnElement)
{
    Array nested = listOf({1});
    Array array;
    array += Variant(1);
    array += String("s");
    array += "bytes";
    array += 2.5;
    array += 3;
    array += true;
    array += 4000000000U;
    array += -5L;
    array += Point(1, 2);
    array += Rect(1, 2, 3, 4);
    array += nested;
    array = 6;
    EXPECT_EQ(textOf(array), "1,s,bytes,2.5,3,true,4000000000,-5,1:2,1:2-3:4,[1],6");
    EXPECT_EQ(array.length(), 12U);
    EXPECT_FALSE(
        (std::is_invocable_v<decltype([](auto &a, auto *p) -> decltype(a += p) { return a += p; }),
                             Array &, int *>));
}

TEST_F(ArrayTest, AnArrayAppendedToItselfContainsItself)
{
    Array array = listOf({1});
    array += array;
    EXPECT_EQ(textOf(array), "1,[this]");
    array[1].erase();
    Array empty;
    empty += empty;
    EXPECT_EQ(textOf(empty), "[this]");
    empty[0].erase();
}

TEST_F(ArrayTest, ASharedArrayAppendedToItselfContainsItselfAlone)
{
    Array array = listOf({1});
    const Array copy(array);
    array += array;
    EXPECT_EQ(textOf(array), "1,[this]");
    EXPECT_EQ(textOf(copy), "1");
    array[1].erase();
}

TEST_F(ArrayTest, APinnedArrayAppendedToItselfContainsACopy)
{
    Array array = listOf({1});
    array.makeUnique();
    array += array;
    EXPECT_EQ(textOf(array), "1,[1,undefined]");
}

TEST_F(ArrayTest, AnArrayAppendedToItselfByWayOfAValueContainsItsFormerSelf)
{
    Array array = listOf({1});
    array += Variant(array);
    EXPECT_EQ(textOf(array), "1,[1]");
}

TEST_F(ArrayTest, ANestedArrayCanBeAppendedToTheOneAroundIt)
{
    Array array = listOf({listOf({7})});
    for (int round = 0; round < 1500; ++round)
        array += *array[0].getArray();
    EXPECT_EQ(array.length(), 1501U);
    EXPECT_EQ(textOf(*array[1500].getArray()), "7");
}

TEST_F(ArrayTest, AppendingGoesBehindTheLengthAndNotBehindTheElements)
{
    Array array(5);
    array += 1;
    EXPECT_EQ(array.length(), 6U);
    EXPECT_EQ(array[5].getInteger(), 1);
    Array sparse(5000);
    sparse += 1;
    EXPECT_EQ(sparse[5000].getInteger(), 1);
}

// Lengths

TEST_F(ArrayTest, SetLengthCutsAndLengthens)
{
    Array array = listOf({1, 2, 3});
    array.setLength(2);
    EXPECT_EQ(textOf(array), "1,2");
    array.setLength(4);
    EXPECT_EQ(array.length(), 4U);
    EXPECT_FALSE(array.isDefined(2));
    array.setLength(4);
    EXPECT_EQ(array.length(), 4U);
    array.setLength(0);
    EXPECT_EQ(array.length(), 0U);
    EXPECT_EQ(array.get(0), nullptr);
}

TEST_F(ArrayTest, SetLengthOfASharedArrayLeavesTheOthersAlone)
{
    for (const unsigned length : {0U, 1U, 5U, 2000U, 5000U}) {
        Array array = listOf({1, 2, 3});
        const Array copy(array);
        array.setLength(length);
        EXPECT_EQ(array.length(), length);
        EXPECT_EQ(textOf(copy), "1,2,3");
        for (unsigned index = 0; index < std::min(length, 3U); ++index)
            EXPECT_EQ(std::as_const(array)[index], copy[index]);
    }
}

TEST_F(ArrayTest, AShorterArrayLeavesNoSparseElementBehind)
{
    for (const unsigned length : {1U, 1000U, 1024U, 1025U, 3000U}) {
        Array array;
        array[0] = 1;
        array[1024] = 2;
        array[3000] = 3;
        array[6000] = 4;
        array.setLength(length);
        EXPECT_EQ(array.length(), length);
        array.setLength(7000);
        EXPECT_EQ(array.isDefined(1024), length > 1024);
        EXPECT_FALSE(array.isDefined(3000));
        EXPECT_FALSE(array.isDefined(6000));
        EXPECT_TRUE(array.isDefined(0));
    }
}

TEST_F(ArrayTest, ALongerArrayDoesNotBringOldElementsBack)
{
    Array array = listOf({1, "text", 3});
    array.setLength(1);
    array.setLength(3);
    EXPECT_FALSE(array.isDefined(1));
    EXPECT_FALSE(array.isDefined(2));
    array[2] = 5;
    EXPECT_EQ(textOf(array), "1,undefined,5");
}

TEST_F(ArrayTest, AVeryLongLengthCostsNothing)
{
    Array array = listOf({1});
    array.setLength(UINT_MAX);
    EXPECT_EQ(array.length(), UINT_MAX);
    EXPECT_TRUE(array.isDefined(0));
    array.setLength(1);
    EXPECT_EQ(textOf(array), "1");
}

TEST_F(ArrayTest, NoElementIsLostWhenACopyDrawsTheLineElsewhere)
{
    // Sparse elements that are dense in the copy, and the other way round.
    Array low;
    low[0] = 1;
    low[1024] = 2;
    low[2000] = 3;
    Array high;
    high[0] = 1;
    high[500] = 2;
    high[1500] = 3;
    high[5000] = 4;
    for (const Array &array : {low, high}) {
        Array copy(array);
        copy.makeUnique();
        EXPECT_EQ(copy.length(), array.length());
        EXPECT_EQ(copy, array);
        Array longer(array);
        longer.setLength(8000);
        for (unsigned index = 0; index < array.length(); ++index)
            ASSERT_EQ(std::as_const(longer)[index], array[index]) << index;
        Array shorter(array);
        shorter.setLength(1600);
        for (unsigned index = 0; index < 1600; ++index)
            ASSERT_EQ(std::as_const(shorter)[index], array[index]) << index;
    }
}

TEST_F(ArrayTest, PushingAndPoppingAtAHighEndTakesNoMoreAndMoreMemory)
{
    Array array(5000);
    for (int round = 0; round < 10000; ++round) {
        array += round;
        array.setLength(5000);
    }
    EXPECT_EQ(array.length(), 5000U);
    EXPECT_EQ(array.get(5000), nullptr);
}

// Elements that run code

TEST_F(ArrayTest, ElementsAreDestroyedFromTheFirstToTheLast)
{
    test::Journal journal;
    {
        Array array;
        array += test::holding(new test::FakeObject("0", &journal));
        array += test::holding(new test::FakeObject("1", &journal));
        array[2000] = test::holding(new test::FakeObject("2000", &journal));
    }
    EXPECT_EQ(journal, (test::Journal{"0", "1", "2000"}));
    journal.clear();
    Array array;
    for (const char *name : {"0", "1", "2", "3"})
        array += test::holding(new test::FakeObject(name, &journal));
    array.setLength(1);
    EXPECT_EQ(journal, (test::Journal{"1", "2", "3"}));
}

TEST_F(ArrayTest, AnElementMayUseTheArrayWhileItIsDestroyed)
{
    using Action = void (*)(Array &);
    const Action actions[] = {
        [](Array &array) { array += 5; },
        [](Array &array) { array[2] = listOf({1}); },
        [](Array &array) { array.setLength(1); },
        [](Array &array) { array.erase(); },
        [](Array &array) {
            array = listOf({7, 8, 9});
        },
        [](Array &array) {
            static Array keeper;
            keeper = array;
            keeper = Array();
        },
        [](Array &array) { array[5000] = "far"; },
        [](Array &array) { array.removeAt(0, 1); },
        [](Array &array) { array.insertAt(0, 20); },
    };
    using Change = void (*)(Array &);
    const Change changes[] = {
        [](Array &array) { array.setLength(1); },
        [](Array &array) { array.erase(); },
        [](Array &array) { array.removeAt(0, 2); },
        [](Array &array) { array.removeAt(1, 1); },
        [](Array &array) { array[1] = 5; },
        [](Array &array) { array[1] = Variant("five"); },
        [](Array &array) { array[1].setNull(); },
        [](Array &array) { array[1].erase(); },
        [](Array &array) { array = Array(); },
    };
    for (const Action action : actions)
        for (const Change change : changes) {
            Array array = listOf({1, Variant(), 3});
            array[3000] = 4;
            auto *object = new test::FakeObject;
            object->onDestroy = [&] { action(array); };
            array[1].setJSObject(object);
            change(array);
            static_cast<void>(textOf(array));
            array += 1;
            EXPECT_TRUE(array.isDefined(array.length() - 1));
        }
    EXPECT_EQ(test::FakeObject::living(), 0);
}

TEST_F(ArrayTest, ASharedCopyMayBeTakenWhileAnElementIsDestroyed)
{
    Array array = listOf({1, Variant(), 3});
    Array keeper;
    auto *object = new test::FakeObject;
    object->onDestroy = [&] { keeper = array; };
    array[1].setJSObject(object);
    array.setLength(1);
    EXPECT_EQ(textOf(array), "1");
    EXPECT_EQ(textOf(keeper), "1,undefined,3");
}

// The class

#ifdef TAVRIN_HAS_VIRTUAL_SLOTS
TEST(BasicArray, HasItsOperationsInAFixedOrder)
{
    EXPECT_EQ(test::virtualSlot(&BasicArray::length), 2U);
    EXPECT_EQ(test::virtualSlot(&BasicArray::isDefined), 3U);
    EXPECT_EQ(test::virtualSlot(&BasicArray::get), 4U);
}
#endif

TEST(Array, IsAPointerBesideItsTable)
{
    EXPECT_EQ(sizeof(Array), 2 * sizeof(void *));
    EXPECT_TRUE((std::is_base_of_v<BasicArray, Array>));
    EXPECT_TRUE((std::is_base_of_v<Root, BasicArray>));
    EXPECT_FALSE(std::is_destructible_v<BasicArray>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Array>);
}
