// SPDX-License-Identifier: MIT
// Script objects as values: every rule of what this library reads and calls of them.
#include <tavrin/Variant.h>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/HashTable.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::described;
using test::FakeObject;
using test::holding;

namespace {

constexpr int mostHardHolders = 0x4000'0000;

class VariantObjectTest : public test::LibraryTest
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(FakeObject::living(), 0);
        LibraryTest::TearDown();
    }
};

class Data : public Root
{};

Variant hardHolder()
{
    Variant value;
    value.setHardRef(true);
    return value;
}

} // namespace

// References

TEST_F(VariantObjectTest, EveryHolderCountsAndTheLastOneDestroys)
{
    test::Journal journal;
    auto *object = new FakeObject("it", &journal);
    {
        const Variant first = holding(object);
        EXPECT_EQ(first.getType(), kObject);
        EXPECT_EQ(first.getJSObject(), object);
        EXPECT_EQ(object->refCount, 1);
        {
            const Variant second(first);
            Variant third;
            third = first;
            EXPECT_EQ(object->refCount, 3);
            EXPECT_EQ(object->hardRefCount, 0);
        }
        EXPECT_EQ(object->refCount, 1);
        EXPECT_TRUE(journal.empty());
    }
    EXPECT_EQ(journal, test::Journal{"it"});
}

TEST_F(VariantObjectTest, SettingTheSameObjectDoesNothing)
{
    auto *object = new FakeObject;
    Variant value = holding(object);
    value.setJSObject(*object);
    value.setJSObject(object);
    EXPECT_EQ(object->refCount, 1);
}

TEST_F(VariantObjectTest, SettingAnotherObjectLetsTheOldOneGo)
{
    test::Journal journal;
    Variant value = holding(new FakeObject("old", &journal));
    value.setJSObject(*new FakeObject("new", &journal));
    EXPECT_EQ(journal, test::Journal{"old"});
    EXPECT_EQ(described(value), "object [object new]");
    value.setJSObject(nullptr);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(journal.size(), 2U);
}

TEST_F(VariantObjectTest, AMoveKeepsTheCount)
{
    auto *object = new FakeObject;
    Variant value = holding(object);
    const Variant moved(std::move(value));
    EXPECT_EQ(object->refCount, 1);
}

TEST_F(VariantObjectTest, SelfAssignmentOfTheOnlyHolderKeepsTheObject)
{
    auto *object = new FakeObject;
    Variant value = holding(object);
    const Variant &alias = value;
    value = alias;
    EXPECT_EQ(object->refCount, 1);
    EXPECT_EQ(value.getJSObject(), object);
}

TEST_F(VariantObjectTest, AnObjectMayAssignToItsHolderWhileItIsDestroyed)
{
    Variant value;
    auto *object = new FakeObject;
    object->onDestroy = [&value] {
        EXPECT_EQ(described(value), "number 5");
        value = test::listOf({"by the object"});
    };
    value.setJSObject(object);
    value = 5;
    EXPECT_EQ(described(value), "array [by the object]");
    object = new FakeObject;
    object->onDestroy = [&value] {
        EXPECT_EQ(described(value), "array [1]");
        value = test::listOf({"by the object"});
    };
    value.setJSObject(object);
    value = Variant(test::listOf({1}));
    EXPECT_EQ(described(value), "array [by the object]");
}

TEST_F(VariantObjectTest, AHolderIsUndefinedWhenItsObjectIsDestroyed)
{
    Variant value;
    auto *object = new FakeObject;
    object->onDestroy = [&value] { EXPECT_EQ(value.getType(), kUndefined); };
    value.setJSObject(object);
    value.erase();
}

TEST_F(VariantObjectTest, AValueMayBeAssignedFromAnObjectThatItHoldsAlone)
{
    Variant inner(test::listOf({1, 2}));
    auto *object = new FakeObject;
    object->boxed = &inner;
    object->onDestroy = [&inner] { inner.erase(); };
    Variant value = holding(object);
    value = *object->getValue();
    EXPECT_EQ(described(value), "array [1,2]");
}

// Hard holders

