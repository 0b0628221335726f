// SPDX-License-Identifier: MIT
// Live objects as values.
#include <tavrin/Variant.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;
using test::arrayOfValues;
using test::Document;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using VariantLiveObjectTest = test::LibraryTest;
using VariantLiveObjectThreadTest = test::MultiThreadedLibraryTest;

// An object with a value of its own, and a text.
struct Valued : Plain
{
    Valued() : Plain("Valued") {}
    void valueOf(Variant &out) const override
    {
        ++asked;
        out = answer;
    }
    void toString(String &out) const override { out = "valued"; }

    Variant answer = 12.5;
    mutable int asked = 0;
};

Owned<LiveArray> liveArray(const Array &elements)
{
    return make<LiveArray>(elements, nullptr, 0, false);
}

} // namespace

// --- Holding -------------------------------------------------------------------------------------

TEST_F(VariantLiveObjectTest, HoldsOneReference)
{
    const auto object = make<Plain>();
    {
        const Variant byReference(*object), byPointer(object.get(), 7);
        EXPECT_EQ(object->getRefCount(), 3);
        EXPECT_EQ(byReference.getType(), kLiveObject);
        EXPECT_EQ(byReference.getLiveObject(), object.get());
        EXPECT_EQ(byPointer.getLiveObject(), object.get());
        const Variant copy = byPointer;
        EXPECT_EQ(object->getRefCount(), 4);
        EXPECT_EQ(copy.getLiveObject(), object.get());
    }
    EXPECT_EQ(object->getRefCount(), 1);
}

TEST_F(VariantLiveObjectTest, ANullPointerIsNull)
{
    const Variant constructed(static_cast<LiveObject *>(nullptr), 0);
    EXPECT_TRUE(constructed.isNull());
    EXPECT_FALSE(constructed.isValidObject());
    Variant set = 5;
    set.setLiveObject(nullptr, 1);
    EXPECT_TRUE(set.isNull());
    set = static_cast<LiveObject *>(nullptr);
    EXPECT_TRUE(set.isNull());
}

TEST_F(VariantLiveObjectTest, LetsTheObjectGoWhenItChanges)
{
    const auto object = make<Plain>(), other = make<Plain>();
    Variant value(*object);
    value = *other;
    EXPECT_EQ(object->getRefCount(), 1);
    EXPECT_EQ(other->getRefCount(), 2);
    value = other.get();
    EXPECT_EQ(other->getRefCount(), 2);
    value = 5;
    EXPECT_EQ(other->getRefCount(), 1);
    value.setLiveObject(*object, 3);
    value.erase();
    EXPECT_EQ(object->getRefCount(), 1);
    Variant moved(*object);
    const Variant target = std::move(moved);
    EXPECT_EQ(object->getRefCount(), 2);
}

