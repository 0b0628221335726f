// SPDX-License-Identifier: MIT
#include <tavrin/Variant.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Encoder.h>
#include <tavrin/Geometry.h>
#include <tavrin/InitTerm.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::described;

namespace {

using VariantTest = test::LibraryTest;

constexpr double infinity = std::numeric_limits<double>::infinity();

class Data : public Root
{};

void function() {}

} // namespace

// The kinds

TEST(VariantType, HasThirteenValuesInAFixedOrder)
{
    EXPECT_EQ(kUndefined, 0);
    EXPECT_EQ(kNull, 1);
    EXPECT_EQ(kBoolean, 2);
    EXPECT_EQ(kNumber, 3);
    EXPECT_EQ(kString, 4);
    EXPECT_EQ(kObject, 5);
    EXPECT_EQ(kLiveObject, 6);
    EXPECT_EQ(kPoint, 7);
    EXPECT_EQ(kRect, 8);
    EXPECT_EQ(kArray, 9);
    EXPECT_EQ(kFileSpec, 10);
    EXPECT_EQ(kRegExp, 11);
    EXPECT_EQ(kUnitValue, 12);
}

TEST(Variant, TheBitsOfNumbersHaveFixedValues)
{
    EXPECT_EQ(Variant::NUM_FINITE, 0x0001);
    EXPECT_EQ(Variant::NUM_INTEGER, 0x0002);
    EXPECT_EQ(Variant::NUM_UINTEGER, 0x0004);
    EXPECT_EQ(Variant::NUM_NAN, 0x0008);
    EXPECT_EQ(Variant::NUM_POSINF, 0x0010);
    EXPECT_EQ(Variant::NUM_NEGINF, 0x0020);
    EXPECT_EQ(Variant::NUM_MINUS0, 0x0040);
    EXPECT_EQ(Variant::NUM_ATTRS_SET, 0x0080);
    EXPECT_EQ(Variant::TEXT_VALID, 0x0100);
    EXPECT_EQ(Variant::HARD_REF, 0x0200);
}

// Construction

TEST(Variant, PlainValuesWorkBeforeInitAndAfterExit)
{
    const Variant number(2.5);
    Variant copy(number);
    EXPECT_EQ(copy.getDouble(), 2.5);
    copy = true;
    EXPECT_TRUE(copy.getBool());
    copy.erase();
    EXPECT_FALSE(copy.isDefined());
}

TEST(Variant, TextBeforeInitIsEmptyAndNothingThrows)
{
    const Variant number(2.5);
    EXPECT_EQ(number.getString().length(), 0);
    const Variant string("abc");
    EXPECT_EQ(string.getType(), kString);
    EXPECT_EQ(string.getString().length(), 0);
    EXPECT_EQ(Variant(Point(1, 2)).getPoint(), nullptr);
}

TEST(Variant, AllBytesZeroIsAnUndefinedValue)
{
    alignas(Variant) unsigned char storage[sizeof(Variant)] = {};
    auto *value = std::launder(reinterpret_cast<Variant *>(storage));
    EXPECT_EQ(value->getType(), kUndefined);
    *value = 5;
    EXPECT_EQ(value->getInteger(), 5);
    std::destroy_at(value);
}

TEST_F(VariantTest, ADefaultVariantIsUndefined)
{
    const Variant value;
    EXPECT_EQ(value.getType(), kUndefined);
    EXPECT_FALSE(value.isDefined());
    EXPECT_FALSE(value.isNull());
}

