// SPDX-License-Identifier: MIT
#include <tavrin/Variant.h>

#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::described;
using test::FakeObject;

namespace {

using VariantAssignmentTest = test::LibraryTest;

// One value of each kind that there is.
struct Sample
{
    const char *name;
    Variant (*make)();
};
const Sample samples[] = {
    {"undefined", [] { return Variant(); }},
    {"null",
     [] {
         Variant value;
         value.setNull();
         return value;
     }},
    {"boolean", [] { return Variant(true); }},
    {"number", [] { return Variant(2.5); }},
    {"string", [] { return Variant("abc"); }},
    {"unassigned object", [] { return Variant(7, "Foo", nullptr); }},
    {"script object", [] { return test::holding(new FakeObject("it")); }},
    {"point", [] { return Variant(Point(1, 2)); }},
    {"rect", [] { return Variant(Rect(1, 2, 3, 4)); }},
    {"array",
     [] {
         return Variant(test::listOf({1, "x"}));
     }},
};

} // namespace

TEST_F(VariantAssignmentTest, EveryKindCanBeAssignedToEveryKind)
{
    for (const Sample &target : samples)
        for (const Sample &source : samples) {
            SCOPED_TRACE(testing::Message() << target.name << " = " << source.name);
            Variant value = target.make();
            static_cast<void>(value.getString());
            const Variant from = source.make();
            const std::string expected = described(from);
            value = from;
            EXPECT_EQ(described(value), expected);
            EXPECT_EQ(value, from);
            EXPECT_EQ(described(from), expected);
        }
    EXPECT_EQ(FakeObject::living(), 0);
}

TEST_F(VariantAssignmentTest, EveryKindCanBeMovedToEveryKind)
{
    for (const Sample &target : samples)
        for (const Sample &source : samples) {
            SCOPED_TRACE(testing::Message() << target.name << " = move of " << source.name);
            Variant value = target.make();
            Variant from = source.make();
            const std::string expected = described(from);
            value = std::move(from);
            EXPECT_EQ(described(value), expected);
            from = 5;
            EXPECT_EQ(described(value), expected);
            EXPECT_EQ(described(from), "number 5");
        }
    EXPECT_EQ(FakeObject::living(), 0);
}

TEST_F(VariantAssignmentTest, EveryKindSurvivesAssignmentToItself)
{
    for (const Sample &sample : samples) {
        SCOPED_TRACE(sample.name);
        Variant value = sample.make();
        const std::string expected = described(value);
        Variant &alias = value;
        value = alias;
        EXPECT_EQ(described(value), expected);
        value = std::move(alias);
        EXPECT_EQ(described(value), expected);
    }
}

TEST_F(VariantAssignmentTest, AnElementOfThePayloadCanBeAssigned)
{
    for (const Sample &sample : samples) {
        SCOPED_TRACE(sample.name);
        const Variant element = sample.make();
        Variant value(test::listOf({element}));
        value = (*value.getArray())[0];
        EXPECT_EQ(described(value), described(element));
        Variant moved(test::listOf({element}));
        moved = std::move((*moved.getArray())[0]);
        EXPECT_EQ(described(moved), described(element));
    }
}

TEST_F(VariantAssignmentTest, AStringIsAssignedToTheStringThatIsThere)
{
    Variant value("abc");
    const String *text = &value.getString();
    value = Variant("def");
    EXPECT_EQ(&value.getString(), text);
    EXPECT_EQ(test::bytesOf(*text), "def");
}

TEST_F(VariantAssignmentTest, StringsShareTheirUnits)
{
    const Variant value("abc");
    const Variant copy(value);
    EXPECT_EQ(copy.getString().wstr(), value.getString().wstr());
}

TEST_F(VariantAssignmentTest, AssignmentKeepsTheHardMarkOfTheTargetAndTakesNone)
{
    for (const Sample &target : samples)
        for (const Sample &source : samples) {
            SCOPED_TRACE(testing::Message() << target.name << " = " << source.name);
            Variant hard = target.make();
            hard.setHardRef(true);
            Variant soft = source.make();
            soft = hard;
            EXPECT_FALSE(soft.isHardRef());
            const Variant copy(hard);
            EXPECT_FALSE(copy.isHardRef());
            hard = source.make();
            EXPECT_TRUE(hard.isHardRef());
            EXPECT_EQ(described(hard), described(source.make()));
            hard.erase();
            EXPECT_TRUE(hard.isHardRef());
            hard.convert(kString);
            EXPECT_TRUE(hard.isHardRef());
        }
}

TEST_F(VariantAssignmentTest, TheCachedTextOfANumberIsNotCopied)
{
    const Variant value(255);
    EXPECT_EQ(test::bytesOf(value.getString(16)), "ff");
    const Variant copy(value);
    EXPECT_EQ(test::bytesOf(copy.getString()), "255");
    Variant assigned("abc");
    assigned = value;
    EXPECT_EQ(test::bytesOf(assigned.getString()), "255");
    EXPECT_EQ(test::bytesOf(value.getString()), "ff");
}

TEST_F(VariantAssignmentTest, ACopyOfAPinnedStringIsItsOwn)
{
    String pinned("abc");
    pinned.makeUnique();
    const Variant value(pinned);
    EXPECT_EQ(described(value), "string abc");
    EXPECT_NE(value.getString().wstr(), pinned.wstr());
    Variant assigned("def");
    assigned = pinned;
    EXPECT_EQ(described(assigned), "string abc");
    EXPECT_NE(assigned.getString().wstr(), pinned.wstr());
}
