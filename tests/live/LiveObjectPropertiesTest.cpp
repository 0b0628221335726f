// SPDX-License-Identifier: MIT
// The dynamic properties of an object: their list, whose order is observable, and the index beside
// a long one.
#include <tavrin/LiveObject.h>

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "live/LiveObjectData.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::make;
using test::Plain;

namespace {

using LiveObjectPropertiesTest = test::LibraryTest;

// The names of all properties, in the order of the list.
std::string namesOf(const LiveObject &object)
{
    std::string names;
    const LiveObjectData *data = detail::LiveObjectAccess::data(object);
    for (const LiveProperty *each = data->properties; each != nullptr; each = each->getNext())
        for (const unsigned short *unit = each->getName().wstr(); *unit != 0; ++unit)
            names += static_cast<char>(*unit);
    return names;
}

test::Owned<Plain> objectWith(std::initializer_list<const char *> names)
{
    auto object = make<Plain>();
    int id = 100;
    for (const char *name : names)
        EXPECT_EQ(object->defineIDForName(name, id++, kInfoReadWrite), 0);
    return object;
}

// More than a list without an index has.
test::Owned<Plain> longObject(int count = 20)
{
    auto object = make<Plain>();
    for (int number = 0; number < count; ++number) {
        String name;
        name.print("p%d", number);
        EXPECT_EQ(object->defineIDForName(name, 100 + number, kInfoReadWrite), 0);
    }
    return object;
}

int idOf(const LiveObject &object, const char *name, int flags = kDefaultLanguage)
{
    int id = 0;
    InfoType type;
    return object.getIDForName(name, id, type, flags) == 0 ? id : 0;
}

// A property that notes its death.
struct Noted : LiveProperty
{
    Noted(LiveObject &owner, const String &name, int id, unsigned flags, std::string &where)
        : LiveProperty(owner, name, id, flags), log(where)
    {}
    ~Noted() override { log += static_cast<char>(getName().wstr()[0]); }
    std::string &log;
};

struct NotingObject : LiveObject
{
    explicit NotingObject(std::string &where) : LiveObject("Noting", true), log(where) {}
    LiveProperty *createProperty(const String &name, int id, unsigned flags) override
    {
        return new Noted(*this, name, id, flags, log);
    }
    std::string &log;
};

} // namespace

// --- The order -----------------------------------------------------------------------------------

TEST_F(LiveObjectPropertiesTest, ANewPropertyStandsInFront)
{
    EXPECT_EQ(namesOf(*objectWith({"a", "b", "c"})), "cba");
}

TEST_F(LiveObjectPropertiesTest, WhateverIsFoundMovesToTheFront)
{
    const auto object = objectWith({"a", "b", "c", "d"});
    Variant value;
    String name;
    object->get(101, value, nullptr);
    EXPECT_EQ(namesOf(*object), "bdca");
    object->put(100, 1, nullptr);
    EXPECT_EQ(namesOf(*object), "abdc");
    object->call(102, test::arrayOfValues(), value, nullptr);
    EXPECT_EQ(namesOf(*object), "cabd");
    object->getNameForID(103, name, kDefaultLanguage);
    EXPECT_EQ(namesOf(*object), "dcab");
    idOf(*object, "b");
    EXPECT_EQ(namesOf(*object), "bdca");
    object->get(105, value, nullptr);
    EXPECT_EQ(namesOf(*object), "bdca");
}

TEST_F(LiveObjectPropertiesTest, FindsEveryPropertyOfALongListByIdAndByName)
{
    const auto object = longObject(1000);
    for (int round = 0; round < 3; ++round)
        for (int number = 0; number < 1000; number += 7) {
            String name;
            name.print("p%d", number);
            const LiveProperty *property = object->findProperty(100 + number);
            ASSERT_NE(property, nullptr);
            EXPECT_EQ(property->getName(), name);
            int id = 0;
            InfoType type;
            ASSERT_EQ(object->getIDForName(name, id, type, kDefaultLanguage), 0);
            EXPECT_EQ(id, 100 + number);
        }
    EXPECT_EQ(object->findProperty(99), nullptr);
    EXPECT_EQ(idOf(*object, "p1000"), 0);
    EXPECT_EQ(idOf(*object, "P7"), 0);
    EXPECT_EQ(idOf(*object, "P7", kCaselessLanguage), 107);
}