TEST_F(VariantObjectTest, AHardHolderCountsWhatItHolds)
{
    auto *object = new FakeObject;
    auto *other = new FakeObject;
    Variant value = hardHolder();
    EXPECT_TRUE(value.isHardRef());
    value.setJSObject(object);
    EXPECT_EQ(object->hardRefCount, 1);
    Variant soft = holding(other);
    value = soft;
    EXPECT_EQ(other->hardRefCount, 1);
    EXPECT_EQ(other->refCount, 2);
    soft.erase();
    EXPECT_EQ(other->hardRefCount, 1);
    value = 5;
    EXPECT_TRUE(value.isHardRef());
    EXPECT_EQ(FakeObject::living(), 0);
}

TEST_F(VariantObjectTest, BecomingAHardHolderCountsWhatIsHeld)
{
    auto *object = new FakeObject;
    Variant value = holding(object);
    value.setHardRef(true);
    value.setHardRef(true);
    EXPECT_EQ(object->hardRefCount, 1);
    value.setHardRef(false);
    value.setHardRef(false);
    EXPECT_EQ(object->hardRefCount, 0);
    EXPECT_EQ(object->refCount, 1);
    Variant unassigned(7, "Foo", nullptr);
    unassigned.setHardRef(true);
    EXPECT_TRUE(unassigned.isHardRef());
}

TEST_F(VariantObjectTest, AssignmentTakesTheCountOfTheTarget)
{
    auto *object = new FakeObject;
    Variant hard = hardHolder();
    hard.setJSObject(object);
    Variant soft;
    soft = hard;
    EXPECT_EQ(object->hardRefCount, 1);
    const Variant copy(hard);
    EXPECT_EQ(object->hardRefCount, 1);
    Variant second = hardHolder();
    second = hard;
    EXPECT_EQ(object->hardRefCount, 2);
    const Variant &alias = second;
    second = alias;
    EXPECT_EQ(object->hardRefCount, 2);
    soft = std::move(second);
    EXPECT_EQ(object->hardRefCount, 1);
    EXPECT_EQ(object->refCount, 3);
}

TEST_F(VariantObjectTest, TheHardCountSticksAtItsLimit)
{
    auto *object = new FakeObject;
    const Variant keeper = holding(object);
    object->hardRefCount = mostHardHolders - 1;
    {
        Variant first = hardHolder();
        first = keeper;
        EXPECT_EQ(object->hardRefCount, mostHardHolders);
        Variant second = hardHolder();
        second = keeper;
        EXPECT_EQ(object->hardRefCount, mostHardHolders);
    }
    EXPECT_EQ(object->hardRefCount, mostHardHolders);
}

TEST_F(VariantObjectTest, AHardCountOf0IsNotCountedDown)
{
    auto *object = new FakeObject;
    Variant value = hardHolder();
    value.setJSObject(object);
    object->hardRefCount = 0;
    const Variant keeper(value);
    value.erase();
    EXPECT_EQ(object->hardRefCount, 0);
}

TEST_F(VariantObjectTest, AssigningTheSameObjectToAHardHolderBelowTheLimitIsExact)
{
    auto *object = new FakeObject;
    Variant value = hardHolder();
    value.setJSObject(object);
    object->hardRefCount = mostHardHolders - 1;
    const Variant soft = holding(object);
    value = soft;
    EXPECT_EQ(object->hardRefCount, mostHardHolders - 1);
}

// What is asked of the object

TEST_F(VariantObjectTest, ValidityAndEngineAreTheObjects)
{
    TvScript::Engine engine;
    auto *object = new FakeObject;
    object->engine = &engine;
    const Variant value = holding(object);
    EXPECT_TRUE(value.isValidObject());
    object->valid = false;
    EXPECT_FALSE(value.isValidObject());
    EXPECT_EQ(value.getTavrinscriptEngine(), &engine);
    EXPECT_EQ(value.getDataType(), kObject);
    EXPECT_FALSE(value.hasUnassignedObjectData());
}

