// SPDX-License-Identifier: MIT
// Every kind against every other one. A new kind is a row in the table of sources and a column in
// each row.
#include <tavrin/Variant.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveObject.h>
#include <tavrin/RegExp.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::described;

namespace {

using VariantConvertTest = test::LibraryTest;
using VariantConvertThreadTest = test::MultiThreadedLibraryTest;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr int kindCount = kUnitValue + 1;

Variant null()
{
    Variant value;
    value.setNull();
    return value;
}

// An object worth 42, with the text "[object it]" and the id 7.
Variant scriptObject()
{
    auto *object = new test::FakeObject("it");
    object->objectID = 7;
    object->onValue = [](Variant &primitive, int) {
        primitive = 42;
        return true;
    };
    return test::holding(object);
}

// An object worth 42.
Variant liveObject()
{
    const auto object = InterfacePtr<LiveObject>::adopt(new LiveObject("It", true));
    *static_cast<Variant *>(object->getAs(asValue)) = 42.5;
    return Variant(object.get());
}

Variant liveArray()
{
    const Array elements = test::listOf({1.9, "2"});
    const auto object = InterfacePtr<LiveObject>::adopt(new LiveArray(elements, "List", 0, false));
    return Variant(object.get());
}

// Values by what they are and by what they give.
struct Source
{
    const char *name;
    Variant (*make)();
    bool truth;
    double number;
    int integer;
    int clamped; // to -100 .. 100
    // What conversion to a point, a rectangle and an array gives.
    const char *point;
    const char *rect;
    const char *array;
};
const char *const noPoint = "point 0:0";
const char *const noRect = "rect 0:0-0:0";

const Source sources[] = {
    {"undefined", [] { return Variant(); }, false, notANumber, 0, 0, noPoint, noRect, "array []"},
    {"null", null, false, 0, 0, 0, noPoint, noRect, "array [null]"},
    {"true", [] { return Variant(true); }, true, 1, 1, 1, noPoint, noRect, "array [true]"},
    {"false", [] { return Variant(false); }, false, 0, 0, 0, noPoint, noRect, "array [false]"},
    {"0", [] { return Variant(0.0); }, false, 0, 0, 0, noPoint, noRect, "array [0]"},
    {"2.5", [] { return Variant(2.5); }, true, 2.5, 2, 2, noPoint, noRect, "array [2.5]"},
    {"NaN", [] { return Variant(notANumber); }, false, notANumber, 0, 0, noPoint, noRect,
     "array [NaN]"},
    {"infinity", [] { return Variant(infinity); }, true, infinity, 0, 100, noPoint, noRect,
     "array [Infinity]"},
    {"an empty string", [] { return Variant(""); }, false, 0, 0, 0, noPoint, noRect, "array []"},
    {"\"0\"", [] { return Variant("0"); }, true, 0, 0, 0, noPoint, noRect, "array [0]"},
    {"\" -12.5 \"", [] { return Variant(" -12.5 "); }, true, -12.5, -12, -12, noPoint, noRect,
     "array [-12.5]"},
    {"a list in text", [] { return Variant("7, 'x', [true]"); }, true, notANumber, 0, 0, noPoint,
     noRect, "array [7,x,[true]]"},
    {"an unassigned object", [] { return Variant(5, "Foo", nullptr); }, true, 5, 5, 5, noPoint,
     noRect, "array [NaN]"},
    {"a script object", scriptObject, true, 42, 7, 7, noPoint, noRect, "array [[NaN]]"},
    {"a live object", liveObject, true, 42.5, 42, 0, noPoint, noRect, "null"},
    {"a live array", liveArray, true, notANumber, 0, 0, noPoint, noRect, "array [1.9,2]"},
    {"a point", [] { return Variant(Point(1.5, 2.5)); }, false, notANumber, 0, 0, "point 1:2",
     noRect, "array [1.5,2.5]"},
    {"a rectangle", [] { return Variant(Rect(1.5, 2, 3, 4)); }, false, notANumber, 0, 0, noPoint,
     "rect 1:2-3:4", "array [1.5,2,3,4]"},
    {"an array",
     [] {
         return Variant(test::listOf({1.9, "2", true, -4}));
     },
     false, notANumber, 0, 0, "point 1:2", "rect 1:2-1:-4", "array [1.9,2,true,-4]"},
    {"a regular expression", [] { return Variant(RegExp("12", 0)); }, false, 12, 12, 12, noPoint,
     noRect, "array [12]"},
    {"a short array", [] { return Variant(test::listOf({5})); }, false, notANumber, 0, 0,
     "point 5:0", "rect 5:0-0:0", "array [5]"},
};

std::string textOf(double number)
{
    return test::bytesOf(Variant(number).getString());
}

// The text of the collection of the elements of an array.
std::string liveText(const std::string &array)
{
    const std::size_t start = array.find('[') + 1;
    return array.substr(start, array.size() - start - 1);
}

// What the conversion of a source to a kind has to give.
std::string expectedOf(const Source &source, VariantType to)
{
    const Variant value = source.make();
    if (value.getType() == to)
        return described(value);
    switch (to) {
    case kUndefined:
        return "undefined";
    case kBoolean:
        return source.truth ? "boolean true" : "boolean false";
    case kNumber:
        return "number " + textOf(source.number);
    case kString:
        return "string " + test::bytesOf(value.getString());
    case kPoint:
        return source.point;
    case kRect:
        return source.rect;
    case kArray:
        return source.array;
    case kRegExp:
        return "regexp " + test::bytesOf(value.getString());
    case kLiveObject:
        if (value.getType() < kPoint || value.getType() == kRegExp)
            return "null";
        return "live object " + liveText(source.array);
    default:
        return "null";
    }
}

void expectNumber(double actual, double expected)
{
    if (std::isnan(expected))
        EXPECT_TRUE(std::isnan(actual)) << actual;
    else
        EXPECT_EQ(actual, expected);
}

} // namespace