TEST_F(VariantTest, EachConstructorGivesItsKind)
{
    EXPECT_EQ(described(Variant(true)), "boolean true");
    EXPECT_EQ(described(Variant(-5)), "number -5");
    EXPECT_EQ(described(Variant(2.5)), "number 2.5");
    EXPECT_EQ(described(Variant(String("abc"))), "string abc");
    EXPECT_EQ(described(Variant("abc")), "string abc");
    const unsigned short units[] = {'x', 'y', 0};
    EXPECT_EQ(described(Variant(units)), "string xy");
    EXPECT_EQ(described(Variant(Point(1, 2))), "point 1:2");
    EXPECT_EQ(described(Variant(Rect(1, 2, 3, 4))), "rect 1:2-3:4");
    EXPECT_EQ(described(Variant(test::listOf({1, 2}))), "array [1,2]");
    EXPECT_EQ(described(Variant(7, "Foo", nullptr)), "object Foo");
    EXPECT_EQ(described(Variant(Variant(3))), "number 3");
}

TEST_F(VariantTest, IntegersOfEveryTypeAreNumbers)
{
    EXPECT_EQ(Variant(-2147483648).getDouble(), -2147483648.0);
    EXPECT_EQ(Variant(4294967295U).getDouble(), 4294967295.0);
    EXPECT_EQ(Variant(-5L).getDouble(), -5);
    EXPECT_EQ(Variant(std::uint64_t{1} << 63).getDouble(), std::ldexp(1.0, 63));
    EXPECT_EQ(Variant(short{-3}).getDouble(), -3);
    EXPECT_EQ(Variant(1.5F).getDouble(), 1.5);
}

TEST_F(VariantTest, BytesAreWidenedOrDecoded)
{
    const char *const bytes = "\xC3\xA9";
    EXPECT_EQ(Variant(bytes).getString().length(), 2);
    const Encoder *encoder = Encoder::get("UTF-8");
    const Variant decoded(bytes, encoder);
    EXPECT_EQ(decoded.getType(), kString);
    EXPECT_EQ(decoded.getString().length(), 1);
    EXPECT_EQ(decoded.getString().wstr()[0], 0xE9);
    Variant value(test::listOf({1}));
    value.setString(bytes, encoder);
    EXPECT_EQ(value, decoded);
    value.setString(bytes, Encoder::get("ISO-8859-1"));
    EXPECT_EQ(value.getString().length(), 2);
    value.setString("abc", nullptr);
    EXPECT_EQ(described(value), "string abc");
}

TEST_F(VariantTest, ANullTextIsAnEmptyString)
{
    EXPECT_EQ(described(Variant(static_cast<const char *>(nullptr))), "string ");
    EXPECT_EQ(described(Variant(static_cast<const unsigned short *>(nullptr))), "string ");
}

TEST_F(VariantTest, ANullVariantPointerGivesUndefined)
{
    EXPECT_EQ(Variant(static_cast<const Variant *>(nullptr)).getType(), kUndefined);
    const Variant number(5);
    EXPECT_EQ(described(Variant(&number)), "number 5");
}

TEST_F(VariantTest, AStrayPointerIsNoBoolean)
{
    EXPECT_FALSE((std::is_constructible_v<Variant, int *>));
    EXPECT_FALSE((std::is_constructible_v<Variant, void *>));
    EXPECT_FALSE((std::is_constructible_v<Variant, const Root *>));
    EXPECT_FALSE((std::is_constructible_v<Variant, decltype(&function)>));
    EXPECT_FALSE((std::is_assignable_v<Variant &, int *>));
    EXPECT_FALSE((std::is_assignable_v<Variant &, const Root *>));
    EXPECT_FALSE((std::is_assignable_v<Variant &, decltype(&function)>));
    EXPECT_TRUE((std::is_constructible_v<Variant, char *>));
    EXPECT_TRUE((std::is_assignable_v<Variant &, const char *>));
    function();
}

TEST_F(VariantTest, PayloadsArePrivateCopies)
{
    Point point(1, 2);
    Array array = test::listOf({1});
    const Variant ofPoint(point);
    const Variant ofArray(array);
    point.x = 9;
    array += 2;
    EXPECT_EQ(described(ofPoint), "point 1:2");
    EXPECT_EQ(described(ofArray), "array [1]");
    const Variant copy(ofPoint);
    copy.getPoint()->x = 5;
    EXPECT_EQ(described(ofPoint), "point 1:2");
    EXPECT_NE(copy.getPoint(), ofPoint.getPoint());
}

