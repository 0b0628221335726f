// SPDX-License-Identifier: MIT
// Every kind against every other one, beside a reference that works on what the samples are said to
// be worth. A new kind is a row in the table of samples.
#include <tavrin/Variant.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/LiveObject.h>
#include <tavrin/RegExp.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;

namespace {

using VariantCompareTest = test::LibraryTest;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

Variant null()
{
    Variant value;
    value.setNull();
    return value;
}

Variant scriptObject(double worth)
{
    auto *object = new test::FakeObject("it");
    object->onValue = [worth](Variant &primitive, int) {
        primitive = worth;
        return true;
    };
    return test::holding(object);
}

Variant liveObject(const char *className, double worth)
{
    const auto object = InterfacePtr<LiveObject>::adopt(new LiveObject(className, true));
    *static_cast<Variant *>(object->getAs(asValue)) = worth;
    return Variant(object.get());
}

struct Sample
{
    const char *name;
    VariantType kind;
    Variant (*make)();
    double number;
    const char *text;
};
const Sample samples[] = {
    {"undefined", kUndefined, [] { return Variant(); }, notANumber, "undefined"},
    {"null", kNull, null, 0, "null"},
    {"false", kBoolean, [] { return Variant(false); }, 0, "false"},
    {"true", kBoolean, [] { return Variant(true); }, 1, "true"},
    {"0", kNumber, [] { return Variant(0.0); }, 0, "0"},
    {"-0", kNumber, [] { return Variant(-0.0); }, -0.0, "0"},
    {"9", kNumber, [] { return Variant(9); }, 9, "9"},
    {"10", kNumber, [] { return Variant(10.0); }, 10, "10"},
    {"infinity", kNumber, [] { return Variant(infinity); }, infinity, "Infinity"},
    {"-infinity", kNumber, [] { return Variant(-infinity); }, -infinity, "-Infinity"},
    {"NaN", kNumber, [] { return Variant(notANumber); }, notANumber, "NaN"},
    {"empty string", kString, [] { return Variant(""); }, 0, ""},
    {"\"9\"", kString, [] { return Variant("9"); }, 9, "9"},
    {"\"10\"", kString, [] { return Variant("10"); }, 10, "10"},
    {"\"abc\"", kString, [] { return Variant("abc"); }, notANumber, "abc"},
    {"\"-Infinity\"", kString, [] { return Variant("-Infinity"); }, -infinity, "-Infinity"},
    {"unassigned", kObject, [] { return Variant(5, "Foo", nullptr); }, 5, "Foo"},
    {"object", kObject, [] { return scriptObject(9.5); }, 9.5, "[object it]"},
    {"live object", kLiveObject, [] { return liveObject("It", 9.5); }, 9.5, "[object It]"},
    {"other live object", kLiveObject, [] { return liveObject("Them", 8); }, 8, "[object Them]"},
    {"point", kPoint, [] { return Variant(Point(1, 2)); }, notANumber, "1:2"},
    {"other point", kPoint, [] { return Variant(Point(3, 4)); }, notANumber, "3:4"},
    {"rect", kRect, [] { return Variant(Rect(1, 2, 3, 4)); }, notANumber, "1:2-3:4"},
    {"other rect", kRect, [] { return Variant(Rect(1, 3, 4, 5)); }, notANumber, "1:3-4:5"},
    {"array", kArray,
     [] {
         return Variant(test::listOf({1, 2}));
     },
     notANumber, "[1,2]"},
    {"regular expression", kRegExp, [] { return Variant(RegExp("12", 0)); }, 12, "12"},
    {"other array", kArray,
     [] {
         return Variant(test::listOf({1, 10}));
     },
     notANumber, "[1,10]"},
};

int signOf(int value)
{
    return value == Variant::unordered ? value : (value > 0) - (value < 0);
}

// The rules, step by step.
int expectedOrder(const Sample &a, const Sample &b)
{
    const int textOrder = signOf(String(a.text).cmp(b.text));
    if (a.kind == b.kind) {
        switch (a.kind) {
        case kUndefined:
        case kNull:
            return 0;
        case kString:
            return textOrder;
        case kPoint:
            return a.make().getPoint()->cmp(*b.make().getPoint());
        case kRect:
            return signOf(a.make().getRect()->cmp(*b.make().getRect()));
        default:
            break;
        }
    }
    int preset = 0;
    std::optional<double> left;
    std::optional<double> right;
    if (a.kind == kUndefined)
        preset = -1;
    else if (a.kind <= kNumber || b.kind < kString)
        left = a.number;
    else
        preset = textOrder;
    if (b.kind == kUndefined)
        preset = 1;
    else
        right = b.number;
    if (!left || !right)
        return preset;
    if (std::isnan(*left) || std::isnan(*right))
        return Variant::unordered;
    return (*left > *right) - (*left < *right);
}

bool expectedEquality(const Sample &a, const Sample &b)
{
    if (a.kind != b.kind)
        return false;
    if (a.kind == kNumber)
        return a.number == b.number;
    return std::string(a.name) == b.name && a.kind != kObject;
}

} // namespace

