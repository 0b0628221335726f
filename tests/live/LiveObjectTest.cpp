// SPDX-License-Identifier: MIT
#include <tavrin/LiveObject.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;
using test::Document;
using test::Ear;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using LiveObjectTest = test::LibraryTest;

// Data of a host's, of both kinds.
struct PlainData : Root
{
    explicit PlainData(int &count) : dead(count) {}
    ~PlainData() override { ++dead; }
    int &dead;
};

struct CountedData : Refcountable
{
    explicit CountedData(int &count) : dead(count) {}
    ~CountedData() override { ++dead; }
    int &dead;
};

} // namespace

// --- Birth and death -----------------------------------------------------------------------------

TEST_F(LiveObjectTest, IsBornValidWithOneReference)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->getRefCount(), 1);
    EXPECT_TRUE(object->isValid());
    EXPECT_EQ(object->getObjectID(), 0);
    EXPECT_EQ(object->getData(), nullptr);
    EXPECT_EQ(object->getPropertyManager(), nullptr);
}

TEST_F(LiveObjectTest, DiesWithItsLastReference)
{
    auto object = make<Plain>();
    object->addRef();
    object->release();
    EXPECT_EQ(Plain::living, 1);
    object.reset();
    EXPECT_EQ(Plain::living, 0);
}

// D-242
TEST_F(LiveObjectTest, IsAnObjectWithoutAClassName)
{
    EXPECT_EQ(make<Plain>("")->getClassName(), "Object");
    EXPECT_EQ(make<Plain>(nullptr)->getClassName(), "Object");
    EXPECT_EQ(make<LiveObject>(String(), true)->getClassName(), "Object");
    EXPECT_EQ(make<LiveObject>(String("Page"), true)->getClassName(), "Page");
}

TEST_F(LiveObjectTest, HasTheFirstFlagIfItIsDynamic)
{
    EXPECT_EQ(make<Plain>("Plain", true)->getFlags(), 1U);
    EXPECT_EQ(make<Plain>("Plain", false)->getFlags(), 0U);
    const auto object = make<Plain>();
    object->setFlags(0xABCD0004);
    EXPECT_EQ(object->getFlags(), 0xABCD0004U);
}

TEST_F(LiveObjectTest, MayStandOnTheStack)
{
    struct Local : LiveObject
    {
        Local() : LiveObject("Local", true) {}
        ~Local() override = default;
    };
    WeakRef<LiveObject> weak;
    {
        Local object;
        weak = &object;
        EXPECT_EQ(object.put("x", 1, kInfoReadWrite), 0);
    }
    EXPECT_EQ(weak.get(), nullptr);
}

