// SPDX-License-Identifier: MIT
#include <tavrin/Geometry.h>

#include <type_traits>

#include <gtest/gtest.h>

using Tavrin::Point;
using Tavrin::Rect;

namespace {

constexpr Rect unit(0, 0, 1, 1);
constexpr Rect empty(1, 0, 0, 1);

} // namespace

TEST(Point, IsAPlainValue)
{
    EXPECT_TRUE(std::is_trivially_copyable_v<Point>);
    EXPECT_TRUE(std::is_standard_layout_v<Point>);
    EXPECT_EQ(sizeof(Point), 2 * sizeof(double));
    EXPECT_EQ(Point(), Point(0, 0));
    Point point(1, 2);
    EXPECT_EQ(point.x, 1);
    EXPECT_EQ(point.y, 2);
    const Point copy(point);
    point.x = 5;
    EXPECT_EQ(copy, Point(1, 2));
    EXPECT_NE(copy, point);
    EXPECT_NE(Point(1, 2), Point(1, 3));
    point = copy;
    EXPECT_EQ(point, copy);
}

TEST(Point, CmpIs1OnlyIfBothCoordinatesAreGreater)
{
    const Point point(1, 1);
    EXPECT_EQ(point.cmp(Point(2, 2)), 1);
    EXPECT_EQ(point.cmp(Point(1, 1)), 0);
    EXPECT_EQ(point.cmp(Point(2, 1)), -1);
    EXPECT_EQ(point.cmp(Point(1, 2)), -1);
    EXPECT_EQ(point.cmp(Point(2, 0)), -1);
    EXPECT_EQ(point.cmp(Point(0, 0)), -1);
}

TEST(Rect, IsAPlainValueOfFourSides)
{
    EXPECT_TRUE(std::is_trivially_copyable_v<Rect>);
    EXPECT_TRUE(std::is_standard_layout_v<Rect>);
    EXPECT_EQ(sizeof(Rect), 4 * sizeof(double));
    EXPECT_EQ(Rect(), Rect(0, 0, 0, 0));
    const Rect rect(1, 2, 3, 4);
    EXPECT_EQ(rect.left, 1);
    EXPECT_EQ(rect.top, 2);
    EXPECT_EQ(rect.right, 3);
    EXPECT_EQ(rect.bottom, 4);
    EXPECT_EQ(Rect(Point(1, 2), Point(3, 4)), rect);
    EXPECT_NE(rect, Rect(0, 2, 3, 4));
    EXPECT_NE(rect, Rect(1, 0, 3, 4));
    EXPECT_NE(rect, Rect(1, 2, 0, 4));
    EXPECT_NE(rect, Rect(1, 2, 3, 0));
}

TEST(Rect, CmpGoesThroughItsTestsInOrder)
{
    struct Row
    {
        const char *name;
        Rect other; // beside 10,10-20,20
        int result;
    };
    const Row rows[] = {
        {"left and top greater", {11, 11, 20, 20}, 1},
        {"left and top greater, the rest less", {11, 11, 0, 0}, 1},
        {"left less", {9, 11, 30, 30}, -1},
        {"tops equal", {11, 10, 30, 30}, -1},
        {"the same", {10, 10, 20, 20}, -1},
        {"right and bottom greater", {10, 11, 21, 21}, 11},
        {"right and bottom greater, top less", {10, 9, 21, 21}, 11},
        {"right less", {10, 11, 19, 21}, -1},
        {"bottom less", {10, 11, 21, 19}, -1},
        {"only the top is greater", {10, 11, 20, 20}, 0},
        {"only the top is less", {10, 9, 20, 20}, 0},
        {"only the right is greater", {10, 11, 21, 20}, 0},
    };
    for (const Row &row : rows)
        EXPECT_EQ(Rect(10, 10, 20, 20).cmp(row.other), row.result) << row.name;
}

