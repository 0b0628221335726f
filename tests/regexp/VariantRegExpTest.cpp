// SPDX-License-Identifier: MIT
// Regular expressions as values.
#include <tavrin/Variant.h>

#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>

#include "regexp/Matches.h"
#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/ValueText.h"

namespace Tavrin::test {
namespace {

using VariantRegExpTest = LibraryTest;

std::string patternOf(const Variant &value)
{
    const RegExp *expression = value.getRegExp();
    return expression != nullptr ? bytesOf(expression->getPattern()) : "none";
}

TEST_F(VariantRegExpTest, AValueOwnsAHandle)
{
    const RegExp expression("a+", RegExp::ignoreCase);
    const Variant value(expression);
    EXPECT_EQ(value.getType(), kRegExp);
    EXPECT_EQ(value.getDataType(), kRegExp);
    ASSERT_NE(value.getRegExp(), nullptr);
    EXPECT_NE(value.getRegExp(), &expression);
    EXPECT_EQ(&value.getRegExp()->getPattern(), &expression.getPattern());
    EXPECT_EQ(value.getRegExp()->getFlags(), RegExp::ignoreCase);
}

TEST_F(VariantRegExpTest, ItIsSetAndReplaced)
{
    Variant value(3);
    value.setRegExp(RegExp("a", 0));
    EXPECT_EQ(patternOf(value), "a");
    value = RegExp("b", 0);
    EXPECT_EQ(patternOf(value), "b");
    value.setRegExp(*value.getRegExp());
    EXPECT_EQ(patternOf(value), "b");
    value = "text";
    EXPECT_EQ(value.getRegExp(), nullptr);
    EXPECT_EQ(described(value), "string text");
    value = RegExp("c", 0);
    value.erase();
    EXPECT_FALSE(value.isDefined());
    EXPECT_EQ(value.getRegExp(), nullptr);
}

TEST_F(VariantRegExpTest, OtherKindsHaveNone)
{
    EXPECT_EQ(Variant().getRegExp(), nullptr);
    EXPECT_EQ(Variant("a").getRegExp(), nullptr);
    EXPECT_EQ(Variant(5, "Foo", nullptr).getRegExp(), nullptr);
}

TEST_F(VariantRegExpTest, ACopyIsOfThatKindWithoutTheExpression)
{
    const Variant source(RegExp("a", 0));
    const Variant copy(source);
    EXPECT_EQ(copy.getType(), kRegExp);
    EXPECT_EQ(copy.getRegExp(), nullptr);
    EXPECT_EQ(copy.getString(), "");
    Variant assigned(RegExp("b", 0));
    assigned = source;
    EXPECT_EQ(assigned.getType(), kRegExp);
    EXPECT_EQ(assigned.getRegExp(), nullptr);
    Variant number(1);
    number = source;
    EXPECT_EQ(number.getType(), kRegExp);
    EXPECT_EQ(number.getRegExp(), nullptr);
    number = copy;
    EXPECT_EQ(number.getRegExp(), nullptr);
    EXPECT_EQ(patternOf(source), "a");
    const Variant fromPointer(&source);
    EXPECT_EQ(fromPointer.getType(), kRegExp);
}

TEST_F(VariantRegExpTest, AssignmentToItselfChangesNothing)
{
    Variant value(RegExp("a", 0));
    const Variant &self = value;
    value = self;
    EXPECT_EQ(patternOf(value), "a");
}

TEST_F(VariantRegExpTest, MovingHandsItOver)
{
    Variant source(RegExp("a", 0));
    Variant moved(std::move(source));
    EXPECT_EQ(patternOf(moved), "a");
    Variant assigned(2);
    assigned = std::move(moved);
    EXPECT_EQ(patternOf(assigned), "a");
}

TEST_F(VariantRegExpTest, ElementsThatAreShiftedKeepIt)
{
    Array list;
    list += Variant(1);
    list[0] = RegExp("a", 0);
    list.insertAt(0, 1);
    EXPECT_EQ(patternOf(list[1]), "a");
}

TEST_F(VariantRegExpTest, ItsTextIsThePattern)
{
    const Variant value(RegExp("a+", 0));
    EXPECT_EQ(value.getString(), "a+");
    EXPECT_EQ(value.toString(), "a+");
    EXPECT_EQ(value.getString(16), "a+");
    EXPECT_EQ(Variant(RegExp()).getString(), "(?:)");
    EXPECT_EQ(Variant(RegExp("(", 0)).getString(), "(");
}

TEST_F(VariantRegExpTest, ItIsTrueIfThePatternSaysSo)
{
    EXPECT_TRUE(Variant(RegExp("true", 0)).getBool());
    EXPECT_FALSE(Variant(RegExp("a", 0)).getBool());
    EXPECT_FALSE(Variant(RegExp("1", 0)).getBool());
    EXPECT_FALSE(Variant(RegExp("", 0)).getBool());
}

TEST_F(VariantRegExpTest, ItsNumberIsThatOfThePattern)
{
    EXPECT_EQ(Variant(RegExp(" 12.5 ", 0)).getDouble(), 12.5);
    EXPECT_EQ(Variant(RegExp("0x10", 0)).getInteger(), 16);
    EXPECT_EQ(Variant(RegExp("", 0)).getDouble(), 0);
    EXPECT_TRUE(std::isnan(Variant(RegExp("a", 0)).getDouble()));
    EXPECT_EQ(Variant(RegExp("1e3", 0)).getInteger(0, 100), 100);
    EXPECT_FALSE(Variant(RegExp("1", 0)).isInteger());
    EXPECT_TRUE(Variant(RegExp("a", 0)).isNaN());
}

TEST_F(VariantRegExpTest, OtherKindsBecomeOneByTheirText)
{
    const struct
    {
        Variant value;
        const char *pattern;
    } rows[] = {
        {Variant("a+"), "a+"}, {Variant(), "undefined"},      {Variant(true), "true"},
        {Variant(2.5), "2.5"}, {Variant(Point(1, 2)), "1:2"}, {Variant(5, "Foo", nullptr), "Foo"},
        {Variant("("), "("}};
    for (const auto &row : rows) {
        Variant value(row.value);
        value.convert(kRegExp);
        EXPECT_EQ(value.getType(), kRegExp);
        EXPECT_EQ(patternOf(value), row.pattern);
        EXPECT_EQ(value.getRegExp()->getFlags(), 0);
    }
}

TEST_F(VariantRegExpTest, ItBecomesOtherKinds)
{
    const auto converted = [](const char *pattern, VariantType to) {
        Variant value(RegExp(pattern, 0));
        value.convert(to);
        return described(value);
    };
    EXPECT_EQ(converted("a", kString), "string a");
    EXPECT_EQ(converted("12", kNumber), "number 12");
    EXPECT_EQ(converted("true", kBoolean), "boolean true");
    EXPECT_EQ(converted("1,2", kArray), "array [1,2]");
    EXPECT_EQ(converted("1,2", kPoint), "point 0:0");
    EXPECT_EQ(converted("a", kNull), "null");
    EXPECT_EQ(converted("a", kUndefined), "undefined");
    EXPECT_EQ(converted("a", kObject), "null");
    Variant value(RegExp("a", RegExp::multiLine));
    value.convert(kRegExp);
    EXPECT_EQ(value.getRegExp()->getFlags(), RegExp::multiLine);
}

TEST_F(VariantRegExpTest, AnyTwoAreEqual)
{
    const Variant a(RegExp("a", 0));
    const Variant b(RegExp("b", RegExp::ignoreCase));
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a == Variant("a"));
    EXPECT_TRUE(a == Variant(b));
}

TEST_F(VariantRegExpTest, TheyAreOrderedByTheirPatterns)
{
    const Variant a(RegExp("a", RegExp::ignoreCase));
    const Variant b(RegExp("b", 0));
    EXPECT_LT(a.compare(b), 0);
    EXPECT_GT(b.compare(a), 0);
    EXPECT_EQ(a.compare(Variant(RegExp("a", 0))), 0);
    EXPECT_LT(a.compare(Variant("b")), 0);
    EXPECT_EQ(Variant(RegExp("12", 0)).compare(Variant(12)), 0);
    EXPECT_EQ(a.compare(Variant(12)), Variant::unordered);
    EXPECT_LT(Variant(a).compare(b), 0); // the copy has no pattern
}

TEST_F(VariantRegExpTest, AScriptObjectMayBeOne)
{
    auto *object = new FakeObject("it");
    const Variant boxed(RegExp("a", 0));
    object->boxed = &boxed;
    const Variant value = holding(object);
    EXPECT_EQ(value.getRegExp(), nullptr);
    EXPECT_EQ(value.getDataType(), kObject);
    object->classTag = TvScript::Object::regExpTag;
    EXPECT_EQ(patternOf(value), "a");
    EXPECT_EQ(value.getType(), kObject);
    EXPECT_EQ(value.getDataType(), kRegExp);
    EXPECT_EQ(value.validate(kRegExp), 0);
    Variant converted(value);
    converted.convert(kRegExp);
    EXPECT_EQ(converted.getType(), kRegExp);
    EXPECT_EQ(patternOf(converted), "a");
}

TEST_F(VariantRegExpTest, AScriptObjectMayHoldNothingOrItself)
{
    auto *object = new FakeObject("it");
    object->classTag = TvScript::Object::regExpTag;
    Variant value = holding(object);
    EXPECT_EQ(value.getRegExp(), nullptr);
    EXPECT_EQ(value.getDataType(), kObject);
    object->boxed = &value;
    EXPECT_EQ(value.getRegExp(), nullptr);
    const Variant text("a");
    object->boxed = &text;
    EXPECT_EQ(value.getRegExp(), nullptr);
    value.convert(kRegExp);
    EXPECT_EQ(patternOf(value), "[object it]");
}

TEST_F(VariantRegExpTest, WithoutMemoryThereIsNoExpression)
{
    const RegExp expression("a", 0);
    underMemoryFailure([] { return Variant(1); },
                       [&](Variant &value) { value.setRegExp(expression); },
                       [](const Variant &value, bool failed) {
                           EXPECT_FALSE(failed);
                           EXPECT_EQ(value.getType(), kRegExp);
                           EXPECT_TRUE(patternOf(value) == "a" || patternOf(value) == "none");
                       });
    underMemoryFailure(
        [] { return Variant("a(b)*[c-d]{2}"); }, [](Variant &value) { value.convert(kRegExp); },
        [](const Variant &value, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_EQ(value.getType(), kRegExp);
            EXPECT_TRUE(value.getString() == "" || value.getString() == "a(b)*[c-d]{2}");
        });
}

} // namespace
} // namespace Tavrin::test