TEST_F(VariantTest, ACopyIsEqualInEveryKind)
{
    test::FakeObject &object = *new test::FakeObject("it");
    const Variant values[] = {Variant(),
                              true,
                              2.5,
                              "abc",
                              Variant(7, "Foo", nullptr),
                              test::holding(&object),
                              Point(1, 2),
                              Rect(1, 2, 3, 4),
                              test::listOf({1, "x"})};
    for (const Variant &value : values) {
        const Variant copy(value);
        EXPECT_EQ(copy, value);
        EXPECT_EQ(described(copy), described(value));
    }
}

TEST_F(VariantTest, AMoveTakesThePayloadAlong)
{
    Variant string("abc");
    const Variant takenString(std::move(string));
    EXPECT_EQ(described(takenString), "string abc");
    Variant array(test::listOf({1}));
    Array *payload = array.getArray();
    Variant takenArray(std::move(array));
    EXPECT_EQ(takenArray.getArray(), payload);
    Variant number(2.5);
    const Variant takenNumber(std::move(number));
    EXPECT_EQ(takenNumber.getDouble(), 2.5);
    Variant unassigned(7, "Foo", nullptr);
    const Variant takenUnassigned(std::move(unassigned));
    EXPECT_EQ(described(takenUnassigned), "object Foo");
    EXPECT_EQ(takenUnassigned.getInteger(), 7);
}

// Setters

TEST_F(VariantTest, EachSetterGivesItsKindFromEveryOtherOne)
{
    using Setter = void (*)(Variant &);
    struct Row
    {
        const char *expected;
        Setter set;
    };
    static const unsigned short units[] = {'x', 'y', 0};
    const Row rows[] = {
        {"undefined", [](Variant &v) { v.erase(); }},
        {"null", [](Variant &v) { v.setNull(); }},
        {"boolean true", [](Variant &v) { v.setBool(true); }},
        {"boolean false", [](Variant &v) { v = false; }},
        {"number 2.5", [](Variant &v) { v.setDouble(2.5); }},
        {"number 0.25", [](Variant &v) { v = 0.25; }},
        {"number -5", [](Variant &v) { v.setInteger(-5); }},
        {"number -6", [](Variant &v) { v = -6; }},
        {"number 3000000000", [](Variant &v) { v.setInteger(3000000000U); }},
        {"number 4000000000", [](Variant &v) { v = 4000000000U; }},
        {"number -7", [](Variant &v) { v = -7L; }},
        {"number NaN", [](Variant &v) { v.setNaN(); }},
        {"number Infinity", [](Variant &v) { v.setPosInfinity(); }},
        {"number -Infinity", [](Variant &v) { v.setNegInfinity(); }},
        {"number 0", [](Variant &v) { v.setMinus0(); }},
        {"string abc", [](Variant &v) { v.setString(String("abc")); }},
        {"string abd", [](Variant &v) { v = String("abd"); }},
        {"string def", [](Variant &v) { v.setString("def"); }},
        {"string deg", [](Variant &v) { v = "deg"; }},
        {"string xy", [](Variant &v) { v.setString(units); }},
        {"string xy", [](Variant &v) { v = units; }},
        {"object Foo", [](Variant &v) { v.setObject(7, "Foo", nullptr); }},
        {"object [object it]", [](Variant &v) { v.setJSObject(new test::FakeObject("it")); }},
        {"null", [](Variant &v) { v.setJSObject(static_cast<TvScript::Object *>(nullptr)); }},
        {"point 1:2", [](Variant &v) { v.setPoint(Point(1, 2)); }},
        {"point 3:4", [](Variant &v) { v = Point(3, 4); }},
        {"rect 1:2-3:4", [](Variant &v) { v.setRect(Rect(1, 2, 3, 4)); }},
        {"rect 5:6-7:8", [](Variant &v) { v = Rect(5, 6, 7, 8); }},
        {"array [1,2]",
         [](Variant &v) {
             v.setArray(test::listOf({1, 2}));
         }},
        {"array [3]", [](Variant &v) { v = test::listOf({3}); }},
    };
    for (const Row &before : rows)
        for (const Row &row : rows) {
            SCOPED_TRACE(testing::Message() << before.expected << " becomes " << row.expected);
            Variant value;
            before.set(value);
            EXPECT_EQ(described(value), before.expected);
            static_cast<void>(value.getString());
            row.set(value);
            EXPECT_EQ(described(value), row.expected);
        }
    EXPECT_EQ(test::FakeObject::living(), 0);
}

