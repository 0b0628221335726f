// SPDX-License-Identifier: MIT
// Every operation with each of its requests for memory refused in turn. Nothing throws: a payload
// that there was no memory for is null, the kind is the new one, and it reads as an empty value.
#include <tavrin/Variant.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Encoder.h>
#include <tavrin/Geometry.h>

#include "support/FakeObject.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/TestAllocator.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::described;

namespace {

using VariantMemoryTest = test::LibraryTest;

const char *const longText = "a text that needs a block of its own, whoever holds it";

String pinnedText()
{
    String text(longText);
    text.makeUnique();
    return text;
}

Array pinnedArray()
{
    Array array = test::listOf({1, longText});
    array.makeUnique();
    return array;
}

struct Operation
{
    const char *name;
    void (*run)(Variant &value);
    // What the value may be afterwards.
    std::vector<std::string> results;
};

const Operation operations[] = {
    {"setString of bytes", [](Variant &v) { v.setString("abc"); }, {"string abc", "string "}},
    {"setString of units",
     [](Variant &v) {
         const unsigned short units[] = {'x', 0};
         v.setString(units);
     },
     {"string x", "string "}},
    {"setPoint", [](Variant &v) { v.setPoint(Point(1, 2)); }, {"point 1:2", "point 0:0"}},
    {"setRect", [](Variant &v) { v.setRect(Rect(1, 2, 3, 4)); }, {"rect 1:2-3:4", "rect 0:0-0:0"}},
    {"setArray", [](Variant &v) { v.setArray(Array()); }, {"array []"}},
    {"convert to a string", [](Variant &v) { v.convert(kString); }, {"string 255", "string "}},
    {"convert to a point", [](Variant &v) { v.convert(kPoint); }, {"point 0:0"}},
    {"convert to a rectangle", [](Variant &v) { v.convert(kRect); }, {"rect 0:0-0:0"}},
    {"convert to an array", [](Variant &v) { v.convert(kArray); }, {"array [255]", "array []"}},
    {"convert to a number", [](Variant &v) { v.convert(kNumber); }, {"number 255"}},
    {"convert to a boolean", [](Variant &v) { v.convert(kBoolean); }, {"boolean true"}},
    {"getString", [](Variant &v) { static_cast<void>(v.getString()); }, {"number 255"}},
    {"getString with a radix",
     [](Variant &v) { static_cast<void>(v.getString(2)); },
     {"number 255"}},
    {"getString with a mode",
     [](Variant &v) { static_cast<void>(v.getString(1, 50)); },
     {"number 255"}},
    {"compare with an array",
     [](Variant &v) { static_cast<void>(Variant("x").compare(Variant(v))); },
     {"number 255"}},
};

} // namespace

TEST_F(VariantMemoryTest, OperationsNeverThrowAndLeaveAValidValue)
{
    for (const Operation &operation : operations)
        for (const bool hasText : {false, true}) {
            SCOPED_TRACE(operation.name);
            test::underMemoryFailure(
                [=] {
                    Variant value(255);
                    if (hasText)
                        static_cast<void>(value.getString());
                    return value;
                },
                [&](Variant &value) { operation.run(value); },
                [&](const Variant &value, bool failed) {
                    EXPECT_FALSE(failed);
                    const std::string result = described(value);
                    bool isKnown = false;
                    for (const std::string &known : operation.results)
                        isKnown = isKnown || known == result;
                    EXPECT_TRUE(isKnown) << result;
                },
                test::Allocates::perhaps);
        }
}

TEST_F(VariantMemoryTest, DecodingNeverThrows)
{
    const Encoder *encoder = Encoder::get("UTF-8");
    test::underMemoryFailure([] { return Variant(test::listOf({1})); },
                             [&](Variant &value) { value.setString(longText, encoder); },
                             [](const Variant &value, bool failed) {
                                 EXPECT_FALSE(failed);
                                 EXPECT_EQ(value.getType(), kString);
                                 EXPECT_TRUE(value == Variant(longText) ||
                                             value.getString().length() == 0);
                             });
}

TEST_F(VariantMemoryTest, ConstructionNeverThrows)
{
    test::underMemoryFailure([] { return 0; },
                             [](int) {
                                 const Variant values[] = {longText, Point(1, 2), Rect(1, 2, 3, 4),
                                                           test::listOf({1}),
                                                           Variant(7, String(longText), nullptr)};
                                 for (const Variant &value : values)
                                     const Variant copy(value);
                             },
                             [](int, bool) {});
}

