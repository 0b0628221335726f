// SPDX-License-Identifier: MIT
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::idsIn;
using test::make;
using test::Owned;
using test::Plain;
using test::Ruler;

namespace {

using LiveObjectCloneTest = test::LibraryTest;

// A class whose constructor makes objects, or answers what the test says.
struct Constructing : Plain
{
    Constructing() : Plain("Constructing") {}
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        if (id != constructorID)
            return Plain::call(id, args, result, error);
        EXPECT_EQ(args.length(), 0U);
        EXPECT_EQ(error, nullptr);
        if (throws)
            throw std::runtime_error("no");
        if (code == 0 && givesObject)
            result = Variant(givesItself ? Owned<Plain>(this).get() : make<Constructing>().get());
        return code;
    }
    using LiveObject::call;

    int code = 0;
    bool givesObject = true;
    bool givesItself = false;
    bool throws = false;
};

Owned<LiveObject> cloneOf(const LiveObject &object, bool isDeep, int expectedCode = 0)
{
    LiveObject *out = nullptr;
    EXPECT_EQ(object.clone(&out, isDeep), expectedCode);
    return Owned<LiveObject>::adopt(out);
}

} // namespace

TEST_F(LiveObjectCloneTest, MakesAPlainObjectOfTheClassWithoutAConstructor)
{
    const auto document = make<Document>();
    const auto ruler = make<Ruler>();
    document->addComponent(*ruler);
    document->put("own", 1, kInfoReadWrite);
    const auto copy = cloneOf(*document, false);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->getRefCount(), 1);
    EXPECT_EQ(copy->getClassName(), "Document");
    EXPECT_EQ(copy->getPropertyManager(), nullptr);
    EXPECT_EQ(copy->getComponent(Ruler::unitID, nullptr), ruler.get());
    EXPECT_EQ(ruler->getRefCount(), 3);
    Variant out;
    EXPECT_EQ(copy->get("own", out), 2);
    EXPECT_EQ(Document::living, 1);
}

TEST_F(LiveObjectCloneTest, TakesTheObjectOfTheConstructor)
{
    const auto object = make<Constructing>();
    const auto copy = cloneOf(*object, false);
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), object.get());
    EXPECT_EQ(copy->getRefCount(), 1);
    EXPECT_NE(dynamic_cast<Constructing *>(copy.get()), nullptr);
}

TEST_F(LiveObjectCloneTest, TheAnswerOfTheConstructorDecides)
{
    const auto object = make<Constructing>();
    for (const int code : {2, 24}) {
        object->code = code;
        EXPECT_EQ(dynamic_cast<Constructing *>(cloneOf(*object, false).get()), nullptr);
    }
    object->code = 57;
    EXPECT_FALSE(cloneOf(*object, false, 57));
    object->code = 0;
    object->givesObject = false;
    EXPECT_FALSE(cloneOf(*object, false, 22));
    object->throws = true;
    EXPECT_FALSE(cloneOf(*object, false, -29));
    EXPECT_EQ(Plain::living, 1);
}

TEST_F(LiveObjectCloneTest, AConstructorMayGiveTheObjectItself)
{
    const auto object = make<Constructing>();
    object->put("own", 1, kInfoReadWrite);
    object->givesItself = true;
    const auto copy = cloneOf(*object, true);
    EXPECT_EQ(copy.get(), object.get());
    Variant out;
    EXPECT_EQ(object->get("own", out), 0);
}

TEST_F(LiveObjectCloneTest, CopiesClassNameFlagsAndValue)
{
    const auto source = make<Plain>("Source");
    const auto target = make<Plain>("Target");
    *static_cast<Variant *>(source->getAs(asValue)) = 12;
    source->setFlags(0xAB000007);
    source->setObjectID(9);
    EXPECT_EQ(source->cloneContent(*target, false), 0);
    EXPECT_EQ(target->getClassName(), "Source");
    EXPECT_EQ(target->getFlags(), 0xAB000007U);
    EXPECT_EQ(*static_cast<Variant *>(target->getAs(asValue)), Variant(12));
    EXPECT_EQ(target->getObjectID(), 0);
}

TEST_F(LiveObjectCloneTest, TakesAValueAwayThatTheSourceDoesNotHave)
{
    const auto source = make<Plain>(), target = make<Plain>();
    *static_cast<Variant *>(target->getAs(asValue)) = 12;
    EXPECT_EQ(source->cloneContent(*target, false), 0);
    EXPECT_FALSE(static_cast<Variant *>(target->getAs(asValue))->isDefined());
}

TEST_F(LiveObjectCloneTest, ReplacesTheComponents)
{
    const auto source = make<Plain>(), target = make<Plain>();
    const auto a = make<Ruler>(), b = make<Ruler>(), old = make<Ruler>();
    source->addComponent(*a);
    source->addComponent(*b);
    target->addComponent(*old);
    EXPECT_EQ(source->cloneContent(*target, false), 0);
    EXPECT_EQ(old->getRefCount(), 1);
    EXPECT_EQ(target->getComponent(Ruler::unitID, nullptr), b.get());
    EXPECT_EQ(target->getComponent(Ruler::unitID, b.get()), a.get());
}

TEST_F(LiveObjectCloneTest, KeepsThePropertiesOfTheTargetUnlessItIsDeep)
{
    const auto source = make<Plain>(), target = make<Plain>();
    source->put("a", 1, kInfoReadWrite);
    target->put("b", 2, kInfoReadWrite | kPropertyPermanent);
    Variant out;
    EXPECT_EQ(source->cloneContent(*target, false), 0);
    EXPECT_EQ(target->get("b", out), 0);
    EXPECT_EQ(source->cloneContent(*target, true), 0);
    EXPECT_EQ(target->get("b", out), 2);
    EXPECT_EQ(target->get("a", out), 0);
    EXPECT_EQ(out, Variant(1));
}