TEST_F(LiveObjectPropertiesTest, OfSeveralWithOneIdTheOneThatWasUsedLastCounts)
{
    for (const int others : {0, 30}) {
        const auto object = longObject(others);
        object->defineIDForName("one", 5, kInfoReadWrite);
        object->defineIDForName("two", 5, kInfoReadWrite);
        EXPECT_EQ(object->findProperty(5)->getName(), "two");
        EXPECT_EQ(idOf(*object, "one"), 5);
        EXPECT_EQ(object->findProperty(5)->getName(), "one");
        EXPECT_EQ(object->deleteID(5), 0);
        EXPECT_EQ(object->findProperty(5)->getName(), "two");
        EXPECT_EQ(object->deleteID(5), 0);
        EXPECT_EQ(object->findProperty(5), nullptr);
        for (int number = 0; number < others; ++number)
            EXPECT_NE(object->findProperty(100 + number), nullptr);
    }
}

TEST_F(LiveObjectPropertiesTest, OfNamesThatDifferInCaseTheOneThatWasUsedLastCounts)
{
    for (const int others : {0, 30}) {
        const auto object = longObject(others);
        object->defineIDForName("Name", 5, kInfoReadWrite);
        object->defineIDForName("name", 6, kInfoReadWrite);
        EXPECT_EQ(idOf(*object, "NAME"), 0);
        EXPECT_EQ(idOf(*object, "NAME", kCaselessLanguage), 6);
        EXPECT_EQ(idOf(*object, "Name"), 5);
        EXPECT_EQ(idOf(*object, "NAME", kCaselessLanguage), 5);
        EXPECT_EQ(object->deleteID(5), 0);
        EXPECT_EQ(idOf(*object, "NAME", kCaselessLanguage), 6);
    }
}

// A host whose factory of properties gives them names of its own.
TEST_F(LiveObjectPropertiesTest, SeveralMayHaveTheSameName)
{
    struct Renaming : LiveObject
    {
        Renaming() : LiveObject("Renaming", true) {}
        LiveProperty *createProperty(const String &, int id, unsigned flags) override
        {
            return new LiveProperty(*this, "same", id, flags);
        }
    };
    const auto object = make<Renaming>();
    for (int id = 1; id <= 20; ++id) {
        String name;
        name.print("n%d", id);
        ASSERT_EQ(object->defineIDForName(name, id, kInfoReadWrite), 0);
    }
    EXPECT_EQ(idOf(*object, "same"), 20);
    EXPECT_NE(object->findProperty(3), nullptr);
    EXPECT_EQ(idOf(*object, "same"), 3);
    EXPECT_EQ(object->deleteID(3), 0);
    EXPECT_EQ(idOf(*object, "same"), 20);
    for (int id = 20; id > 3; --id)
        EXPECT_EQ(object->deleteID(id), 0);
    EXPECT_EQ(idOf(*object, "same"), 2);
}

// --- Deletion ------------------------------------------------------------------------------------

TEST_F(LiveObjectPropertiesTest, DeletesFromTheFront)
{
    std::string log;
    {
        const auto object = make<NotingObject>(log);
        for (const char *name : {"a", "b", "c", "d"})
            object->put(name, 1, kInfoReadWrite);
        idOf(*object, "b");
        object->deleteDynamicProperties(true);
        EXPECT_EQ(log, "bdca");
        object->put("x", 1, kInfoReadWrite);
        object->put("y", 1, kInfoReadWrite);
    }
    EXPECT_EQ(log, "bdcayx");
}

TEST_F(LiveObjectPropertiesTest, KeepsPermanentOnesOnDemand)
{
    for (const int others : {0, 30}) {
        const auto object = longObject(others);
        object->put("kept", 1, kInfoReadWrite | kPropertyPermanent);
        object->put("other", 2, kInfoReadWrite);
        const int kept = idOf(*object, "kept");
        EXPECT_EQ(object->deleteID(kept), 2);
        object->deleteDynamicProperties(false);
        EXPECT_EQ(namesOf(*object), "kept");
        EXPECT_EQ(idOf(*object, "kept"), kept);
        object->deleteDynamicProperties(true);
        EXPECT_EQ(namesOf(*object), "");
    }
}

TEST_F(LiveObjectPropertiesTest, KeepsTheIndexOfManyPermanentOnes)
{
    const auto object = longObject(20);
    for (int number = 0; number < 20; ++number) {
        String name;
        name.print("k%d", number);
        object->defineIDForName(name, 500 + number, kInfoReadWrite | kPropertyPermanent);
    }
    object->deleteDynamicProperties(false);
    for (int number = 0; number < 20; ++number) {
        EXPECT_EQ(object->findProperty(100 + number), nullptr);
        EXPECT_NE(object->findProperty(500 + number), nullptr);
    }
}