TEST_F(VariantCompareTest, EveryKindIsOrderedWithEveryOtherOne)
{
    for (const Sample &a : samples)
        for (const Sample &b : samples) {
            SCOPED_TRACE(testing::Message() << a.name << " with " << b.name);
            const Variant left = a.make();
            const Variant right = b.make();
            EXPECT_EQ(signOf(left.compare(right)), expectedOrder(a, b));
            EXPECT_EQ(left < right, left.compare(right));
        }
    EXPECT_EQ(test::FakeObject::living(), 0);
}

TEST_F(VariantCompareTest, EveryKindIsComparedWithEveryOtherOne)
{
    for (const Sample &a : samples)
        for (const Sample &b : samples) {
            if (a.kind == kObject && b.kind == kObject)
                continue;
            SCOPED_TRACE(testing::Message() << a.name << " with " << b.name);
            EXPECT_EQ(a.make() == b.make(), expectedEquality(a, b));
            EXPECT_EQ(a.make() != b.make(), !expectedEquality(a, b));
        }
}

TEST_F(VariantCompareTest, NothingIsConvertedForEquality)
{
    EXPECT_FALSE(Variant(1) == Variant("1"));
    EXPECT_FALSE(Variant(1) == Variant(true));
    EXPECT_FALSE(Variant() == null());
    EXPECT_TRUE(Variant(0.0) == Variant(-0.0));
    EXPECT_FALSE(Variant(notANumber) == Variant(notANumber));
}

TEST_F(VariantCompareTest, NullAndFalseAreOrderedAsZero)
{
    EXPECT_EQ(null().compare(false), 0);
    EXPECT_LT(Variant().compare(0), 0);
    EXPECT_GT(Variant(0).compare(Variant()), 0);
    EXPECT_EQ(Variant().compare(Variant()), 0);
    EXPECT_LT(Variant().compare("abc"), 0);
    EXPECT_GT(Variant("abc").compare(Variant()), 0);
}

TEST_F(VariantCompareTest, AStringIsANumberBesideANumberOnly)
{
    EXPECT_EQ(Variant("10").compare(9), 1);
    EXPECT_LT(Variant("10").compare("9"), 0);
    EXPECT_EQ(Variant(9).compare("10"), -1);
    EXPECT_EQ(Variant("abc").compare(1), Variant::unordered);
}

TEST_F(VariantCompareTest, BooleansDifferByOne)
{
    EXPECT_EQ(Variant(true).compare(false), 1);
    EXPECT_EQ(Variant(false).compare(true), -1);
    EXPECT_EQ(Variant(true).compare(true), 0);
}

TEST_F(VariantCompareTest, NaNIsUnordered)
{
    EXPECT_EQ(Variant(notANumber).compare(1), 0x7FFFFFFF);
    EXPECT_EQ(Variant(1).compare(notANumber), 0x7FFFFFFF);
    EXPECT_EQ(Variant(notANumber).compare(notANumber), 0x7FFFFFFF);
    EXPECT_EQ(Variant(notANumber) < Variant(1), 0x7FFFFFFF);
}

TEST_F(VariantCompareTest, InfinitiesOfOneSignAreEqual)
{
    EXPECT_EQ(Variant(infinity).compare(infinity), 0);
    EXPECT_EQ(Variant(-infinity).compare(-infinity), 0);
    EXPECT_EQ(Variant(-infinity).compare(infinity), -1);
    EXPECT_EQ(Variant(infinity).compare(-infinity), 1);
    EXPECT_EQ(Variant(infinity).compare(1e308), 1);
    EXPECT_EQ(Variant(-1e308).compare(1e308), -1);
}

TEST_F(VariantCompareTest, PointsAndRectanglesCompareByTheirOwnRules)
{
    EXPECT_EQ(Variant(Point(1, 1)).compare(Point(2, 2)), 1);
    EXPECT_EQ(Variant(Point(1, 1)).compare(Point(2, 1)), -1);
    EXPECT_EQ(Variant(Rect(0, 0, 1, 1)).compare(Rect(0, 1, 2, 2)), 11);
}

TEST_F(VariantCompareTest, NaNCoordinatesAreNotEqualEvenToThemselves)
{
    const Variant point(Point(notANumber, 1));
    const Variant rect(Rect(1, 2, notANumber, 4));
    EXPECT_FALSE(point == point);
    EXPECT_FALSE(rect == rect);
    EXPECT_TRUE(Variant(Point(0.0, 1)) == Variant(Point(-0.0, 1)));
}

TEST_F(VariantCompareTest, ASharedElementIsComparedWithoutBeingWrittenTo)
{
    const Array a = test::listOf({1, 2.5, "x", Array(), Point()});
    const Array b = test::listOf({1, 2.5, "x", Array(), Point()});
    EXPECT_TRUE(Variant(a) == Variant(b));
}
