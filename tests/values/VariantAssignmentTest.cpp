// SPDX-License-Identifier: MIT
#include <tavrin/Variant.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/LiveObject.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::described;
using test::FakeObject;

namespace {

using VariantAssignmentTest = test::LibraryTest;

Variant liveObject()
{
    const auto object = InterfacePtr<LiveObject>::adopt(new LiveObject("It", true));
    return Variant(object.get());
}

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
    {"live object", liveObject},
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

// Values whose end comes while they change

TEST_F(VariantAssignmentTest, AValueMayEndWhileWhatItHeldIsDestroyed)
{
    struct Change
    {
        const char *name;
        void (*run)(Variant &);
    };
    const unsigned short units[] = {'a', 0};
    static const unsigned short *const text = units;
    const Change changes[] = {
        {"boolean", [](Variant &value) { value = true; }},
        {"int", [](Variant &value) { value = 5; }},
        {"unsigned", [](Variant &value) { value = 5U; }},
        {"double", [](Variant &value) { value = 2.5; }},
        {"wide integer", [](Variant &value) { value = std::int64_t{5}; }},
        {"NaN", [](Variant &value) { value.setNaN(); }},
        {"infinity", [](Variant &value) { value.setPosInfinity(); }},
        {"negative infinity", [](Variant &value) { value.setNegInfinity(); }},
        {"minus zero", [](Variant &value) { value.setMinus0(); }},
        {"null", [](Variant &value) { value.setNull(); }},
        {"bytes", [](Variant &value) { value = "bytes"; }},
        {"encoded bytes", [](Variant &value) { value.setString("bytes", nullptr); }},
        {"units", [](Variant &value) { value = text; }},
        {"string", [](Variant &value) { value = String("string"); }},
        {"point", [](Variant &value) { value = Point(1, 2); }},
        {"rect", [](Variant &value) { value = Rect(1, 2, 3, 4); }},
        {"array", [](Variant &value) { value = test::listOf({1}); }},
        {"unassigned object", [](Variant &value) { value.setObject(7, "Foo", nullptr); }},
        {"script object", [](Variant &value) { value.setJSObject(new FakeObject); }},
        {"live object", [](Variant &value) { value = liveObject(); }},
        {"no live object", [](Variant &value) { value = static_cast<LiveObject *>(nullptr); }},
        {"no script object", [](Variant &value) { value.setJSObject(nullptr); }},
        {"copy", [](Variant &value) { value = Variant("abc"); }},
        {"plain copy",
         [](Variant &value) {
             const Variant source(5);
             value = source;
         }},
        {"erase", [](Variant &value) { value.erase(); }},
        {"conversion to a number", [](Variant &value) { value.convert(kNumber); }},
        {"conversion to a string", [](Variant &value) { value.convert(kString); }},
        {"conversion to nothing", [](Variant &value) { value.convert(kUndefined); }},
    };
    constexpr unsigned char trace = 0xA5;
    for (const Change &change : changes)
        for (const bool isElement : {false, true}) {
            SCOPED_TRACE(testing::Message() << change.name << (isElement ? ", an element" : ""));
            alignas(Variant) unsigned char storage[sizeof(Variant)];
            auto *value = ::new (static_cast<void *>(storage)) Variant;
            auto *object = new FakeObject;
            object->onDestroy = [&] {
                value->~Variant();
                std::fill(std::begin(storage), std::end(storage), trace);
            };
            if (isElement)
                *value = test::listOf({test::holding(object)});
            else
                value->setJSObject(object);
            change.run(*value);
            for (const unsigned char byte : storage)
                ASSERT_EQ(byte, trace);
        }
    EXPECT_EQ(FakeObject::living(), 0);
}
