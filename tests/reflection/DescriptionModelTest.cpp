// SPDX-License-Identifier: MIT
// Random descriptions, read by the library and by plain rules.
#include "reflection/DescriptionModel.h"

#include <random>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Described;
using test::Units;

namespace {

using DescriptionModelTest = test::LibraryTest;

TEST_F(DescriptionModelTest, RandomDescriptionsAreReadByTheRules)
{
    static const char16_t *const pieces[] = {
        u",", u",", u"\t",  u"\t",  u":",    u";",     u";",    u"/",    u" ",   u"bool",
        u"x", u"F", u"-1",  u"+",   u"0x1F", u"any",   u"null", u"true", u"int", u"undefined",
        u"_", u"é", u"\0x", u"1e9", u"abc,", u"x:int", u"1;2;", u"Ω",    u"\n",  u"string",
    };
    std::mt19937 random(4711);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 5000; ++round) {
        Units text;
        for (auto left = below(14); left > 0; --left)
            text += pieces[below(std::size(pieces))];
        for (const int index : {-5, -1, 0, 1, 2, 5}) {
            bool isRead = false;
            ASSERT_EQ(Described::read(text, index, isRead), Described::of(text, index))
                << test::toBytes(text) << " at " << index;
            ASSERT_TRUE(isRead);
        }
    }
}

} // namespace