TEST_F(VariantObjectTest, DataAndIdGoToTheObject)
{
    Data data;
    auto *object = new FakeObject;
    Variant value = holding(object);
    value.setObjectData(&data);
    EXPECT_EQ(object->data, &data);
    EXPECT_EQ(value.getObjectData(), &data);
    value.setObjectID(42);
    EXPECT_EQ(object->objectID, 42);
    EXPECT_EQ(value.getInteger(), 42);
}

TEST_F(VariantObjectTest, ReservedIdsAreIgnored)
{
    auto *object = new FakeObject;
    Variant value = holding(object);
    value.setObjectID(42);
    for (int id = -10; id <= -1; ++id)
        value.setObjectID(id);
    EXPECT_EQ(object->objectID, 42);
    value.setObjectID(-11);
    EXPECT_EQ(object->objectID, -11);
    value.setObjectID(0);
    EXPECT_EQ(object->objectID, 0);
}

TEST_F(VariantObjectTest, AnUnassignedObjectGivesWayToAMadeOne)
{
    Variant value(7, "Foo", nullptr);
    auto *object = new FakeObject("it");
    value.setJSObject(*object);
    EXPECT_EQ(described(value), "object [object it]");
    value.setObject(8, "Bar", nullptr);
    EXPECT_EQ(described(value), "object Bar");
    EXPECT_EQ(value.getInteger(), 8);
    EXPECT_EQ(value.getJSObject(), nullptr);
}

// Numbers

TEST_F(VariantObjectTest, TheNumberIsThatOfThePrimitiveValue)
{
    auto *object = new FakeObject;
    object->objectID = 7;
    const Variant value = holding(object);
    object->onValue = [](Variant &primitive, int) {
        primitive = 2.5;
        return true;
    };
    EXPECT_EQ(value.getDouble(), 2.5);
    EXPECT_EQ(object->lastHint, 0);
    object->onValue = [](Variant &primitive, int) {
        primitive = "12";
        return true;
    };
    EXPECT_EQ(value.getDouble(), 12);
    object->onValue = [](Variant &, int) { return true; };
    EXPECT_TRUE(value.isNaN());
    object->onValue = nullptr;
    EXPECT_EQ(value.getDouble(), 7);
}

TEST_F(VariantObjectTest, TheNumberOfAnUnassignedObjectIsItsId)
{
    EXPECT_EQ(Variant(7, "Foo", nullptr).getDouble(), 7);
}

TEST_F(VariantObjectTest, TheIntegerIsTheIdWhateverTheObjectIsWorth)
{
    auto *object = new FakeObject;
    object->objectID = -7;
    object->onValue = [](Variant &primitive, int) {
        primitive = 2.5;
        return true;
    };
    const Variant value = holding(object);
    EXPECT_EQ(value.getInteger(), -7);
    EXPECT_EQ(value.getUInteger(), static_cast<unsigned>(-7));
    EXPECT_EQ(value.getInteger(0, 5), -7);
    EXPECT_EQ(object->lastHint, -1);
    EXPECT_EQ(Variant(70, "Foo", nullptr).getInteger(0, 5), 70);
}

TEST_F(VariantObjectTest, AnObjectWhoseValueIsItselfHasNone)
{
    auto *object = new FakeObject("it");
    object->objectID = 7;
    object->onValue = [object](Variant &primitive, int) {
        primitive.setJSObject(object);
        return true;
    };
    const Variant value = holding(object);
    EXPECT_EQ(value.getDouble(), 7);
    EXPECT_EQ(test::bytesOf(value.toString()), "[object it]");
}

TEST_F(VariantObjectTest, AnObjectWhoseValueIsAnObjectIsWorthWhatThatIsWorth)
{
    auto *inner = new FakeObject("inner");
    inner->onValue = [](Variant &primitive, int hint) {
        primitive = hint == 1 ? Variant("text") : Variant(5);
        return true;
    };
    const Variant keeper = holding(inner);
    auto *outer = new FakeObject("outer");
    outer->onValue = [&keeper](Variant &primitive, int) {
        primitive = keeper;
        return true;
    };
    const Variant value = holding(outer);
    EXPECT_EQ(value.getDouble(), 5);
    EXPECT_EQ(test::bytesOf(value.toString()), "text");
}