TEST(Rect, IsEmptyIfItsSidesAreSwapped)
{
    EXPECT_FALSE(Rect(1, 1, 1, 1).isEmpty());
    EXPECT_FALSE(unit.isEmpty());
    EXPECT_TRUE(Rect(2, 0, 1, 1).isEmpty());
    EXPECT_TRUE(Rect(0, 2, 1, 1).isEmpty());
}

TEST(Rect, InsideIncludesAllFourSides)
{
    const Rect rect(1, 2, 3, 4);
    EXPECT_TRUE(rect.isInside(1, 2));
    EXPECT_TRUE(rect.isInside(3, 4));
    EXPECT_TRUE(rect.isInside(Point(2, 3)));
    EXPECT_FALSE(rect.isInside(0.9, 3));
    EXPECT_FALSE(rect.isInside(3.1, 3));
    EXPECT_FALSE(rect.isInside(2, 1.9));
    EXPECT_FALSE(rect.isInside(Point(2, 4.1)));
    EXPECT_TRUE(rect.isInside(rect));
    EXPECT_TRUE(rect.isInside(Rect(2, 3, 2, 3)));
    EXPECT_FALSE(rect.isInside(Rect(0, 2, 3, 4)));
    EXPECT_FALSE(rect.isInside(Rect(1, 2, 3, 5)));
    // Both corners count, also those of an empty one.
    EXPECT_TRUE(rect.isInside(Rect(3, 4, 1, 2)));
}

TEST(Rect, IntersectKeepsWhatIsCommon)
{
    Rect rect;
    EXPECT_TRUE(rect.intersect(Rect(0, 0, 10, 10), Rect(5, 6, 15, 16)));
    EXPECT_EQ(rect, Rect(5, 6, 10, 10));
    EXPECT_TRUE(rect.intersect(unit, Rect(1, 1, 2, 2)));
    EXPECT_EQ(rect, Rect(1, 1, 1, 1));
    EXPECT_FALSE(rect.intersect(unit, Rect(2, 0, 3, 1)));
    EXPECT_EQ(rect, Rect(2, 0, 1, 1));
    rect = Rect(0, 0, 10, 10);
    EXPECT_TRUE(rect.intersect(rect, unit));
    EXPECT_EQ(rect, unit);
}

TEST(Rect, CombineGoesAroundBoth)
{
    Rect rect;
    EXPECT_TRUE(rect.combine(unit, Rect(5, -6, 7, 0)));
    EXPECT_EQ(rect, Rect(0, -6, 7, 1));
    EXPECT_TRUE(rect.combine(unit, rect));
    EXPECT_EQ(rect, Rect(0, -6, 7, 1));
}

TEST(Rect, AnEmptyRectangleWinsWhenItIsCombined)
{
    Rect rect;
    EXPECT_FALSE(rect.combine(empty, unit));
    EXPECT_EQ(rect, empty);
    EXPECT_FALSE(rect.combine(unit, empty));
    EXPECT_EQ(rect, empty);
    EXPECT_FALSE(rect.combine(empty, Rect(9, 0, 8, 0)));
    EXPECT_EQ(rect, empty);
}

TEST(Rect, ChangesMoveTheSidesTheySay)
{
    Rect rect(1, 2, 3, 4);
    rect.grow(10, 20);
    EXPECT_EQ(rect, Rect(1, 2, 13, 24));
    rect.grow(Point(-10, -20));
    EXPECT_EQ(rect, Rect(1, 2, 3, 4));
    rect.inset(0.5, 1);
    EXPECT_EQ(rect, Rect(1.5, 3, 2.5, 3));
    rect.inset(Point(-0.5, -1));
    EXPECT_EQ(rect, Rect(1, 2, 3, 4));
    rect.moveBy(10, 20);
    EXPECT_EQ(rect, Rect(11, 22, 13, 24));
    rect.moveBy(Point(-10, -20));
    EXPECT_EQ(rect, Rect(1, 2, 3, 4));
    rect.moveTo(0, 0);
    EXPECT_EQ(rect, Rect(0, 0, 2, 2));
    rect.moveTo(Point(5, 6));
    EXPECT_EQ(rect, Rect(5, 6, 7, 8));
}