TEST_F(VariantTest, EraseGivesUndefined)
{
    Variant value("abc");
    value.erase();
    EXPECT_EQ(value.getType(), kUndefined);
    EXPECT_EQ(test::bytesOf(value.getString()), "undefined");
    value.erase();
    EXPECT_EQ(value.getType(), kUndefined);
}

TEST_F(VariantTest, ASetterMayReceiveAPartOfThePayload)
{
    Variant value(test::listOf({"abc", Point(1, 2), Rect(1, 2, 3, 4), test::listOf({7})}));
    const Variant before(value);
    value.setString((*value.getArray())[0].getString());
    EXPECT_EQ(described(value), "string abc");
    value = before;
    value.setString((*value.getArray())[0].getString().wstr() + 1);
    EXPECT_EQ(described(value), "string bc");
    value = before;
    value.setPoint(*(*value.getArray())[1].getPoint());
    EXPECT_EQ(described(value), "point 1:2");
    value = before;
    value.setRect(*(*value.getArray())[2].getRect());
    EXPECT_EQ(described(value), "rect 1:2-3:4");
    value = before;
    value.setArray(*(*value.getArray())[3].getArray());
    EXPECT_EQ(described(value), "array [7]");
    value = before;
    value.setObject(1, (*value.getArray())[0].getString(), nullptr);
    EXPECT_EQ(described(value), "object abc");
    value = before;
    value.setDouble((*value.getArray())[1].getPoint()->y);
    EXPECT_EQ(described(value), "number 2");
}

TEST_F(VariantTest, ASetterMayReceiveItsOwnTextOrPayload)
{
    Variant value(255);
    value.setString(value.getString());
    EXPECT_EQ(described(value), "string 255");
    value.setString(value.getString().wstr() + 1);
    EXPECT_EQ(described(value), "string 55");
    value = Point(1, 2);
    value.setPoint(*value.getPoint());
    EXPECT_EQ(described(value), "point 1:2");
    value = test::listOf({1});
    value.setArray(*value.getArray());
    EXPECT_EQ(described(value), "array [1]");
}

// Queries

TEST_F(VariantTest, PayloadAccessorsGiveNullForOtherKinds)
{
    const Variant values[] = {Variant(),   true,   2.5,    "abc", Variant(7, "Foo", nullptr),
                              Point(1, 2), Rect(), Array()};
    for (const Variant &value : values) {
        SCOPED_TRACE(described(value));
        EXPECT_EQ(value.getPoint() != nullptr, value.getType() == kPoint);
        EXPECT_EQ(value.getRect() != nullptr, value.getType() == kRect);
        EXPECT_EQ(value.getArray() != nullptr, value.getType() == kArray);
        EXPECT_EQ(value.getJSObject(), nullptr);
        EXPECT_EQ(value.getTavrinscriptEngine(), nullptr);
        EXPECT_EQ(value.getObjectData(), nullptr);
        EXPECT_FALSE(value.isValidObject());
        EXPECT_FALSE(value.hasUnassignedObjectData());
        EXPECT_EQ(value.getDataType(), value.getType());
        EXPECT_EQ(value.isDefined(), value.getType() != kUndefined);
    }
}

