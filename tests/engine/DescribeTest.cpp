// SPDX-License-Identifier: MIT
#include "console/Console.h"

#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

using DescribeTest = LibraryTest;

TEST_F(DescribeTest, AClassIsToldByItsConstructorItsPropertiesAndItsMethods)
{
    const auto box = make<Box>();
    const std::string told = utf8(TvScript::descriptionOf(*box));
    for (const char *line :
         {"class Box\n", "  width: number ", " The width.\n", "  area: number, read only ",
          "  grow(by: number): number ", " Grows it.\n", "  echo(): array "})
        EXPECT_NE(told.find(line), std::string::npos) << line << "\nin\n" << told;
    EXPECT_LT(told.find("  any: any"), told.find("  grow("));
}

TEST_F(DescribeTest, AClassIsFoundByItsName)
{
    EXPECT_EQ(TvScript::descriptionOf("Box").length(), 0);
    const auto box = make<Box>();
    LiveObject::addFactory(*box, 1);
    EXPECT_EQ(TvScript::descriptionOf("Box"), TvScript::descriptionOf(*box));
    LiveObject::removeFactory("Box");
}

TEST_F(DescribeTest, WhatHasNoClassIsNotDescribed)
{
    EXPECT_EQ(TvScript::descriptionOf(5).length(), 0);
    EXPECT_EQ(TvScript::descriptionOf(Variant()).length(), 0);
}

} // namespace
} // namespace Tavrin::test
