// SPDX-License-Identifier: MIT
// What a value knows about its number.
#include <tavrin/Variant.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

#include <tavrin/Geometry.h>

#include "support/LibraryTest.h"
#include "support/ValueText.h"

using namespace Tavrin;

namespace {

using VariantNumberTest = test::LibraryTest;
using Limits = std::numeric_limits<double>;

struct Facts
{
    const char *name;
    double number;
    bool isNaN;
    bool isFinite;
    bool isMinus0;
    bool isInteger;
    bool isUInteger;
};
const Facts table[] = {
    {"0", 0, false, true, false, true, true},
    {"minus zero", -0.0, false, true, true, true, true},
    {"1", 1, false, true, false, true, true},
    {"-1", -1, false, true, false, true, false},
    {"2^31 - 1", 2147483647.0, false, true, false, true, true},
    {"2^31", 2147483648.0, false, true, false, false, true},
    {"-2^31", -2147483648.0, false, true, false, true, false},
    {"-2^31 - 1", -2147483649.0, false, true, false, false, false},
    {"2^32 - 1", 4294967295.0, false, true, false, false, true},
    {"2^32", 4294967296.0, false, true, false, false, false},
    {"a fraction", 0.5, false, true, false, false, false},
    {"a fraction above 2^31", 2147483648.5, false, true, false, false, false},
    {"a negative fraction", -0.5, false, true, false, false, false},
    {"a denormal", 5e-324, false, true, false, false, false},
    {"the largest double", Limits::max(), false, true, false, false, false},
    {"infinity", Limits::infinity(), false, false, false, false, false},
    {"minus infinity", -Limits::infinity(), false, false, false, false, false},
    {"NaN", Limits::quiet_NaN(), true, false, false, false, false},
};

void expectFacts(const Variant &value, const Facts &facts)
{
    EXPECT_EQ(value.isNaN(), facts.isNaN);
    EXPECT_EQ(value.isFinite(), facts.isFinite);
    EXPECT_EQ(value.isMinus0(), facts.isMinus0);
    EXPECT_EQ(value.isInteger(), facts.isInteger);
    EXPECT_EQ(value.isUInteger(), facts.isUInteger);
}

} // namespace

TEST_F(VariantNumberTest, EveryDoubleIsClassified)
{
    for (const Facts &facts : table) {
        SCOPED_TRACE(facts.name);
        expectFacts(Variant(facts.number), facts);
        Variant value("abc");
        value.setDouble(facts.number);
        expectFacts(value, facts);
        // In whatever order it is asked.
        const Variant other(facts.number);
        EXPECT_EQ(other.isUInteger(), facts.isUInteger);
        EXPECT_EQ(other.isInteger(), facts.isInteger);
        expectFacts(other, facts);
        const Variant prepared(facts.number);
        prepared.setNumAttrs();
        expectFacts(prepared, facts);
        expectFacts(Variant(prepared), facts);
    }
}

TEST_F(VariantNumberTest, ASignallingNaNIsNaN)
{
    EXPECT_TRUE(Variant(Limits::signaling_NaN()).isNaN());
}

TEST_F(VariantNumberTest, TheSettersOfSpecialNumbersKnowThem)
{
    Variant value;
    value.setNaN();
    expectFacts(value, table[17]);
    EXPECT_TRUE(std::isnan(value.getDouble()));
    value.setPosInfinity();
    expectFacts(value, table[15]);
    EXPECT_EQ(value.getDouble(), Limits::infinity());
    value.setNegInfinity();
    expectFacts(value, table[16]);
    EXPECT_EQ(value.getDouble(), -Limits::infinity());
    value.setMinus0();
    expectFacts(value, table[1]);
    EXPECT_TRUE(std::signbit(value.getDouble()));
}