TEST_F(LiveObjectPropertiesTest, DeletesOneById)
{
    const auto object = objectWith({"a", "b", "c"});
    EXPECT_EQ(object->deleteID(101), 0);
    EXPECT_EQ(namesOf(*object), "ca");
    EXPECT_EQ(object->deleteID(101), 2);
    EXPECT_EQ(object->deleteID(102), 0);
    EXPECT_EQ(object->deleteID(100), 0);
    EXPECT_EQ(namesOf(*object), "");
}

TEST_F(LiveObjectPropertiesTest, GrowsAndShrinksAcrossTheLengthThatHasAnIndex)
{
    const auto object = make<Plain>();
    for (int round = 0; round < 3; ++round) {
        for (int number = 0; number < 12; ++number) {
            String name;
            name.print("p%d", number);
            ASSERT_EQ(object->defineIDForName(name, 100 + number, kInfoReadWrite), 0);
        }
        for (int number = 11; number >= 0; --number) {
            EXPECT_NE(object->findProperty(100 + number), nullptr);
            EXPECT_EQ(object->deleteID(100 + number), 0);
            EXPECT_EQ(object->findProperty(100 + number), nullptr);
        }
    }
}

// A property that deletes itself, all others and lets the object go, while it is being called.
TEST_F(LiveObjectPropertiesTest, APropertyMayEndEverythingWhileItIsCalled)
{
    struct Ending : LiveProperty
    {
        using LiveProperty::LiveProperty;
        int get(Variant &out) const override
        {
            LiveObject &object = getOwner();
            object.deleteID(getID());
            object.deleteDynamicProperties(true);
            EXPECT_EQ(object.findProperty(getID()), nullptr);
            out = getName();
            object.release();
            return 0;
        }
        int put(const Variant &) override
        {
            Variant out;
            return get(out);
        }
        int call(const Array &, Variant &result) override { return get(result); }
    };
    struct EndingObject : Plain
    {
        LiveProperty *createProperty(const String &name, int id, unsigned flags) override
        {
            return new Ending(*this, name, id, flags);
        }
    };
    for (int way = 0; way < 4; ++way) {
        auto *object = new EndingObject;
        object->defineIDForName("x", 5, kInfoReadWriteMethod);
        object->defineIDForName("y", 6, kInfoReadWrite);
        Variant out;
        Error error;
        switch (way) {
        case 0:
            EXPECT_EQ(object->get(5, out, &error), 0);
            EXPECT_EQ(out, Variant("x"));
            break;
        case 1:
            EXPECT_EQ(object->put(5, 1, &error), 0);
            break;
        case 2:
            EXPECT_EQ(object->call(5, Array(), out, &error), 0);
            break;
        default:
            EXPECT_EQ(object->get("x", out, &error), 0);
            break;
        }
        EXPECT_EQ(Plain::living, 0);
    }
}

// What a property held looks at the object when it dies.
TEST_F(LiveObjectPropertiesTest, AnOldValueMayDeleteThePropertyThatItDiesOf)
{
    struct Last : LiveObject
    {
        explicit Last(LiveObject &whose) : LiveObject("Last", false), owner(whose) {}
        ~Last() override { owner.deleteDynamicProperties(true); }
        LiveObject &owner;
    };
    const auto object = make<Plain>();
    object->put("x", Variant(make<Last>(*object).get()), kInfoReadWrite);
    EXPECT_EQ(object->put("x", "new", kInfoReadWrite), 0);
    EXPECT_EQ(namesOf(*object), "");
}

TEST_F(LiveObjectPropertiesTest, NumbersItsPropertiesAnewWhenTheNumbersRunOut)
{
    const auto object = objectWith({"a", "b", "c"});
    EXPECT_EQ(object->findProperty(102)->getIndex(), 2);
    object->deleteID(101);
    detail::LiveObjectAccess::data(*object)->propertyCount = std::numeric_limits<int>::max();
    EXPECT_EQ(object->defineIDForName("d", 103, kInfoReadWrite), 0);
    EXPECT_EQ(object->findProperty(100)->getIndex(), 0);
    EXPECT_EQ(object->findProperty(102)->getIndex(), 1);
    EXPECT_EQ(object->findProperty(103)->getIndex(), 2);
}

TEST_F(LiveObjectPropertiesTest, MakesPropertiesOfItsOwn)
{
    const auto object = make<Plain>();
    LiveProperty *property = object->createProperty("x", 5, kInfoMethod);
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(property->getName(), "x");
    EXPECT_EQ(property->getID(), 5);
    EXPECT_EQ(property->getType(), kInfoMethod);
    EXPECT_EQ(&property->getOwner(), object.get());
    delete property;
    EXPECT_EQ(object->findProperty(5), nullptr);
}