TEST_F(VariantMemoryTest, CopiesOfPinnedPayloadsNeverThrow)
{
    struct Pinned
    {
        Variant string{pinnedText()};
        Variant array{pinnedArray()};
        Variant stringCopy;
        Variant arrayCopy;
        Variant target{longText};
    };
    test::underMemoryFailure(
        [] { return Pinned(); },
        [](Pinned &p) {
            p.stringCopy = p.string;
            p.arrayCopy = p.array;
            p.target = p.string;
        },
        [](const Pinned &p, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_EQ(p.stringCopy.getType(), kString);
            EXPECT_EQ(p.arrayCopy.getType(), kArray);
            EXPECT_TRUE(p.stringCopy == p.string || p.stringCopy.getString().length() == 0);
            EXPECT_TRUE(p.target == p.string || p.target.getString().length() == 0);
            EXPECT_TRUE(p.arrayCopy == p.array || p.arrayCopy.getArray() == nullptr ||
                        p.arrayCopy.getArray()->length() == 2);
        });
}

TEST_F(VariantMemoryTest, APayloadThatThereIsNoMemoryForReadsAsEmpty)
{
    const test::WithoutBlockCache cacheOff;
    test::TestAllocator &allocator = test::TestAllocator::shared();
    Variant point(5);
    Variant rect(5);
    Variant array(5);
    Variant string(5);
    allocator.failRequests(1, test::TestAllocator::forever);
    point = Point(1, 2);
    rect = Rect(1, 2, 3, 4);
    array = Array();
    string = longText;
    allocator.stopFailing();

    EXPECT_EQ(point.getType(), kPoint);
    EXPECT_EQ(point.getPoint(), nullptr);
    EXPECT_EQ(described(point), "point 0:0");
    EXPECT_EQ(rect.getType(), kRect);
    EXPECT_EQ(rect.getRect(), nullptr);
    EXPECT_EQ(described(rect), "rect 0:0-0:0");
    EXPECT_EQ(array.getType(), kArray);
    EXPECT_EQ(array.getArray(), nullptr);
    EXPECT_EQ(described(array), "array []");
    EXPECT_EQ(string.getType(), kString);
    EXPECT_EQ(described(string), "string ");

    Array out;
    EXPECT_FALSE(array.getArray(out));
    const Variant *const empty[] = {&point, &rect, &array, &string};
    for (const Variant *value : empty) {
        const Variant copy(*value);
        EXPECT_EQ(copy.getType(), value->getType());
        EXPECT_TRUE(copy == *value);
        EXPECT_EQ(copy.compare(*value), value == &rect ? -1 : 0);
        EXPECT_FALSE(value->getBool());
        for (int kind = kUndefined; kind <= kUnitValue; ++kind) {
            Variant converted(*value);
            converted.convert(static_cast<VariantType>(kind));
        }
    }
    EXPECT_FALSE(point == Variant(Point()));
    EXPECT_FALSE(Variant(Rect()) == rect);
    EXPECT_FALSE(array == Variant(Array()));
    EXPECT_EQ(Variant(Point()).compare(point), 0);
    EXPECT_TRUE(test::listOf({array}) == test::listOf({array}));
    EXPECT_EQ(test::textOf(test::listOf({array, 1})), "[],1");
}

TEST_F(VariantMemoryTest, ArraysThatCannotBeComparedAreNotEqual)
{
    // Deep enough for the comparison to need memory.
    const auto nested = [] {
        Array array;
        for (int depth = 0; depth < 200; ++depth)
            array = test::listOf({array});
        return array;
    };
    struct Pair
    {
        Variant left;
        Variant right;
        bool isEqual = false;
    };
    bool wasUnequal = false;
    test::underMemoryFailure(
        [&] {
            Pair pair;
            pair.left = nested();
            pair.right = nested();
            return pair;
        },
        [](Pair &pair) { pair.isEqual = pair.left == pair.right; },
        [&](const Pair &pair, bool failed) {
            EXPECT_FALSE(failed);
            wasUnequal = wasUnequal || !pair.isEqual;
        });
    EXPECT_TRUE(wasUnequal);
}

TEST_F(VariantMemoryTest, ObjectsAreHeldWithoutMemory)
{
    test::underMemoryFailure([] { return test::holding(new test::FakeObject("it")); },
                             [](Variant &value) {
                                 Variant copy(value);
                                 copy = value;
                                 copy.setHardRef(true);
                                 static_cast<void>(copy.getBool());
                                 static_cast<void>(copy.getInteger());
                             },
                             [](const Variant &value, bool failed) {
                                 EXPECT_FALSE(failed);
                                 EXPECT_EQ(value.getType(), kObject);
                             },
                             test::Allocates::perhaps);
    EXPECT_EQ(test::FakeObject::living(), 0);
}