TEST_F(VariantConvertTest, EveryKindBecomesEveryOtherOne)
{
    for (const Source &source : sources)
        for (int kind = 0; kind < kindCount; ++kind) {
            const auto to = static_cast<VariantType>(kind);
            SCOPED_TRACE(testing::Message() << source.name << " to " << test::kindName(to));
            Variant value = source.make();
            value.convert(to);
            EXPECT_EQ(described(value), expectedOf(source, to));
        }
    EXPECT_EQ(test::FakeObject::living(), 0);
}

TEST_F(VariantConvertTest, EveryKindHasATruth)
{
    for (const Source &source : sources) {
        SCOPED_TRACE(source.name);
        EXPECT_EQ(source.make().getBool(), source.truth);
    }
}

TEST_F(VariantConvertTest, EveryKindHasANumber)
{
    for (const Source &source : sources) {
        SCOPED_TRACE(source.name);
        expectNumber(source.make().getDouble(), source.number);
    }
}

TEST_F(VariantConvertTest, EveryKindHasAnInteger)
{
    for (const Source &source : sources) {
        SCOPED_TRACE(source.name);
        EXPECT_EQ(source.make().getInteger(), source.integer);
        EXPECT_EQ(source.make().getUInteger(), static_cast<unsigned>(source.integer));
        EXPECT_EQ(source.make().getInteger(-100, 100), source.clamped);
    }
}

TEST_F(VariantConvertTest, ALiveObjectGivesItsTagForALimitedInteger)
{
    const auto object = InterfacePtr<LiveObject>::adopt(new LiveObject("It", true));
    EXPECT_EQ(Variant(object.get(), 500).getInteger(-100, 100), 500);
}

TEST_F(VariantConvertTest, AnArrayOfTheStringTrueIsFalse)
{
    EXPECT_FALSE(Variant(test::listOf({"true"})).getBool());
}

TEST_F(VariantConvertTest, StringsAreTrueByTheirLength)
{
    EXPECT_TRUE(Variant("0").getBool());
    EXPECT_TRUE(Variant("false").getBool());
    EXPECT_FALSE(Variant("").getBool());
    EXPECT_FALSE(Variant(-0.0).getBool());
}