// D-245
TEST_F(LiveObjectCloneTest, ClonesThePropertiesInTheOppositeOrder)
{
    const auto source = make<Plain>(), target = make<Plain>();
    source->defineIDForName("two", 5, kInfoReadWrite);
    source->defineIDForName("one", 5, kInfoReadOnly | kPropertyUnlisted);
    source->put(5, "value", nullptr);
    ASSERT_EQ(source->findProperty(5)->getName(), "one");
    EXPECT_EQ(source->cloneContent(*target, true), 0);
    EXPECT_EQ(target->findProperty(5)->getName(), "two");
    target->deleteID(5);
    const LiveProperty *one = target->findProperty(5);
    EXPECT_EQ(one->getName(), "one");
    EXPECT_EQ(one->getFlags(), static_cast<unsigned>(kInfoReadOnly | kPropertyUnlisted));
    EXPECT_EQ(one->getIndex(), 1);
    EXPECT_EQ(&one->getOwner(), target.get());
    Variant out;
    one->get(out);
    EXPECT_EQ(out, Variant("value"));
    EXPECT_EQ(target->put(5, 1, nullptr), 2);
}

TEST_F(LiveObjectCloneTest, GoesOnWithTheNumbersOfTheSource)
{
    const auto source = make<Plain>(), target = make<Plain>();
    for (const char *name : {"a", "b", "c"})
        source->put(name, 1, kInfoReadWrite);
    EXPECT_EQ(source->cloneContent(*target, true), 0);
    target->defineIDForName("d", 7, kInfoReadWrite);
    EXPECT_EQ(target->findProperty(7)->getIndex(), 3);
    SimpleArray ours, theirs;
    source->enumerate(ours, kListReadWrite);
    target->enumerate(theirs, kListReadWrite);
    EXPECT_EQ(theirs.length(), 4);
    EXPECT_EQ(theirs.copy(0, 3), ours);
}

TEST_F(LiveObjectCloneTest, EndsWhereTheTargetMakesNoProperty)
{
    struct Refusing : Plain
    {
        LiveProperty *createProperty(const String &name, int id, unsigned flags) override
        {
            return id == 5 ? nullptr : Plain::createProperty(name, id, flags);
        }
    };
    const auto source = make<Plain>();
    const auto target = make<Refusing>();
    for (const int id : {4, 5, 6}) {
        String name;
        name.print("p%d", id);
        source->defineIDForName(name, id, kInfoReadWrite);
    }
    EXPECT_EQ(source->cloneContent(*target, true), -28);
    EXPECT_NE(target->findProperty(6), nullptr);
    EXPECT_EQ(target->findProperty(4), nullptr);
}

TEST_F(LiveObjectCloneTest, ClonesLongLists)
{
    const auto source = make<Plain>();
    for (int number = 0; number < 500; ++number) {
        String name;
        name.print("p%d", number);
        source->put(name, number, kInfoReadWrite);
    }
    const auto copy = cloneOf(*source, true);
    for (int number = 0; number < 500; ++number) {
        String name;
        name.print("p%d", number);
        Variant out;
        ASSERT_EQ(copy->get(name, out), 0);
        ASSERT_EQ(out, Variant(number));
    }
}

TEST_F(LiveObjectCloneTest, OntoItselfChangesNothing)
{
    const auto object = make<Plain>();
    const auto ruler = make<Ruler>();
    object->addComponent(*ruler);
    object->put("own", 1, kInfoReadWrite);
    EXPECT_EQ(object->cloneContent(*object, true), 0);
    Variant out;
    EXPECT_EQ(object->get("own", out), 0);
    EXPECT_EQ(ruler->getRefCount(), 2);
}

TEST_F(LiveObjectCloneTest, NeedsTwoValidObjects)
{
    const auto source = make<Plain>(), target = make<Plain>();
    target->invalidate();
    EXPECT_EQ(source->cloneContent(*target, true), 45);
    target->revalidate();
    source->invalidate();
    EXPECT_EQ(source->cloneContent(*target, true), 45);
}

// A host's factory of properties that changes the source while it is being cloned.
TEST_F(LiveObjectCloneTest, TheSourceMayChangeMeanwhile)
{
    struct Meddling : Plain
    {
        LiveObject *source = nullptr;
        LiveProperty *createProperty(const String &name, int id, unsigned flags) override
        {
            source->deleteDynamicProperties(true);
            source->put("new", 1, kInfoReadWrite);
            return Plain::createProperty(name, id, flags);
        }
    };
    const auto source = make<Plain>();
    const auto target = make<Meddling>();
    target->source = source.get();
    for (const char *name : {"a", "b", "c"})
        source->put(name, name, kInfoReadWrite);
    EXPECT_EQ(source->cloneContent(*target, true), 0);
    for (const char *name : {"a", "b", "c"}) {
        Variant out;
        EXPECT_EQ(target->get(name, out), 0);
        EXPECT_EQ(out, Variant(name));
    }
}

TEST_F(LiveObjectCloneTest, WhatAPropertyHeldMayLetTheTargetGo)
{
    struct Last : LiveObject
    {
        explicit Last(LiveObject &whose) : LiveObject("Last", false), owner(whose) {}
        ~Last() override { owner.release(); }
        LiveObject &owner;
    };
    const auto source = make<Plain>();
    source->put("a", 1, kInfoReadWrite);
    auto *target = new Plain;
    target->put("last", Variant(make<Last>(*target).get()), kInfoReadWrite);
    EXPECT_EQ(source->cloneContent(*target, true), 0);
    EXPECT_EQ(Plain::living, 1);
}