TEST_F(VariantNumberTest, IntegersAreKnownFromTheStart)
{
    for (const int number : {0, 1, -1, std::numeric_limits<int>::min()}) {
        Variant value;
        value.setInteger(number);
        EXPECT_TRUE(value.isInteger());
        EXPECT_TRUE(value.isFinite());
        EXPECT_FALSE(value.isNaN());
        EXPECT_FALSE(value.isMinus0());
        EXPECT_EQ(Variant(number).isUInteger(), number >= 0);
    }
    Variant value;
    value.setInteger(0x7FFFFFFFU);
    EXPECT_TRUE(value.isInteger());
    EXPECT_TRUE(value.isUInteger());
    value.setInteger(0x80000000U);
    EXPECT_FALSE(value.isInteger());
    EXPECT_TRUE(value.isUInteger());
    EXPECT_TRUE(value.isFinite());
}

TEST_F(VariantNumberTest, AHardHolderAnswersFromWhatIsKnown)
{
    Variant value;
    value.setHardRef(true);
    value.setDouble(5);
    EXPECT_FALSE(value.isInteger());
    EXPECT_FALSE(value.isUInteger());
    EXPECT_TRUE(value.isFinite());
    EXPECT_FALSE(value.isInteger());
    value.setNumAttrs();
    EXPECT_TRUE(value.isInteger());
    EXPECT_TRUE(value.isUInteger());
    value.setInteger(5);
    EXPECT_TRUE(value.isInteger());
    EXPECT_FALSE(value.isUInteger());
    value.setDouble(6);
    EXPECT_EQ(value.getInteger(), 6);
    EXPECT_TRUE(value.isInteger());
    value.setDouble(7);
    EXPECT_EQ(test::bytesOf(value.getString()), "7");
    EXPECT_TRUE(value.isInteger());
}

// A hard holder shows how much is known about the value that it is given.
TEST_F(VariantNumberTest, WhoeverUsesAnIntegerFindsOutAllAboutIt)
{
    const auto isKnownUnsigned = [](const Variant &value) {
        Variant holder;
        holder.setHardRef(true);
        holder = value;
        return holder.isUInteger();
    };
    for (const int number :
         {std::numeric_limits<int>::min(), -3, 0, 3, std::numeric_limits<int>::max()}) {
        const Variant validated = number;
        EXPECT_FALSE(isKnownUnsigned(validated));
        EXPECT_EQ(validated.validate(-3, 3), std::abs(number / 2) <= 1 ? 0 : 41);
        EXPECT_EQ(isKnownUnsigned(validated), number >= 0) << number;
        const Variant read = number;
        EXPECT_EQ(read.getInteger(), number);
        EXPECT_EQ(isKnownUnsigned(read), number >= 0) << number;
    }
    Variant hard;
    hard.setHardRef(true);
    hard.setInteger(5);
    EXPECT_EQ(hard.validate(0, 10), 0);
    EXPECT_FALSE(hard.isUInteger());
    EXPECT_EQ(hard.getInteger(), 5);
    EXPECT_TRUE(hard.isUInteger());
}

TEST_F(VariantNumberTest, OtherKindsAreConvertedToBeClassified)
{
    EXPECT_TRUE(Variant().isNaN());
    EXPECT_FALSE(Variant().isFinite());
    EXPECT_TRUE(Variant("abc").isNaN());
    EXPECT_TRUE(Variant("12").isFinite());
    EXPECT_TRUE(Variant("-0").isMinus0());
    EXPECT_TRUE(Variant("-0").isFinite());
    EXPECT_FALSE(Variant("0").isMinus0());
    EXPECT_FALSE(Variant("Infinity").isFinite());
    EXPECT_TRUE(Variant(true).isFinite());
    EXPECT_TRUE(Variant(Point(1, 2)).isNaN());
}

TEST_F(VariantNumberTest, OnlyNumbersAreIntegers)
{
    EXPECT_FALSE(Variant().isInteger());
    EXPECT_FALSE(Variant(true).isInteger());
    EXPECT_FALSE(Variant("12").isInteger());
    EXPECT_FALSE(Variant("12").isUInteger());
    EXPECT_FALSE(Variant(7, "Foo", nullptr).isInteger());
}

TEST_F(VariantNumberTest, AttributesOfOtherKindsAreLeftAlone)
{
    const Variant value("12");
    value.setNumAttrs();
    EXPECT_FALSE(value.isInteger());
}
