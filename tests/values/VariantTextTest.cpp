// SPDX-License-Identifier: MIT
#include <tavrin/Variant.h>

#include <clocale>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>

#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::bytesOf;

namespace {

using VariantTextTest = test::LibraryTest;

constexpr double largest = std::numeric_limits<double>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();

} // namespace

// The text form

TEST_F(VariantTextTest, EachKindHasItsTextForm)
{
    Variant null;
    null.setNull();
    struct Row
    {
        Variant value;
        const char *text;
    };
    const Row rows[] = {
        {Variant(), "undefined"},
        {null, "null"},
        {true, "true"},
        {false, "false"},
        {5, "5"},
        {"abc", "abc"},
        {Variant(7, "Foo", nullptr), "Foo"},
        {Point(1.9, -2.9), "1:-2"},
        {Rect(1.5, 2.5, -3.5, 4), "1:2--3:4"},
        {test::listOf({1, "x", test::listOf({true})}), "[1,x,[true]]"},
        {Array(), "[]"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(bytesOf(row.value.getString()), row.text);
        EXPECT_EQ(bytesOf(row.value.getString()), row.text);
        EXPECT_EQ(bytesOf(row.value.getString(16)), row.text);
        EXPECT_EQ(bytesOf(row.value.getString(1, 2)),
                  row.value.getType() == kNumber ? "5.00" : row.text);
        EXPECT_EQ(bytesOf(row.value.toString()), row.value.getType() == kNumber ? "5" : row.text);
        String out("before");
        row.value.toString(out);
        EXPECT_EQ(bytesOf(out), row.text);
    }
}

TEST_F(VariantTextTest, NumbersPrintByTheRulesOfScripts)
{
    struct Row
    {
        double number;
        const char *text;
    };
    const Row rows[] = {
        {0, "0"},
        {-0.0, "0"},
        {-2147483648.0, "-2147483648"},
        {2147483647.0, "2147483647"},
        {2147483648.0, "2147483648"},
        {1e9, "1000000000"},
        {1e20, "100000000000000000000"},
        {1e21, "1e+21"},
        {0.5, "0.5"},
        {1e-7, "1e-7"},
        {1.0 / 3, "0.33333333333333"},
        {largest, "1.7976931348623157e+308"},
        {-largest, "-1.7976931348623157e+308"},
        {std::nan(""), "NaN"},
        {infinity, "Infinity"},
        {-infinity, "-Infinity"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(bytesOf(Variant(row.number).getString()), row.text);
    EXPECT_EQ(bytesOf(Variant(-2147483648).getString()), "-2147483648");
}

TEST_F(VariantTextTest, TheLargestDoubleScansBack)
{
    EXPECT_EQ(Variant::scanDouble(Variant(largest).getString(), 0, nullptr), largest);
}

TEST_F(VariantTextTest, TheTextOfANumberIsMadeOnceInTheRadixThatWasAskedForFirst)
{
    Variant value(255);
    EXPECT_EQ(bytesOf(value.getString(16)), "ff");
    EXPECT_EQ(bytesOf(value.getString()), "ff");
    EXPECT_EQ(bytesOf(value.toString()), "ff");
    EXPECT_EQ(bytesOf(value.getString(2)), "ff");
    value = 255;
    EXPECT_EQ(bytesOf(value.getString()), "255");
    EXPECT_EQ(bytesOf(value.getString(16)), "255");
    value.setDouble(254.5);
    EXPECT_EQ(bytesOf(value.getString()), "254.5");
}

TEST_F(VariantTextTest, RadixesOutsideTheirRangeGiveNaN)
{
    EXPECT_EQ(bytesOf(Variant(5).getString(1)), "NaN");
    EXPECT_EQ(bytesOf(Variant(5).getString(37)), "NaN");
    EXPECT_EQ(bytesOf(Variant(35).getString(36)), "z");
    EXPECT_EQ(bytesOf(Variant(5).getString(2)), "101");
    EXPECT_EQ(bytesOf(Variant(5).getString(0)), "5");
    EXPECT_EQ(bytesOf(Variant(-5.75).getString(2)), "-101");
}

TEST_F(VariantTextTest, ModesAndPrecisionsAreClamped)
{
    const Variant value(2.5);
    EXPECT_EQ(bytesOf(value.getString(0, 15)), "2.5");
    EXPECT_EQ(bytesOf(value.getString(-1, 15)), "2.5");
    EXPECT_EQ(bytesOf(value.getString(1, 2)), "2.50");
    EXPECT_EQ(bytesOf(value.getString(2, 2)), "2.50e+0");
    EXPECT_EQ(bytesOf(value.getString(3, 2)), "2.50e+0");
    EXPECT_EQ(value.getString(1, 101).length(), value.getString(1, 100).length());
    EXPECT_EQ(bytesOf(value.getString(1, -1)), bytesOf(value.getString(1, 0)));
}

TEST_F(VariantTextTest, AModeDropsTheCachedText)
{
    const Variant value(255);
    EXPECT_EQ(bytesOf(value.getString(16)), "ff");
    EXPECT_EQ(bytesOf(value.getString(1, 1)), "255.0");
    EXPECT_EQ(bytesOf(value.getString()), "255");
}

TEST_F(VariantTextTest, TheTextStaysInOneStringThroughChangesOfKind)
{
    Variant value(5);
    const String *text = &value.getString();
    value = 6;
    EXPECT_EQ(&value.getString(), text);
    value = "abc";
    EXPECT_EQ(&value.getString(), text);
    value.setNull();
    EXPECT_EQ(&value.getString(), text);
    EXPECT_EQ(bytesOf(*text), "null");
}

TEST_F(VariantTextTest, CoordinatesBeyond32BitsPrintAsTheSmallestInteger)
{
    EXPECT_EQ(bytesOf(Variant(Point(3e9, std::nan(""))).getString()), "-2147483648:-2147483648");
    EXPECT_EQ(bytesOf(Variant(Point(2147483647.9, -2147483648.9)).getString()),
              "2147483647:-2147483648");
}

// Numbers in text

TEST_F(VariantTextTest, ScansReadNumbersAtTheFront)
{
    String rest;
    EXPECT_EQ(Variant::scanDouble("  12", 257, nullptr), 12);
    EXPECT_TRUE(std::isnan(Variant::scanDouble("12x", 0, nullptr)));
    EXPECT_TRUE(std::isnan(Variant::scanDouble("12x", 257, nullptr)));
    EXPECT_TRUE(std::isnan(Variant::scanDouble("+", 0, nullptr)));
    EXPECT_EQ(Variant::scanDouble("12x", 2, &rest), 12);
    EXPECT_EQ(bytesOf(rest), "x");
    EXPECT_EQ(Variant::scanInteger("010", 0, 0, nullptr), 8);
    EXPECT_EQ(Variant::scanInteger("010", 0, 256, nullptr), 10);
    EXPECT_EQ(Variant::scanInteger("0x10", 10, 2, &rest), 0);
    EXPECT_EQ(bytesOf(rest), "x10");
    EXPECT_EQ(Variant::scanInteger("ff", 16, 0, nullptr), 255);
}