// The lines of a program that nests deep: a chain of objects, each a property of the one before.
TEST_F(LiveObjectTest, AChainOfAHundredThousandObjectsDies)
{
    Owned<LiveObject> first = make<Plain>();
    for (int depth = 0; depth < 100'000; ++depth) {
        Owned<LiveObject> outer = make<Plain>();
        ASSERT_EQ(outer->put("next", Variant(first.get()), kInfoReadWrite), 0);
        first = outer;
    }
    EXPECT_EQ(Plain::living, 100'001);
    first.reset();
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(LiveObjectTest, GivesUpWhatItHoldsWhenItDies)
{
    int dead = 0;
    const auto ruler = make<test::Ruler>();
    {
        const auto object = make<Plain>();
        object->setData(new PlainData(dead));
        object->addComponent(*ruler);
        *static_cast<Variant *>(object->getAs(asValue)) = "own";
        EXPECT_EQ(object->put("x", "long enough to have a buffer", kInfoReadWrite), 0);
    }
    EXPECT_EQ(dead, 1);
    EXPECT_EQ(ruler->getRefCount(), 1);
}

TEST_F(LiveObjectTest, GivesItUpInOrder)
{
    test::Journal journal;
    struct Noting : Root
    {
        explicit Noting(test::Journal &where) : journal(where) {}
        ~Noting() override { journal.push_back("data"); }
        test::Journal &journal;
    };
    struct Part : LiveComponent
    {
        Part(test::Journal &where, const char *itsName, const LiveObject &itsOwner)
            : journal(where), name(itsName), owner(itsOwner)
        {}
        ~Part() override
        {
            journal.push_back(name);
            if (owner.isListening(Broadcaster::lastFarewell))
                journal.push_back("still heard");
        }
        test::Journal &journal;
        const char *name;
        const LiveObject &owner;
    };
    const auto owner = make<Plain>();
    Ear ear([&](Message &message) {
        const bool isFirst = message.getID() == Broadcaster::firstFarewell;
        journal.push_back(isFirst ? "first farewell" : "last farewell");
        return false;
    });
    {
        const auto object = make<Plain>();
        object->addListener(ear, Broadcaster::lastFarewell);
        object->addListener(ear, Broadcaster::firstFarewell);
        object->setAutostore(owner.get(), 5);
        object->addComponent(*make<Part>(journal, "first component", *owner));
        object->addComponent(*make<Part>(journal, "last component", *owner));
        *static_cast<Variant *>(object->getAs(asValue)) =
            test::holding(new test::FakeObject("value", &journal));
        object->setAutostore(nullptr, 0);
        for (const char *name : {"first property", "last property"})
            object->put(name, test::holding(new test::FakeObject(name, &journal)), kInfoReadWrite);
        object->setAutostore(owner.get(), 5);
        object->setData(new Noting(journal));
    }
    EXPECT_EQ(journal,
              (test::Journal{"data", "value", "first component", "last component", "last property",
                             "first property", "first farewell", "last farewell"}));
}

// A host that cleans up after itself in its destructor.
TEST_F(LiveObjectTest, MayUseItselfInTheDestructorOfItsClass)
{
    struct Tidy : LiveObject
    {
        Tidy() : LiveObject("Tidy", true) {}
        ~Tidy() override
        {
            Variant out;
            EXPECT_EQ(get("x", out, nullptr), 0);
            deleteDynamicProperties(true);
            propertyDefsChanged();
            invalidate();
        }
    };
    Ear ear;
    auto object = make<Tidy>();
    object->put("x", 1, kInfoReadWrite);
    object->addListener(ear, Broadcaster::allMessages);
    object.reset();
    EXPECT_EQ(ear.heard, (std::vector<int>{definitionsChanged, becameInvalid,
                                           Broadcaster::firstFarewell, Broadcaster::lastFarewell}));
}

TEST_F(LiveObjectTest, WhatItsDataDoesWhileItDiesMeetsAnInvalidObject)
{
    struct Nosy : Root
    {
        LiveObject *owner = nullptr;
        int code = 0;
        int *seen = nullptr;
        ~Nosy() override
        {
            Variant out;
            *seen = owner->get("x", out, nullptr);
        }
    };
    int seen = 0;
    auto object = make<Plain>();
    object->put("x", 1, kInfoReadWrite);
    auto *nosy = new Nosy;
    nosy->owner = object.get();
    nosy->seen = &seen;
    object->setData(nosy);
    object.reset();
    EXPECT_EQ(seen, 45);
    EXPECT_EQ(Plain::living, 0);
}

// --- Faces ---------------------------------------------------------------------------------------

TEST_F(LiveObjectTest, ShowsItsFacesByCode)
{
    const auto object = make<Plain>();
    const LiveObject &constant = *object;
    EXPECT_EQ(object->getAs(asLiveObject), static_cast<LiveObject *>(object.get()));
    EXPECT_EQ(constant.getAs(asLiveObject), static_cast<const LiveObject *>(object.get()));
    EXPECT_EQ(object->getAs(asLiveCollection), nullptr);
    EXPECT_EQ(object->getAs(asArray), nullptr);
    EXPECT_EQ(object->getAs(asUnitValue), nullptr);
    EXPECT_EQ(object->getAs(0), nullptr);
}

TEST_F(LiveObjectTest, MakesItsOwnValueWhenItIsAskedForIt)
{
    const auto object = make<Plain>();
    const LiveObject &constant = *object;
    auto *value = static_cast<Variant *>(object->getAs(asValue));
    ASSERT_NE(value, nullptr);
    EXPECT_FALSE(value->isDefined());
    EXPECT_EQ(constant.getAs(asValue), value);
}

TEST_F(LiveObjectTest, AComponentHasNoFaces)
{
    const auto ruler = make<test::Ruler>();
    EXPECT_EQ(ruler->getAs(asLiveObject), nullptr);
    EXPECT_EQ(static_cast<const LiveComponent &>(*ruler).getAs(asValue), nullptr);
}

// --- Validity ------------------------------------------------------------------------------------

TEST_F(LiveObjectTest, TellsOnceThatItBecameInvalidAndValidAgain)
{
    Ear ear;
    const auto object = make<Plain>();
    object->addListener(ear, becameInvalid);
    object->addListener(ear, becameValid);
    object->revalidate();
    object->invalidate();
    object->invalidate();
    EXPECT_FALSE(object->isValid());
    object->revalidate();
    object->revalidate();
    EXPECT_TRUE(object->isValid());
    EXPECT_EQ(ear.heard, (std::vector<int>{becameInvalid, becameValid}));
}

TEST_F(LiveObjectTest, AListenerMayDropTheObjectWhenItBecomesInvalid)
{
    auto *object = new Plain;
    Ear ear([&](Message &) {
        object->release();
        return false;
    });
    object->addListener(ear, becameInvalid);
    object->invalidate();
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(LiveObjectTest, AListenerThatThrowsStopsTheMessage)
{
    Ear ear([](Message &) -> bool { throw std::runtime_error("no"); });
    const auto object = make<Plain>();
    object->addListener(ear, becameInvalid);
    object->invalidate();
    EXPECT_FALSE(object->isValid());
    object->removeListener(ear, becameInvalid);
}

TEST_F(LiveObjectTest, EveryOperationOnAnInvalidObjectAnswers45)
{
    const auto object = make<Plain>();
    const auto ruler = make<test::Ruler>();
    ASSERT_EQ(object->put("x", 1, kInfoReadWrite), 0);
    ASSERT_EQ(object->addComponent(*ruler), 0);
    object->invalidate();

    Variant value = 1;
    int id = 7;
    InfoType type = kInfoMethod;
    String name = "was";
    SimpleArray ids;
    LiveObject *made = object.get();
    EXPECT_EQ(object->get(1, value, nullptr), 45);
    EXPECT_FALSE(value.isDefined());
    EXPECT_EQ(object->put(1, 2, nullptr), 45);
    value = 1;
    EXPECT_EQ(object->call(1, Array(), value, nullptr), 45);
    EXPECT_FALSE(value.isDefined());
    EXPECT_EQ(object->apply(*object, 1, Array(), value, nullptr), 45);
    EXPECT_EQ(object->get("x", value, nullptr), 45);
    EXPECT_EQ(object->put("x", 2, kInfoReadWrite, nullptr), 45);
    EXPECT_EQ(object->call("x", value), 45);
    EXPECT_EQ(object->call(1), 45);
    EXPECT_EQ(object->invoke("x"), 45);
    EXPECT_FALSE(object->canInvoke("x"));
    EXPECT_EQ(object->getIDForName("x", id, type, kDefaultLanguage), 45);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(type, kInfoNone);
    EXPECT_EQ(object->createIDForName("y", id, 0), 45);
    EXPECT_EQ(object->defineIDForName("y", 5, 0), 45);
    EXPECT_EQ(object->getNameForID(functionID, name, kDefaultLanguage), 45);
    EXPECT_EQ(name, "");
    EXPECT_EQ(object->getType(functionID), kInfoNone);
    EXPECT_EQ(object->enumerate(ids, -1), 45);
    EXPECT_EQ(object->deleteID(1), 45);
    EXPECT_EQ(object->clone(&made, false), 45);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(object->addComponent(*ruler), 45);
    EXPECT_EQ(object->removeComponent(*ruler), 45);
    EXPECT_EQ(object->getComponent(test::Ruler::unitID, nullptr), nullptr);
    EXPECT_EQ(object->findProperty(1), nullptr);
    EXPECT_EQ(object->parse("{a:1}", 0), 45);
    EXPECT_EQ(object->getClassInfo(0), nullptr);
    EXPECT_FALSE(*object == *object);
    object->deleteDynamicProperties(true);
    object->reset();
    EXPECT_EQ(ruler->resets, 0);

    object->revalidate();
    EXPECT_EQ(object->get("x", value, nullptr), 0);
    EXPECT_EQ(value, Variant(1));
}

// --- Data ----------------------------------------------------------------------------------------

TEST_F(LiveObjectTest, DeletesPlainDataAndReleasesCountedData)
{
    int plain = 0, counted = 0;
    const auto object = make<Plain>();
    object->setData(new PlainData(plain));
    auto *data = new CountedData(counted);
    object->setData(data);
    EXPECT_EQ(plain, 1);
    EXPECT_EQ(data->getRefCount(), 2);
    EXPECT_EQ(object->getData(), data);
    object->setData(data);
    EXPECT_EQ(data->getRefCount(), 2);
    object->setData(nullptr);
    EXPECT_EQ(data->getRefCount(), 1);
    EXPECT_EQ(object->getData(), nullptr);
    data->release();
    EXPECT_EQ(counted, 1);
}

TEST_F(LiveObjectTest, MayBeItsOwnData)
{
    auto *object = new Plain;
    object->setData(object);
    EXPECT_EQ(object->getRefCount(), 2);
    object->release();
    EXPECT_EQ(Plain::living, 1);
    object->setData(nullptr);
    EXPECT_EQ(Plain::living, 0);
}

// The data owns the object whose data it is: whoever ends that ends both.
TEST_F(LiveObjectTest, MayBeOwnedByItsData)
{
    struct Owner : Root
    {
        Owned<LiveObject> owned;
    };
    auto *owner = new Owner;
    owner->owned = make<Plain>();
    LiveObject *object = owner->owned.get();
    object->setData(owner);
    EXPECT_EQ(Plain::living, 1);
    object->setData(nullptr);
    EXPECT_EQ(Plain::living, 0);
}

// --- Identity ------------------------------------------------------------------------------------

TEST_F(LiveObjectTest, EqualsAnObjectOfTheSameClassIdTargetAndComponents)
{
    const auto target = make<Plain>();
    const auto ruler = make<test::Ruler>();
    const auto a = make<Plain>(), b = make<Plain>();
    EXPECT_TRUE(*a == *b);
    EXPECT_TRUE(*a == *a);
    EXPECT_FALSE(*a == *make<Plain>("Other"));

    a->setObjectID(5);
    EXPECT_EQ(a->getObjectID(), 5);
    EXPECT_FALSE(*a == *b);
    b->setObjectID(5);
    EXPECT_TRUE(*a == *b);

    a->setAutostore(target.get(), 1);
    EXPECT_FALSE(*a == *b);
    b->setAutostore(target.get(), 2);
    EXPECT_FALSE(*a == *b);
    b->setAutostore(target.get(), 1);
    EXPECT_TRUE(*a == *b);
    a->setAutostore(nullptr, 3);
    b->setAutostore(nullptr, 0);
    EXPECT_FALSE(*a == *b);
    b->setAutostore(nullptr, 3);
    EXPECT_TRUE(*a == *b);

    a->addComponent(*ruler);
    EXPECT_FALSE(*a == *b);
    b->addComponent(*ruler);
    EXPECT_TRUE(*a == *b);

    b->invalidate();
    EXPECT_FALSE(*a == *b);
    EXPECT_FALSE(*b == *a);
}

TEST_F(LiveObjectTest, HandsOutNewIdsInARow)
{
    const int first = LiveBase::getNextID();
    EXPECT_GE(first, 0x1F800000);
    EXPECT_EQ(LiveBase::getNextID(), first + 1);
}

TEST_F(LiveObjectTest, TellsWhenItsDefinitionsChange)
{
    Ear ear;
    const auto object = make<Plain>();
    object->propertyDefsChanged();
    object->addListener(ear, definitionsChanged);
    object->propertyDefsChanged();
    EXPECT_EQ(ear.heard, std::vector<int>{definitionsChanged});
}

// --- Operators and reset -------------------------------------------------------------------------

TEST_F(LiveObjectTest, RemembersThatItHasOperators)
{
    const auto document = make<Document>();
    EXPECT_EQ(document->getFlags() & 0x800000, 0U);
    EXPECT_TRUE(document->hasOperators());
    EXPECT_EQ(document->getFlags() & 0x800000, 0x800000U);
    document->setPropertyManager(nullptr);
    EXPECT_TRUE(document->hasOperators());
    EXPECT_FALSE(make<Plain>()->hasOperators());
}

TEST_F(LiveObjectTest, KeepsTheTopByteAndTheTwoLowestFlagsInAReset)
{
    const auto object = make<Plain>();
    const auto ruler = make<test::Ruler>();
    object->addComponent(*ruler);
    object->put("x", 1, kInfoReadWrite);
    object->put("kept", 1, kInfoReadWrite | kPropertyPermanent);
    object->setFlags(0xFFFFFFFF);
    object->reset();
    EXPECT_EQ(object->getFlags(), 0xFF000003U);
    EXPECT_EQ(ruler->resets, 1);
    Variant out;
    EXPECT_EQ(object->get("x", out), 2);
    EXPECT_EQ(object->get("kept", out), 2);
}

TEST_F(LiveObjectTest, FindsTheOperatorsOfItsComponentsAgainInAReset)
{
    struct Adder : LiveComponent
    {
        bool hasOperators() const override { return true; }
    };
    const auto object = make<Plain>();
    const auto adder = make<Adder>();
    object->addComponent(*adder);
    EXPECT_EQ(object->getFlags(), 0x800001U);
    object->reset();
    EXPECT_EQ(object->getFlags(), 0x800001U);
    object->removeComponent(*adder);
    object->reset();
    EXPECT_EQ(object->getFlags(), 1U);
}

TEST_F(LiveObjectTest, InitializesToNothing)
{
    EXPECT_EQ(make<Plain>()->initialize(Array(), nullptr), 0);
}

// --- The contract with hosts ---------------------------------------------------------------------

// The numbers stand in the code of hosts and interpreters.
TEST(LiveObjectNumbers, AreThoseOfTheirCharactersAndPlaces)
{
    struct Row
    {
        const char *code;
        int number;
    };
    const Row codes[] = {
        {" obj", asLiveObject},
        {" val", asValue},
        {" col", asLiveCollection},
        {" ard", asArray},
        {"unVA", asUnitValue},
        {"loGe", askGet},
        {"loPu", askPut},
        {"loCa", askCall},
        {"loIn", askInvoke},
        {"loCi", askCanInvoke},
        {"loGi", askID},
        {"loEn", askIDs},
        {"loIg", askGetIndex},
        {"loIp", askPutIndex},
        {"loIt", askDeleteIndex},
        {"loLG", askGetLength},
        {"loLS", askPutLength},
        {"loIw", becameInvalid},
        {"loRw", becameValid},
        {"loFo", definitionsChanged},
    };
    for (const Row &row : codes) {
        unsigned number = 0;
        for (const char *unit = row.code; *unit != '\0'; ++unit)
            number = number * 256 + static_cast<unsigned char>(*unit);
        EXPECT_EQ(row.number, static_cast<int>(number)) << row.code;
    }
    EXPECT_EQ(fourCharCode("\xFF\xFF\xFF\xFF"), -1);
    EXPECT_EQ(constructorID, 0x1FF00000);
    EXPECT_EQ(functionID, 0x1FF10000);
    EXPECT_EQ(firstOperatorID, 0x1FF10100);
    EXPECT_EQ(lastOperatorID, 0x1FF10118);
    EXPECT_EQ(firstGivenID, 0x1F800000);
    EXPECT_EQ(kInfoReadOnly, 1);
    EXPECT_EQ(kInfoReadWrite, 2);
    EXPECT_EQ(kInfoMethod, 5);
    EXPECT_EQ(kInfoReadWriteMethod, 6);
    EXPECT_EQ(kInfoReadOnlyMethod, 7);
    EXPECT_EQ(kInfoNone, 16);
    EXPECT_EQ(kInfoHidden, 17);
}

TEST(LiveObjectLayout, StandsOnItsBasesInOrder)
{
    static_assert(std::is_base_of_v<Refcountable, LiveBase>);
    static_assert(std::is_base_of_v<Lockable, LiveBase>);
    static_assert(std::is_base_of_v<LiveBase, LiveObject>);
    static_assert(std::is_base_of_v<Broadcaster, LiveObject>);
    static_assert(std::is_base_of_v<Listener, LiveObject>);
    static_assert(std::is_base_of_v<LiveBase, LiveComponent>);
    static_assert(std::is_base_of_v<LiveObject, LiveCollection>);
    static_assert(std::is_base_of_v<LiveCollection, LiveArray>);
    // Virtual table and count; lock; manager and valid flag; data of the broadcaster; virtual table
    // of the listener; data, flags and class name.
    static_assert(sizeof(LiveBase) == 16 + 8 + 16);
    static_assert(sizeof(LiveObject) == sizeof(LiveBase) + 8 + 8 + 24);
    static_assert(sizeof(LiveComponent) == sizeof(LiveBase));
    static_assert(sizeof(LiveCollection) == sizeof(LiveObject) + 8);
    static_assert(sizeof(LiveArray) == sizeof(LiveCollection) + sizeof(Array));
}

#ifdef TAVRIN_HAS_VIRTUAL_SLOTS
template <class Function>
std::size_t slotOf(Function function)
{
    return test::virtualSlot(function);
}

TEST(LiveObjectLayout, HasItsOperationsInTheirSlots)
{
    using ConstAs = const void *(LiveBase::*)(int) const;
    using As = void *(LiveBase::*)(int);
    using TextByText = int (LiveBase::*)(String &, int, const String *) const;
    using TextByID = int (LiveBase::*)(String &, int, int, bool) const;
    EXPECT_EQ(slotOf(&LiveBase::release), 2U);
    EXPECT_EQ(slotOf(static_cast<ConstAs>(&LiveBase::getAs)), 3U);
    EXPECT_EQ(slotOf(static_cast<As>(&LiveBase::getAs)), 4U);
    EXPECT_EQ(slotOf(&LiveBase::invalidate), 5U);
    EXPECT_EQ(slotOf(&LiveBase::revalidate), 6U);
    EXPECT_EQ(slotOf(static_cast<TextByText>(&LiveBase::getErrorText)), 7U);
    EXPECT_EQ(slotOf(static_cast<TextByID>(&LiveBase::getErrorText)), 8U);

    using Get = int (LiveObject::*)(int, Variant &, Error *) const;
    using Put = int (LiveObject::*)(int, const Variant &, Error *);
    using Call = int (LiveObject::*)(int, const Array &, Variant &, Error *);
    EXPECT_EQ(slotOf(&LiveObject::createProperty), 9U);
    EXPECT_EQ(slotOf(&LiveObject::createLocal), 10U);
    EXPECT_EQ(slotOf(&LiveObject::clone), 11U);
    EXPECT_EQ(slotOf(&LiveObject::initialize), 12U);
    EXPECT_EQ(slotOf(&LiveObject::getClassName), 13U);
    EXPECT_EQ(slotOf(&LiveObject::operator==), 14U);
    EXPECT_EQ(slotOf(&LiveObject::setData), 15U);
    EXPECT_EQ(slotOf(&LiveObject::getData), 16U);
    EXPECT_EQ(slotOf(&LiveObject::addComponent), 17U);
    EXPECT_EQ(slotOf(&LiveObject::removeComponent), 18U);
    EXPECT_EQ(slotOf(&LiveObject::getIDForName), 19U);
    EXPECT_EQ(slotOf(&LiveObject::createIDForName), 20U);
    EXPECT_EQ(slotOf(&LiveObject::defineIDForName), 21U);
    EXPECT_EQ(slotOf(&LiveObject::getNameForID), 22U);
    EXPECT_EQ(slotOf(&LiveObject::deleteDynamicProperties), 23U);
    EXPECT_EQ(slotOf(&LiveObject::hasOperators), 24U);
    EXPECT_EQ(slotOf(&LiveObject::deleteID), 25U);
    EXPECT_EQ(slotOf(&LiveObject::reset), 26U);
    EXPECT_EQ(slotOf(&LiveObject::enumerate), 27U);
    EXPECT_EQ(slotOf(&LiveObject::getType), 28U);
    EXPECT_EQ(slotOf(&LiveObject::getClassInfo), 29U);
    EXPECT_EQ(slotOf(static_cast<Get>(&LiveObject::get)), 30U);
    EXPECT_EQ(slotOf(static_cast<Put>(&LiveObject::put)), 31U);
    EXPECT_EQ(slotOf(static_cast<Call>(&LiveObject::call)), 32U);
    EXPECT_EQ(slotOf(&LiveObject::apply), 33U);
    EXPECT_EQ(slotOf(&LiveObject::valueOf), 34U);
    EXPECT_EQ(slotOf(&LiveObject::toString), 35U);
}

TEST(LiveObjectLayout, HasTheOperationsOfComponentsInTheirSlots)
{
    EXPECT_EQ(slotOf(&LiveComponent::reset), 9U);
    EXPECT_EQ(slotOf(&LiveComponent::getIDForName), 10U);
    EXPECT_EQ(slotOf(&LiveComponent::getNameForID), 11U);
    EXPECT_EQ(slotOf(&LiveComponent::getType), 12U);
    EXPECT_EQ(slotOf(&LiveComponent::hasOperators), 13U);
    EXPECT_EQ(slotOf(&LiveComponent::enumerate), 14U);
    EXPECT_EQ(slotOf(&LiveComponent::getServiceInfo), 15U);
    EXPECT_EQ(slotOf(&LiveComponent::get), 16U);
    EXPECT_EQ(slotOf(&LiveComponent::put), 17U);
    EXPECT_EQ(slotOf(&LiveComponent::call), 18U);
    EXPECT_EQ(slotOf(&LiveComponent::isGeneric), 19U);
    EXPECT_EQ(slotOf(&LiveComponent::isIndexable), 20U);
    EXPECT_EQ(slotOf(&LiveComponent::getLength), 21U);
    EXPECT_EQ(slotOf(&LiveComponent::putLength), 22U);
    EXPECT_EQ(slotOf(&LiveComponent::getByIndex), 23U);
    EXPECT_EQ(slotOf(&LiveComponent::putByIndex), 24U);
    EXPECT_EQ(slotOf(&LiveComponent::deleteByIndex), 25U);
}

TEST(LiveObjectLayout, HasTheOperationsOfCollectionsInTheirSlots)
{
    // Listener::notify, which LiveObject overrides, has a slot of its own before them.
    const std::size_t first = slotOf(&LiveCollection::getLength);
    EXPECT_GT(first, slotOf(&LiveObject::toString));
    EXPECT_EQ(slotOf(&LiveCollection::putLength), first + 1);
    EXPECT_EQ(slotOf(&LiveCollection::getByIndex), first + 2);
    EXPECT_EQ(slotOf(&LiveCollection::putByIndex), first + 3);
    EXPECT_EQ(slotOf(&LiveCollection::deleteByIndex), first + 4);
}
#endif