TEST_F(VariantConvertTest, IntegersWrap)
{
    struct Row
    {
        double number;
        unsigned wrapped;
    };
    const Row rows[] = {
        {2147483648.0, 2147483648U},
        {4294967295.0, 4294967295U},
        {4294967296.0, 0},
        {4294967297.9, 1},
        {-1, 4294967295U},
        {-1.9, 4294967295U},
        {-2147483648.0, 2147483648U},
        {-2147483649.0, 2147483647U},
        {-4294967297.0, 4294967295U},
        {9007199254740993.0, 0},
        {9223372036854774784.0, 4294966272U},
        {9223372036854775808.0, 0},
        {-9223372036854775808.0, 0},
        {1e300, 0},
        {-1e300, 0},
        {infinity, 0},
        {-infinity, 0},
        {notANumber, 0},
        {-0.0, 0},
        {0.9, 0},
        {-0.9, 0},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Variant(row.number).getUInteger(), row.wrapped) << row.number;
        EXPECT_EQ(Variant(row.number).getInteger(), static_cast<int>(row.wrapped)) << row.number;
    }
    EXPECT_EQ(Variant("4294967297").getInteger(), 1);
}

TEST_F(VariantConvertTest, LimitedIntegersAreClampedAfterTruncationTo32Bits)
{
    EXPECT_EQ(Variant(50.9).getInteger(0, 100), 50);
    EXPECT_EQ(Variant(-5).getInteger(0, 100), 0);
    EXPECT_EQ(Variant(500).getInteger(0, 100), 100);
    EXPECT_EQ(Variant(3e9).getInteger(0, 100), 0);
    EXPECT_EQ(Variant(-3e9).getInteger(-100, 100), -100);
    EXPECT_EQ(Variant(3e9).getInteger(INT_MIN, INT_MAX), INT_MIN);
    EXPECT_EQ(Variant(2147483647.9).getInteger(INT_MIN, INT_MAX), INT_MAX);
    EXPECT_EQ(Variant(infinity).getInteger(0, 100), 100);
    EXPECT_EQ(Variant(infinity).getInteger(INT_MIN, INT_MAX), INT_MAX);
    EXPECT_EQ(Variant(-infinity).getInteger(0, 100), 0);
    EXPECT_EQ(Variant(-infinity).getInteger(INT_MIN, INT_MAX), INT_MIN);
    EXPECT_EQ(Variant(notANumber).getInteger(-100, 100), 0);
    EXPECT_EQ(Variant(notANumber).getInteger(5, 100), 5);
    EXPECT_EQ(Variant("77").getInteger(0, 100), 77);
}

TEST_F(VariantConvertTest, ConversionToTheOwnKindKeepsEverything)
{
    Variant value(255);
    static_cast<void>(value.getString(16));
    value.convert(kNumber);
    EXPECT_EQ(test::bytesOf(value.getString()), "ff");
    Variant array(test::listOf({1}));
    const Array *payload = array.getArray();
    array.convert(kArray);
    EXPECT_EQ(array.getArray(), payload);
}

TEST_F(VariantConvertTest, ConversionForgetsTheCachedText)
{
    Variant value(255);
    static_cast<void>(value.getString(16));
    value.convert(kBoolean);
    value.convert(kNumber);
    EXPECT_EQ(described(value), "number 1");
}

TEST_F(VariantConvertTest, AKindThatDoesNotExistGivesNull)
{
    Variant value(5);
    value.convert(static_cast<VariantType>(99));
    EXPECT_TRUE(value.isNull());
}

TEST_F(VariantConvertTest, CoordinatesFromAnArrayAreTruncatedAndWrapped)
{
    Variant value(test::listOf({-1.9, 4294967297.0}));
    value.convert(kPoint);
    EXPECT_EQ(described(value), "point -1:1");
}

TEST_F(VariantConvertTest, AMalformedListGivesTheElementsBeforeTheFault)
{
    Variant value("1,2,[3");
    value.convert(kArray);
    EXPECT_EQ(described(value), "array [1,2]");
}

// The thread sanitizer sees whether one of them writes to the elements.
TEST_F(VariantConvertThreadTest, CopiesOfOneArrayAreConvertedOnManyThreads)
{
    const Array shared = test::listOf({1, 2.5, "3", true});
    test::runOnThreads(4, [&](int) {
        for (int count = 0; count < 500; ++count) {
            Variant point(shared);
            point.convert(kPoint);
            ASSERT_EQ(*point.getPoint(), Point(1, 2));
            Variant rect(shared);
            rect.convert(kRect);
            ASSERT_EQ(*rect.getRect(), Rect(1, 2, 3, 1));
            Variant object(shared);
            object.convert(kLiveObject);
            ASSERT_EQ(*object.getArray(), shared);
        }
    });
}