TEST_F(VariantTest, GetArrayMakesTheOtherArrayShare)
{
    Array out;
    EXPECT_FALSE(Variant(5).getArray(out));
    const Variant value(test::listOf({1, 2}));
    EXPECT_TRUE(value.getArray(out));
    EXPECT_EQ(test::textOf(out), "1,2");
    EXPECT_EQ(out.get(0), value.getArray()->get(0));
}

TEST_F(VariantTest, UnassignedObjectsHaveIdClassNameAndData)
{
    Data data;
    Variant value(7, "Foo", &data);
    EXPECT_EQ(value.getType(), kObject);
    EXPECT_TRUE(value.hasUnassignedObjectData());
    EXPECT_EQ(value.getObjectData(), &data);
    EXPECT_EQ(value.getInteger(), 7);
    EXPECT_FALSE(value.isValidObject());
    EXPECT_EQ(value.getJSObject(), nullptr);
    value.setObjectData(nullptr);
    EXPECT_FALSE(value.hasUnassignedObjectData());
    value.setObjectID(-5);
    EXPECT_EQ(value.getInteger(), 7);
    value.setObjectID(-11);
    EXPECT_EQ(value.getInteger(), -11);
    value.setObjectID(0);
    EXPECT_EQ(value.getInteger(), 0);
}

TEST_F(VariantTest, ObjectDataAndIdAreForObjectsOnly)
{
    Data data;
    Variant value(5);
    value.setObjectData(&data);
    value.setObjectID(9);
    EXPECT_EQ(described(value), "number 5");
    EXPECT_EQ(value.getObjectData(), nullptr);
}

// Ranges

TEST_F(VariantTest, ValidateTellsMismatchesAndRanges)
{
    EXPECT_EQ(Variant(5).validate(0, 10), 0);
    EXPECT_EQ(Variant(0).validate(0, 10), 0);
    EXPECT_EQ(Variant(10).validate(0, 10), 0);
    EXPECT_EQ(Variant(-1).validate(0, 10), 41);
    EXPECT_EQ(Variant(11).validate(0, 10), 41);
    EXPECT_EQ(Variant(5.5).validate(0, 10), 47);
    EXPECT_EQ(Variant("5").validate(0, 10), 47);
    EXPECT_EQ(Variant(3000000000.0).validate(INT_MIN, INT_MAX), 47);
    EXPECT_EQ(Variant(INT_MIN).validate(INT_MIN, INT_MAX), 0);

    EXPECT_EQ(Variant(3000000000.0).validate(0U, UINT_MAX), 0);
    EXPECT_EQ(Variant(UINT_MAX).validate(0U, UINT_MAX), 0);
    EXPECT_EQ(Variant(5).validate(6U, 7U), 41);
    EXPECT_EQ(Variant(-5).validate(0U, 7U), 47);
    EXPECT_EQ(Variant(true).validate(0U, 7U), 47);

    EXPECT_EQ(Variant(0.5).validate(0.0, 1.0), 0);
    EXPECT_EQ(Variant(1.5).validate(0.0, 1.0), 41);
    EXPECT_EQ(Variant(-infinity).validate(0.0, 1.0), 41);
    EXPECT_EQ(Variant(std::nan("")).validate(0.0, 1.0), 41);
    EXPECT_EQ(Variant("0.5").validate(0.0, 1.0), 47);
    EXPECT_EQ(Variant().validate(0.0, 1.0), 47);

    EXPECT_EQ(Variant(5).validate(kNumber), 0);
    EXPECT_EQ(Variant(5).validate(kString), 47);
    EXPECT_EQ(Variant().validate(kUndefined), 0);
}

TEST_F(VariantTest, ValidateConvertsNothing)
{
    const Variant value("5");
    EXPECT_EQ(value.validate(0, 10), 47);
    EXPECT_EQ(value.getType(), kString);
}
