// SPDX-License-Identifier: MIT
// The components of an object; what they answer is in LiveObjectDispatchTest.cpp.
#include <tavrin/LiveComponent.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::make;
using test::Plain;
using test::Ruler;
using test::Shelf;
using test::Veil;

namespace {

using LiveObjectComponentTest = test::LibraryTest;

} // namespace

TEST_F(LiveObjectComponentTest, HoldsAReferenceToEach)
{
    const auto ruler = make<Ruler>();
    const auto object = make<Plain>();
    EXPECT_EQ(object->addComponent(*ruler), 0);
    EXPECT_EQ(ruler->getRefCount(), 2);
    EXPECT_EQ(object->addComponent(*ruler), 0);
    EXPECT_EQ(ruler->getRefCount(), 2);
    EXPECT_EQ(object->removeComponent(*ruler), 0);
    EXPECT_EQ(ruler->getRefCount(), 1);
    EXPECT_EQ(object->removeComponent(*ruler), 0);
    EXPECT_EQ(ruler->getRefCount(), 1);
}

TEST_F(LiveObjectComponentTest, KeepsTheLastReference)
{
    const auto object = make<Plain>();
    auto *ruler = new Ruler;
    object->addComponent(*ruler);
    ruler->release();
    EXPECT_EQ(Ruler::living, 1);
    object->removeComponent(*ruler);
    EXPECT_EQ(Ruler::living, 0);
}

TEST_F(LiveObjectComponentTest, MayServeSeveralObjects)
{
    const auto ruler = make<Ruler>();
    const auto a = make<Plain>(), b = make<Plain>();
    a->addComponent(*ruler);
    b->addComponent(*ruler);
    Variant out;
    EXPECT_EQ(a->put("unit", "cm", LiveObject::onlyKnown), 0);
    EXPECT_EQ(b->get("unit", out), 0);
    EXPECT_EQ(out, Variant("cm"));
}

TEST_F(LiveObjectComponentTest, FindsTheLastOneThatAnswersForAnId)
{
    const auto object = make<Plain>();
    const auto first = make<Ruler>(), second = make<Ruler>();
    object->addComponent(*first);
    object->addComponent(*second);
    EXPECT_EQ(object->getComponent(Ruler::unitID, nullptr), second.get());
    EXPECT_EQ(object->lookupComponent(Ruler::unitID), second.get());
    EXPECT_EQ(object->getComponent(Ruler::unitID, second.get()), first.get());
    EXPECT_EQ(object->getComponent(Ruler::unitID, first.get()), second.get());
    EXPECT_EQ(object->getComponent(12345, nullptr), nullptr);
}

TEST_F(LiveObjectComponentTest, FindsNothingBehindOneThatHides)
{
    const auto object = make<Plain>();
    const auto ruler = make<Ruler>();
    const auto veil = make<Veil>(kInfoHidden);
    object->addComponent(*ruler);
    object->addComponent(*veil);
    EXPECT_EQ(object->getComponent(Ruler::unitID, nullptr), nullptr);
    EXPECT_EQ(object->getComponent(Ruler::unitID, veil.get()), ruler.get());
}

TEST_F(LiveObjectComponentTest, FindsTheLastIndexableOne)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->lookupIndexableComponent(), nullptr);
    const auto first = make<Shelf>(), second = make<Shelf>();
    const auto ruler = make<Ruler>();
    object->addComponent(*first);
    object->addComponent(*second);
    object->addComponent(*ruler);
    EXPECT_EQ(object->lookupIndexableComponent(), second.get());
}

TEST_F(LiveObjectComponentTest, OneWithOperatorsGivesThemToTheObject)
{
    static constexpr LivePropertyInfo rows[] = {{"+", firstOperatorID + 5, kInfoMethod, nullptr},
                                                {nullptr, 0, 0, nullptr}};
    const LivePropertyManager manager(rows);
    struct Adder : LiveComponent
    {};
    const auto adder = make<Adder>();
    adder->setPropertyManager(&manager);
    EXPECT_TRUE(adder->hasOperators());
    const auto object = make<Plain>();
    object->addComponent(*adder);
    EXPECT_TRUE(object->hasOperators());
}

TEST_F(LiveObjectComponentTest, OneThatThrowsIsAddedAllTheSame)
{
    struct Throwing : LiveComponent
    {
        bool hasOperators() const override { throw std::runtime_error("no"); }
        bool isIndexable() const override { throw std::runtime_error("no"); }
        void reset() override { throw std::runtime_error("no"); }
    };
    const auto object = make<Plain>();
    const auto throwing = make<Throwing>();
    EXPECT_EQ(object->addComponent(*throwing), -29);
    EXPECT_EQ(throwing->getRefCount(), 2);
    EXPECT_EQ(object->lookupIndexableComponent(), nullptr);
    object->reset();
    EXPECT_EQ(object->removeComponent(*throwing), 0);
}

// A component whose end looks at the object.
TEST_F(LiveObjectComponentTest, ADyingComponentFindsTheObjectWithoutIt)
{
    struct Dying : Ruler
    {
        explicit Dying(LiveObject &whose) : object(whose) {}
        ~Dying() override
        {
            Variant out;
            EXPECT_EQ(object.get(Ruler::unitID, out, nullptr), 2);
        }
        LiveObject &object;
    };
    const auto object = make<Plain>();
    auto *dying = new Dying(*object);
    object->addComponent(*dying);
    dying->release();
    object->removeComponent(*dying);
    EXPECT_EQ(Ruler::living, 0);
}
