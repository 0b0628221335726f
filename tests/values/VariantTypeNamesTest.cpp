// SPDX-License-Identifier: MIT
#include "values/VariantTypeNames.h"

#include <iterator>

#include <gtest/gtest.h>

#include <tavrin/Variant.h>

using Tavrin::detail::variantTypeNames;

TEST(VariantTypeNames, FollowTheOrderOfTheKinds)
{
    EXPECT_STREQ(variantTypeNames[Tavrin::kUndefined], "undefined");
    EXPECT_STREQ(variantTypeNames[Tavrin::kNull], "null");
    EXPECT_STREQ(variantTypeNames[Tavrin::kBoolean], "boolean");
    EXPECT_STREQ(variantTypeNames[Tavrin::kNumber], "number");
    EXPECT_STREQ(variantTypeNames[Tavrin::kString], "string");
    EXPECT_STREQ(variantTypeNames[Tavrin::kObject], "Object");
    EXPECT_STREQ(variantTypeNames[Tavrin::kLiveObject], "Object");
    EXPECT_STREQ(variantTypeNames[Tavrin::kPoint], "point");
    EXPECT_STREQ(variantTypeNames[Tavrin::kRect], "rect");
    EXPECT_STREQ(variantTypeNames[Tavrin::kArray], "array");
    EXPECT_STREQ(variantTypeNames[Tavrin::kFileSpec], "filespec");
    EXPECT_STREQ(variantTypeNames[Tavrin::kRegExp], "regexp");
    EXPECT_STREQ(variantTypeNames[Tavrin::kUnitValue], "unitvalue");
}

TEST(VariantTypeNames, EndWithANullPointer)
{
    EXPECT_EQ(std::size(variantTypeNames), 14U);
    EXPECT_EQ(variantTypeNames[13], nullptr);
}