TEST_F(VariantObjectTest, AnObjectThatAnswersWithAnObjectWithoutAValueIsWorthThatOnesIdAndText)
{
    auto *inner = new FakeObject("inner");
    inner->objectID = 77;
    const Variant keeper = holding(inner);
    auto *outer = new FakeObject("outer");
    outer->objectID = 7;
    outer->onValue = [&keeper](Variant &primitive, int) {
        primitive = keeper;
        return true;
    };
    const Variant value = holding(outer);
    EXPECT_EQ(value.getDouble(), 77);
    EXPECT_EQ(value.getInteger(), 7);
    EXPECT_EQ(test::bytesOf(value.toString()), "[object inner]");
    inner->onValue = [&keeper](Variant &primitive, int) {
        primitive = keeper;
        return true;
    };
    EXPECT_EQ(value.getDouble(), 77);
    EXPECT_EQ(test::bytesOf(value.toString()), "[object inner]");
}

TEST_F(VariantObjectTest, EightObjectsInARowAreAskedAndNotMore)
{
    for (const int chain : {7, 8}) {
        int made = 0;
        std::function<bool(Variant &, int)> answer;
        answer = [&](Variant &primitive, int) {
            if (++made > chain) {
                primitive = 5;
                return true;
            }
            auto *next = new FakeObject("next");
            next->onValue = answer;
            primitive.setJSObject(next);
            return true;
        };
        auto *object = new FakeObject("first");
        object->objectID = 7;
        object->onValue = answer;
        EXPECT_EQ(holding(object).getDouble(), chain == 7 ? 5 : 7);
        EXPECT_EQ(made, 8);
    }
}

TEST_F(VariantObjectTest, TwoObjectsThatAreEachOthersValueHaveNone)
{
    auto *first = new FakeObject("first");
    auto *second = new FakeObject("second");
    first->objectID = 1;
    first->onValue = [second](Variant &primitive, int) {
        primitive.setJSObject(second);
        return true;
    };
    second->onValue = [first](Variant &primitive, int) {
        primitive.setJSObject(first);
        return true;
    };
    const Variant value = holding(first);
    const Variant other = holding(second);
    EXPECT_EQ(value.getDouble(), 1);
}

TEST_F(VariantObjectTest, AnObjectMayLetItsHolderGoWhileItIsAsked)
{
    auto *object = new FakeObject("it");
    Variant value = holding(object);
    object->objectID = 7;
    object->onValue = [&value](Variant &, int) {
        value.erase();
        return false;
    };
    EXPECT_EQ(value.getDouble(), 7);
    EXPECT_FALSE(value.isDefined());
    auto *other = new FakeObject("other");
    value.setJSObject(other);
    other->onToString = [&value](String &text) {
        value.erase();
        text = "gone";
    };
    EXPECT_EQ(test::bytesOf(value.getString()), "gone");
    EXPECT_FALSE(value.isDefined());
}

TEST_F(VariantObjectTest, AnObjectMayGiveItsHolderAnotherValueWhileItIsAskedForItsText)
{
    Variant value;
    auto *object = new FakeObject("it");
    object->onToString = [&value](String &text) {
        value = "another";
        text = "its text";
    };
    value.setJSObject(object);
    EXPECT_EQ(test::bytesOf(value.getString()), "another");
    EXPECT_EQ(described(value), "string another");
    auto *second = new FakeObject("second");
    second->onToString = [&value](String &) {
        value = 255;
        static_cast<void>(value.getString());
    };
    value.setJSObject(second);
    EXPECT_EQ(test::bytesOf(value.getString()), "255");
}

// Text

TEST_F(VariantObjectTest, TheTextFormIsWhatTheObjectSays)
{
    auto *object = new FakeObject("it");
    object->onValue = [](Variant &primitive, int) {
        primitive = "its value";
        return true;
    };
    const Variant value = holding(object);
    EXPECT_EQ(test::bytesOf(value.getString()), "[object it]");
    EXPECT_EQ(object->lastHint, -1);
    object->onToString = [](String &text) { text += "appended"; };
    EXPECT_EQ(test::bytesOf(value.getString()), "appended");
}