TEST_F(VariantLiveObjectTest, KeepsTheOnlyReferenceThroughSelfAssignment)
{
    Variant value(make<Plain>().get());
    EXPECT_EQ(Plain::living, 1);
    const Variant &same = value;
    value = same;
    EXPECT_EQ(Plain::living, 1);
    value.setLiveObject(value.getLiveObject(), 2);
    EXPECT_EQ(value.getLiveObject()->getRefCount(), 1);
    value.erase();
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(VariantLiveObjectTest, TheValueOfAnObjectMayTakeItsPlace)
{
    const auto inner = make<Plain>();
    Variant value(make<Plain>().get());
    auto *own = static_cast<Variant *>(value.getLiveObject()->getAs(asValue));
    *own = *inner;
    value = *own;
    EXPECT_EQ(value.getLiveObject(), inner.get());
    EXPECT_EQ(Plain::living, 1);
}

TEST_F(VariantLiveObjectTest, AnElementOfAnArray)
{
    const auto object = make<Plain>();
    Array array;
    array += *object;
    array += object.get();
    array += static_cast<LiveObject *>(nullptr);
    EXPECT_EQ(object->getRefCount(), 3);
    EXPECT_TRUE(std::as_const(array)[2].isNull());
}

TEST_F(VariantLiveObjectTest, CarriesANumberThatAssignmentLeavesBehind)
{
    const auto object = make<Plain>();
    Variant value(*object, 7);
    EXPECT_EQ(value.getInteger(0, 100), 7);
    EXPECT_EQ(value.getInteger(0, 3), 7);
    const Variant copy = value;
    EXPECT_EQ(copy.getInteger(0, 100), 0);
    value = Variant(*object, 9);
    EXPECT_EQ(value.getInteger(0, 100), 7);
    value = *object;
    EXPECT_EQ(value.getInteger(0, 100), 0);
    value.setObjectID(5);
    EXPECT_EQ(value.getInteger(0, 100), 0);
}

TEST_F(VariantLiveObjectTest, OtherKindsThatAreAssignedLeaveTheNumberAlone)
{
    const auto object = make<Plain>();
    Variant value(*object, 7);
    const Variant others[] = {Variant(5), Variant("text"), Variant(Point(1, 2)),
                              Variant(arrayOfValues(1))};
    for (const Variant &other : others) {
        value = other;
        value = Variant(*object, 9);
        EXPECT_EQ(value.getInteger(0, 100), 7);
    }
    value = Variant(8, "Foo", nullptr);
    value = Variant(*object, 9);
    EXPECT_EQ(value.getInteger(0, 100), 8);
}

TEST_F(VariantLiveObjectTest, ReachesTheDataOfTheObject)
{
    struct Data : Root
    {};
    const auto object = make<Plain>();
    Variant value(*object);
    EXPECT_EQ(value.getObjectData(), nullptr);
    auto *data = new Data;
    value.setObjectData(data);
    EXPECT_EQ(object->getData(), data);
    EXPECT_EQ(value.getObjectData(), data);
    EXPECT_FALSE(value.hasUnassignedObjectData());
    EXPECT_EQ(value.getTavrinscriptEngine(), nullptr);
}

TEST_F(VariantLiveObjectTest, KnowsWhetherTheObjectIsValid)
{
    const auto object = make<Plain>();
    const Variant value(*object);
    EXPECT_TRUE(value.isValidObject());
    object->invalidate();
    EXPECT_FALSE(value.isValidObject());
}

// --- Looking through -----------------------------------------------------------------------------

TEST_F(VariantLiveObjectTest, KnowsItsEffectiveKind)
{
    const auto object = make<Plain>();
    const auto array = liveArray(arrayOfValues(1));
    EXPECT_EQ(Variant(*object).getDataType(), kLiveObject);
    EXPECT_EQ(Variant(*array).getDataType(), kArray);
    EXPECT_EQ(Variant(*object).validate(kLiveObject), 0);
    EXPECT_EQ(Variant(*object).validate(kArray), 47);
    EXPECT_EQ(Variant(*array).validate(kArray), 0);

    auto &script = *new test::FakeObject;
    Variant wrapper;
    wrapper.setJSObject(script);
    EXPECT_EQ(wrapper.getDataType(), kObject);
    script.wrappedObject = object.get();
    EXPECT_EQ(wrapper.getDataType(), kLiveObject);
    EXPECT_EQ(wrapper.getLiveObject(), object.get());
    EXPECT_EQ(wrapper.getLiveCollection(), nullptr);
    script.wrappedObject = array.get();
    EXPECT_EQ(wrapper.getDataType(), kArray);
    EXPECT_EQ(wrapper.getArray(), &array->getArray());
    EXPECT_EQ(wrapper.getLiveCollection(), array.get());
    wrapper.erase();
}

TEST_F(VariantLiveObjectTest, HasTheArrayOfALiveArray)
{
    const auto array = liveArray(arrayOfValues(1, 2));
    const Variant value(*array);
    EXPECT_EQ(value.getArray(), &array->getArray());
    Array out;
    EXPECT_TRUE(value.getArray(out));
    EXPECT_EQ(out.length(), 2U);
    EXPECT_EQ(value.getLiveCollection(), array.get());
    EXPECT_EQ(Variant(*make<Plain>()).getArray(), nullptr);
    EXPECT_FALSE(Variant(*make<Plain>()).getArray(out));
}

TEST_F(VariantLiveObjectTest, FetchesTheElementsOfAnyCollection)
{
    struct Squares : LiveCollection
    {
        Squares() : LiveCollection("Squares", 0, true) {}
        int getLength(unsigned &length) const override
        {
            length = 4;
            return lengthCode;
        }
        int getByIndex(unsigned index, Variant &out, Error *) const override
        {
            out = index * index;
            return index == failsAt ? 57 : 0;
        }
        int lengthCode = 0;
        unsigned failsAt = 99;
    };
    const auto squares = make<Squares>();
    const Variant value(*squares);
    Array out;
    EXPECT_TRUE(value.getArray(out));
    EXPECT_EQ(out, arrayOfValues(0U, 1U, 4U, 9U));
    Array shared = arrayOfValues("a", "b", "c", "d");
    out = shared;
    EXPECT_TRUE(value.getArray(out));
    EXPECT_EQ(out, arrayOfValues(0U, 1U, 4U, 9U));
    EXPECT_EQ(shared, arrayOfValues("a", "b", "c", "d"));
    squares->failsAt = 2;
    EXPECT_FALSE(value.getArray(out));
    EXPECT_EQ(out, arrayOfValues(0U, 1U, Variant(), Variant()));
    squares->lengthCode = 57;
    EXPECT_FALSE(value.getArray(out));
    EXPECT_EQ(value.getArray(), nullptr);
}

TEST_F(VariantLiveObjectTest, GivesACountedObject)
{
    const auto object = make<Plain>();
    const auto array = liveArray(arrayOfValues(1));
    InterfacePtr<LiveObject> live;
    EXPECT_TRUE(Variant(*object).getAsLiveObject(live));
    EXPECT_EQ(live.get(), object.get());
    EXPECT_EQ(object->getRefCount(), 2);
    EXPECT_FALSE(Variant(5).getAsLiveObject(live));
    EXPECT_EQ(live.get(), nullptr);
    EXPECT_EQ(object->getRefCount(), 1);

    InterfacePtr<LiveCollection> collection;
    EXPECT_FALSE(Variant(*object).getAsLiveCollection(collection));
    EXPECT_TRUE(Variant(*array).getAsLiveCollection(collection));
    EXPECT_EQ(collection.get(), array.get());
    EXPECT_FALSE(Variant("text").getAsLiveCollection(collection));
    EXPECT_EQ(collection.get(), nullptr);

    auto &script = *new test::FakeObject;
    Variant wrapper;
    wrapper.setJSObject(script);
    EXPECT_FALSE(wrapper.getAsLiveObject(live));
    script.wrappedObject = object.get();
    EXPECT_TRUE(wrapper.getAsLiveObject(live));
    EXPECT_EQ(live.get(), object.get());
    Variant unassigned;
    unassigned.setObject(5, "Foo", nullptr);
    EXPECT_FALSE(unassigned.getAsLiveObject(live));
    wrapper.erase();
}

// One pointer walks down a tree, each level of which only the one above holds.
TEST_F(VariantLiveObjectTest, MayBeAPartOfWhatThePointerHeldBefore)
{
    const auto treeOf = [](const char *leaf) {
        const auto inner = liveArray(arrayOfValues(arrayOfValues(leaf)));
        return liveArray(arrayOfValues(Variant(*inner)));
    };
    const auto elementOf = [](LiveObject &list) -> const Variant & {
        return static_cast<const LiveArray &>(list).getArray()[0];
    };
    InterfacePtr<LiveObject> object = treeOf("a");
    EXPECT_TRUE(elementOf(*object).getAsLiveObject(object));
    EXPECT_TRUE(elementOf(*object).getAsLiveObject(object));
    EXPECT_EQ(elementOf(*object).getString(), "a");
    InterfacePtr<LiveCollection> collection = treeOf("b");
    EXPECT_TRUE(elementOf(*collection).getAsLiveCollection(collection));
    EXPECT_TRUE(elementOf(*collection).getAsLiveCollection(collection));
    EXPECT_EQ(elementOf(*collection).getString(), "b");
    EXPECT_FALSE(elementOf(*collection).getAsLiveCollection(collection));
    EXPECT_FALSE(collection);
}

TEST_F(VariantLiveObjectTest, AnArrayGivesACollectionOfItsElements)
{
    const Variant value(arrayOfValues(1, 2));
    InterfacePtr<LiveObject> object;
    InterfacePtr<LiveCollection> collection;
    EXPECT_TRUE(value.getAsLiveObject(object));
    EXPECT_EQ(object->getClassName(), "Collection");
    EXPECT_EQ(object->getRefCount(), 1);
    EXPECT_TRUE(value.getAsLiveCollection(collection));
    EXPECT_NE(collection.get(), object.get());
    EXPECT_EQ(collection->length(), 2U);
    EXPECT_FALSE(collection->isReadOnly());
    EXPECT_EQ(collection->putByIndex(0, "x", nullptr), 0);
    EXPECT_EQ(std::as_const(*value.getArray())[0], Variant(1));
}

// --- Conversions ---------------------------------------------------------------------------------

TEST_F(VariantLiveObjectTest, ConvertsByItsValueAndItsText)
{
    const auto object = make<Valued>();
    const Variant value(*object);
    EXPECT_TRUE(value.getBool());
    EXPECT_EQ(value.getDouble(), 12.5);
    EXPECT_EQ(value.getInteger(), 12);
    EXPECT_EQ(value.getString(), "valued");
    EXPECT_EQ(value.toString(), "valued");
    EXPECT_TRUE(value.isFinite());
    EXPECT_FALSE(value.isInteger());
    object->answer = -1;
    EXPECT_EQ(value.getUInteger(), 0xFFFFFFFFU);
    object->answer = "0x10";
    EXPECT_EQ(value.getDouble(), 16);
}

TEST_F(VariantLiveObjectTest, IsNoNumberWithoutAValue)
{
    const Variant value(*make<Plain>("Foo"));
    EXPECT_TRUE(std::isnan(value.getDouble()));
    EXPECT_TRUE(value.isNaN());
    EXPECT_EQ(value.getInteger(), 0);
    EXPECT_EQ(value.getString(), "[object Foo]");
}

TEST_F(VariantLiveObjectTest, MayGiveItselfForItsValue)
{
    const auto a = make<Valued>(), b = make<Valued>();
    a->answer = a.get();
    EXPECT_TRUE(std::isnan(Variant(*a).getDouble()));
    EXPECT_EQ(Variant(*a).getInteger(), 0);
    a->answer = b.get();
    b->answer = 7;
    EXPECT_EQ(Variant(*a).getDouble(), 7);
    b->answer = a.get();
    a->asked = b->asked = 0;
    EXPECT_TRUE(std::isnan(Variant(*a).getDouble()));
    EXPECT_EQ(a->asked + b->asked, 8);
    a->answer.erase();
}

TEST_F(VariantLiveObjectTest, MayGiveAScriptObjectForItsValue)
{
    const auto object = make<Valued>();
    auto &script = *new test::FakeObject;
    Variant wrapper;
    wrapper.setJSObject(script);
    object->answer = wrapper;
    script.onValue = [](Variant &value, int) {
        value = 5;
        return true;
    };
    EXPECT_EQ(Variant(*object).getDouble(), 5);
    script.onValue = [&](Variant &value, int) {
        value = *object;
        return true;
    };
    EXPECT_TRUE(std::isnan(Variant(*object).getDouble()));
    EXPECT_EQ(wrapper.toString(), "valued");
    object->answer.erase();
    wrapper.erase();
}

TEST_F(VariantLiveObjectTest, HasTheIdOfTheScriptObjectThatItGivesForAnInteger)
{
    const auto object = make<Valued>(), outer = make<Valued>();
    auto &script = *new test::FakeObject;
    script.objectID = -9;
    script.onValue = [](Variant &value, int) {
        value = 5;
        return true;
    };
    object->answer.setJSObject(script);
    outer->answer = object.get();
    EXPECT_EQ(Variant(*object).getInteger(), -9);
    EXPECT_EQ(Variant(*outer).getUInteger(), static_cast<unsigned>(-9));
    EXPECT_EQ(Variant(*outer).getDouble(), 5);
    script.onValue = nullptr;
    EXPECT_EQ(Variant(*outer).getDouble(), -9);
    object->answer = Variant(8, "Foo", nullptr);
    EXPECT_EQ(Variant(*outer).getInteger(), 8);
    EXPECT_EQ(Variant(*outer).getDouble(), 8);
}

TEST_F(VariantLiveObjectTest, AHandlerThatThrowsGivesNothing)
{
    struct Throwing : Plain
    {
        void valueOf(Variant &) const override { throw std::runtime_error("no"); }
        void toString(String &) const override { throw 5; }
        bool operator==(const LiveObject &) const override { throw 5; }
        Root *getData() const override { throw 5; }
        void setData(Root *) override { throw 5; }
    };
    const auto object = make<Throwing>();
    Variant value(*object);
    EXPECT_TRUE(std::isnan(value.getDouble()));
    EXPECT_EQ(value.getString(), "");
    EXPECT_FALSE(value == Variant(*object));
    EXPECT_EQ(value.getObjectData(), nullptr);
    value.setObjectData(nullptr);
}

TEST_F(VariantLiveObjectTest, AnObjectThatThrowsHasNoFaces)
{
    struct Faceless : Plain
    {
        const void *getAs(int) const override { throw 5; }
        void *getAs(int) override { throw 5; }
    };
    const auto object = make<Faceless>();
    const Variant value(*object);
    Array elements;
    InterfacePtr<LiveCollection> collection;
    EXPECT_EQ(value.getArray(), nullptr);
    EXPECT_FALSE(value.getArray(elements));
    EXPECT_EQ(value.getLiveCollection(), nullptr);
    EXPECT_FALSE(value.getAsLiveCollection(collection));
    EXPECT_EQ(value.getDataType(), kLiveObject);
}

TEST_F(VariantLiveObjectTest, ConvertsToEachKind)
{
    const auto convert = [](const LiveObject &object, VariantType to) {
        Variant value(const_cast<LiveObject &>(object));
        value.convert(to);
        return value;
    };
    const auto object = make<Valued>();
    const auto array = liveArray(arrayOfValues(1, 2, 3, 4));
    EXPECT_FALSE(convert(*object, kUndefined).isDefined());
    EXPECT_TRUE(convert(*object, kNull).isNull());
    EXPECT_EQ(convert(*object, kBoolean), Variant(true));
    EXPECT_EQ(convert(*object, kNumber), Variant(12.5));
    EXPECT_EQ(convert(*object, kString), Variant("valued"));
    EXPECT_TRUE(convert(*object, kObject).isNull());
    EXPECT_EQ(convert(*object, kLiveObject), Variant(*object));
    EXPECT_EQ(convert(*array, kPoint), Variant(Point()));
    EXPECT_EQ(convert(*array, kRect), Variant(Rect()));
    EXPECT_EQ(convert(*array, kArray), Variant(arrayOfValues(1, 2, 3, 4)));
    EXPECT_TRUE(convert(*object, kArray).isNull());
    EXPECT_EQ(object->getRefCount(), 1);
}

TEST_F(VariantLiveObjectTest, IsMadeFromWhatFallsIntoElements)
{
    const auto convert = [](Variant value) {
        value.convert(kLiveObject);
        return value;
    };
    const Variant fromArray = convert(arrayOfValues(1, 2));
    ASSERT_EQ(fromArray.getType(), kLiveObject);
    EXPECT_EQ(fromArray.getLiveObject()->getClassName(), "Collection");
    EXPECT_EQ(fromArray.getLiveObject()->getRefCount(), 1);
    EXPECT_EQ(*fromArray.getArray(), arrayOfValues(1, 2));
    EXPECT_EQ(*convert(Point(1, 2)).getArray(), arrayOfValues(1.0, 2.0));
    EXPECT_EQ(*convert(Rect(1, 2, 3, 4)).getArray(), arrayOfValues(1.0, 2.0, 3.0, 4.0));
    for (const Variant &other : {Variant(), Variant(true), Variant(5), Variant("[1]")})
        EXPECT_TRUE(convert(other).isNull());
    Variant null;
    null.setNull();
    EXPECT_TRUE(convert(null).isNull());
}

TEST_F(VariantLiveObjectTest, AnElementMayLetItsArrayGoWhileItIsConverted)
{
    struct Forgetful : Plain
    {
        void valueOf(Variant &out) const override
        {
            value->erase();
            out = 3.5;
        }
        Variant *value = nullptr;
    };
    for (const VariantType kind : {kPoint, kRect}) {
        Variant value;
        {
            const auto object = make<Forgetful>();
            object->value = &value;
            value = Variant(arrayOfValues(object.get(), "2.5", true));
        }
        value.convert(kind);
        EXPECT_EQ(value, kind == kPoint ? Variant(Point(3, 2)) : Variant(Rect(3, 2, 1, 0)));
        EXPECT_EQ(Plain::living, 0);
    }
}

// --- Comparison ----------------------------------------------------------------------------------

TEST_F(VariantLiveObjectTest, EqualsWhatTheObjectSaysThatItEquals)
{
    const auto a = make<Plain>("Foo"), b = make<Plain>("Foo"), c = make<Plain>("Bar");
    EXPECT_TRUE(Variant(*a) == Variant(*b));
    EXPECT_FALSE(Variant(*a) == Variant(*c));
    EXPECT_TRUE(Variant(*a) != Variant(*c));
    EXPECT_FALSE(Variant(*a) == Variant("[object Foo]"));
    a->invalidate();
    EXPECT_FALSE(Variant(*a) == Variant(*a));
}

TEST_F(VariantLiveObjectTest, AnObjectMayLetBothSidesGoWhileItIsCompared)
{
    struct Forgetful : Plain
    {
        bool operator==(const LiveObject &other) const override
        {
            left->erase();
            right->erase();
            return getClassName() == other.getClassName();
        }
        Variant *left = nullptr;
        Variant *right = nullptr;
    };
    Variant left, right;
    {
        const auto object = make<Forgetful>();
        object->left = &left;
        object->right = &right;
        left = object.get();
        right = make<Plain>().get();
    }
    EXPECT_TRUE(left == right);
    EXPECT_FALSE(left.isDefined());
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(VariantLiveObjectTest, ComparesAsTextOrAsANumber)
{
    const auto object = make<Valued>();
    const Variant value(*object);
    EXPECT_EQ(value.compare(Variant("valued")), 0);
    EXPECT_LT(value.compare(Variant("waived")), 0);
    EXPECT_EQ(value.compare(Variant(12.5)), 0);
    EXPECT_GT(value.compare(Variant(12)), 0);
    EXPECT_LT(Variant(12).compare(value), 0);
    EXPECT_EQ(value.compare(Variant()), 1);
    EXPECT_EQ(value.compare(value), 0);
    EXPECT_EQ(Variant(*make<Plain>()).compare(Variant(1)), Variant::unordered);
}

// --- Threads -------------------------------------------------------------------------------------

TEST_F(VariantLiveObjectThreadTest, HoldsTheLockWhileTheObjectIsAsked)
{
    struct Busy : LiveObject
    {
        Busy() : LiveObject("Busy", true) {}
        void valueOf(Variant &out) const override { out = ++count; }
        void toString(String &out) const override { out.print("%ld", ++count); }
        mutable int count = 0;
    };
    const auto busy = make<Busy>();
    busy->createLock();
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 1000; ++round) {
            const Variant value(*busy);
            ASSERT_GT(value.getDouble(), 0);
            ASSERT_GT(value.getInteger(), 0);
            ASSERT_GT(value.getString().length(), 0);
        }
    });
    EXPECT_EQ(busy->count, 12000);
    EXPECT_EQ(busy->getRefCount(), 1);
}