TEST_F(VariantObjectTest, ToStringAsksForAPrimitiveStringFirst)
{
    auto *object = new FakeObject("it");
    const Variant value = holding(object);
    EXPECT_EQ(test::bytesOf(value.toString()), "[object it]");
    EXPECT_EQ(object->lastHint, 1);
    object->onValue = [](Variant &primitive, int) {
        primitive = 2.5;
        return true;
    };
    EXPECT_EQ(test::bytesOf(value.toString()), "2.5");
    String out("before");
    value.toString(out);
    EXPECT_EQ(test::bytesOf(out), "2.5");
}

// Comparison

TEST_F(VariantObjectTest, MadeObjectsAreEqualIfTheyAreTheSame)
{
    auto *object = new FakeObject("it");
    auto *twin = new FakeObject("it");
    const Variant value = holding(object);
    EXPECT_EQ(value, holding(object));
    EXPECT_NE(value, holding(twin));
}

TEST_F(VariantObjectTest, UnassignedObjectsAreEqualIfTheirIdsAre)
{
    EXPECT_EQ(Variant(7, "Foo", nullptr), Variant(7, "Bar", nullptr));
    EXPECT_NE(Variant(7, "Foo", nullptr), Variant(8, "Foo", nullptr));
}

TEST_F(VariantObjectTest, AMadeObjectEqualsAnUnassignedOneOnlyWithoutText)
{
    auto *object = new FakeObject("it");
    object->objectID = 7;
    const Variant made = holding(object);
    const Variant unassigned(7, "Foo", nullptr);
    EXPECT_NE(made, unassigned);
    EXPECT_NE(unassigned, made);
    object->onToString = [](String &) {};
    EXPECT_EQ(made, unassigned);
    EXPECT_EQ(unassigned, made);
    object->objectID = 8;
    EXPECT_NE(made, unassigned);
}

TEST_F(VariantObjectTest, AnObjectIsTrueAndIsConvertedByItsNumberAndText)
{
    auto *object = new FakeObject("it");
    object->onValue = [](Variant &primitive, int) {
        primitive = 42;
        return true;
    };
    const Variant value = holding(object);
    EXPECT_TRUE(value.getBool());
    Variant converted(value);
    converted.convert(kNumber);
    EXPECT_EQ(described(converted), "number 42");
    converted = value;
    converted.convert(kString);
    EXPECT_EQ(described(converted), "string [object it]");
    EXPECT_EQ(object->refCount, 1);
    EXPECT_LT(value.compare(43), 0);
    EXPECT_EQ(value.compare("[object it]"), 0);
}

// Properties

TEST_F(VariantObjectTest, PropertiesAreTheObjectsAffair)
{
    auto *object = new FakeObject;
    Variant value = holding(object);
    THashTable<Variant> properties;
    Error error;
    EXPECT_EQ(value.getObjectProperties(properties, 5, &error), 0);
    EXPECT_EQ(object->lastFlags, 5);
    EXPECT_EQ(value.setObjectProperties(properties, &error), 0);
    EXPECT_EQ(object->propertyCalls, 2);
    object->propertyCode = 46;
    EXPECT_EQ(value.getObjectProperties(properties, 0, nullptr), 46);
    EXPECT_EQ(value.setObjectProperties(properties, nullptr), 46);
    EXPECT_EQ(error.getCode(), 0);
}

TEST_F(VariantObjectTest, WhatIsNoObjectHasNoProperties)
{
    THashTable<Variant> properties;
    Variant values[] = {Variant(), 5, "text", Variant(7, "Foo", nullptr), test::listOf({1})};
    for (Variant &value : values) {
        Error error;
        EXPECT_EQ(value.getObjectProperties(properties, 0, &error), 21);
        EXPECT_EQ(error.getCode(), 21);
        EXPECT_EQ(test::bytesOf(error.getError()->getText()),
                  test::bytesOf(value.getString()) + " is not an object");
        EXPECT_EQ(value.setObjectProperties(properties, &error), 21);
        EXPECT_NE(error.getError()->getNext(), nullptr);
        EXPECT_EQ(value.getObjectProperties(properties, 0, nullptr), 21);
        EXPECT_EQ(value.setObjectProperties(properties, nullptr), 21);
    }
}
